// Error diffusion in vectors of bytes, compiled once for each instruction set.
//
// A lane is an image row (see diffusion_wavefront.h). Errors have nine bits, but only their
// quarters, eighths and sixteenths are ever used, and these fit bytes: AverageRound(a, b), which is
// (a + b + 1) >> 1 without loss of the ninth bit, gives them with an offset in place of the sign.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/pixels/diffusion/diffusion_kernels_simd.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "base/memory.h"
#include "convert/pixels/diffusion/diffusion_kernels.h"
#include "convert/pixels/diffusion/diffusion_wavefront.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const DiffusionKernels& Kernels() { return kPlainDiffusionKernels; }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using V = hn::Vec<Bytes>;
using SixteenBytes = hn::CappedTag<std::uint8_t, 16>;

constexpr std::size_t kVectorLanes = hn::MaxLanes(Bytes());
constexpr std::size_t kLanes = 2 * kVectorLanes;
constexpr std::size_t kBlock = DiffusionWavefront::kBlock;
constexpr std::size_t kPrefetchBytes = 256;

/// Rows that are made gray at once. Lanes must fill up and run empty in each piece, so the more
/// rows the better, as long as their memory is quickly allocated and stays in the cache.
constexpr std::uint32_t kPieceRows = 512;
static_assert(kPieceRows % kLanes == 0);

/// In smaller images most lanes would be outside their rows most of the time.
constexpr std::uint32_t kFewestColumns = 40;
constexpr std::uint32_t kFewestRows = 8;

/// The lanes: two vectors, so that one is computed while the other one waits for its last result.
struct Pair {
  // Constructors that the compiler generates are not compiled for this instruction set on all
  // architectures.
  HWY_INLINE Pair() {}
  HWY_INLINE Pair(V lower_vector, V upper_vector) : lower(lower_vector), upper(upper_vector) {}

  V lower, upper;
};

HWY_INLINE Pair Both(V v) { return {v, v}; }
HWY_INLINE Pair Load(const std::uint8_t* bytes) {
  return {hn::Load(Bytes(), bytes), hn::Load(Bytes(), bytes + kVectorLanes)};
}
HWY_INLINE Pair LoadU(const std::uint8_t* bytes) {
  return {hn::LoadU(Bytes(), bytes), hn::LoadU(Bytes(), bytes + kVectorLanes)};
}
HWY_INLINE void Store(Pair v, std::uint8_t* bytes) {
  hn::Store(v.lower, Bytes(), bytes);
  hn::Store(v.upper, Bytes(), bytes + kVectorLanes);
}
HWY_INLINE Pair Add(Pair a, Pair b) {
  return {hn::Add(a.lower, b.lower), hn::Add(a.upper, b.upper)};
}
HWY_INLINE Pair Sub(Pair a, Pair b) {
  return {hn::Sub(a.lower, b.lower), hn::Sub(a.upper, b.upper)};
}
HWY_INLINE Pair SaturatedAdd(Pair a, Pair b) {
  return {hn::SaturatedAdd(a.lower, b.lower), hn::SaturatedAdd(a.upper, b.upper)};
}
HWY_INLINE Pair SaturatedSub(Pair a, Pair b) {
  return {hn::SaturatedSub(a.lower, b.lower), hn::SaturatedSub(a.upper, b.upper)};
}
HWY_INLINE Pair Min(Pair a, Pair b) {
  return {hn::Min(a.lower, b.lower), hn::Min(a.upper, b.upper)};
}
HWY_INLINE Pair Max(Pair a, Pair b) {
  return {hn::Max(a.lower, b.lower), hn::Max(a.upper, b.upper)};
}
HWY_INLINE Pair AverageRound(Pair a, Pair b) {
  return {hn::AverageRound(a.lower, b.lower), hn::AverageRound(a.upper, b.upper)};
}
HWY_INLINE Pair Or(Pair a, Pair b) { return {hn::Or(a.lower, b.lower), hn::Or(a.upper, b.upper)}; }
HWY_INLINE Pair AndNot(Pair a, Pair b) {
  return {hn::AndNot(a.lower, b.lower), hn::AndNot(a.upper, b.upper)};
}
/// The lanes of odd number from `odd`, the others from `even`.
HWY_INLINE Pair OddEven(Pair odd, Pair even) {
  return {hn::OddEven(odd.lower, even.lower), hn::OddEven(odd.upper, even.upper)};
}

/// The lanes in which a value is below the threshold. AVX-512 has masks, and masked operations at
/// no extra cost; elsewhere a comparison that needs the larger of both, as the caller does, is
/// best.
#if HWY_TARGET <= HWY_AVX3

struct Black {
  __mmask64 lower, upper;
};
HWY_INLINE Black IsBlack(Pair value, Pair threshold, Pair /*at_least*/) {
  return {_mm512_cmplt_epu8_mask(value.lower.raw, threshold.lower.raw),
          _mm512_cmplt_epu8_mask(value.upper.raw, threshold.upper.raw)};
}
/// max(a, b) of the black lanes and 0 of the others.
HWY_INLINE Pair MaxIfBlack(Black black, Pair a, Pair b) {
  return {V{_mm512_maskz_max_epu8(black.lower, a.lower.raw, b.lower.raw)},
          V{_mm512_maskz_max_epu8(black.upper, a.upper.raw, b.upper.raw)}};
}
/// Makes room for a bit in each byte and sets it where the lane is white.
HWY_INLINE Pair AppendWhite(Black black, Pair bits) {
  const Pair one = Both(hn::Set(Bytes(), 1));
  const Pair moved = Add(bits, bits);
  return {V{_mm512_mask_add_epi8(moved.lower.raw, ~black.lower, moved.lower.raw, one.lower.raw)},
          V{_mm512_mask_add_epi8(moved.upper.raw, ~black.upper, moved.upper.raw, one.upper.raw)}};
}

#else

struct Black {
  Pair white;
};
HWY_INLINE Black IsBlack(Pair value, Pair /*threshold*/, Pair at_least) {
  const Bytes d;
  return {{hn::VecFromMask(d, hn::Eq(value.lower, at_least.lower)),
           hn::VecFromMask(d, hn::Eq(value.upper, at_least.upper))}};
}
HWY_INLINE Pair MaxIfBlack(Black black, Pair a, Pair b) { return AndNot(black.white, Max(a, b)); }
HWY_INLINE Pair AppendWhite(Black black, Pair bits) { return Sub(Add(bits, bits), black.white); }

#endif

/// Each lane's byte from the lane above it in `v`; the highest one gets the first byte of `above`.
HWY_INLINE V FromLaneAbove(V above, V v) {
  const Bytes d;
#if HWY_TARGET <= HWY_AVX3
  const V next_blocks{_mm512_alignr_epi64(above.raw, v.raw, 2)};
  return hn::CombineShiftRightBytes<1>(d, next_blocks, v);
#elif HWY_TARGET <= HWY_AVX2
  return hn::CombineShiftRightBytes<1>(d, hn::ConcatLowerUpper(d, above, v), v);
#else
  return hn::CombineShiftRightBytes<1>(d, above, v);
#endif
}
HWY_INLINE Pair FromLaneAbove(const std::uint8_t* above, Pair v) {
  return {FromLaneAbove(v.upper, v.lower), FromLaneAbove(hn::LoadU(Bytes(), above), v.upper)};
}

HWY_INLINE void StoreLowest16(Pair v, std::uint8_t* bytes) {
#if HWY_TARGET <= HWY_AVX3
  hn::StoreU(hn::LowerHalf(hn::LowerHalf(v.lower)), SixteenBytes(), bytes);
#elif HWY_TARGET <= HWY_AVX2
  hn::StoreU(hn::LowerHalf(v.lower), SixteenBytes(), bytes);
#else
  hn::StoreU(v.lower, SixteenBytes(), bytes);
#endif
}

// The parts of an error e are kept as bytes with an offset:
//   quarter    128 + (e >> 2)
//   eighth     128 + (e >> 3)
//   sixteenth  192 + (e >> 4)
// What a pixel passes on to the row below is kept as two sums, modulo 256, named after the columns
// that they come from, next to the one they are for and two away:
//   near       128 - (quarter above) - (eighths left and right of it)
//   far        128 + (sixteenths two columns left and right)
// The near sum is negative because a value is gray - near + (far + eighth + quarter of this row):
// both sides of that difference are between 0 and 255, so that saturating operations are exact.
// Only three errors of -249 or less side by side could make a near sum of more than 255, and the
// one in the middle would have to be -253. This takes a threshold of 1 or 2. The values of black
// pixels are then 0 or 1 and pass on nothing, so that the pixel after an error of -249 has at most
// 192.
constexpr std::uint8_t kNoQuarter = 128;
constexpr std::uint8_t kNoEighth = 128;
constexpr std::uint8_t kNoSixteenth = 192;
constexpr std::uint8_t kNoNear = 128;
constexpr std::uint8_t kNoFar = 128;

/// What the lanes remember of the last steps, each by step modulo its length.
struct LaneState {
  HWY_INLINE LaneState() {}

  Pair quarter[2];
  Pair eighth[4];
  Pair sixteenth[4];
  Pair near[4];
  Pair far[2];
  Pair white;  ///< the last 8 results of each lane
};

struct Constants {
  Pair threshold, low, high;
  Pair white_base;  ///< 255 + threshold
};

/// Where a block of steps reads and writes.
struct BlockMemory {
  const std::uint8_t* gray;  // a byte for each lane in each step
  const std::uint8_t* upper_near;
  const std::uint8_t* upper_far;
  std::uint8_t* lower_near;
  std::uint8_t* lower_far;
  const std::uint8_t* inactive[DiffusionWavefront::kLag];
  std::uint8_t* white;  // a byte for each lane for every 8 steps

  /// To the next eight steps.
  HWY_INLINE void Advance() {
    gray += 8 * kLanes;
    upper_near += 8;
    upper_far += 8;
    lower_near += 8;
    lower_far += 8;
    for (const std::uint8_t*& table : inactive) table += 8 / DiffusionWavefront::kLag;
    white += kLanes;
  }
};

/// gray - near + plus, kept between 0 and 255. One of the two differences is 0.
HWY_INLINE Pair Value(Pair gray, Pair near, Pair plus) {
  return SaturatedAdd(SaturatedSub(plus, SaturatedSub(near, gray)), SaturatedSub(gray, near));
}

/// One of eight steps.
template <std::size_t kStep, bool kMasked>
HWY_INLINE void Step(const Constants& constants, const BlockMemory& memory, LaneState& state) {
  const Pair half = Both(hn::Set(Bytes(), 127));
  const Pair full = Both(hn::Set(Bytes(), 255));
  constexpr int kNearBase = kNoNear + kNoQuarter + 2 * kNoEighth;
  const Pair near_base = Both(hn::Set(Bytes(), static_cast<std::uint8_t>(kNearBase)));
  const Pair quarter1 = state.quarter[(kStep + 1) % 2];
  const Pair eighth2 = state.eighth[(kStep + 2) % 4];
  const Pair sixteenth4 = state.sixteenth[kStep % 4];
  // Sums that were finished one column to the left in step - 3 and two in step - 2.
  const Pair near_done = state.near[(kStep + 1) % 4];
  const Pair far_done = state.far[kStep % 2];

  StoreLowest16(near_done, memory.lower_near + kStep);
  StoreLowest16(far_done, memory.lower_far + kStep);
  const Pair near = FromLaneAbove(memory.upper_near + kStep, near_done);
  const Pair far = FromLaneAbove(memory.upper_far + kStep, far_done);
  const Pair gray = Load(memory.gray + kStep * kLanes);
  const Pair value = Value(gray, near, Add(Add(far, eighth2), quarter1));

  // A white lane has 255 - (its value - threshold) and 0, a black one 255 and its value.
  const Pair at_least = Max(value, constants.threshold);
  const Black black = IsBlack(value, constants.threshold, at_least);
  Pair white_part = Sub(constants.white_base, Min(at_least, constants.high));
  Pair black_part = MaxIfBlack(black, value, constants.low);
  state.white = AppendWhite(black, state.white);
  if constexpr (kMasked) {
    const Pair inactive =
        LoadU(memory.inactive[kStep % DiffusionWavefront::kLag] + kStep / DiffusionWavefront::kLag);
    const Pair one = Both(hn::Set(Bytes(), 1));
    white_part = Or(white_part, inactive);
    black_part = AndNot(inactive, black_part);
    state.white = AndNot(Min(inactive, one), state.white);
  }

  const Pair quarter = AverageRound(AverageRound(white_part, black_part), half);
  const Pair eighth = AverageRound(quarter, half);
  const Pair sixteenth = AverageRound(eighth, full);
  state.near[kStep % 4] = Sub(Sub(Sub(near_base, quarter1), eighth2), eighth);
  state.far[kStep % 2] = Add(sixteenth4, sixteenth);
  state.quarter[kStep % 2] = quarter;
  state.eighth[kStep % 4] = eighth;
  state.sixteenth[kStep % 4] = sixteenth;
}

template <bool kMasked>
HWY_NOINLINE void RunBlock(const Constants& constants, const BlockMemory& memory,
                           LaneState& state) {
  // Local copies, to which nobody else has a pointer, so that they can stay in registers.
  const Constants fixed = constants;
  BlockMemory places = memory;
  LaneState local = state;
#pragma GCC unroll 2
  for (std::size_t step = 0; step < kBlock; step += 8) {
    Step<0, kMasked>(fixed, places, local);
    Step<1, kMasked>(fixed, places, local);
    Step<2, kMasked>(fixed, places, local);
    Step<3, kMasked>(fixed, places, local);
    // The odd rows of the band, which are the lanes of even number, have now completed a byte.
    const Pair odd_rows = local.white;
    Step<4, kMasked>(fixed, places, local);
    Step<5, kMasked>(fixed, places, local);
    Step<6, kMasked>(fixed, places, local);
    Step<7, kMasked>(fixed, places, local);
    Store(OddEven(local.white, odd_rows), places.white);
    places.Advance();
  }
  state = local;
}

/// Transposes 16 x 16 bytes in each block of 16 lanes of 16 vectors.
HWY_INLINE void Transpose(V* v) {
  const Bytes d;
  V w[16];
  for (int twice = 0; twice < 2; ++twice) {
    for (std::size_t i = 0; i < 8; ++i) {
      w[2 * i] = hn::InterleaveLower(d, v[i], v[i + 8]);
      w[2 * i + 1] = hn::InterleaveUpper(d, v[i], v[i + 8]);
    }
    for (std::size_t i = 0; i < 8; ++i) {
      v[2 * i] = hn::InterleaveLower(d, w[i], w[i + 8]);
      v[2 * i + 1] = hn::InterleaveUpper(d, w[i], w[i + 8]);
    }
  }
}

/// 16 bytes of each of the lanes 0, 16, 32 ... of a vector.
HWY_INLINE V LoadLanes(const std::uint8_t* const* lanes, std::size_t offset) {
  const SixteenBytes d16;
#if HWY_TARGET <= HWY_AVX3
  const hn::Half<Bytes> half;
  return hn::Combine(
      Bytes(),
      hn::Combine(half, hn::LoadU(d16, lanes[48] + offset), hn::LoadU(d16, lanes[32] + offset)),
      hn::Combine(half, hn::LoadU(d16, lanes[16] + offset), hn::LoadU(d16, lanes[0] + offset)));
#elif HWY_TARGET <= HWY_AVX2
  return hn::Combine(Bytes(), hn::LoadU(d16, lanes[16] + offset),
                     hn::LoadU(d16, lanes[0] + offset));
#else
  return hn::LoadU(d16, lanes[0] + offset);
#endif
}

/// 16 bytes of each lane to a byte of each lane for 16 steps.
HWY_NOINLINE void LoadGray(const std::uint8_t* const* lanes, std::size_t offset,
                           std::uint8_t* gray) {
  for (std::size_t lane = 0; lane < kLanes; lane += kVectorLanes) {
    V v[16];
    for (std::size_t i = 0; i < 16; ++i) v[i] = LoadLanes(lanes + lane + i, offset);
    Transpose(v);
    for (std::size_t i = 0; i < 16; ++i) hn::Store(v[i], Bytes(), gray + i * kLanes + lane);
  }
}

/// So many rows at once are more than processors prefetch by themselves. Every lane comes to a new
/// cache line once in four blocks; each block prefetches those of a quarter of the lanes, some
/// lines in advance.
HWY_INLINE void PrefetchGray(const std::uint8_t* const* lanes, std::size_t offset,
                             std::size_t block) {
  for (std::size_t lane = block % 4; lane < kLanes; lane += 4) {
    hwy::Prefetch(lanes[lane] + offset + kPrefetchBytes);
  }
}

/// The other way round.
HWY_NOINLINE void TransposeWhite(const std::uint8_t* white, std::uint8_t* lane_bytes) {
  const SixteenBytes d16;
  HWY_ALIGN std::uint8_t blocks[kVectorLanes];
  for (std::size_t lane = 0; lane < kLanes; lane += kVectorLanes) {
    V v[16];
    for (std::size_t i = 0; i < 16; ++i) v[i] = hn::Load(Bytes(), white + i * kLanes + lane);
    Transpose(v);
    for (std::size_t i = 0; i < 16; ++i) {
      hn::Store(v[i], Bytes(), blocks);
      for (std::size_t b = 0; b < kVectorLanes; b += 16) {
        hn::StoreU(hn::Load(d16, blocks + b), d16, lane_bytes + (lane + b + i) * 16);
      }
    }
  }
}

LaneState StateWithoutErrors() {
  const auto both = [](std::uint8_t value) HWY_ATTR { return Both(hn::Set(Bytes(), value)); };
  LaneState state;
  for (Pair& quarter : state.quarter) quarter = both(kNoQuarter);
  for (Pair& eighth : state.eighth) eighth = both(kNoEighth);
  for (Pair& sixteenth : state.sixteenth) sixteenth = both(kNoSixteenth);
  for (Pair& near : state.near) near = both(kNoNear);
  for (Pair& far : state.far) far = both(kNoFar);
  state.white = both(0);
  return state;
}

Constants ConstantsOf(const DiffusionLevels& levels) {
  const auto both = [](int value) HWY_ATTR {
    return Both(hn::Set(Bytes(), static_cast<std::uint8_t>(value)));
  };
  return {.threshold = both(levels.threshold),
          .low = both(levels.low),
          .high = both(levels.high),
          .white_base = both(255 + levels.threshold)};
}

/// All rows of a piece.
void RunBands(const DiffusionLevels& levels, DiffusionWavefront& wavefront) {
  const Constants constants = ConstantsOf(levels);
  LaneState state = StateWithoutErrors();
  HWY_ALIGN std::uint8_t gray[kBlock * kLanes];
  HWY_ALIGN std::uint8_t white[16 * kLanes];
  HWY_ALIGN std::uint8_t lane_bytes[16 * kLanes];
  const std::uint8_t* lanes[kLanes];
  for (std::uint64_t band = 0; band <= wavefront.bands(); ++band) {
    wavefront.EnterBand(band);
    const std::uint64_t steps = wavefront.StepsOfBand(band);
    std::uint32_t bytes = 0;
    std::size_t offset = 0;
    for (std::uint64_t step = 0; step < steps; step += kBlock) {
      offset += kBlock;
      if (!wavefront.IsAsBefore(step)) {
        wavefront.PointLanes(step, lanes);
        offset = 0;
      }
      PrefetchGray(lanes, offset, step / kBlock);
      LoadGray(lanes, offset, gray);
      BlockMemory memory{.gray = gray,
                         .upper_near = wavefront.UpperNear(step),
                         .upper_far = wavefront.UpperFar(step),
                         .lower_near = wavefront.LowerNear(step),
                         .lower_far = wavefront.LowerFar(step),
                         .inactive = {},
                         .white = white + std::size_t{bytes} * kLanes};
      for (std::size_t i = 0; i < DiffusionWavefront::kLag; ++i) {
        memory.inactive[i] = wavefront.InactiveLanes(step + i);
      }
      if (wavefront.HasInactiveLanes(step)) {
        RunBlock<true>(constants, memory, state);
      } else {
        RunBlock<false>(constants, memory, state);
      }
      bytes += kBlock / 8;
      if (bytes == 16 || step + kBlock == steps) {
        TransposeWhite(white, lane_bytes);
        wavefront.StoreBytes((step + kBlock) / 8 - bytes, bytes, lane_bytes);
        bytes = 0;
      }
    }
  }
}

int Diffuse(const DiffusionLevels& levels, const GrayReader& gray,
            const MutableImageView& destination) {
  const std::uint32_t width = destination.width;
  const std::uint32_t height = destination.height;
  if (width < kFewestColumns || height < kFewestRows) {
    return kPlainDiffusionKernels.diffuse(levels, gray, destination);
  }
  if (DiffuseWithoutErrors(levels, destination)) return 1;
  const std::uint32_t rows_of_piece = HWY_MIN(height, kPieceRows);
  const auto pixels = Allocate<std::uint8_t>(std::uint64_t{rows_of_piece} * width);
  DiffusionWavefront wavefront(width, kLanes);
  if (pixels == nullptr || !wavefront.IsReady()) return 0;
  wavefront.FillRows(kNoNear, kNoFar);
  for (std::uint32_t y = 0; y < height;) {
    const std::uint32_t rows = HWY_MIN(height - y, kPieceRows);
    gray.Read(y, rows, pixels.get(), width);
    wavefront.EnterPiece(pixels.get(), destination.Rows(y, rows));
    RunBands(levels, wavefront);
    y += rows;
  }
  return 1;
}

const DiffusionKernels& Kernels() {
  static const DiffusionKernels kernels{
      .target = hwy::TargetName(HWY_TARGET),
      .diffuse = Diffuse,
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

const DiffusionKernels& BestDiffusionKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola
#endif
