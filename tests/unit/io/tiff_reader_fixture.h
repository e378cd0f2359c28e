// Pages of TIFF for tests of the reader, which reads them from files and from streams alike.
#ifndef PIXTOLA_TESTS_UNIT_IO_TIFF_READER_FIXTURE_H_
#define PIXTOLA_TESTS_UNIT_IO_TIFF_READER_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "io/tiff_reader.h"
#include "support/recording_stream.h"
#include "support/reference_tiff.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/tiff_bytes.h"

namespace pixtola::test {

/// The tags that all pages have.
inline TiffFields PageFields(std::uint32_t width, std::uint32_t height, std::uint32_t bits,
                             std::uint32_t samples, std::uint32_t photometric) {
  return {{TIFFTAG_IMAGEWIDTH, Short(width)},
          {TIFFTAG_IMAGELENGTH, Short(height)},
          {TIFFTAG_BITSPERSAMPLE, Shorts(std::vector<std::uint32_t>(samples, bits))},
          {TIFFTAG_COMPRESSION, Short(COMPRESSION_NONE)},
          {TIFFTAG_PHOTOMETRIC, Short(photometric)},
          {TIFFTAG_SAMPLESPERPIXEL, Short(samples)},
          {TIFFTAG_ROWSPERSTRIP, Short(height)},
          {TIFFTAG_PLANARCONFIG, Short(PLANARCONFIG_CONTIG)}};
}

/// One page of one row.
inline Bytes Row(TiffFields fields, const Bytes& row) {
  return PlainTiff().AddPage(std::move(fields), row).bytes();
}

/// A colour map of gray levels that are not the same in their low and high bytes.
inline TiffField AnyColorMap(std::uint32_t bits) {
  std::vector<std::uint32_t> values(std::size_t{3} << bits);
  std::mt19937 random(bits);
  for (std::uint32_t& value : values) value = random() & 0xFFFF;
  return Shorts(values);
}

class TiffLayoutsTest : public testing::Test {
 protected:
  BitmapPointer FromFile(const Bytes& file, std::int32_t page = 0) {
    std::filesystem::remove(path_);  // replacing its contents would wait for the disk
    WriteWholeFile(path_, file);
    BitmapPointer bitmap = ReadTiffFile(path_.wstring().c_str(), static_cast<std::uint32_t>(page));
    return bitmap;
  }
  static BitmapPointer FromStream(const Bytes& file) {
    RecordingStream stream(file);
    BitmapPointer bitmap = ReadTiffStream(&stream);
    EXPECT_EQ(stream.references, 1U);
    return bitmap;
  }

  /// The first page, which must be the same from a file and from a stream; null when it is refused.
  BitmapPointer Read(const Bytes& file) {
    BitmapPointer bitmap = FromFile(file);
    const BitmapPointer from_stream = FromStream(file);
    EXPECT_EQ(bitmap == nullptr, from_stream == nullptr);
    if (bitmap == nullptr || from_stream == nullptr) return nullptr;
    EXPECT_EQ(PixelsOf(*bitmap), PixelsOf(*from_stream));
    EXPECT_EQ(PaletteOf(*bitmap), PaletteOf(*from_stream));
    EXPECT_EQ(bitmap->GetHorizontalResolution(), from_stream->GetHorizontalResolution());
    return bitmap;
  }

  /// The first page is as the rules say, from a file and from a stream.
  void ExpectFollowsTheRules(const Bytes& file, const std::string& name) {
    const std::optional<TiffPicture> expected = ReferenceTiffPage(file);
    EXPECT_EQ(DifferenceFrom(expected, FromFile(file).get()), "") << name << " as a file";
    EXPECT_EQ(DifferenceFrom(expected, FromStream(file).get()), "") << name << " as a stream";
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "page.tif";
};

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_UNIT_IO_TIFF_READER_FIXTURE_H_
