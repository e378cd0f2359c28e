// Locks of a bitmap in some format, compared with the plain definition of the conversions.
#ifndef PIXTOLA_TESTS_SUPPORT_CONVERSION_CHECKS_H_
#define PIXTOLA_TESTS_SUPPORT_CONVERSION_CHECKS_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>

#include "support/pixel_rows.h"
#include "support/platform_expectations.h"
#include "support/reference_pixels.h"

namespace pixtola::test {

inline std::string PairName(Gdiplus::PixelFormat from, Gdiplus::PixelFormat to) {
  return std::string(NameOf(from)) + " to " + NameOf(to);
}

/// Why a lock of a bitmap in another format is known not to match the definition; empty when it
/// does.
inline std::string KnownReadDifference(Gdiplus::PixelFormat bitmap, Gdiplus::PixelFormat lock) {
  const auto is_555 = [](Gdiplus::PixelFormat format) {
    return format == PixelFormat16bppRGB555 || format == PixelFormat16bppARGB1555;
  };
  if (bitmap == lock) return "";
  if (k48BitChannelsHave16Bits && (IsDeep(bitmap) || IsDeep(lock))) {
    return "Wine's channels of 16 bits are others";
  }
  if (kLocksInOtherIndexedFormatsFail && HasIndexes(lock)) {
    return "Wine does not convert to indexes here";
  }
  if (kRgbOf32BitsIsTakenAsItIs && bitmap == PixelFormat32bppPARGB && lock == PixelFormat32bppRGB) {
    return "Wine does not divide by alpha here";
  }
  if (kGreenOf555LacksLowBits && is_555(bitmap) && !is_555(lock)) {
    return "Wine computes green otherwise";
  }
  return "";
}

/// The same for what such a lock writes.
inline std::string KnownWriteDifference(Gdiplus::PixelFormat bitmap, Gdiplus::PixelFormat lock) {
  if (bitmap == lock) return "";
  if (kLocksInOtherIndexedFormatsFail && HasIndexes(lock)) {
    return "Wine knows no palette here";
  }
  if (kNearestEntriesAreMissed && HasIndexes(bitmap)) {
    return "Wine measures distances otherwise";
  }
  return KnownReadDifference(lock, bitmap);  // the direction in which the pixels go
}

/// Whether a lock of the part is known to show another part of the bitmap.
inline bool StartIsKnownToBeIgnored(Gdiplus::PixelFormat bitmap, INT x) {
  return kLocksOfBitRowsIgnoreTheLeftEdge && BitsOfPixel(bitmap) < 8 && x != 0;
}

/// The bits of converted pixels that all platforms agree on.
inline Pixel Settled(Gdiplus::PixelFormat format, Pixel pixel) {
  return kRgbOf32BitsIsTakenAsItIs && format == PixelFormat32bppRGB ? pixel & 0xFFFFFF : pixel;
}

/// The same pixels in another format.
inline PixelRows Converted(const PixelRows& rows, const Palette& palette, Gdiplus::PixelFormat to,
                           const Palette& to_palette) {
  PixelRows result(rows.width(), rows.height(), to, RowBytes(to, rows.width()));
  for (std::size_t y = 0; y < rows.height(); ++y) {
    for (std::size_t x = 0; x < rows.width(); ++x) {
      result.Set(x, y, ConvertPixel(rows.At(x, y), rows.format(), palette, to, to_palette));
    }
  }
  return result;
}

/// What a lock of the whole bitmap in `format` shows.
inline PixelRows ExpectedRead(const RowsBitmap& image, Gdiplus::PixelFormat format) {
  return Converted(image.rows, image.palette, format, DefaultPalette(format));
}

/// What is in the bitmap after `source` was written to all of it.
inline PixelRows ExpectedWrite(const RowsBitmap& image, const PixelRows& source) {
  return Converted(source, DefaultPalette(source.format()), image.rows.format(), image.palette);
}

inline Gdiplus::Rect WholeOf(const PixelRows& rows) {
  return {0, 0, static_cast<INT>(rows.width()), static_cast<INT>(rows.height())};
}

inline std::string Hex(Pixel pixel) {
  std::ostringstream text;
  text << "0x" << std::hex << pixel;
  return text.str();
}

/// What a pixel became, as text.
inline std::string Change(Pixel from, Pixel to, Pixel expected) {
  return Hex(from) + " became " + Hex(to) + " instead of " + Hex(expected);
}

/// Where the rectangle's pixel (x, y) is in the image.
inline std::size_t Column(const Gdiplus::Rect& part, std::size_t x) {
  return static_cast<std::size_t>(part.X) + x;
}
inline std::size_t Line(const Gdiplus::Rect& part, std::size_t y) {
  return static_cast<std::size_t>(part.Y) + y;
}

/// Locks a part of the bitmap for reading in the format of `expected`, which is the whole image.
/// Reports the first difference.
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
    const Pixel shown = LockedPixel(data, x, y);
    const Pixel wanted = expected.At(Column(part, x), Line(part, y));
    if (Settled(expected.format(), shown) == Settled(expected.format(), wanted)) continue;
    difference << name << ", width " << part.Width << ", x " << part.X << " + " << x << ", y "
               << Line(part, y) << ": "
               << Change(image.rows.At(Column(part, x), Line(part, y)), shown, wanted);
    break;
  }
  image.bitmap.UnlockBits(&data);
  ASSERT_EQ(difference.str(), "");
}

/// Locks a part of the bitmap for writing in the format of `source`, fills it with the pixels of
/// the same place there, and compares all bytes of the bitmap; `converted` is the whole source in
/// the bitmap's format. Reports the first difference.
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
    }
  }
  ASSERT_EQ(image.bitmap.UnlockBits(&data), Gdiplus::Ok) << name;
  for (UINT i = 0; i < data.Width * data.Height; ++i) {
    const std::size_t x = Column(part, i % data.Width);
    const std::size_t y = Line(part, i / data.Width);
    const Pixel written = image.rows.At(x, y);
    const Pixel wanted = converted.At(x, y);
    expected.Set(x, y, written);
    if (Settled(converted.format(), written) == Settled(converted.format(), wanted)) continue;
    FAIL() << name << ", width " << part.Width << ", x " << part.X << " + " << i % data.Width
           << ", y " << y << ": " << Change(source.At(x, y), written, wanted);
  }
  ASSERT_TRUE(image.rows.bytes() == expected.bytes())
      << name << ", width " << part.Width << ", x " << part.X
      << ": something outside the rectangle was changed";
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_CONVERSION_CHECKS_H_
