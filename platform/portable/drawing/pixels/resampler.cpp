#include "drawing/pixels/resampler.h"

#include <algorithm>

namespace pixtola::portable {

namespace {

/// The most source rows that the taps of a band's rows lie in.
std::uint32_t RowsOfBand(const ResampleGeometry& vertical, std::uint32_t row_count) {
  // From the first centre to the last, and the filter to both sides, each rounded up.
  const std::int64_t ratio = (vertical.source_length - 1) / vertical.destination_length + 1;
  const std::int64_t rows = (row_count - 1) * ratio + 4 * ratio + 2;
  return static_cast<std::uint32_t>(std::min<std::int64_t>(rows, vertical.image_size));
}

}  // namespace

bool Resampler::Start(const ResampleRequest& request, ResampleSource& source) {
  request_ = request;
  source_ = &source;
  kernels_ = &BestResampleKernels();
  rows_made_ = rows_taken_ = 0;
  // Nothing is ever taken.
  if (request.columns.count == 0 || request.rows.count == 0) {
    request_.rows.count = 0;
    return true;
  }
  if (!columns_.Compute(request.horizontal, request.filter, request.columns)) return false;
  const std::uint32_t first = columns_.source_begin();
  const std::uint32_t width = columns_.source_end() - first;
  columns_.CountFrom(first);
  const std::uint32_t row_count = std::min(request.rows.count, kResampleRows);
  const std::uint64_t row_bytes = std::uint64_t{request.columns.count} * request.channels;
  band_ = AllocateBytes(row_count * row_bytes);
  work_ = AllocateBytes(ResampleWorkBytes(width, request.channels, columns_.longest_run()));
  return band_ != nullptr && work_ != nullptr &&
         source_rows_.Allocate(first, width, request.channels,
                               RowsOfBand(request.vertical, row_count));
}

template <typename Sample>
BasicResampleBand<Sample> Resampler::BandOf(const Sample* const* source) {
  return {.source = source,
          .source_width = columns_.source_end(),
          .channels = request_.channels,
          .rows = rows_.taps().data(),
          .row_count = static_cast<std::uint32_t>(rows_.taps().size()),
          .columns = columns_.taps().data(),
          .column_count = request_.columns.count,
          .longest_run = columns_.longest_run(),
          .destination = band_.get(),
          .stride = std::size_t{request_.columns.count} * request_.channels,
          .work = work_.get()};
}

bool Resampler::MakeBand() {
  const std::uint32_t row_count = std::min(request_.rows.count - rows_made_, kResampleRows);
  const ResampleRange range = {request_.rows.first + rows_made_, row_count};
  if (!rows_.Compute(request_.vertical, request_.filter, range)) return false;
  const std::uint32_t first = rows_.source_begin();
  source_rows_.Fetch(first, rows_.source_end(), *source_, *kernels_);
  rows_.CountFrom(first);
  if (source_rows_.are_opaque()) {
    kernels_->band(BandOf(source_rows_.bytes()));
  } else {
    kernels_->fine_band(BandOf(source_rows_.fine()));
    kernels_->limit_to_alpha(band_.get(), std::size_t{row_count} * request_.columns.count);
  }
  rows_made_ += row_count;
  return true;
}

const std::uint8_t* Resampler::NextRow() {
  if (rows_taken_ == request_.rows.count) return nullptr;
  if (rows_taken_ == rows_made_ && !MakeBand()) return nullptr;
  const std::size_t row_bytes = std::size_t{request_.columns.count} * request_.channels;
  return band_.get() + rows_taken_++ % kResampleRows * row_bytes;
}

}  // namespace pixtola::portable
