// The resampling kernels in vectors, compiled once for each instruction set.
//
// A vector of 32-bit lanes has a lane for each row of a block. The vertical pass goes along the
// rows; its intermediates are transposed, so that for each sample column there is a vector of
// pairs: in the lane of a row the intermediate of the column and that of the same channel one pixel
// further. The horizontal pass then takes two taps of a sample of all rows by one load and one
// multiplication, in the same way for any number of channels and for any place of the taps.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "drawing/pixels/resample_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstddef>
#include <cstring>

#include "drawing/pixels/resample_alpha-inl.h"
#include "drawing/pixels/resample_horizontal-inl.h"
#include "drawing/pixels/resample_kernels.h"
#include "drawing/pixels/resample_vertical-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola::portable {
namespace HWY_NAMESPACE {
// Other files have functions of the same names in these namespaces.
namespace {

#if HWY_TARGET == HWY_SCALAR

const ResampleKernels& Kernels() { return kPlainResampleKernels; }

#else

template <class Columns, std::uint32_t kChannels>
class BlockFilter {
 public:
  using Block = BasicResampleBlock<typename Columns::Sample>;

  BlockFilter(const Block& block, std::uint32_t first_row, std::uint32_t row_count)
      : block_(block),
        rows_(block.rows + first_row),
        row_count_(row_count),
        samples_(std::size_t{block.source_width} * kChannels),
        capacity_(std::size_t{block.longest_run} * kChannels + kResampleChunk),
        destination_(block.destination + first_row * block.stride) {
    const auto address = reinterpret_cast<std::uintptr_t>(block.work);
    std::uint8_t* const work = block.work + (64 - address % 64) % 64;
    chunk_ = reinterpret_cast<std::int16_t*>(work);
    pairs_ = reinterpret_cast<std::int32_t*>(work + sizeof(std::int16_t) * kRows * kChunkStride);
    // The lanes of rows that the block lacks, and what follows the last column, are multiplied,
    // too, though nothing comes of it.
    std::memset(chunk_, 0, sizeof(std::int16_t) * kRows * kChunkStride);
  }

  void Run() {
    alignas(32) std::int32_t levels[kPixels * kChannels * kRows] = {};
    begin_ = end_ = FirstOf(0);
    std::uint8_t* rows = destination_;
    for (std::uint32_t x = 0; x < block_.column_count; x += kPixels) {
      const std::uint32_t count = HWY_MIN(block_.column_count - x, kPixels);
      for (std::uint32_t i = 0; i < count;)
        i += FilterPixels(x + i, count - i, levels + i * kChannels * kRows);
      StoreRows(levels, std::size_t{count} * kChannels, rows, block_.stride, row_count_);
      rows += kPixels * kChannels;
    }
  }

 private:
  std::size_t FirstOf(std::uint32_t x) const {
    return std::size_t{block_.columns[x].first} * kChannels;
  }
  std::size_t EndOf(std::uint32_t x) const {
    return FirstOf(x) + std::size_t{block_.columns[x].count} * kChannels;
  }

  /// The levels of up to `count` pixels, as many as there are pairs for; at least of one.
  std::uint32_t FilterPixels(std::uint32_t x, std::uint32_t count, std::int32_t* levels) {
    if (end_ < EndOf(x)) MoveTo(FirstOf(x));
    while (end_ < EndOf(x + count - 1)) --count;
    const ResampleTaps* taps = block_.columns + x;
    const std::int32_t* const pairs = pairs_;
    const std::size_t begin = begin_;
    for (std::uint32_t i = 0; i < count; ++i, ++taps, levels += kChannels * kRows) {
      const std::size_t first = std::size_t{taps->first} * kChannels;
      FilterPixel<kChannels>(pairs + (first - begin) * kRows, *taps, levels);
    }
    return count;
  }

  /// Makes the pairs of all columns from `first` on that there is room for.
  void MoveTo(std::size_t first) {
    if (first < end_) {
      std::memmove(pairs_, pairs_ + (first - begin_) * kRows,
                   (end_ - first) * kRows * sizeof(std::int32_t));
    } else {
      end_ = first;
    }
    begin_ = first;
    // There is always room for the first: what was kept is less than a run.
    while (end_ < samples_ && capacity_ - (end_ - begin_) >= kResampleChunk) {
      AddChunk(HWY_MIN(samples_ - end_, std::size_t{kResampleChunk}));
    }
  }

  void AddChunk(std::size_t count) {
    const std::size_t end = HWY_MIN(end_ + count + kOverlap, samples_);
    std::int16_t* const chunk = chunk_ + kResampleSlack;
    const std::size_t next_end = HWY_MIN(end + kResampleChunk, samples_);
    std::uint32_t tap = rows_[0].first;
    for (std::uint32_t y = 0; y < row_count_; ++y) {
      // The taps that the row above does not have.
      tap = HWY_MAX(tap, rows_[y].first);
      const std::uint32_t behind = rows_[y].first + rows_[y].count;
      PrefetchRows(block_.source + tap, behind - tap, end, next_end);
      tap = behind;
      FilterVertically<Columns>(block_.source + rows_[y].first, rows_[y], end_, end, samples_,
                                chunk + y * kChunkStride);
    }
    Transpose(chunk, count, kChannels, pairs_ + (end_ - begin_) * kRows);
    end_ += count;
  }

  const Block& block_;
  const ResampleTaps* rows_;
  std::uint32_t row_count_;
  std::size_t samples_;   ///< of a source row
  std::size_t capacity_;  ///< columns that pairs_ has room for, but for the slack
  std::uint8_t* destination_;
  std::int16_t* chunk_;  ///< intermediates, row by row
  std::int32_t* pairs_;  ///< of columns begin_ to end_
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

template <class Columns, std::uint32_t kChannels>
void FilterBlock(const BasicResampleBlock<typename Columns::Sample>& block) {
  for (std::uint32_t y = 0; y < block.row_count; y += kRows) {
    BlockFilter<Columns, kChannels>(block, y, HWY_MIN(block.row_count - y, kRows)).Run();
  }
}

/// False where the rows are too short.
template <class Columns>
bool FilterBlock(const BasicResampleBlock<typename Columns::Sample>& block) {
  if (std::size_t{block.source_width} * block.channels < Columns::kColumns) return false;
  if (block.channels == 1) {
    FilterBlock<Columns, 1>(block);
  } else if (block.channels == 3) {
    FilterBlock<Columns, 3>(block);
  } else {
    FilterBlock<Columns, 4>(block);
  }
  return true;
}

void Block(const ResampleBlock& block) {
  if (!FilterBlock<ByteColumns>(block)) kPlainResampleKernels.block(block);
}

void FineBlock(const FineResampleBlock& block) {
  if (!FilterBlock<FineColumns>(block)) kPlainResampleKernels.fine_block(block);
}

const ResampleKernels& Kernels() {
  static const ResampleKernels kernels{
      .target = hwy::TargetName(HWY_TARGET),
      .block = Block,
      .fine_block = FineBlock,
      .is_opaque = IsOpaque,
      .premultiply = Premultiply,
      .limit_to_alpha = LimitToAlpha,
  };
  return kernels;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola::portable
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixtola::portable {

HWY_EXPORT(Kernels);

const ResampleKernels& BestResampleKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola::portable
#endif
