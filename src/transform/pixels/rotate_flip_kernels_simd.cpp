// The rotations and flips in vectors, compiled once for each instruction set.
//
// Vectors are seen as blocks of 16 bytes. Where a whole vector no longer fits after the pixels that
// are done, the last one is placed to end at the edge: it moves some pixels a second time, to where
// they already are.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transform/pixels/rotate_flip_kernels_simd.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "transform/pixels/rotate_flip_kernels.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const RotateFlipKernels& Kernels() { return kPlainRotateFlipKernels; }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
/// For blocks that are too small for the full vector.
using SixteenBytes = hn::CappedTag<std::uint8_t, 16>;

template <class D>
constexpr std::size_t kSize = hn::MaxLanes(D());

template <class Byte>
HWY_INLINE Byte* RowAt(Byte* first, std::ptrdiff_t stride, std::size_t y) {
  return first + static_cast<std::ptrdiff_t>(y) * stride;
}

// ------------------------------------------------------------------------------- mirrors

/// The pixels of a whole vector in reverse order.
template <std::size_t kBytes, class D>
HWY_INLINE hn::Vec<D> ReversePixels(D d, hn::Vec<D> v) {
  alignas(16) std::uint8_t places[16];
  for (std::size_t i = 0; i < 16; ++i) {
    places[i] = static_cast<std::uint8_t>(16 - kBytes - i / kBytes * kBytes + i % kBytes);
  }
  const auto in_blocks = hn::TableLookupBytes(v, hn::LoadDup128(d, places));
  return hn::ReverseBlocks(d, in_blocks);
}

/// A row of at least one vector of pixels of 1, 2 or 4 bytes, from its byte `i` on.
template <std::size_t kBytes, class D>
HWY_INLINE void MirrorRowFrom(D d, const std::uint8_t* from, std::size_t size, std::uint8_t* to,
                              std::size_t i) {
  for (; i + kSize<D> <= size; i += kSize<D>) {
    hn::StoreU(ReversePixels<kBytes>(d, hn::LoadU(d, from + (size - kSize<D> - i))), d, to + i);
  }
  if (i != size) {
    hn::StoreU(ReversePixels<kBytes>(d, hn::LoadU(d, from)), d, to + (size - kSize<D>));
  }
}

/// The same for rows of blocks that are larger than the cache, which the stores bypass.
template <std::size_t kBytes, class D>
HWY_INLINE void StreamMirroredRow(D d, const std::uint8_t* from, std::size_t size,
                                  std::uint8_t* to) {
  const std::size_t misalignment = reinterpret_cast<std::uintptr_t>(to) % kSize<D>;
  if (misalignment % kBytes != 0) return MirrorRowFrom<kBytes>(d, from, size, to, 0);
  std::size_t i = 0;
  if (misalignment != 0) {
    hn::StoreU(ReversePixels<kBytes>(d, hn::LoadU(d, from + (size - kSize<D>))), d, to);
    i = kSize<D> - misalignment;
  }
  for (; i + kSize<D> <= size; i += kSize<D>) {
    hn::Stream(ReversePixels<kBytes>(d, hn::LoadU(d, from + (size - kSize<D> - i))), d, to + i);
  }
  MirrorRowFrom<kBytes>(d, from, size, to, i);
}

/// What is written to blocks of this many bytes has left the cache before anybody reads it. Stores
/// that bypass the cache need not read its lines before they write them.
constexpr std::uint64_t kStreamedBytes = 64 << 20;

template <std::size_t kBytes>
void Mirror(const ImageView& source, const MutableImageView& destination) {
  const std::size_t size = source.width * kBytes;
  if (size < 16) return kPlainRotateFlipKernels.mirror[kBytes - 1](source, destination);
  const bool is_streamed = std::uint64_t{size} * source.height >= kStreamedBytes;
  for (std::uint32_t y = 0; y < source.height; ++y) {
    const std::uint8_t* const from = source.Row(y);
    std::uint8_t* const to = destination.Row(y);
    if (size < kSize<Bytes>) {
      MirrorRowFrom<kBytes>(SixteenBytes(), from, size, to, 0);
    } else if (is_streamed) {
      StreamMirroredRow<kBytes>(Bytes(), from, size, to);
    } else {
      MirrorRowFrom<kBytes>(Bytes(), from, size, to, 0);
    }
  }
  if (is_streamed) hwy::FlushStream();
}

/// Five pixels of 3 bytes that follow a byte of the pixel before. The last byte is undefined.
template <class D>
HWY_INLINE hn::Vec<D> ReverseFivePixels(D d, hn::Vec<D> v) {
  alignas(16) static constexpr std::uint8_t kPlaces[16] = {13, 14, 15, 10, 11, 12, 7, 8,
                                                           9,  4,  5,  6,  1,  2,  3, 0};
  return hn::TableLookupBytes(v, hn::LoadDup128(d, kPlaces));
}

/// Five pixels a step. The vector has room for one more byte; what lands there is overwritten by
/// the next step, so at least one pixel must be left. The next row is `next_row` bytes away.
HWY_INLINE void MirrorRow24(const std::uint8_t* from, std::size_t count, std::uint8_t* to,
                            std::ptrdiff_t next_row) {
  const SixteenBytes d;
  for (; count > 5; count -= 5, to += 15) {
    const std::uint8_t* const pixels = from + (count * 3 - 16);
    hwy::Prefetch(pixels + next_row);
    hn::StoreU(ReverseFivePixels(d, hn::LoadU(d, pixels)), d, to);
  }
  for (; count != 0; --count, to += 3) hwy::CopyBytes<3>(from + (count - 1) * 3, to);
}

void Mirror24(const ImageView& source, const MutableImageView& destination) {
  const std::size_t width = source.width;
  const std::uint32_t height = source.height;
  const std::ptrdiff_t stride = source.stride;
  for (std::uint32_t y = 0; y < height; ++y) {
    // Processors expect a row that is read backwards to continue at the addresses below its start.
    // That is right when the rows run upwards in memory, and wrong when they run downwards.
    const bool is_foreseen = stride < 0 || y + 1 == height;
    MirrorRow24(source.Row(y), width, destination.Row(y), is_foreseen ? 0 : stride);
  }
}

// ------------------------------------------------------------------------------- quarter rotations

/// A lane of the size of a pixel; those of 3 bytes are widened.
template <std::size_t kBytes>
struct LaneOf;
template <>
struct LaneOf<1> {
  using Type = std::uint8_t;
};
template <>
struct LaneOf<2> {
  using Type = std::uint16_t;
};
template <>
struct LaneOf<3> {
  using Type = std::uint32_t;
};
template <>
struct LaneOf<4> {
  using Type = std::uint32_t;
};

/// Pixels in a block of 16 bytes.
template <std::size_t kBytes>
constexpr std::size_t kBlockPixels = 16 / sizeof(typename LaneOf<kBytes>::Type);

/// Pixels in a vector.
template <std::size_t kBytes, class D>
constexpr std::size_t kVectorPixels = kSize<D> / sizeof(typename LaneOf<kBytes>::Type);

/// The two halves of a vector. Combine would first clear what the upper one replaces.
template <class D>
HWY_INLINE hn::Vec<D> JoinHalves(D d, hn::Vec<hn::Half<D>> upper, hn::Vec<hn::Half<D>> lower) {
#if HWY_TARGET <= HWY_AVX3
  if constexpr (kSize<D> == 64) {
    (void)d;
    return hn::Vec<D>{_mm512_inserti64x4(_mm512_castsi256_si512(lower.raw), upper.raw, 1)};
  } else {
    return hn::Combine(d, upper, lower);
  }
#else
  return hn::Combine(d, upper, lower);
#endif
}

/// One block from each of as many rows, `step` bytes apart, as the vector has blocks.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const std::uint8_t* from, std::ptrdiff_t step) {
  if constexpr (kSize<D> == 16) {
    (void)step;
    return hn::LoadU(d, from);
  } else {
    const hn::Half<D> half;
    const auto lower = LoadBlocks(half, from, step);
    const auto upper = LoadBlocks(half, RowAt(from, step, kSize<D> / 32), step);
    return JoinHalves(d, upper, lower);
  }
}

/// Four pixels of 3 bytes a block to four of 4. They start `kSkip` bytes into the block.
template <std::size_t kSkip, class D>
HWY_INLINE hn::Vec<D> Widen(D d, hn::Vec<D> v) {
  alignas(16) static constexpr std::uint8_t kPlaces[16] = {
      kSkip,     kSkip + 1, kSkip + 2, 0x80, kSkip + 3, kSkip + 4,  kSkip + 5,  0x80,
      kSkip + 6, kSkip + 7, kSkip + 8, 0x80, kSkip + 9, kSkip + 10, kSkip + 11, 0x80};
  return hn::TableLookupBytes(v, hn::LoadDup128(d, kPlaces));
}

/// Stores the 3 bytes of each lane one after the other.
template <class D>
HWY_INLINE void StoreNarrowed(D d, hn::Vec<D> v, std::uint8_t* to) {
  alignas(16) static constexpr std::uint8_t kPlaces[16] = {0,  1,  2,  4,  5,    6,    8,    9,
                                                           10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
  v = hn::TableLookupBytes(v, hn::LoadDup128(d, kPlaces));
  if constexpr (16 < kSize<D>) {
    const hn::Repartition<std::uint32_t, D> d32;
    alignas(64) static constexpr std::int32_t kLanes[16] = {0,  1,  2,  4,  5, 6, 8,  9,
                                                            10, 12, 13, 14, 3, 7, 11, 15};
    alignas(64) static constexpr std::int32_t kLanesOf8[16] = {0, 1, 2, 4, 5, 6, 3, 7};
    const auto order = hn::SetTableIndices(d32, kSize<D> == 64 ? kLanes : kLanesOf8);
    v = hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(d32, v), order));
  }
  const hn::Half<D> half;
  const hn::Half<decltype(half)> quarter;
  hn::StoreU(hn::LowerHalf(half, v), half, to);
  hn::StoreU(hn::LowerHalf(quarter, hn::UpperHalf(half, v)), quarter, to + kSize<D> / 2);
}

/// Transposes as many columns as a block has pixels and as many rows as a vector has. A function of
/// its own: in the loops around it, compilers would keep the addresses of all rows in memory.
template <std::size_t kBytes, std::size_t kSkip, class D>
HWY_NOINLINE void TransposeColumns(D d, const std::uint8_t* from, std::ptrdiff_t from_stride,
                                   std::uint8_t* to, std::ptrdiff_t to_stride) {
  constexpr std::size_t kCount = kBlockPixels<kBytes>;
  const hn::Repartition<typename LaneOf<kBytes>::Type, D> d_pixel;
  hn::Vec<decltype(d_pixel)> v[kCount], w[kCount];
  const std::ptrdiff_t step = from_stride * static_cast<std::ptrdiff_t>(kCount);
  HWY_UNROLL(16)
  for (std::size_t i = 0; i < kCount; ++i, from += from_stride) {
    auto bytes = LoadBlocks(d, from, step);
    if constexpr (kBytes == 3) bytes = Widen<kSkip>(d, bytes);
    v[i] = hn::BitCast(d_pixel, bytes);
  }
  // Each round interleaves the two halves of the rows, as in a riffle shuffle of cards; after as
  // many rounds as there are bits in a row's number, rows have become columns.
  HWY_UNROLL(4)
  for (std::size_t round = 1; round < kCount; round *= 2) {
    HWY_UNROLL(8)
    for (std::size_t i = 0; i < kCount / 2; ++i) {
      w[2 * i] = hn::InterleaveLower(d_pixel, v[i], v[i + kCount / 2]);
      w[2 * i + 1] = hn::InterleaveUpper(d_pixel, v[i], v[i + kCount / 2]);
    }
    HWY_UNROLL(16)
    for (std::size_t i = 0; i < kCount; ++i) v[i] = w[i];
  }
  HWY_UNROLL(16)
  for (std::size_t i = 0; i < kCount; ++i, to += to_stride) {
    if constexpr (kBytes == 3) {
      StoreNarrowed(d, hn::BitCast(d, v[i]), to);
    } else {
      hn::StoreU(hn::BitCast(d, v[i]), d, to);
    }
  }
}

/// Transposes `kBlocks` times as many columns as a block has pixels.
template <std::size_t kBytes, std::size_t kBlocks, class D>
HWY_INLINE void TransposeTile(D d, const std::uint8_t* from, std::ptrdiff_t from_stride,
                              std::uint8_t* to, std::ptrdiff_t to_stride) {
  constexpr std::size_t kStep = kBlockPixels<kBytes>;
  constexpr std::size_t kLast = kStep * (kBlocks - 1);
  for (std::size_t x = 0; x < kLast; x += kStep) {
    TransposeColumns<kBytes, 0>(d, from + x * kBytes, from_stride, RowAt(to, to_stride, x),
                                to_stride);
  }
  // A block that begins with the last four pixels of 3 bytes could end past the row.
  constexpr std::size_t kSkip = kBytes == 3 ? 4 : 0;
  static_assert(kLast * kBytes >= kSkip, "the block must not begin before the row");
  TransposeColumns<kBytes, kSkip>(d, from + (kLast * kBytes - kSkip), from_stride,
                                  RowAt(to, to_stride, kLast), to_stride);
}

/// Rows of the source that are transposed before the next columns: their lines stay in the cache,
/// and the addresses of their pages known, until all pixels of a line have been used.
constexpr std::size_t kBandRows = 1024;

/// How many rows ahead pixels are prefetched. Most rows are on a page of their own, so processors
/// do not prefetch them by themselves.
constexpr std::size_t kRowsAhead = 192;

/// Prefetches the first cache line of the `count` rows that come `kRowsAhead` after row `y`. After
/// the band's last row these are rows of the next columns, `next_columns` bytes to the right.
HWY_INLINE void PrefetchRows(const std::uint8_t* columns, std::ptrdiff_t stride, std::size_t y,
                             std::size_t count, std::size_t top, std::size_t bottom,
                             std::size_t next_columns) {
  std::size_t ahead = y + kRowsAhead;
  if (ahead + count > bottom) {
    ahead = HWY_MIN(ahead - (bottom - top), y);
    columns += next_columns;
  }
  const std::uint8_t* row = RowAt(columns, stride, ahead);
  for (std::size_t i = 0; i < count; ++i, row += stride) hwy::Prefetch(row);
}

template <std::size_t kBytes, std::size_t kBlocks, class D>
constexpr bool FitsTile(D, const ImageView& source) {
  return source.width >= kBlockPixels<kBytes> * kBlocks &&
         source.height >= kVectorPixels<kBytes, D>;
}

/// A block of pixels that a tile fits into, in bands of rows, each band from left to right.
template <std::size_t kBytes, std::size_t kBlocks, class D>
void TransposeTiles(D d, const ImageView& source, const MutableImageView& destination) {
  constexpr std::size_t kColumns = kBlockPixels<kBytes> * kBlocks;
  constexpr std::size_t kRows = kVectorPixels<kBytes, D>;
  // Copies, since the bytes that are written could otherwise be those of the views.
  const std::size_t width = source.width;
  const std::size_t height = source.height;
  const std::ptrdiff_t source_stride = source.stride;
  const std::ptrdiff_t destination_stride = destination.stride;
  const std::uint8_t* const source_row = source.first_row;
  std::uint8_t* const destination_row = destination.first_row;
  for (std::size_t top = 0; top < height; top += kBandRows) {
    const std::size_t bottom = HWY_MIN(top + kBandRows, height);
    for (std::size_t left = 0; left < width; left += kColumns) {
      const std::size_t x = HWY_MIN(left, width - kColumns);
      const std::uint8_t* const from = source_row + x * kBytes;
      std::uint8_t* const to = RowAt(destination_row, destination_stride, x);
      const std::size_t next_columns = left + kColumns < width ? kColumns * kBytes : 0;
      for (std::size_t row = top; row < bottom; row += kRows) {
        const std::size_t y = HWY_MIN(row, height - kRows);
        PrefetchRows(from, source_stride, y, kRows, top, bottom, next_columns);
        TransposeTile<kBytes, kBlocks>(d, RowAt(from, source_stride, y), source_stride,
                                       to + y * kBytes, destination_stride);
      }
    }
  }
}

template <std::size_t kBytes>
void Transpose(const ImageView& source, const MutableImageView& destination) {
  // Tiles are a cache line wide; the narrower ones are for blocks that they do not fit into.
  constexpr std::size_t kWide = 4;
  constexpr std::size_t kNarrow = kBytes == 3 ? kWide : 1;
  if (FitsTile<kBytes, kWide>(Bytes(), source)) {
    TransposeTiles<kBytes, kWide>(Bytes(), source, destination);
  } else if (FitsTile<kBytes, kNarrow>(Bytes(), source)) {
    TransposeTiles<kBytes, kNarrow>(Bytes(), source, destination);
  } else if (FitsTile<kBytes, kNarrow>(SixteenBytes(), source)) {
    TransposeTiles<kBytes, kNarrow>(SixteenBytes(), source, destination);
  } else {
    kPlainRotateFlipKernels.transpose[kBytes - 1](source, destination);
  }
}

const RotateFlipKernels& Kernels() {
  static const RotateFlipKernels kernels{
      .target = hwy::TargetName(HWY_TARGET),
      .mirror = {Mirror<1>, Mirror<2>, Mirror24, Mirror<4>},
      .transpose = {Transpose<1>, Transpose<2>, Transpose<3>, Transpose<4>},
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

const RotateFlipKernels& BestRotateFlipKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola
#endif
