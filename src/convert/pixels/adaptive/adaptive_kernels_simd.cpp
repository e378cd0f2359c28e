// The inner steps of the adaptive bilevel conversion in vectors, compiled once for each instruction
// set.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/pixels/adaptive/adaptive_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "convert/pixels/adaptive/adaptive_bands.h"
#include "convert/pixels/adaptive/adaptive_kernels.h"

HWY_BEFORE_NAMESPACE();

#if HWY_TARGET == HWY_AVX3_DL
// The processors of this target multiply bytes and add up the products in one instruction. Highway
// 1.0.3 asks the compiler for its shorter encoding only, an extension that not all of them have.
// Vectors of 64 bytes have no such encoding; no others may use these products.
#pragma GCC push_options
#pragma GCC target("avx512vnni")
#endif

namespace pixtola {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const AdaptiveKernels& Kernels() { return kPlainAdaptiveKernels; }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
/// A row of one cell, for the last cells of a row.
using CellBytes = hn::CappedTag<std::uint8_t, kCellSize>;

template <class D>
constexpr std::uint32_t kLanes = static_cast<std::uint32_t>(hn::MaxLanes(D()));

// ------------------------------------------------------------------------------ levels of cells

/// Adds up rows of cells; each block of 16 bytes is one cell's. The totals of a cell are spread
/// over the four 32-bit lanes of its block.
template <class D>
class LevelSums {
 public:
  HWY_INLINE LevelSums()
      : sums_(hn::Zero(D32())), squares_(hn::Zero(D32())), minima_(hn::Set(D(), 255)) {}

  HWY_INLINE void Add(hn::Vec<D> values) {
    minima_ = hn::Min(minima_, values);
    sums_ = hn::Add(sums_, hn::BitCast(D32(), hn::SumsOf8(values)));
    const D16 d16;
    const auto even = hn::BitCast(d16, hn::And(values, hn::BitCast(D(), hn::Set(d16, 0x00FF))));
    const auto odd = hn::BitCast(d16, hn::ShiftRight<8>(hn::BitCast(DU16(), values)));
    AddSquares(even);
    AddSquares(odd);
  }

  HWY_INLINE hn::Vec<hn::Repartition<std::uint32_t, D>> sums() const { return sums_; }
  HWY_INLINE hn::Vec<hn::Repartition<std::uint32_t, D>> squares() const {
    return hn::BitCast(D32(), squares_);
  }
  HWY_INLINE hn::Vec<D> minima() const { return minima_; }

 private:
  using D32 = hn::Repartition<std::uint32_t, D>;
  using DI32 = hn::Repartition<std::int32_t, D>;
  using D16 = hn::Repartition<std::int16_t, D>;
  using DU16 = hn::Repartition<std::uint16_t, D>;

  HWY_INLINE void AddSquares(hn::Vec<D16> values) {
    auto rest = hn::Zero(DI32());
    const auto sum =
        hn::ReorderWidenMulAccumulate(DI32(), values, values, hn::BitCast(DI32(), squares_), rest);
    squares_ = hn::BitCast(D32(), hn::Add(sum, rest));
  }

  hn::Vec<D32> sums_;
  hn::Vec<D32> squares_;
  hn::Vec<D> minima_;
};

#if HWY_TARGET == HWY_AVX3_DL

// Four products of an unsigned with a signed byte are added up at once there. The signed factor of
// a square is the value minus 128; the sum of the values makes up for it.

HWY_INLINE hn::Vec512<std::int32_t> AddProducts(hn::Vec512<std::int32_t> sum,
                                                hn::Vec512<std::uint8_t> a,
                                                hn::Vec512<std::uint8_t> b) {
  return hn::Vec512<std::int32_t>{_mm512_dpbusd_epi32(sum.raw, a.raw, b.raw)};
}

template <>
class LevelSums<Bytes> {
 public:
  HWY_INLINE LevelSums()
      : sums_(hn::Zero(DI32())), products_(hn::Zero(DI32())), minima_(hn::Set(Bytes(), 255)) {}

  HWY_INLINE void Add(hn::Vec<Bytes> values) {
    minima_ = hn::Min(minima_, values);
    sums_ = AddProducts(sums_, values, hn::Set(Bytes(), 1));
    products_ = AddProducts(products_, values, hn::Xor(values, hn::Set(Bytes(), 128)));
  }

  HWY_INLINE hn::Vec<hn::Repartition<std::uint32_t, Bytes>> sums() const {
    return hn::BitCast(D32(), sums_);
  }
  HWY_INLINE hn::Vec<hn::Repartition<std::uint32_t, Bytes>> squares() const {
    return hn::BitCast(D32(), hn::Add(products_, hn::ShiftLeft<7>(sums_)));
  }
  HWY_INLINE hn::Vec<Bytes> minima() const { return minima_; }

 private:
  using D32 = hn::Repartition<std::uint32_t, Bytes>;
  using DI32 = hn::Repartition<std::int32_t, Bytes>;

  hn::Vec<DI32> sums_;
  hn::Vec<DI32> products_;
  hn::Vec<Bytes> minima_;
};

#endif

/// The sum of the four lanes of each block, in all of them.
template <class V>
HWY_INLINE V SumOfBlock(V v) {
  v = hn::Add(v, hn::Shuffle1032(v));
  return hn::Add(v, hn::Shuffle2301(v));
}

/// The smallest of the sixteen bytes of each block, in the lowest byte of each lane.
template <class D32, class V>
HWY_INLINE hn::Vec<D32> MinimumOfBlock(D32 d32, V v) {
  const hn::DFromV<V> d;
  v = hn::Min(v, hn::BitCast(d, hn::Shuffle1032(hn::BitCast(d32, v))));
  v = hn::Min(v, hn::BitCast(d, hn::Shuffle2301(hn::BitCast(d32, v))));
  v = hn::Min(v, hn::BitCast(d, hn::ShiftRight<16>(hn::BitCast(d32, v))));
  v = hn::Min(v, hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(d32, v))));
  return hn::BitCast(d32, v);
}

template <class D>
HWY_INLINE void StoreLevels(D /* d */, const LevelSums<D>& sums_of_cells, std::uint32_t cell,
                            const CellLevels& levels) {
  constexpr std::uint32_t kCells = kLanes<D> / kCellSize;
  const hn::Repartition<std::uint32_t, D> d32;
  HWY_ALIGN std::uint32_t sums[kCells * 4];
  HWY_ALIGN std::uint32_t squares[kCells * 4];
  HWY_ALIGN std::uint32_t minima[kCells * 4];
  hn::Store(SumOfBlock(sums_of_cells.sums()), d32, sums);
  hn::Store(SumOfBlock(sums_of_cells.squares()), d32, squares);
  hn::Store(MinimumOfBlock(d32, sums_of_cells.minima()), d32, minima);
  for (std::uint32_t i = 0; i < kCells; ++i) {
    levels.sums[cell + i] = sums[i * 4];
    levels.squares[cell + i] = squares[i * 4];
    levels.minima[cell + i] = static_cast<std::uint8_t>(minima[i * 4]);
  }
}

template <class D>
std::uint32_t MeasureCellsWith(D d, const std::uint8_t* gray, std::size_t stride,
                               std::uint32_t rows, std::uint32_t cell, std::uint32_t cells,
                               const CellLevels& levels) {
  constexpr std::uint32_t kCells = kLanes<D> / kCellSize;
  for (; cells - cell >= 2 * kCells; cell += 2 * kCells) {
    LevelSums<D> left, right;
    const std::uint8_t* row = gray + std::size_t{cell} * kCellSize;
    for (std::uint32_t y = 0; y < rows; ++y, row += stride) {
      left.Add(hn::LoadU(d, row));
      right.Add(hn::LoadU(d, row + kLanes<D>));
    }
    StoreLevels(d, left, cell, levels);
    StoreLevels(d, right, cell + kCells, levels);
  }
  if (cells - cell >= kCells) {
    LevelSums<D> sums;
    const std::uint8_t* row = gray + std::size_t{cell} * kCellSize;
    for (std::uint32_t y = 0; y < rows; ++y, row += stride) sums.Add(hn::LoadU(d, row));
    StoreLevels(d, sums, cell, levels);
    cell += kCells;
  }
  return cell;
}

void MeasureCells(const std::uint8_t* gray, std::size_t stride, std::uint32_t rows,
                  std::uint32_t cells, const CellLevels& levels) {
  const std::uint32_t cell = MeasureCellsWith(Bytes(), gray, stride, rows, 0, cells, levels);
  MeasureCellsWith(CellBytes(), gray, stride, rows, cell, cells, levels);
}

// ------------------------------------------------------------------------------ values of cells

void CellValues(const CellLevels& levels, const Statistics* windows, std::uint32_t groups,
                std::uint8_t* values) {
  const hn::CappedTag<double, kCellsPerGroup> d;
  const hn::Rebind<std::int32_t, decltype(d)> d32;
  const hn::Rebind<std::uint8_t, decltype(d)> d8;
  constexpr std::uint32_t kStep = kLanes<decltype(d)>;
  const auto low_byte = hn::Set(d32, 255);
  for (std::size_t group = 0; group < groups; ++group) {
    const auto window_deviation = hn::Set(d, windows[group].deviation);
    const auto window_part = hn::Set(d, windows[group].mean * 0.1);
    for (std::size_t i = 0; i < kCellsPerGroup; i += kStep) {
      const std::size_t cell = group * kCellsPerGroup + i;
      const hn::RebindToUnsigned<decltype(d32)> du32;
      const auto sum32 = hn::BitCast(d32, hn::LoadU(du32, levels.sums + cell));
      const auto squares32 = hn::BitCast(d32, hn::LoadU(du32, levels.squares + cell));
      const auto mean32 = hn::ShiftRight<8>(sum32);
      // The sum of (value - mean)^2, multiplied out: 256 * mean^2 - 2 * mean * sum taken together.
      const auto both = hn::Mul(mean32, hn::Sub(hn::ShiftLeft<8>(mean32), hn::ShiftLeft<1>(sum32)));
      const auto differences = hn::PromoteTo(d, hn::Add(squares32, both));
      const auto mean = hn::PromoteTo(d, mean32);
      const auto least = hn::PromoteTo(d, hn::PromoteTo(d32, hn::LoadU(d8, levels.minima + cell)));

      // The definition's operations in the definition's order.
      const auto deviation = hn::Sqrt(hn::Mul(differences, hn::Set(d, 1.0 / kCellSamples)));
      const auto k = hn::Div(deviation, window_deviation);
      const auto k2 = hn::Mul(k, k);
      const auto cube_part =
          hn::Mul(hn::Mul(hn::Mul(k2, k), hn::Set(d, 0.05)), hn::Sub(mean, least));
      const auto square_part = hn::Mul(hn::Mul(k2, hn::Set(d, 0.02)), least);
      auto value = hn::Add(cube_part, hn::Mul(mean, hn::Set(d, 0.6)));
      value = hn::Add(value, square_part);
      value = hn::Add(value, hn::Div(window_part, mean));
      value = hn::IfThenElseZero(hn::Lt(value, hn::Set(d, 2147483648.0)), value);
      const auto truncated = hn::And(hn::DemoteTo(d32, value), low_byte);
      hn::StoreU(hn::DemoteTo(d8, truncated), d8, values + cell);
    }
  }
}

// ------------------------------------------------------------------------- averages around cells

template <class D16>
std::size_t SumColumnsWith(D16 d16, const std::uint8_t* const rows[kNeighbourhoodRows],
                           std::size_t cell, std::size_t cells, std::uint16_t* sums,
                           std::uint16_t* weighted_sums) {
  const hn::Rebind<std::uint8_t, D16> d8;
  constexpr std::uint32_t kMiddle = kNeighbourhoodRadius;
  for (; cells - cell >= kLanes<D16>; cell += kLanes<D16>) {
    auto sum = hn::PromoteTo(d16, hn::LoadU(d8, rows[kMiddle] + cell));
    // A row's weight is the number of these sums that it is in, not counting the last one.
    auto weighted = hn::Zero(d16);
    for (std::uint32_t i = 1; i <= kNeighbourhoodRadius; ++i) {
      weighted = hn::Add(weighted, sum);
      const auto above = hn::PromoteTo(d16, hn::LoadU(d8, rows[kMiddle - i] + cell));
      const auto below = hn::PromoteTo(d16, hn::LoadU(d8, rows[kMiddle + i] + cell));
      sum = hn::Add(sum, hn::Add(above, below));
    }
    hn::StoreU(sum, d16, sums + cell);
    hn::StoreU(weighted, d16, weighted_sums + cell);
  }
  return cell;
}

void SumColumns(const std::uint8_t* const rows[kNeighbourhoodRows], std::uint32_t groups,
                std::uint16_t* sums, std::uint16_t* weighted_sums) {
  const std::size_t cells = std::size_t{groups} * kCellsPerGroup;
  const std::size_t cell =
      SumColumnsWith(hn::ScalableTag<std::uint16_t>(), rows, 0, cells, sums, weighted_sums);
  SumColumnsWith(hn::CappedTag<std::uint16_t, kCellsPerGroup>(), rows, cell, cells, sums,
                 weighted_sums);
}

/// A sum of columns that may need more than 16 bits, in three parts that do not.
template <class V>
struct WeightedParts {
  V inner, outer, across;
};

template <class D16>
HWY_INLINE WeightedParts<hn::Vec<D16>> SumAround(D16 d16, const std::uint16_t* sums,
                                                 const std::uint16_t* weighted_sums) {
  auto sum = hn::LoadU(d16, sums);
  auto across = hn::Zero(d16);
  auto inner = hn::Zero(d16);
  for (std::uint32_t i = 1; i < kNeighbourhoodRadius; ++i) {
    inner = hn::Add(inner, sum);
    sum = hn::Add(sum, hn::Add(hn::LoadU(d16, sums - i), hn::LoadU(d16, sums + i)));
    across = hn::Add(across,
                     hn::Add(hn::LoadU(d16, weighted_sums - i), hn::LoadU(d16, weighted_sums + i)));
  }
  constexpr std::uint32_t kLast = kNeighbourhoodRadius;
  across = hn::Add(across, hn::Add(hn::LoadU(d16, weighted_sums - kLast),
                                   hn::LoadU(d16, weighted_sums + kLast)));
  return {inner, hn::Add(sum, hn::LoadU(d16, weighted_sums)), across};
}

/// The thresholds of half as many cells as a vector of sums has.
template <class D32, class V>
HWY_INLINE hn::Vec<D32> Thresholds(D32 d32, V inner, V outer, V across, V weight, int global) {
  const hn::Rebind<float, D32> df;
  const auto weighted = hn::Add(hn::PromoteTo(d32, inner),
                                hn::Add(hn::PromoteTo(d32, outer), hn::PromoteTo(d32, across)));
  // Both are whole numbers below 2^18. A quotient that is not whole is further from the next whole
  // number than the rounding error of the division, so it truncates to the same number.
  const auto quotient =
      hn::Div(hn::ConvertTo(df, weighted), hn::ConvertTo(df, hn::PromoteTo(d32, weight)));
  const auto local = hn::ConvertTo(d32, quotient);
  const auto up = hn::Max(hn::Sub(hn::Set(d32, global), local), hn::Zero(d32));
  const auto down = hn::Max(hn::Sub(local, hn::Set(d32, global)), hn::Zero(d32));
  // A quarter or three quarters of a difference never lead beyond 255 or below 0.
  const auto pull =
      hn::Sub(hn::ShiftRight<2>(hn::Add(up, hn::Add(up, up))), hn::ShiftRight<2>(down));
  return hn::Add(local, pull);
}

template <class D16>
std::size_t CellThresholdsWith(D16 d16, const std::uint16_t* sums,
                               const std::uint16_t* weighted_sums, const std::uint16_t* weights,
                               std::size_t cell, std::size_t cells, int global,
                               std::uint8_t* thresholds) {
  const hn::Half<D16> dh;
  const hn::RepartitionToWide<hn::RebindToSigned<D16>> d32;
  const hn::Rebind<std::uint8_t, decltype(d32)> d8;
  for (; cells - cell >= kLanes<D16>; cell += kLanes<D16>) {
    const auto parts = SumAround(d16, sums + cell, weighted_sums + cell);
    const auto weight = hn::LoadU(d16, weights + cell);
    const auto lower =
        Thresholds(d32, hn::LowerHalf(dh, parts.inner), hn::LowerHalf(dh, parts.outer),
                   hn::LowerHalf(dh, parts.across), hn::LowerHalf(dh, weight), global);
    const auto upper =
        Thresholds(d32, hn::UpperHalf(dh, parts.inner), hn::UpperHalf(dh, parts.outer),
                   hn::UpperHalf(dh, parts.across), hn::UpperHalf(dh, weight), global);
    hn::StoreU(hn::DemoteTo(d8, lower), d8, thresholds + cell);
    hn::StoreU(hn::DemoteTo(d8, upper), d8, thresholds + cell + kLanes<D16> / 2);
  }
  return cell;
}

void CellThresholds(const std::uint16_t* sums, const std::uint16_t* weighted_sums,
                    const std::uint16_t* weights, std::uint32_t groups, std::uint8_t global,
                    std::uint8_t* thresholds) {
  const std::size_t cells = std::size_t{groups} * kCellsPerGroup;
  const std::size_t cell = CellThresholdsWith(hn::ScalableTag<std::uint16_t>(), sums, weighted_sums,
                                              weights, 0, cells, global, thresholds);
  CellThresholdsWith(hn::CappedTag<std::uint16_t, kCellsPerGroup>(), sums, weighted_sums, weights,
                     cell, cells, global, thresholds);
}

// ------------------------------------------------------------------------------------------ bits

/// Goes on as long as there are cells for `kVectors` vectors side by side.
template <std::uint32_t kVectors, class D>
std::uint32_t BinarizeCellsWith(D d, const std::uint8_t* gray, std::size_t stride,
                                const std::uint8_t* thresholds, std::uint32_t cell,
                                std::uint32_t cells, std::uint8_t* destination,
                                std::size_t destination_stride) {
  constexpr std::uint32_t kPixels = kVectors * kLanes<D>;
  constexpr std::uint32_t kCells = kPixels / kCellSize;
  // The bits of masks count from the least significant, those of a byte of pixels from the most
  // significant.
  HWY_ALIGN static constexpr std::uint8_t kReversed[16] = {7,  6,  5,  4,  3,  2,  1, 0,
                                                           15, 14, 13, 12, 11, 10, 9, 8};
  const auto reversed = hn::LoadDup128(d, kReversed);
  const hn::CappedTag<std::uint8_t, kCellSize> d_cell;
  HWY_ALIGN std::uint8_t expanded[kPixels];
  for (; cells - cell >= kCells; cell += kCells) {
    for (std::uint32_t i = 0; i < kCells; ++i) {
      hn::Store(hn::Set(d_cell, thresholds[cell + i]), d_cell, expanded + i * kCellSize);
    }
    const std::uint8_t* row = gray + std::size_t{cell} * kCellSize;
    std::uint8_t* bits = destination + std::size_t{cell} * 2;
    for (std::uint32_t y = 0; y < kCellSize; ++y) {
      for (std::uint32_t x = 0; x < kPixels; x += kLanes<D>) {
        const auto values = hn::TableLookupBytes(hn::LoadU(d, row + x), reversed);
        hn::StoreMaskBits(d, hn::Gt(values, hn::Load(d, expanded + x)), bits + x / 8);
      }
      row += stride;
      bits += destination_stride;
    }
  }
  return cell;
}

void BinarizeCells(const std::uint8_t* gray, std::size_t stride, const std::uint8_t* thresholds,
                   std::uint32_t cells, std::uint8_t* destination, std::size_t destination_stride) {
  std::uint32_t cell = BinarizeCellsWith<8>(Bytes(), gray, stride, thresholds, 0, cells,
                                            destination, destination_stride);
  cell = BinarizeCellsWith<1>(Bytes(), gray, stride, thresholds, cell, cells, destination,
                              destination_stride);
  BinarizeCellsWith<1>(CellBytes(), gray, stride, thresholds, cell, cells, destination,
                       destination_stride);
}

const AdaptiveKernels& Kernels() {
  static const AdaptiveKernels kernels{
      .target = hwy::TargetName(HWY_TARGET),
      .binarize = BinarizeCellsInBands,
      .measure_cells = MeasureCells,
      .cell_values = CellValues,
      .sum_columns = SumColumns,
      .cell_thresholds = CellThresholds,
      .binarize_cells = BinarizeCells,
  };
  return kernels;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola

#if HWY_TARGET == HWY_AVX3_DL
#pragma GCC pop_options
#endif

HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixtola {

HWY_EXPORT(Kernels);

const AdaptiveKernels& BestAdaptiveKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola
#endif
