// Locks of a bitmap in some format, compared with the plain definition of the conversions.
#ifndef PIXTOLA_TESTS_CONVERSION_CHECKS_H_
#define PIXTOLA_TESTS_CONVERSION_CHECKS_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>

#include "support/pixel_rows.h"
#include "support/reference_pixels.h"

namespace test_support {

inline std::string PairName(Gdiplus::PixelFormat from, Gdiplus::PixelFormat to) {
  return std::string(reference_pixels::NameOf(from)) + " to " + reference_pixels::NameOf(to);
}

/// The same pixels in another format.
inline PixelRows Converted(const PixelRows& rows, const reference_pixels::Palette& palette,
                           Gdiplus::PixelFormat to, const reference_pixels::Palette& to_palette) {
  PixelRows result(rows.width(), rows.height(), to, reference_pixels::RowBytes(to, rows.width()));
  for (std::size_t y = 0; y < rows.height(); ++y) {
    for (std::size_t x = 0; x < rows.width(); ++x) {
      result.Set(
          x, y,
          reference_pixels::ConvertPixel(rows.At(x, y), rows.format(), palette, to, to_palette));
    }
  }
  return result;
}

/// What a lock of the whole bitmap in `format` shows.
inline PixelRows ExpectedRead(const RowsBitmap& image, Gdiplus::PixelFormat format) {
  return Converted(image.rows, image.palette, format, reference_pixels::DefaultPalette(format));
}

/// What is in the bitmap after `source` was written to all of it.
inline PixelRows ExpectedWrite(const RowsBitmap& image, const PixelRows& source) {
  return Converted(source, reference_pixels::DefaultPalette(source.format()), image.rows.format(),
                   image.palette);
}

inline Gdiplus::Rect WholeOf(const PixelRows& rows) {
  return {0, 0, static_cast<INT>(rows.width()), static_cast<INT>(rows.height())};
}

/// Where the rectangle's pixel (x, y) stands in the image.
inline std::size_t Column(const Gdiplus::Rect& part, std::size_t x) {
  return static_cast<std::size_t>(part.X) + x;
}
inline std::size_t Line(const Gdiplus::Rect& part, std::size_t y) {
  return static_cast<std::size_t>(part.Y) + y;
}

/// Locks a part of the bitmap for reading in the format of `expected`, which is the whole image.
/// Tells the first difference.
inline void CheckRead(RowsBitmap& image, const Gdiplus::Rect& part, const PixelRows& expected) {
  const std::string name = PairName(image.rows.format(), expected.format());
  Gdiplus::BitmapData data{};
  ASSERT_EQ(image.bitmap.LockBits(&part, Gdiplus::ImageLockModeRead, expected.format(), &data),
            Gdiplus::Ok)
      << name;
  std::ostringstream difference;
  for (UINT i = 0; i < data.Width * data.Height; ++i) {
    const UINT x = i % data.Width;
    const UINT y = i / data.Width;
    const reference_pixels::Pixel shown = LockedPixel(data, x, y);
    const reference_pixels::Pixel wanted = expected.At(Column(part, x), Line(part, y));
    if (shown == wanted) continue;
    difference << name << ", width " << part.Width << ", x " << part.X << " + " << x << ", y "
               << Line(part, y) << ": 0x" << std::hex
               << image.rows.At(Column(part, x), Line(part, y)) << " became 0x" << shown
               << " instead of 0x" << wanted;
    break;
  }
  image.bitmap.UnlockBits(&data);
  ASSERT_EQ(difference.str(), "");
}

/// Locks a part of the bitmap for writing in the format of `source`, fills it with the pixels of
/// the same place there, and compares all bytes of the bitmap; `converted` is the whole source in
/// the bitmap's format. Tells the first difference.
inline void CheckWrite(RowsBitmap& image, const Gdiplus::Rect& part, const PixelRows& source,
                       const PixelRows& converted) {
  const std::string name = PairName(source.format(), image.rows.format());
  PixelRows expected = image.rows;
  Gdiplus::BitmapData data{};
  ASSERT_EQ(image.bitmap.LockBits(&part, Gdiplus::ImageLockModeWrite, source.format(), &data),
            Gdiplus::Ok)
      << name;
  for (UINT y = 0; y < data.Height; ++y) {
    for (UINT x = 0; x < data.Width; ++x) {
      SetLockedPixel(data, x, y, source.At(Column(part, x), Line(part, y)));
      expected.Set(Column(part, x), Line(part, y), converted.At(Column(part, x), Line(part, y)));
    }
  }
  ASSERT_EQ(image.bitmap.UnlockBits(&data), Gdiplus::Ok) << name;
  if (image.rows.bytes() == expected.bytes()) return;
  for (UINT i = 0; i < data.Width * data.Height; ++i) {
    const std::size_t x = Column(part, i % data.Width);
    const std::size_t y = Line(part, i / data.Width);
    ASSERT_EQ(image.rows.At(x, y), expected.At(x, y))
        << name << ", width " << part.Width << ", x " << part.X << " + " << i % data.Width << ", y "
        << y << ": 0x" << std::hex << source.At(x, y) << " became 0x" << image.rows.At(x, y)
        << " instead of 0x" << expected.At(x, y);
  }
  FAIL() << name << ", width " << part.Width << ", x " << part.X
         << ": something outside the rectangle was changed";
}

}  // namespace test_support

#endif  // PIXTOLA_TESTS_CONVERSION_CHECKS_H_
