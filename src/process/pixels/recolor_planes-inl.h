// The colour models in vectors: groups of pixels as planes of their channels, and from blue, green
// and red to hue, saturation and value and back, in the definition's own floating-point steps.
// Compiled once for each instruction set, for the files that are.
#if defined(PIXTOLA_PROCESS_PIXELS_RECOLOR_PLANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef PIXTOLA_PROCESS_PIXELS_RECOLOR_PLANES_INL_H_
#undef PIXTOLA_PROCESS_PIXELS_RECOLOR_PLANES_INL_H_
#else
#define PIXTOLA_PROCESS_PIXELS_RECOLOR_PLANES_INL_H_
#endif

#include <hwy/highway.h>

#include "process/pixels/color_model.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

using D8 = hn::ScalableTag<std::uint8_t>;
using D16 = hn::ScalableTag<std::uint16_t>;
using D32 = hn::ScalableTag<std::uint32_t>;
using D64 = hn::ScalableTag<std::uint64_t>;
using DI32 = hn::ScalableTag<std::int32_t>;
using DF32 = hn::ScalableTag<float>;
using Bytes = hn::Vec<D8>;
using Words = hn::Vec<D16>;
using Lanes = hn::Vec<D32>;
using Floats = hn::Vec<DF32>;

/// A group is four vectors of pixels, or one vector of bytes for each of their channels.
constexpr std::uint32_t kGroupPixels = static_cast<std::uint32_t>(hn::MaxLanes(D8()));
constexpr std::uint32_t kVectorPixels = kGroupPixels / 4;

/// The channels of a group: blue, green, red and alpha, or hue, saturation, value and alpha. Within
/// each block of 16 bytes, the four bytes i * 4 to i * 4 + 3 belong to the group's vector i.
struct Planes {
  Bytes first, second, third, fourth;
};

// ---- between pixels and planes ----

/// Within each block of four pixels: byte c of pixel p changes places with byte p of pixel c.
HWY_INLINE Bytes SwapPixelsAndChannels(Bytes pixels) {
  alignas(16) static constexpr std::uint8_t kOrder[16] = {0, 4, 8,  12, 1, 5, 9,  13,
                                                          2, 6, 10, 14, 3, 7, 11, 15};
  return hn::TableLookupBytes(pixels, hn::LoadDup128(D8(), kOrder));
}

/// Within each block: 32-bit lane i of vector j changes places with lane j of vector i.
HWY_INLINE Planes Transpose(const Planes& rows) {
  const D32 d32;
  const D64 d64;
  const auto a = hn::BitCast(d32, rows.first);
  const auto b = hn::BitCast(d32, rows.second);
  const auto c = hn::BitCast(d32, rows.third);
  const auto d = hn::BitCast(d32, rows.fourth);
  const auto ab_lower = hn::BitCast(d64, hn::InterleaveLower(d32, a, b));
  const auto ab_upper = hn::BitCast(d64, hn::InterleaveUpper(d32, a, b));
  const auto cd_lower = hn::BitCast(d64, hn::InterleaveLower(d32, c, d));
  const auto cd_upper = hn::BitCast(d64, hn::InterleaveUpper(d32, c, d));
  return {hn::BitCast(D8(), hn::InterleaveLower(d64, ab_lower, cd_lower)),
          hn::BitCast(D8(), hn::InterleaveUpper(d64, ab_lower, cd_lower)),
          hn::BitCast(D8(), hn::InterleaveLower(d64, ab_upper, cd_upper)),
          hn::BitCast(D8(), hn::InterleaveUpper(d64, ab_upper, cd_upper))};
}

HWY_INLINE Planes LoadPlanes(const std::uint8_t* pixels) {
  const D8 d;
  return Transpose({SwapPixelsAndChannels(hn::LoadU(d, pixels)),
                    SwapPixelsAndChannels(hn::LoadU(d, pixels + kGroupPixels)),
                    SwapPixelsAndChannels(hn::LoadU(d, pixels + 2 * kGroupPixels)),
                    SwapPixelsAndChannels(hn::LoadU(d, pixels + 3 * kGroupPixels))});
}

HWY_INLINE void StorePlanes(const Planes& planes, std::uint8_t* pixels) {
  const D8 d;
  const Planes rows = Transpose(planes);
  hn::StoreU(SwapPixelsAndChannels(rows.first), d, pixels);
  hn::StoreU(SwapPixelsAndChannels(rows.second), d, pixels + kGroupPixels);
  hn::StoreU(SwapPixelsAndChannels(rows.third), d, pixels + 2 * kGroupPixels);
  hn::StoreU(SwapPixelsAndChannels(rows.fourth), d, pixels + 3 * kGroupPixels);
}

struct BlockOrder {
  alignas(64) std::int32_t lanes[kVectorPixels];
};

/// Where the 32-bit lanes of a plane go for its bytes to stand in the order of the group's pixels.
consteval BlockOrder PixelOrder() {
  constexpr std::uint32_t kBlocks = kVectorPixels / 4;
  BlockOrder order{};
  for (std::uint32_t i = 0; i < kVectorPixels; ++i) {
    order.lanes[i] = static_cast<std::int32_t>(i % kBlocks * 4 + i / kBlocks);
  }
  return order;
}

/// One bit for each pixel of a group, in their order, of a mask of a plane.
HWY_INLINE std::uint64_t BitsInPixelOrder(hn::Mask<D8> mask) {
  const D8 d;
  static constexpr BlockOrder kOrder = PixelOrder();
  const auto lanes = hn::BitCast(DI32(), hn::VecFromMask(d, mask));
  const auto ordered =
      hn::BitCast(d, hn::TableLookupLanes(lanes, hn::SetTableIndices(DI32(), kOrder.lanes)));
  std::uint8_t bytes[8] = {};
  hn::StoreMaskBits(d, hn::MaskFromVec(ordered), bytes);
  std::uint64_t bits;
  hwy::CopyBytes<8>(bytes, &bits);
  return bits;
}

// ---- colours in planes ----

/// What the hue of pixels depends on. The circle has six sextants, in each of which the middle
/// channel rises from the smallest to the largest one or falls from the largest to the smallest.
struct HueParts {
  Bytes max, mid, min;
  /// Twice the sextant's third of the circle, plus 1 where the hue falls short of that third
  /// instead of exceeding it. Red has the thirds 0 and, falling short, 3; green has 1 and blue 2.
  Bytes code;
};

constexpr std::uint8_t kCodeOfRedBelow = 7;

HWY_INLINE HueParts HuePartsOf(const Planes& pixels) {
  const D8 d;
  const Bytes blue = pixels.first;
  const Bytes green = pixels.second;
  const Bytes red = pixels.third;
  const Bytes more = hn::Max(red, green);
  const Bytes less = hn::Min(red, green);
  const Bytes max = hn::Max(more, blue);
  const Bytes min = hn::Min(less, blue);
  const Bytes mid = hn::Max(less, hn::Min(more, blue));
  // Where channels tie for the largest, red goes before green and green before blue.
  const auto red_leads = hn::Eq(red, max);
  const auto green_leads = hn::Eq(green, max);
  const auto one = hn::Set(d, std::uint8_t{1});
  const auto red_code =
      hn::IfThenZeroElse(hn::Eq(hn::Max(green, blue), green), hn::Set(d, kCodeOfRedBelow));
  const auto green_code = hn::IfThenElse(hn::Eq(hn::Max(blue, red), blue),
                                         hn::Set(d, std::uint8_t{2}), hn::Set(d, std::uint8_t{3}));
  const auto blue_code =
      hn::Add(hn::Set(d, std::uint8_t{4}), hn::IfThenZeroElse(hn::Eq(more, red), one));
  const Bytes code =
      hn::IfThenElse(red_leads, red_code, hn::IfThenElse(green_leads, green_code, blue_code));
  return {max, mid, min, code};
}

/// Byte `kByte` of each 32-bit lane, times `step`. The byte is not shifted down: a step that is
/// smaller by a power of two gives the same product.
template <int kByte>
HWY_INLINE Floats ScaledByte(Bytes plane, float step) {
  const DI32 di32;
  const DF32 df;
  const auto lanes = hn::BitCast(D32(), plane);
  if (kByte == 3) {
    const auto shifted = hn::BitCast(di32, hn::ShiftRight<24>(lanes));
    return hn::Mul(hn::ConvertTo(df, shifted), hn::Set(df, step));
  }
  constexpr int kShift = kByte == 3 ? 0 : 8 * kByte;
  const auto masked = hn::BitCast(di32, hn::And(lanes, hn::Set(D32(), 0xFFU << kShift)));
  return hn::Mul(hn::ConvertTo(df, masked), hn::Set(df, step / static_cast<float>(1 << kShift)));
}

/// Fractions as bytes at `kByte` of each 32-bit lane.
template <int kByte>
HWY_INLINE Lanes ByteOfFraction(Floats fraction) {
  const DF32 df;
  const auto scaled = hn::Add(hn::Mul(fraction, hn::Set(df, 255.0F)), hn::Set(df, 0.5F));
  return hn::ShiftLeft<8 * kByte>(hn::BitCast(D32(), hn::ConvertTo(DI32(), scaled)));
}

struct HueAndSaturation {
  Lanes hue, saturation;
};

/// The hue and saturation of the pixels at byte `kByte` of each 32-bit lane, which is where the
/// results are put.
template <int kByte>
HWY_INLINE HueAndSaturation HueAndSaturationAt(const HueParts& parts, Bytes thirds) {
  const DF32 df;
  const Floats max = ScaledByte<kByte>(parts.max, kByteStep);
  const Floats mid = ScaledByte<kByte>(parts.mid, kByteStep);
  const Floats min = ScaledByte<kByte>(parts.min, kByteStep);
  const Floats delta = hn::Sub(max, min);
  // Grays come out as 0 if only the divisors are not 0; all the others are far above this one.
  const Floats tiny = hn::Set(df, 0.0009765625F);
  const Floats saturation = hn::Div(delta, hn::Max(max, tiny));
  const Floats sixth = hn::Div(hn::Set(df, 1.0F), hn::Mul(hn::Max(delta, tiny), hn::Set(df, 6.0F)));
  const Floats distance = hn::Mul(hn::Sub(mid, min), sixth);
  // The lowest bit of the code as the sign.
  const auto sign = hn::And(hn::ShiftLeft<31 - 8 * kByte>(hn::BitCast(D32(), parts.code)),
                            hn::Set(D32(), 0x80000000U));
  const Floats signed_distance = hn::Xor(distance, hn::BitCast(df, sign));
  // Times 2 and 3, a third gives exactly the definition's two thirds and the whole circle that it
  // adds to negative hues.
  const Floats hue = hn::Add(signed_distance, ScaledByte<kByte>(thirds, kGreenHue));
  return {ByteOfFraction<kByte>(hue), ByteOfFraction<kByte>(saturation)};
}

template <class V>
HWY_INLINE V Or4(V a, V b, V c, V d) {
  return hn::Or(hn::Or(a, b), hn::Or(c, d));
}

/// Hue, saturation, value and alpha of blue, green, red and alpha.
HWY_INLINE Planes HsvFromPlanes(const Planes& pixels) {
  const D8 d;
  const HueParts parts = HuePartsOf(pixels);
  const Bytes thirds = hn::BitCast(
      d, hn::And(hn::ShiftRight<1>(hn::BitCast(D32(), parts.code)), hn::Set(D32(), 0x03030303U)));
  const auto at0 = HueAndSaturationAt<0>(parts, thirds);
  const auto at1 = HueAndSaturationAt<1>(parts, thirds);
  const auto at2 = HueAndSaturationAt<2>(parts, thirds);
  const auto at3 = HueAndSaturationAt<3>(parts, thirds);
  return {hn::BitCast(d, Or4(at0.hue, at1.hue, at2.hue, at3.hue)),
          hn::BitCast(d, Or4(at0.saturation, at1.saturation, at2.saturation, at3.saturation)),
          parts.max, pixels.fourth};
}

/// The channel that is neither the largest nor the smallest, at byte `kByte` of each 32-bit lane.
template <int kByte>
HWY_INLINE Lanes MiddleChannelAt(Bytes hue, Bytes saturation, Bytes value) {
  const DI32 di32;
  const DF32 df;
  const Floats position = hn::Mul(ScaledByte<kByte>(hue, kByteStep), hn::Set(df, 6.0F));
  // The channel falls from an even sextant's end and rises to an odd one's: the distance from the
  // boundary between them is the definition's fraction or 1 minus it, whichever applies.
  const auto boundary = hn::Or(hn::ConvertTo(di32, position), hn::Set(di32, 1));
  const Floats distance = hn::Abs(hn::Sub(position, hn::ConvertTo(df, boundary)));
  const Floats one = hn::Set(df, 1.0F);
  const Floats part = hn::Sub(one, hn::Mul(distance, ScaledByte<kByte>(saturation, kByteStep)));
  // Rounding in single precision gives the bytes that the definition's double precision gives.
  return ByteOfFraction<kByte>(hn::Mul(part, ScaledByte<kByte>(value, kByteStep)));
}

HWY_INLINE Words RoundedDiv255(Words product) {
  const D16 d;
  const Words sum = hn::Add(product, hn::Set(d, std::uint16_t{128}));
  return hn::ShiftRight<8>(hn::Add(sum, hn::ShiftRight<8>(sum)));
}

/// value * saturation / 255, rounded; no product lies halfway between two bytes.
HWY_INLINE Bytes Chroma(Bytes saturation, Bytes value) {
  const D8 d;
  const D16 d16;
  const Words low_byte = hn::Set(d16, std::uint16_t{0xFF});
  const Words s = hn::BitCast(d16, saturation);
  const Words v = hn::BitCast(d16, value);
  const Words even = RoundedDiv255(hn::Mul(hn::And(s, low_byte), hn::And(v, low_byte)));
  const Words odd = RoundedDiv255(hn::Mul(hn::ShiftRight<8>(s), hn::ShiftRight<8>(v)));
  return hn::BitCast(d, hn::Or(even, hn::ShiftLeft<8>(odd)));
}

HWY_INLINE hn::Mask<D8> IsAtLeast(Bytes values, std::uint8_t least) {
  return hn::Eq(hn::Max(values, hn::Set(D8(), least)), values);
}

/// Blue, green, red and alpha of hue, saturation, value and alpha.
HWY_INLINE Planes PlanesFromHsv(const Planes& hsv) {
  const D8 d;
  const Bytes hue = hn::IfThenZeroElse(hn::Eq(hsv.first, hn::Set(d, std::uint8_t{255})), hsv.first);
  const Bytes max = hsv.third;
  const Bytes min = hn::Sub(max, Chroma(hsv.second, max));
  const Bytes mid = hn::BitCast(
      d, Or4(MiddleChannelAt<0>(hue, hsv.second, max), MiddleChannelAt<1>(hue, hsv.second, max),
             MiddleChannelAt<2>(hue, hsv.second, max), MiddleChannelAt<3>(hue, hsv.second, max)));
  // The first hues of the sextants: i * 42.5, rounded up.
  const auto from1 = IsAtLeast(hue, 43);
  const auto from2 = IsAtLeast(hue, 85);
  const auto from3 = IsAtLeast(hue, 128);
  const auto from4 = IsAtLeast(hue, 170);
  const auto from5 = IsAtLeast(hue, 213);
  // Each channel goes through these in the order of the sextants.
  const Bytes red =
      hn::IfThenElse(from3, hn::IfThenElse(from5, max, hn::IfThenElse(from4, mid, min)),
                     hn::IfThenElse(from2, min, hn::IfThenElse(from1, mid, max)));
  const Bytes green =
      hn::IfThenElse(from3, hn::IfThenElse(from4, min, mid), hn::IfThenElse(from1, max, mid));
  const Bytes blue =
      hn::IfThenElse(from3, hn::IfThenElse(from5, mid, max), hn::IfThenElse(from2, mid, min));
  return {blue, green, red, hsv.fourth};
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola
HWY_AFTER_NAMESPACE();

#endif  // PIXTOLA_PROCESS_PIXELS_RECOLOR_PLANES_INL_H_
