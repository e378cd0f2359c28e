// What the tests of the PCX writer share: images to write, and what the plain definition writes for
// them.
#ifndef PIXTOLA_TESTS_UNIT_IO_PCX_WRITER_FIXTURE_H_
#define PIXTOLA_TESTS_UNIT_IO_PCX_WRITER_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <random>
#include <vector>

#include "io/pcx_reader.h"
#include "io/pcx_writer.h"
#include "support/reference_pcx.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"

namespace pixtola::test {

/// Long and short runs of few and of many values, so that every way of packing is used.
inline Bytes RunBytes(std::size_t size, std::mt19937& random) {
  Bytes bytes;
  while (bytes.size() < size) {
    const std::uint8_t value = Byte(random() % 2 == 0 ? random() : random() % 2 * 0xFF);
    const std::size_t count = random() % 4 == 0 ? 1 + random() % 200 : 1 + random() % 3;
    bytes.insert(bytes.end(), count, value);
  }
  bytes.resize(size);
  return bytes;
}

inline BitmapPointer RandomImage(UINT width, UINT height, Gdiplus::PixelFormat format,
                                 std::mt19937& random) {
  BitmapPointer bitmap =
      MakeBitmap(width, height, format, RunBytes(PackedBytes(format, width) * height, random));
  if ((format & PixelFormatIndexed) != 0) {
    std::vector<Gdiplus::ARGB> colors(std::size_t{1} << BitsOf(format));
    for (auto& color : colors) color = 0xFF000000U | static_cast<std::uint32_t>(random());
    bitmap->SetPalette(PaletteBlock(0, colors).get());
  }
  return bitmap;
}

inline bool IsWrittenAsItIs(Gdiplus::PixelFormat format) {
  return format == PixelFormat1bppIndexed || format == PixelFormat8bppIndexed;
}

/// What a lock shows of the bitmap in the format that is written, top-down.
inline LockedImage LockedImageOf(Gdiplus::Bitmap& bitmap, unsigned horizontal_dpi,
                                 unsigned vertical_dpi) {
  LockedImage image;
  const Gdiplus::PixelFormat format =
      IsWrittenAsItIs(bitmap.GetPixelFormat()) ? bitmap.GetPixelFormat() : PixelFormat24bppRGB;
  image.bits = BitsOf(format);
  image.width = bitmap.GetWidth();
  image.height = bitmap.GetHeight();
  image.horizontal_dpi = horizontal_dpi;
  image.vertical_dpi = vertical_dpi;
  for (const Gdiplus::ARGB entry : PaletteOf(bitmap)) image.palette.push_back(entry);
  Gdiplus::BitmapData data{};
  const Gdiplus::Rect whole(0, 0, static_cast<INT>(image.width), static_cast<INT>(image.height));
  EXPECT_EQ(bitmap.LockBits(&whole, Gdiplus::ImageLockModeRead, format, &data), Gdiplus::Ok);
  image.stride = static_cast<std::size_t>(data.Stride < 0 ? -data.Stride : data.Stride);
  image.rows.resize(image.stride * image.height);
  const std::size_t row_bytes = PackedBytes(format, image.width);
  for (std::size_t y = 0; y < image.height; ++y) {
    const auto* top = static_cast<const std::uint8_t*>(data.Scan0);
    std::memcpy(image.rows.data() + y * image.stride,
                top + std::ptrdiff_t{data.Stride} * static_cast<std::ptrdiff_t>(y), row_bytes);
  }
  bitmap.UnlockBits(&data);
  return image;
}

class WritePcxFileTest : public testing::Test {
 protected:
  int Write(Gdiplus::Bitmap& bitmap) { return WritePcxFile(path_.wstring().c_str(), &bitmap); }

  /// The bytes of the file; none when it is not written.
  Bytes Written(Gdiplus::Bitmap& bitmap) {
    std::filesystem::remove(path_);
    EXPECT_EQ(Write(bitmap), 1);
    EXPECT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
    return ReadWholeFile(path_);
  }

  /// What follows the header.
  Bytes WrittenData(Gdiplus::Bitmap& bitmap) {
    const Bytes file = Written(bitmap);
    if (file.size() < kPcxFileHeaderSize) return {};
    return {file.begin() + kPcxFileHeaderSize, file.end()};
  }

  BitmapPointer Read() {
    BitmapPointer bitmap = ReadPcxFile(path_.wstring().c_str());
    return bitmap;
  }

  /// Every byte of the file as the plain definition has it.
  void Check(Gdiplus::Bitmap& bitmap) {
    EXPECT_TRUE(Written(bitmap) == WrittenPcx(LockedImageOf(bitmap, 96, 96)));
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "written.pcx";
};

/// The header without its 49 bytes of colours and its 54 unused ones.
inline Bytes MeaningfulBytes(const Bytes& file) {
  Bytes bytes;
  for (std::size_t i = 0; i < 74; ++i) {
    if (i < 16 || i >= 65) bytes.push_back(file.at(i));
  }
  return bytes;
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_UNIT_IO_PCX_WRITER_FIXTURE_H_
