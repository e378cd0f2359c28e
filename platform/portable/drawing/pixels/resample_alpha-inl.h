// Rows of pixels with alpha in vectors, before and after they are resampled. Included once for each
// instruction set.
#if defined(PIXTOLA_PORTABLE_RESAMPLE_ALPHA_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef PIXTOLA_PORTABLE_RESAMPLE_ALPHA_INL_H_
#undef PIXTOLA_PORTABLE_RESAMPLE_ALPHA_INL_H_
#else
#define PIXTOLA_PORTABLE_RESAMPLE_ALPHA_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>

#include "drawing/pixels/resample_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola::portable {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

constexpr std::size_t kVectorPixels = kRows;

/// Each byte of a pixel becomes its alpha.
HWY_INLINE hn::Vec<Bytes> AlphaOfPixels(hn::Vec<Bytes> pixels) {
  const Bytes bytes;
  alignas(16) static constexpr std::uint8_t kAlpha[16] = {3,  3,  3,  3,  7,  7,  7,  7,
                                                          11, 11, 11, 11, 15, 15, 15, 15};
  return hn::TableLookupBytes(pixels, hn::LoadDup128(bytes, kAlpha));
}

bool IsOpaque(const std::uint8_t* pixels, std::size_t count) {
  const Bytes bytes;
  auto common = hn::Set(bytes, std::uint8_t{255});
  std::size_t x = 0;
  for (; count - x >= kVectorPixels; x += kVectorPixels) {
    common = hn::And(common, hn::LoadU(bytes, pixels + 4 * x));
  }
  return hn::AllTrue(bytes, hn::Eq(AlphaOfPixels(common), hn::Set(bytes, std::uint8_t{255}))) &&
         kPlainResampleKernels.is_opaque(pixels + 4 * x, count - x);
}

void Premultiply(const std::uint8_t* pixels, std::size_t count, std::int16_t* samples) {
  const Bytes bytes;
  const Words words;
  const hn::RebindToUnsigned<Words> unsigned_words;
  const auto factor = hn::Set(unsigned_words, std::uint16_t{kPremultiplyFactor});
  const auto lower_bytes = hn::Set(unsigned_words, std::uint16_t{0xFF});
  // 255 in the place of alpha, which is not multiplied by itself.
  const auto own_factor = hn::BitCast(unsigned_words, hn::Set(Sums(), 0xFF0000));
  std::size_t x = 0;
  for (; count - x >= kVectorPixels; x += kVectorPixels) {
    const auto own = hn::LoadU(bytes, pixels + 4 * x);
    const auto alpha = hn::And(hn::BitCast(unsigned_words, AlphaOfPixels(own)), lower_bytes);
    const auto blue_red = hn::And(hn::BitCast(unsigned_words, own), lower_bytes);
    const auto green_alpha = hn::ShiftRight<8>(hn::BitCast(unsigned_words, own));
    const auto even = hn::MulHigh(hn::Mul(blue_red, alpha), factor);
    const auto odd = hn::MulHigh(hn::Mul(green_alpha, hn::Or(alpha, own_factor)), factor);
    const auto low = hn::BitCast(words, hn::InterleaveLower(unsigned_words, even, odd));
    const auto high = hn::BitCast(words, hn::InterleaveUpper(unsigned_words, even, odd));
    // Interleaving stays within 16 bytes.
    if constexpr (kRows == 8) {
      hn::StoreU(hn::ConcatLowerLower(words, high, low), words, samples + 4 * x);
      hn::StoreU(hn::ConcatUpperUpper(words, high, low), words, samples + 4 * x + 2 * kRows);
    } else {
      hn::StoreU(low, words, samples + 4 * x);
      hn::StoreU(high, words, samples + 4 * x + 2 * kRows);
    }
  }
  kPlainResampleKernels.premultiply(pixels + 4 * x, count - x, samples + 4 * x);
}

void LimitToAlpha(std::uint8_t* pixels, std::size_t count) {
  const Bytes bytes;
  std::size_t x = 0;
  for (; count - x >= kVectorPixels; x += kVectorPixels) {
    const auto own = hn::LoadU(bytes, pixels + 4 * x);
    hn::StoreU(hn::Min(own, AlphaOfPixels(own)), bytes, pixels + 4 * x);
  }
  kPlainResampleKernels.limit_to_alpha(pixels + 4 * x, count - x);
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola::portable
HWY_AFTER_NAMESPACE();

#endif  // PIXTOLA_PORTABLE_RESAMPLE_ALPHA_INL_H_
