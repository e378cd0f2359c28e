// Pictures, and the whole way of resampling them.
#ifndef PIXTOLA_TESTS_PORTABLE_RESAMPLING_H_
#define PIXTOLA_TESTS_PORTABLE_RESAMPLING_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "drawing/pixels/resampler.h"

namespace pixtola::portable {

struct Picture {
  std::int32_t width;
  std::int32_t height;
  std::uint32_t channels;
  std::vector<std::uint8_t> bytes;

  Picture(std::int32_t columns, std::int32_t rows, std::uint32_t samples)
      : width(columns),
        height(rows),
        channels(samples),
        bytes(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) * samples) {}

  std::uint8_t& At(std::int32_t x, std::int32_t y, std::uint32_t channel) {
    return bytes[Index(x, y, channel)];
  }
  std::uint8_t At(std::int32_t x, std::int32_t y, std::uint32_t channel) const {
    return bytes[Index(x, y, channel)];
  }
  std::size_t Index(std::int32_t x, std::int32_t y, std::uint32_t channel) const {
    return (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
            static_cast<std::size_t>(x)) *
               channels +
           channel;
  }
};

inline Picture RandomPicture(std::int32_t width, std::int32_t height, std::uint32_t channels) {
  Picture picture(width, height, channels);
  std::mt19937 random(11);
  for (std::uint8_t& byte : picture.bytes) byte = static_cast<std::uint8_t>(random());
  return picture;
}

inline Picture WithAlpha(Picture picture, std::uint8_t alpha) {
  for (std::size_t i = 3; i < picture.bytes.size(); i += 4) picture.bytes[i] = alpha;
  return picture;
}

/// Rows where they stand, or copied to the buffer; it notes which were asked for.
class PictureSource final : public ResampleSource {
 public:
  explicit PictureSource(const Picture& picture, bool copies = false)
      : picture_(picture), copies_(copies) {}

  const std::uint8_t* Row(std::uint32_t y, std::uint32_t first, std::uint32_t count,
                          std::uint8_t* buffer) override {
    ++rows_read_;
    EXPECT_LT(y, static_cast<std::uint32_t>(picture_.height));
    EXPECT_LE(first + count, static_cast<std::uint32_t>(picture_.width));
    const std::uint8_t* const row = &picture_.bytes[picture_.Index(
        static_cast<std::int32_t>(first), static_cast<std::int32_t>(y), 0)];
    if (!copies_) return row;
    std::copy_n(row, std::size_t{count} * picture_.channels, buffer);
    return buffer;
  }

  std::uint32_t rows_read() const { return rows_read_; }

 private:
  const Picture& picture_;
  bool copies_;
  std::uint32_t rows_read_ = 0;
};

inline ResampleRequest WholeOf(const Picture& picture, std::int32_t width, std::int32_t height) {
  return {{0, picture.width, picture.width, width},
          {0, picture.height, picture.height, height},
          ResampleFilter::kBicubic,
          picture.channels,
          {0, static_cast<std::uint32_t>(width)},
          {0, static_cast<std::uint32_t>(height)}};
}

inline Picture Resampled(const Picture& picture, const ResampleRequest& request,
                         bool copies = false) {
  PictureSource source(picture, copies);
  Resampler resampler;
  Picture result(static_cast<std::int32_t>(request.columns.count),
                 static_cast<std::int32_t>(request.rows.count), request.channels);
  EXPECT_TRUE(resampler.Start(request, source));
  const std::size_t row_bytes = std::size_t{request.columns.count} * request.channels;
  for (std::size_t y = 0; y < request.rows.count; ++y) {
    const std::uint8_t* const row = resampler.NextRow();
    EXPECT_NE(row, nullptr);
    if (row == nullptr) return result;
    std::copy_n(row, row_bytes, result.bytes.begin() + static_cast<std::ptrdiff_t>(y * row_bytes));
  }
  EXPECT_EQ(resampler.NextRow(), nullptr);
  return result;
}

inline Picture Resampled(const Picture& picture, std::int32_t width, std::int32_t height) {
  return Resampled(picture, WholeOf(picture, width, height));
}

}  // namespace pixtola::portable

#endif  // PIXTOLA_TESTS_PORTABLE_RESAMPLING_H_
