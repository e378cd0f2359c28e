#include "drawing/pixels/resample_rows.h"

namespace pixtola::portable {

namespace {

/// Null, too, when the size is beyond 64 bits.
HeapBytes AllocateRows(std::uint64_t count, std::uint64_t row_bytes) {
  std::uint64_t size = 0;
  if (__builtin_mul_overflow(count, row_bytes, &size)) return nullptr;
  return AllocateBytes(size);
}

}  // namespace

bool ResampleRows::Allocate(std::uint32_t first, std::uint32_t count, std::uint32_t channels,
                            std::uint32_t capacity) {
  first_ = first;
  count_ = count;
  channels_ = channels;
  capacity_ = capacity;
  const std::uint64_t row_bytes = std::uint64_t{count} * channels;  // below 2^34
  lists_ = AllocateZeroedBytes(std::uint64_t{capacity} * (sizeof(Place) + 2 * sizeof(void*)));
  buffers_ = AllocateRows(capacity, row_bytes);
  if (lists_ == nullptr || buffers_ == nullptr) return false;
  places_ = reinterpret_cast<Place*>(lists_.get());
  bytes_ = reinterpret_cast<const std::uint8_t**>(places_ + capacity);
  fine_ = reinterpret_cast<const std::int16_t**>(bytes_ + capacity);
  if (channels != 4) return true;
  premultiplied_ = AllocateRows(capacity, row_bytes * sizeof(std::int16_t));
  return premultiplied_ != nullptr;
}

void ResampleRows::Read(std::uint32_t y, ResampleSource& source, const ResampleKernels& kernels) {
  Place& place = places_[y % capacity_];
  const std::size_t row_bytes = std::size_t{count_} * channels_;
  place.bytes = source.Row(y, first_, count_, buffers_.get() + y % capacity_ * row_bytes);
  place.is_opaque = channels_ != 4 || kernels.is_opaque(place.bytes, count_);
  place.is_premultiplied = false;
  place.next_row = std::uint64_t{y} + 1;
}

void ResampleRows::Fetch(std::uint32_t begin, std::uint32_t end, ResampleSource& source,
                         const ResampleKernels& kernels) {
  are_opaque_ = true;
  for (std::uint32_t y = begin; y < end; ++y) {
    Place& place = places_[y % capacity_];
    if (place.next_row != std::uint64_t{y} + 1) Read(y, source, kernels);
    bytes_[y - begin] = place.bytes;
    are_opaque_ &= place.is_opaque;
  }
  if (are_opaque_) return;
  auto* const samples = reinterpret_cast<std::int16_t*>(premultiplied_.get());
  for (std::uint32_t y = begin; y < end; ++y) {
    Place& place = places_[y % capacity_];
    std::int16_t* const row = samples + y % capacity_ * std::size_t{count_} * channels_;
    if (!place.is_premultiplied) kernels.premultiply(place.bytes, count_, row);
    place.is_premultiplied = true;
    fine_[y - begin] = row;
  }
}

}  // namespace pixtola::portable
