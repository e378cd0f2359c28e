// What the tests of the PCX reader share: files made of headers and lines, and their comparison
// with the plain definition.
#ifndef PIXTOLA_TESTS_UNIT_IO_PCX_READER_FIXTURE_H_
#define PIXTOLA_TESTS_UNIT_IO_PCX_READER_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "io/pcx_reader.h"
#include "support/reference_pcx.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"

namespace pixtola::test {

inline std::uint16_t Word(std::uint64_t value) {
  return static_cast<std::uint16_t>(value & 0xFFFF);
}

/// A version 5 header with lines as long as they need to be.
inline PcxFileHeader HeaderOf(unsigned bits, unsigned planes, unsigned width, unsigned height) {
  PcxFileHeader header;
  header.bits = Byte(bits);
  header.planes = Byte(planes);
  header.right = Word(width - 1);
  header.bottom = Word(height - 1);
  header.bytes_per_line = Word((width * bits + 15) / 16 * 2);
  return header;
}

inline Bytes FileOf(const PcxFileHeader& header, const Bytes& data, const Bytes& tail = {}) {
  Bytes file = HeaderBytes(header);
  Append(file, data);
  Append(file, tail);
  return file;
}

inline Palette RandomColors(std::size_t count, std::mt19937& random) {
  Palette colors(count);
  for (std::uint32_t& color : colors) color = 0xFF000000U | static_cast<std::uint32_t>(random());
  return colors;
}

/// Bytes some of which form runs, as in images.
inline Bytes ImageBytes(std::size_t size, std::mt19937& random) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    const bool repeats = i > 0 && random() % 3 != 0;
    bytes[i] = repeats ? bytes[i - 1] : Byte(random());
  }
  return bytes;
}

inline std::string NameOf(const PcxFileLayout& layout) {
  return std::to_string(layout.bits) + " bits, " + std::to_string(layout.planes) + " planes";
}

inline float PlatformResolution() {
  return Gdiplus::Bitmap(1, 1, PixelFormat24bppRGB).GetHorizontalResolution();
}

class ReadPcxFileTest : public testing::Test {
 protected:
  /// Null when the file is refused.
  BitmapPointer Read(const std::wstring& path) { return ReadPcxFile(path.c_str()); }

  BitmapPointer ReadBytes(const Bytes& file) {
    std::filesystem::remove(path_);  // truncating an old file can be slow
    WriteWholeFile(path_, file);
    return Read(path_.wstring());
  }

  /// Refused as the plain definition refuses it, or read as the plain definition reads it.
  void Check(const Bytes& file) {
    const BitmapPointer bitmap = ReadBytes(file);
    const std::optional<PcxPicture> expected = DecodePcx(file);
    ASSERT_EQ(bitmap != nullptr, expected.has_value());
    if (expected.has_value()) CheckBitmap(*bitmap, *expected);
  }

  void CheckBitmap(Gdiplus::Bitmap& bitmap, const PcxPicture& expected) {
    EXPECT_EQ(bitmap.GetPixelFormat(), expected.format);
    ASSERT_EQ(bitmap.GetWidth(), expected.width);
    ASSERT_EQ(bitmap.GetHeight(), expected.height);
    EXPECT_TRUE(PixelsOf(bitmap) == expected.rows);
    const bool has_resolution = expected.horizontal_dpi > 0 && expected.vertical_dpi > 0;
    const float tolerance = (expected.format & PixelFormatIndexed) != 0 ? kDpiTolerance : 0;
    EXPECT_NEAR(bitmap.GetHorizontalResolution(),
                has_resolution ? static_cast<float>(expected.horizontal_dpi) : PlatformResolution(),
                tolerance);
    EXPECT_NEAR(bitmap.GetVerticalResolution(),
                has_resolution ? static_cast<float>(expected.vertical_dpi) : PlatformResolution(),
                tolerance);
    if (expected.format == PixelFormat1bppIndexed) {
      EXPECT_EQ(PaletteOf(bitmap), (std::vector<Gdiplus::ARGB>{0xFF000000, 0xFFFFFFFF}));
    } else if ((expected.format & PixelFormatIndexed) != 0) {
      EXPECT_EQ(PaletteOf(bitmap),
                std::vector<Gdiplus::ARGB>(expected.palette.begin(), expected.palette.end()));
    }
    EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "image.pcx";
};

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_UNIT_IO_PCX_READER_FIXTURE_H_
