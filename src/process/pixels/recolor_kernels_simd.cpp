// The recolouring kernels in vectors, compiled once for each instruction set. Rows are searched in
// integers, which is cheap; the pixels found are packed together, recoloured and put back.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "process/pixels/recolor_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "process/pixels/recolor_kernels.h"
#include "process/pixels/recolor_packing-inl.h"
#include "process/pixels/recolor_planes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const RecolorKernels& Kernels() { return kPlainRecolorKernels; }

#else

// ---- the search ----

/// For each code of HueParts, the part of the sextant whose hues match: from `least` to `most`
/// 85ths of the way from the smallest channel to the largest. For pixels exactly at an end the
/// rounding of the definition decides, so the search finds them all and leaves the decision to the
/// exact hue. All others are further from the end than rounding reaches.
struct HueSearch {
  alignas(16) std::uint8_t least[16];
  alignas(16) std::uint8_t most[16];
  std::uint8_t first_hue;
  std::uint8_t last_hue;
  std::uint8_t least_delta;  ///< 0 where grays match, whose hue is 0, or else 1
};

/// More 85ths than there are.
constexpr int kNever = 127;

HWY_INLINE std::uint8_t ClampTo(int value, int highest) {
  return static_cast<std::uint8_t>(HWY_MAX(0, HWY_MIN(value, highest)));
}

/// The hues from `first` to `last` are those of an angle from 2 * first - 1 to 2 * last + 1 in
/// steps of 510 to the circle, the last one excluded; a sextant has 85 of them.
HWY_INLINE HueSearch MakeHueSearch(const Recoloring& recoloring) {
  HueSearch search{};
  const int first = ClampTo(recoloring.find_hue - recoloring.tolerance, 255);
  const int last = ClampTo(recoloring.find_hue + recoloring.tolerance, 255);
  for (int code = 0; code < 8; ++code) {
    const int third = 170 * (code / 2);
    const bool falls_short = code % 2 != 0;
    const int least = falls_short ? third - (2 * last + 1) : 2 * first - 1 - third;
    const int most = falls_short ? third - (2 * first - 1) : 2 * last + 1 - third;
    search.least[code] = most < 0 ? kNever : ClampTo(least, kNever);
    search.most[code] = ClampTo(most, kNever);
  }
  search.first_hue = static_cast<std::uint8_t>(first);
  search.last_hue = static_cast<std::uint8_t>(last);
  search.least_delta = first == 0 ? 0 : 1;
  return search;
}

/// Negative lanes for pixels outside: 85 * rise must be from delta * least to delta * most.
HWY_INLINE Words SignOutside(Words rise, Words delta, Words least, Words most) {
  const Words scaled = hn::Mul(rise, hn::Set(D16(), std::uint16_t{85}));
  return hn::Or(hn::Sub(scaled, hn::Mul(delta, least)), hn::Sub(hn::Mul(delta, most), scaled));
}

/// The pixels of a group that may match: all that do, and a few at the very ends of the hues.
HWY_INLINE hn::Mask<D8> FindCandidates(const HueSearch& search, const Planes& pixels) {
  const D8 d;
  const D16 d16;
  const HueParts parts = HuePartsOf(pixels);
  const Bytes least = hn::TableLookupBytes(hn::LoadDup128(d, search.least), parts.code);
  const Bytes most = hn::TableLookupBytes(hn::LoadDup128(d, search.most), parts.code);
  const Bytes delta = hn::Sub(parts.max, parts.min);
  const auto rise16 = hn::BitCast(d16, hn::Sub(parts.mid, parts.min));
  const auto delta16 = hn::BitCast(d16, delta);
  const auto least16 = hn::BitCast(d16, least);
  const auto most16 = hn::BitCast(d16, most);
  const Words low = hn::Set(d16, std::uint16_t{0xFF});
  const Words even = SignOutside(hn::And(rise16, low), hn::And(delta16, low), hn::And(least16, low),
                                 hn::And(most16, low));
  const Words odd = SignOutside(hn::ShiftRight<8>(rise16), hn::ShiftRight<8>(delta16),
                                hn::ShiftRight<8>(least16), hn::ShiftRight<8>(most16));
  const Bytes outside = hn::OddEven(hn::BitCast(d, odd), hn::BitCast(d, hn::ShiftRight<8>(even)));
  const auto inside = hn::Eq(hn::And(outside, hn::Set(d, std::uint8_t{0x80})), hn::Zero(d));
  const auto is_visible = hn::Ne(pixels.fourth, hn::Zero(d));
  return hn::And(hn::And(inside, is_visible), IsAtLeast(delta, search.least_delta));
}

// ---- the rows ----

/// Candidates are collected from as many groups and rows as it takes, then recoloured together.
constexpr std::uint32_t kEnoughCandidates = 512;
constexpr std::uint32_t kMostCandidates = kEnoughCandidates + kGroupPixels;

/// A group or the rest of a row, and which of its pixels are candidates.
struct Source {
  std::uint8_t* pixels;
  std::uint64_t bits;
  bool is_whole;
};

struct Candidates {
  Source sources[kMostCandidates];  ///< none without a candidate
  std::uint32_t source_count = 0;
  std::uint32_t count = 0;
  /// Packed together. Packing stores a vector at a time and recolouring a group, both beyond the
  /// last one.
  alignas(64) std::uint8_t pixels[(kMostCandidates + kGroupPixels) * 4];
};

/// What is added to bytes and subtracted from them, each within 0 to 255; one of them is 0.
struct Move {
  Bytes up, down;
};

HWY_INLINE Move MoveBy(int difference) {
  return {hn::Set(D8(), ClampTo(difference, 255)), hn::Set(D8(), ClampTo(-difference, 255))};
}

HWY_INLINE Bytes Moved(Bytes values, const Move& move) {
  return hn::SaturatedSub(hn::SaturatedAdd(values, move.up), move.down);
}

/// Recolours the packed candidates whose exact hue matches.
void RecolorPacked(const Recoloring& recoloring, const HueSearch& search, Candidates& candidates) {
  const D8 d;
  const Bytes first_hue = hn::Set(d, search.first_hue);
  const Bytes last_hue = hn::Set(d, search.last_hue);
  const Move hue_move = MoveBy(recoloring.replacement_hue - recoloring.find_hue);
  const Move saturation_move = MoveBy(recoloring.saturation_difference);
  const Move value_move = MoveBy(recoloring.value_difference);
  std::uint8_t* const end = candidates.pixels + std::size_t{candidates.count} * 4;
  for (std::uint32_t i = 0; i < 4; ++i) hn::StoreU(hn::Zero(d), d, end + i * kGroupPixels);
  for (std::uint8_t* group = candidates.pixels; group < end; group += 4 * kGroupPixels) {
    const Planes pixels = LoadPlanes(group);
    const Planes hsv = HsvFromPlanes(pixels);
    const Planes moved =
        PlanesFromHsv({Moved(hsv.first, hue_move), Moved(hsv.second, saturation_move),
                       Moved(hsv.third, value_move), hsv.fourth});
    const auto matches = hn::Eq(hn::Min(hn::Max(hsv.first, first_hue), last_hue), hsv.first);
    StorePlanes({hn::IfThenElse(matches, moved.first, pixels.first),
                 hn::IfThenElse(matches, moved.second, pixels.second),
                 hn::IfThenElse(matches, moved.third, pixels.third), pixels.fourth},
                group);
  }
}

/// Recolours what was collected, puts it back and starts over.
void RecolorCandidates(const Recoloring& recoloring, const HueSearch& search,
                       Candidates& candidates) {
  RecolorPacked(recoloring, search, candidates);
  const std::uint8_t* packed = candidates.pixels;
  for (std::uint32_t i = 0; i < candidates.source_count; ++i) {
    const Source& source = candidates.sources[i];
    if (source.is_whole) {
      UnpackGroup(packed, source.bits, source.pixels);
    } else {
      UnpackOneByOne(packed, source.bits, source.pixels);
    }
    packed += hwy::PopCount(source.bits) * 4;
  }
  candidates.source_count = 0;
  candidates.count = 0;
}

HWY_INLINE void Collect(const Source& source, Candidates& candidates) {
  std::uint8_t* const packed = candidates.pixels + std::size_t{candidates.count} * 4;
  if (source.is_whole) {
    PackGroup(source.pixels, source.bits, packed);
  } else {
    PackOneByOne(source.pixels, source.bits, packed);
  }
  candidates.count += static_cast<std::uint32_t>(hwy::PopCount(source.bits));
  candidates.sources[candidates.source_count++] = source;
}

/// The bits of the candidates among the pixels of a group.
HWY_INLINE std::uint64_t CandidatesOfGroup(const HueSearch& search, const std::uint8_t* pixels) {
  const auto mask = FindCandidates(search, LoadPlanes(pixels));
  return hn::AllFalse(D8(), mask) ? 0 : BitsInPixelOrder(mask);
}

/// The same of `count` pixels, fewer than a group, which are looked at in a copy that goes on with
/// pixels of alpha 0.
HWY_INLINE std::uint64_t CandidatesOfRest(const HueSearch& search, const std::uint8_t* pixels,
                                          std::uint32_t count) {
  alignas(64) std::uint8_t group[kGroupPixels * 4] = {};
  for (std::uint32_t i = 0; i < count; ++i) hwy::CopyBytes<4>(pixels + i * 4, group + i * 4);
  return CandidatesOfGroup(search, group);
}

void RecolorRows(const Recoloring& recoloring, const MutableImageView& image) {
  const HueSearch search = MakeHueSearch(recoloring);
  Candidates candidates;
  for (std::uint32_t y = 0; y < image.height; ++y) {
    std::uint8_t* pixels = image.Row(y);
    for (std::uint32_t left = image.width; left != 0;) {
      const bool is_whole = left >= kGroupPixels;
      const std::uint32_t count = is_whole ? kGroupPixels : left;
      const std::uint64_t bits =
          is_whole ? CandidatesOfGroup(search, pixels) : CandidatesOfRest(search, pixels, count);
      if (bits != 0) {
        Collect({pixels, bits, is_whole}, candidates);
        if (candidates.count >= kEnoughCandidates) {
          RecolorCandidates(recoloring, search, candidates);
        }
      }
      pixels += std::size_t{count} * 4;
      left -= count;
    }
  }
  RecolorCandidates(recoloring, search, candidates);
}

// ---- conversions of arrays ----

void HsvFromPixels(const std::uint8_t* pixels, std::uint32_t count, std::uint8_t* hsv) {
  std::uint32_t x = 0;
  for (; count - x >= kGroupPixels; x += kGroupPixels) {
    StorePlanes(HsvFromPlanes(LoadPlanes(pixels + std::size_t{x} * 4)), hsv + std::size_t{x} * 4);
  }
  kPlainRecolorKernels.hsv_from_pixels(pixels + std::size_t{x} * 4, count - x,
                                       hsv + std::size_t{x} * 4);
}

void PixelsFromHsv(const std::uint8_t* hsv, std::uint32_t count, std::uint8_t* pixels) {
  std::uint32_t x = 0;
  for (; count - x >= kGroupPixels; x += kGroupPixels) {
    StorePlanes(PlanesFromHsv(LoadPlanes(hsv + std::size_t{x} * 4)), pixels + std::size_t{x} * 4);
  }
  kPlainRecolorKernels.pixels_from_hsv(hsv + std::size_t{x} * 4, count - x,
                                       pixels + std::size_t{x} * 4);
}

const RecolorKernels& Kernels() {
  static const RecolorKernels kernels{
      .target = hwy::TargetName(HWY_TARGET),
      .rows = RecolorRows,
      .hsv_from_pixels = HsvFromPixels,
      .pixels_from_hsv = PixelsFromHsv,
  };
  return kernels;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixtola {

HWY_EXPORT(Kernels);

const RecolorKernels& BestRecolorKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola
#endif
