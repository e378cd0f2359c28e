// TIFF files of every compression that are cut short or changed: an image or none, the same from a
// file and from a stream, and never a fault.

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "io/tiff_reader.h"
#include "support/decode_limit_guard.h"
#include "support/recording_stream.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "support/tiff_bytes.h"

namespace pixtola::test {
namespace {

/// What a hostile file may make the reader allocate here.
constexpr platform::DecodeLimit kLimit = {1 << 20, 1 << 28};

struct NamedFile {
  std::string name;
  Bytes bytes;
};

/// Small files, one of each compression and kind of pixel that libtiff writes here.
std::vector<NamedFile> AllFiles() {
  TiffPage bilevel;
  bilevel.width = 37;
  bilevel.height = 9;
  bilevel.photometric = PHOTOMETRIC_MINISWHITE;
  TiffPage gray;
  gray.width = 11;
  gray.height = 8;
  gray.bits_per_sample = 8;
  TiffPage color = gray;
  color.width = 7;
  color.samples_per_pixel = 3;
  color.photometric = PHOTOMETRIC_RGB;
  std::vector<NamedFile> files;
  std::mt19937 random(1);
  for (const int compression :
       {COMPRESSION_NONE, COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4,
        COMPRESSION_LZW, COMPRESSION_PACKBITS, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_JPEG,
        COMPRESSION_ZSTD, COMPRESSION_WEBP}) {
    if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression)) == 0) continue;
    for (TiffPage page : {bilevel, gray, color}) {
      const bool is_fax =
          compression >= COMPRESSION_CCITTRLE && compression <= COMPRESSION_CCITTFAX4;
      const bool is_bilevel = page.bits_per_sample == 1;
      if ((is_fax && !is_bilevel) || (compression == COMPRESSION_JPEG && is_bilevel)) continue;
      if (compression == COMPRESSION_WEBP && page.samples_per_pixel != 3) continue;
      const std::size_t row_bits =
          std::size_t{page.width} * page.bits_per_sample * page.samples_per_pixel;
      page.rows.resize((row_bits + 7) / 8 * page.height);
      for (std::uint8_t& byte : page.rows) byte = random() % 3 == 0 ? 0x10 : 0xFF;
      page.more_tags = [compression](TIFF* tiff) {
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
      };
      files.push_back({"compression " + std::to_string(compression) + " of " +
                           std::to_string(page.bits_per_sample * page.samples_per_pixel) + " bits",
                       TiffBytes({page})});
    }
  }
  return files;
}

class DamagedTiffTest : public testing::Test {
 protected:
  /// Whether there is an image; it must be the same from a file and from a stream.
  bool IsRead(const Bytes& file, const std::string& name) {
    std::filesystem::remove(path_);  // to replace its contents would wait for the disk
    WriteWholeFile(path_, file);
    BitmapPointer from_file = ReadTiffFile(path_.wstring().c_str(), 0);
    RecordingStream stream(file);
    BitmapPointer from_stream = ReadTiffStream(&stream);
    EXPECT_EQ(stream.references, 1U);
    EXPECT_EQ(from_file == nullptr, from_stream == nullptr) << name;
    if (from_file == nullptr || from_stream == nullptr) return false;
    EXPECT_EQ(from_file->GetWidth(), from_stream->GetWidth()) << name;
    EXPECT_EQ(from_file->GetHeight(), from_stream->GetHeight()) << name;
    EXPECT_EQ(from_file->GetPixelFormat(), from_stream->GetPixelFormat()) << name;
    EXPECT_EQ(PaletteOf(*from_file), PaletteOf(*from_stream)) << name;
    EXPECT_TRUE(PixelsOf(*from_file) == PixelsOf(*from_stream)) << name;
    return true;
  }

  TemporaryFolder folder_;
  std::filesystem::path path_ = folder_ / "page.tif";
};

TEST_F(DamagedTiffTest, GivesAnImageOrNoneWhereverItIsCut) {
  const DecodeLimitGuard limit(kLimit);
  const std::vector<NamedFile> files = AllFiles();
  ASSERT_GE(files.size(), 11U);
  for (const auto& [name, whole] : files) {
    EXPECT_TRUE(IsRead(whole, name)) << name;
    for (std::size_t size = 0; size < whole.size(); ++size) {
      const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
      const bool is_read = IsRead(cut, name + ", cut to " + std::to_string(size));
      // Directories come last: without the start of one there is no page.
      EXPECT_FALSE(is_read && size <= NumberAt(whole, 4, 4)) << name << ' ' << size;
    }
  }
}

TEST_F(DamagedTiffTest, GivesAnImageOrNoneWhateverIsChanged) {
  const DecodeLimitGuard limit(kLimit);
  std::mt19937 random(1);
  int read = 0;
  int refused = 0;
  for (const auto& [name, whole] : AllFiles()) {
    for (int round = 0; round < 150; ++round) {
      Bytes changed = whole;
      for (auto changes = 1 + random() % 4; changes > 0; --changes) {
        changed[random() % changed.size()] = static_cast<std::uint8_t>(random());
      }
      if (round % 4 == 0) changed.resize(random() % changed.size());
      const bool is_read = IsRead(changed, name + ", round " + std::to_string(round));
      ++(is_read ? read : refused);
    }
  }
  EXPECT_GT(read, 100);
  EXPECT_GT(refused, 100);
}

TEST_F(DamagedTiffTest, IsKeptInPartOnlyWhenItIsDeep) {
  // Packed rows of which every second one is cut off: indexes that are missing are a failure, deep
  // pixels are black.
  TiffPage gray;
  gray.width = 10;
  gray.height = 10;
  gray.bits_per_sample = 8;
  gray.rows.assign(100, 0x40);
  gray.more_tags = [](TIFF* tiff) {
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
  };
  TiffPage color = gray;
  color.samples_per_pixel = 3;
  color.photometric = PHOTOMETRIC_RGB;
  color.rows.assign(300, 0x40);
  for (const TiffPage& page : {gray, color}) {
    Bytes file = TiffBytes({page});
    const std::size_t count = PlaceOfField(file, TIFFTAG_STRIPBYTECOUNTS);
    ASSERT_EQ(file.at(count), 20);  // ten runs
    file[count] = 10;
    EXPECT_EQ(IsRead(file, "half a strip"), page.samples_per_pixel == 3);
    RecordingStream stream(file);
    const BitmapPointer bitmap = ReadTiffStream(&stream);
    if (bitmap == nullptr) continue;
    const Bytes pixels = PixelsOf(*bitmap);
    EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 4), (Bytes{0x40, 0x40, 0x40, 0xFF}));
    EXPECT_EQ(Bytes(pixels.end() - 4, pixels.end()), (Bytes{0, 0, 0, 0xFF}));
  }
}

}  // namespace
}  // namespace pixtola::test
