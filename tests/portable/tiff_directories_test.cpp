// Directories of TIFF files: how much may be asked for to read them.

#include "codecs/tiff_memory.h"
#include "portable/tiff_pages.h"
#include "shared/tiff_files.h"

namespace pixtola::portable {
namespace {

/// A tag whose values lie from the beginning of the file's data on.
struct Tag {
  std::uint32_t number;
  std::uint32_t type;
  std::uint32_t count;
};

/// Pages of one pixel, white, with these tags besides, which all have their values in `size` bytes.
Bytes PagesWithTags(std::uint32_t pages, const std::vector<Tag>& tags, std::uint32_t size) {
  constexpr std::uint32_t kDataAt = 8;
  std::vector<std::array<std::uint32_t, 4>> entries = {
      {TIFFTAG_IMAGEWIDTH, 3, 1, 1},         {TIFFTAG_IMAGELENGTH, 3, 1, 1},
      {TIFFTAG_BITSPERSAMPLE, 3, 1, 8},      {TIFFTAG_PHOTOMETRIC, 3, 1, 1},
      {TIFFTAG_STRIPOFFSETS, 4, 1, kDataAt}, {TIFFTAG_STRIPBYTECOUNTS, 4, 1, 1}};
  for (const Tag& tag : tags) entries.push_back({tag.number, tag.type, tag.count, kDataAt});
  Bytes file = {'I', 'I', 42, 0};
  Add(file, kDataAt + size, 4);
  file.resize(kDataAt + size, 0xFF);
  for (std::uint32_t page = 0; page < pages; ++page) {
    Add(file, static_cast<std::uint32_t>(entries.size()), 2);
    for (const auto& [tag, type, count, value] : entries) {
      Add(Add(Add(Add(file, tag, 2), type, 2), count, 4), value, 4);
    }
    Add(file, page + 1 < pages ? static_cast<std::uint32_t>(file.size()) + 4 : 0, 4);
  }
  return file;
}

/// Tags that nobody knows, of so many bytes each.
std::vector<Tag> UnknownTags(std::uint32_t count, std::uint32_t size) {
  std::vector<Tag> tags;
  for (std::uint32_t i = 0; i < count; ++i) tags.push_back({50000 + i, TIFF_BYTE, size});
  return tags;
}

TEST(TiffDirectories, AskForNoMoreThanTheFileAnd16Mebibytes) {
  constexpr std::uint32_t kSize = 1 << 19;  // 32 times that are 16 MiB, and once the file has it
  for (const std::uint32_t tags : {0U, 32U, 33U}) {
    const Bytes file = PagesWithTags(1, UnknownTags(tags, kSize), kSize);
    EXPECT_EQ(Pixels(*Decode(DecodeTiff, file)), std::vector<ARGB>{kWhite}) << tags;
  }
  Bytes file = PagesWithTags(1, UnknownTags(34, kSize), kSize);
  ExpectFails(DecodeTiff, file, Gdiplus::GenericError);
  // libtiff does not miss the place of a next directory.
  file.resize(file.size() - 4);
  ExpectFails(DecodeTiff, file, Gdiplus::GenericError);
}

TEST(TiffDirectories, AskForWhatTheFileHasOnlyWhateverTheyClaim) {
  constexpr std::uint32_t kAny = 0xFFFFFFFF;
  for (const Tag& tag :
       {Tag{50000, TIFF_BYTE, kAny}, Tag{50000, TIFF_ASCII, kAny}, Tag{50000, TIFF_DOUBLE, kAny},
        Tag{34675, TIFF_UNDEFINED, 40'000'000}, Tag{50000, 0, kAny}, Tag{50000, 65535, kAny}}) {
    const Bytes file = PagesWithTags(1, {tag}, 100);
    EXPECT_EQ(Pixels(*Decode(DecodeTiff, file)), std::vector<ARGB>{kWhite}) << tag.type;
  }
}

TEST(TiffDirectories, MayShareValuesUpToAGibibyte) {
  // 8 MiB a page.
  const Bytes file = PagesWithTags(140, UnknownTags(16, 1 << 19), 1 << 19);
  BitmapPtr page;
  for (const UINT index : {0U, 1U, 60U, 126U}) {
    EXPECT_EQ(kTiffFrames.decode(file, index, page), Gdiplus::Ok) << index;
  }
  EXPECT_EQ(kTiffFrames.decode(file, 139, page), Gdiplus::GenericError);
}

TEST(TiffDirectories, EndWhenTheyGoRoundInCircles) {
  Bytes file = PagesWithTags(1, {}, 8);
  file[file.size() - 4] = 16;
  TiffSource source{file};
  EXPECT_EQ(OpenTiffForReading(source, 0xFFFFFFFF), nullptr);
  EXPECT_NE(OpenTiffForReading(source, 1000), nullptr);
}

}  // namespace
}  // namespace pixtola::portable
