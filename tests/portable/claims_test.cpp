// Files that claim far more pixels than their bytes can hold: where the line is drawn.

#include "codecs/tiff_memory.h"
#include "portable/gif_files.h"
#include "portable/tiff_pages.h"
#include "shared/tiff_files.h"

namespace pixtola::portable {
namespace {

using platform::IsClaimPlausible;

constexpr std::uint64_t kLarge = (std::uint64_t{1} << 26) + 1;  // pixels

TEST(Claims, AreDoubtedAboveTwoToThe26thPixels) {
  EXPECT_TRUE(IsClaimPlausible(0, 0, 0));
  EXPECT_TRUE(IsClaimPlausible(kLarge - 1, 0, 1'000'000'000));
  EXPECT_FALSE(IsClaimPlausible(kLarge, 0, 1'000'000'000));
}

TEST(Claims, NeedATenthOfTheShortestCoding) {
  EXPECT_FALSE(IsClaimPlausible(kLarge, 99, 1000));
  EXPECT_TRUE(IsClaimPlausible(kLarge, 100, 1000));
  EXPECT_TRUE(IsClaimPlausible(kLarge, 0, 9));
}

TEST(Claims, AreBelievedWithoutADecodeLimit) {
  const platform::DecodeWithoutLimit without_limit;
  EXPECT_TRUE(IsClaimPlausible(kLarge, 0, 1'000'000'000));
}

/// What the tags of a page tell; the rest of them is as in any page.
struct ClaimedPage {
  std::uint32_t compression = COMPRESSION_NONE;
  std::uint32_t width = 1 << 13;
  std::uint32_t height = (1 << 13) + 10;
  std::uint32_t bits = 8;
  std::uint32_t samples = 1;
  std::uint32_t photometric = PHOTOMETRIC_MINISBLACK;
};

const Bytes kZstandardMagic = {0x28, 0xB5, 0x2F, 0xFD};

/// The header of a frame of JPEG of one pixel with so many components, and that of a scan of some.
Bytes JpegStart(std::uint8_t frame_marker, std::uint8_t components, std::uint8_t scanned) {
  Bytes start = {
      0xFF, 0xD8, 0xFF, frame_marker, 0, static_cast<std::uint8_t>(8 + 3 * components), 8, 0,
      1,    0,    1,    components};
  for (std::uint8_t i = 1; i <= components; ++i) Append(start, {i, 0x11, 0});
  Append(start, {0xFF, 0xDA, 0, static_cast<std::uint8_t>(6 + 2 * scanned), scanned});
  for (std::uint8_t i = 1; i <= scanned; ++i) Append(start, {i, 0});
  Append(start, {0, 63, 0});
  return start;
}

/// What data begins with so that it is taken for what the page says it is.
Bytes StartOf(const ClaimedPage& page) {
  if (page.compression == COMPRESSION_ZSTD) return kZstandardMagic;
  if (page.compression == COMPRESSION_JPEG) return JpegStart(0xC0, 1, 1);
  return {};
}

bool IsAllowed(const Bytes& file) {
  TiffSource source{file};
  const TiffHandle tiff = OpenTiffForReading(source);
  EXPECT_NE(tiff, nullptr);
  return tiff != nullptr && platform::IsTiffPageAllowed(tiff.get());
}

/// Whether a page is allowed that has this data in one strip.
bool IsAllowed(const ClaimedPage& page, const Bytes& data) {
  const auto size = static_cast<std::uint32_t>(data.size());
  return IsAllowed(MakeTiff({{TIFFTAG_IMAGEWIDTH, 4, page.width},
                             {TIFFTAG_IMAGELENGTH, 4, page.height},
                             {TIFFTAG_BITSPERSAMPLE, 3, page.bits},
                             {TIFFTAG_COMPRESSION, 3, page.compression},
                             {TIFFTAG_PHOTOMETRIC, 3, page.photometric},
                             {TIFFTAG_STRIPOFFSETS, 4, 8},
                             {TIFFTAG_SAMPLESPERPIXEL, 3, page.samples},
                             {TIFFTAG_ROWSPERSTRIP, 4, page.height},
                             {TIFFTAG_STRIPBYTECOUNTS, 4, size}},
                            data));
}

/// Whether a page is allowed that has so many bytes of data.
bool IsAllowed(const ClaimedPage& page, std::uint32_t size) {
  Bytes data = StartOf(page);
  data.resize(size);
  return IsAllowed(page, data);
}

TEST(TiffClaims, NeedATenthOfWhatEachCompressionCanDo) {
  struct Case {
    ClaimedPage page;
    /// A tenth of the shortest coding of 8192 x 8202 pixels, rounded down.
    std::uint32_t least_size;
  };
  for (const auto& [page, least_size] : {
           Case{{COMPRESSION_NONE}, 6'719'078},
           Case{{.compression = COMPRESSION_NONE, .bits = 1}, 839'884},
           Case{{.samples = 3, .photometric = PHOTOMETRIC_RGB}, 20'157'235},
           // Colours may be stored for a sixteenth of the pixels only.
           Case{{.samples = 3, .photometric = PHOTOMETRIC_YCBCR}, 6'719'078},
           // 64 bytes by one.
           Case{{COMPRESSION_PACKBITS}, 104'985},
           // 4096 bytes by 12 bits.
           Case{{COMPRESSION_LZW}, 2'460},
           // 1032 bytes by one.
           Case{{COMPRESSION_ADOBE_DEFLATE}, 6'510},
           Case{{COMPRESSION_DEFLATE}, 6'510},
           // A bit for a row.
           Case{{.compression = COMPRESSION_CCITTFAX3, .bits = 1}, 102},
           Case{{.compression = COMPRESSION_CCITTFAX4, .bits = 1}, 102},
           Case{{.compression = COMPRESSION_CCITTRLE, .bits = 1}, 102},
           // A bit for 8 x 8 pixels.
           Case{{COMPRESSION_JPEG}, 13'123},
           // Some bytes for a white row.
           Case{{.compression = COMPRESSION_NEXT, .bits = 2}, 820},
           // 131,072 bytes by four.
           Case{{COMPRESSION_ZSTD}, 205},
           // 63 pixels by one byte.
           Case{{.compression = COMPRESSION_THUNDERSCAN, .bits = 4}, 106'652},
       }) {
    SCOPED_TRACE(::testing::Message() << "compression " << page.compression << ", " << page.bits
                                      << " bits, " << page.samples << " samples");
    EXPECT_TRUE(IsAllowed(page, least_size));
    // Of rows without a coding, libtiff takes what follows them for data, too: the directory.
    const std::uint32_t directory = page.compression == COMPRESSION_NONE ? 200 : 0;
    EXPECT_FALSE(IsAllowed(page, least_size - directory - 1));
    ClaimedPage smaller = page;
    smaller.height = 1 << 13;
    EXPECT_TRUE(IsAllowed(smaller, 40));
  }
}

TEST(TiffClaims, CountManySamplesAsMorePixels) {
  ClaimedPage page{.width = 1 << 12, .height = 1 << 12, .samples = 16};
  EXPECT_TRUE(IsAllowed(page, 8));
  page.samples = 17;
  EXPECT_FALSE(IsAllowed(page, 8));
}

/// `strips` strips of a row of `width` pixels each that all are the same `data`.
Bytes SharedStrips(std::uint32_t compression, std::uint32_t strips, std::uint32_t width,
                   const Bytes& data) {
  const auto arrays_at = static_cast<std::uint32_t>(8 + data.size());
  Bytes arrays;
  for (std::uint32_t i = 0; i < strips; ++i) Add(arrays, 8, 4);
  for (std::uint32_t i = 0; i < strips; ++i) Add(arrays, arrays_at - 8, 4);
  Bytes file = {'I', 'I', 42, 0};
  Add(file, static_cast<std::uint32_t>(arrays_at + arrays.size()), 4);
  Append(file, data);
  Append(file, arrays);
  const std::vector<std::array<std::uint32_t, 4>> tags = {
      {TIFFTAG_IMAGEWIDTH, 4, 1, width},
      {TIFFTAG_IMAGELENGTH, 4, 1, strips},
      {TIFFTAG_BITSPERSAMPLE, 3, 1, 8},
      {TIFFTAG_COMPRESSION, 3, 1, compression},
      {TIFFTAG_PHOTOMETRIC, 3, 1, PHOTOMETRIC_MINISBLACK},
      {TIFFTAG_STRIPOFFSETS, 4, strips, arrays_at},
      {TIFFTAG_ROWSPERSTRIP, 4, 1, 1},
      {TIFFTAG_STRIPBYTECOUNTS, 4, strips, arrays_at + 4 * strips}};
  Add(file, static_cast<std::uint32_t>(tags.size()), 2);
  for (const auto& [tag, type, count, value] : tags) {
    Add(Add(Add(Add(file, tag, 2), type, 2), count, 4), value, 4);
  }
  return Add(file, 0, 4);
}

TEST(TiffClaims, ShareDataAsFarAsItIsQuicklyDecoded) {
  const Bytes data(4096, 0x80);
  EXPECT_TRUE(IsAllowed(SharedStrips(COMPRESSION_ADOBE_DEFLATE, 1 << 12, 1, data)));
  EXPECT_FALSE(IsAllowed(SharedStrips(COMPRESSION_ADOBE_DEFLATE, (1 << 12) + 1, 1, data)));
  EXPECT_TRUE(IsAllowed(SharedStrips(COMPRESSION_PACKBITS, 1 << 15, 1, data)));
  EXPECT_FALSE(IsAllowed(SharedStrips(COMPRESSION_PACKBITS, (1 << 15) + 1, 1, data)));
  EXPECT_TRUE(IsAllowed(SharedStrips(COMPRESSION_NONE, (1 << 15) + 1, 4096, data)));
}

TEST(TiffClaims, CountWhatTheFileHasOfItsStripsOnly) {
  // The first strip is there, the others would be behind the end.
  const std::uint32_t strips = 8202;
  Bytes file = SharedStrips(COMPRESSION_NONE, strips, 8192, Bytes(8192, 7));
  EXPECT_TRUE(IsAllowed(file));
  for (std::size_t i = 1; i < strips; ++i) file[8 + 8192 + 4 * i + 3] = 0x70;
  EXPECT_FALSE(IsAllowed(file));
}

/// A page of one pixel in one tile.
Bytes OnePixelInATile(std::uint32_t tile_width, std::uint32_t tile_height) {
  return MakeTiff({{TIFFTAG_IMAGEWIDTH, 4, 1},
                   {TIFFTAG_IMAGELENGTH, 4, 1},
                   {TIFFTAG_BITSPERSAMPLE, 3, 8},
                   {TIFFTAG_COMPRESSION, 3, COMPRESSION_ADOBE_DEFLATE},
                   {TIFFTAG_PHOTOMETRIC, 3, PHOTOMETRIC_MINISBLACK},
                   {TIFFTAG_TILEWIDTH, 4, tile_width},
                   {TIFFTAG_TILELENGTH, 4, tile_height},
                   {TIFFTAG_TILEOFFSETS, 4, 8},
                   {TIFFTAG_TILEBYTECOUNTS, 4, 8}},
                  Bytes(8, 0));
}

TEST(TiffClaims, ReachAsFarAsTiles) {
  EXPECT_TRUE(IsAllowed(OnePixelInATile(16, 16)));
  EXPECT_TRUE(IsAllowed(OnePixelInATile(1 << 13, 1 << 13)));
  EXPECT_FALSE(IsAllowed(OnePixelInATile(1 << 13, (1 << 13) + 16)));
  const test::DecodeLimitGuard limit({.pixels = 1000, .bytes = 1 << 20});
  EXPECT_TRUE(IsAllowed(OnePixelInATile(16, 48)));
  EXPECT_FALSE(IsAllowed(OnePixelInATile(16, 64)));  // 1024 pixels
  // Beyond the page in both directions, but not by a second page.
  const auto tiles = [](std::uint32_t width, std::uint32_t height) {
    return MakeTiff({{TIFFTAG_IMAGEWIDTH, 4, width},
                     {TIFFTAG_IMAGELENGTH, 4, height},
                     {TIFFTAG_BITSPERSAMPLE, 3, 8},
                     {TIFFTAG_PHOTOMETRIC, 3, PHOTOMETRIC_MINISBLACK},
                     {TIFFTAG_TILEWIDTH, 4, 16},
                     {TIFFTAG_TILELENGTH, 4, 16},
                     {TIFFTAG_TILEOFFSETS, 4, 8},
                     {TIFFTAG_TILEBYTECOUNTS, 4, 8}},
                    Bytes(8, 0));
  };
  EXPECT_TRUE(IsAllowed(tiles(31, 31)));
  EXPECT_TRUE(IsAllowed(tiles(65, 15)));
  EXPECT_FALSE(IsAllowed(tiles(129, 1)));
}

class ZstandardInTiff : public testing::Test {
 protected:
  void SetUp() override {
    if (TIFFIsCODECConfigured(COMPRESSION_ZSTD) == 0) GTEST_SKIP() << "libtiff knows none";
  }
};

/// A page of 4 x 4 pixels, in strips that begin with the format's magic number.
StoredPage ZstandardPage() {
  StoredPage page;
  page.width = 4;
  page.compression = COMPRESSION_ZSTD;
  page.sample = [](std::uint32_t x, std::uint32_t y, unsigned) { return 16 * y + x; };
  return page;
}

TEST_F(ZstandardInTiff, IsReadAsFarAsItIsZstandard) {
  Bytes file = MakeTiffOf(ZstandardPage());
  EXPECT_EQ(Pixels(*Decode(DecodeTiff, file)).back(), 0xFF333333);
  const auto second =
      std::find_end(file.begin(), file.end(), kZstandardMagic.begin(), kZstandardMagic.end());
  ASSERT_NE(second, file.end());
  // What the library knew as version 0.7, before there was a format.
  second[0] = 0x27;
  ExpectFails(DecodeTiff, file, Gdiplus::OutOfMemory);
}

TEST_F(ZstandardInTiff, IsOneFrameAStrip) {
  const ClaimedPage page{.compression = COMPRESSION_ZSTD, .width = 4, .height = 1};
  struct Case {
    std::uint8_t descriptor;
    Bytes rest_of_header;
    Bytes check_sum;
  };
  for (const auto& [descriptor, rest, check_sum] :
       {Case{0x00, {0x88}, {}}, Case{0x04, {0x88}, {1, 2, 3, 4}}, Case{0x20, {9}, {}},
        Case{0x60, {9, 9}, {}}, Case{0xC2, {0x88, 1, 2, 1, 2, 3, 4, 5, 6, 7, 8}, {}},
        Case{0x83, {0x88, 1, 2, 3, 4, 1, 2, 3, 4}, {}}}) {
    Bytes frame = kZstandardMagic;
    frame.push_back(descriptor);
    Append(frame, rest);
    // A block of two bytes, one byte that is repeated 300 times, an empty last block.
    Append(frame, {2 << 3, 0, 0, 0xAA, 0xBB});
    Append(frame, {0x62, 0x09, 0, 0xCC});  // 300 << 3 | 1 << 1
    Append(frame, {1, 0, 0});
    Append(frame, check_sum);
    EXPECT_TRUE(IsAllowed(page, frame)) << int{descriptor};
    EXPECT_TRUE(IsAllowed(page, Bytes(frame.begin(), frame.end() - 4))) << int{descriptor};
    // Three bytes more cannot be a frame.
    Append(frame, {0x27, 0xB5, 0x2F});
    EXPECT_TRUE(IsAllowed(page, frame)) << int{descriptor};
    Append(frame, {0xFD});
    EXPECT_FALSE(IsAllowed(page, frame)) << int{descriptor};
  }
}

TEST_F(ZstandardInTiff, IsNotTurnedAround) {
  StoredPage page = ZstandardPage();
  page.more_tags = [](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_FILLORDER, FILLORDER_LSB2MSB); };
  ExpectFails(DecodeTiff, MakeTiffOf(page), Gdiplus::OutOfMemory);
}

TEST_F(ZstandardInTiff, NeedsRoomForItsWindowWithinTheLimit) {
  const Bytes file = MakeTiffOf(ZstandardPage());
  const test::DecodeLimitGuard limit({.pixels = 1000, .bytes = 129 << 20});
  Decode(DecodeTiff, file);
  const test::DecodeLimitGuard lower({.pixels = 1000, .bytes = (129 << 20) - 1});
  ExpectFails(DecodeTiff, file, Gdiplus::OutOfMemory);
}

TEST_F(ZstandardInTiff, SharesNoData) {
  // As long as all strips together need no more bytes than the file has, nobody minds.
  Bytes frame = kZstandardMagic;
  EXPECT_TRUE(IsAllowed(SharedStrips(COMPRESSION_ZSTD, 2, 1, frame)));
  frame.resize(5000);
  EXPECT_FALSE(IsAllowed(SharedStrips(COMPRESSION_ZSTD, 2, 1, frame)));
  // A strip may also be missing: no bytes, nowhere.
  Bytes file = SharedStrips(COMPRESSION_ZSTD, 2, 1, frame);
  for (const std::size_t number : {1U, 3U}) std::fill_n(&file[8 + 5000 + 4 * number], 4, 0);
  EXPECT_TRUE(IsAllowed(file));
}

TEST(UnlimitedCodecsInTiff, NeedAMebibyteForMoreThan256) {
  for (const unsigned compression : {COMPRESSION_ZSTD + 0U, COMPRESSION_WEBP + 0U}) {
    ClaimedPage page{.compression = compression,
                     .width = 1 << 13,
                     .height = 1 << 13,
                     .samples = 4,
                     .photometric = PHOTOMETRIC_RGB};
    EXPECT_TRUE(IsAllowed(page, 1000)) << compression;
    page.height += 1;
    EXPECT_FALSE(IsAllowed(page, (1 << 20) - 1)) << compression;
    EXPECT_TRUE(IsAllowed(page, 1 << 20)) << compression;
  }
}

/// Whether a page of JPEG of four samples per pixel is allowed whose data begins so.
bool IsJpegAllowed(std::uint32_t width, std::uint32_t height, const Bytes& start,
                   std::size_t size) {
  Bytes data = start;
  data.resize(size);
  return IsAllowed({.compression = COMPRESSION_JPEG,
                    .width = width,
                    .height = height,
                    .samples = 4,
                    .photometric = PHOTOMETRIC_SEPARATED},
                   data);
}

TEST(JpegInTiff, NeedsAMebibyteForLargePagesOfSeveralScans) {
  Bytes comment_before(5000, 0);
  comment_before[0] = comment_before[2] = 0xFF;
  comment_before[1] = 0xD8;
  comment_before[3] = 0xFE;
  comment_before[4] = 4996 >> 8;
  comment_before[5] = 4996 & 0xFF;
  const Bytes one_scan = JpegStart(0xC0, 4, 4);
  comment_before.insert(comment_before.end(), one_scan.begin() + 2, one_scan.end());
  Bytes filled = one_scan;
  filled.insert(filled.begin() + 2, {0xFF, 0xFF, 0xFF});
  for (const Bytes& start : {one_scan, JpegStart(0xC1, 4, 4), comment_before, filled}) {
    EXPECT_TRUE(IsJpegAllowed(1 << 13, 1 << 13, start, 10000));
  }
  for (const Bytes& start : {JpegStart(0xC0, 4, 1), JpegStart(0xC2, 4, 4)}) {
    EXPECT_TRUE(IsJpegAllowed(1 << 13, 1 << 12, start, 10000));
    EXPECT_FALSE(IsJpegAllowed(1 << 13, (1 << 12) + 1, start, (1 << 20) - 1));
    EXPECT_TRUE(IsJpegAllowed(1 << 13, (1 << 12) + 1, start, 1 << 20));
  }
}

TEST(JpegInTiff, NeedsAMebibyteUnlessItHasHuffmanCodes) {
  for (const std::uint8_t frame : {std::uint8_t{0xC3}, std::uint8_t{0xC9}, std::uint8_t{0xCA}}) {
    const Bytes start = JpegStart(frame, 4, 4);
    EXPECT_TRUE(IsJpegAllowed(1 << 9, 1 << 9, start, 1000));
    EXPECT_FALSE(IsJpegAllowed(1 << 9, (1 << 9) + 1, start, (1 << 20) - 1));
    EXPECT_TRUE(IsJpegAllowed(1 << 9, (1 << 9) + 1, start, 1 << 20));
  }
  // No frame at all.
  EXPECT_FALSE(IsJpegAllowed(1 << 9, (1 << 9) + 1, {0xFF, 0xD8}, 10000));
}

TEST(JpegInTiff, SharesDataOnlyWhenItIsSequential) {
  Bytes data = JpegStart(0xC0, 1, 1);
  data.resize(5000);
  EXPECT_TRUE(IsAllowed(SharedStrips(COMPRESSION_JPEG, 10, 1, data)));
  data[3] = 0xC2;
  EXPECT_FALSE(IsAllowed(SharedStrips(COMPRESSION_JPEG, 10, 1, data)));
}

TEST(WebPInTiff, NeedsRoomForItsTablesWithinTheLimit) {
  // 64 x 64 pixels of 4 bytes, and tables for 257 groups: 5.3 million bytes.
  const ClaimedPage page{.compression = COMPRESSION_WEBP,
                         .width = 64,
                         .height = 64,
                         .samples = 3,
                         .photometric = PHOTOMETRIC_RGB};
  const test::DecodeLimitGuard limit({.pixels = 10000, .bytes = 5'400'000});
  EXPECT_TRUE(IsAllowed(page, 100));
  const test::DecodeLimitGuard lower({.pixels = 10000, .bytes = 5'200'000});
  EXPECT_FALSE(IsAllowed(page, 100));
}

TEST(Claims, OfTiffAreRefusedAsBeyondTheLimit) {
  ExpectFails(DecodeTiff, SharedStrips(COMPRESSION_PACKBITS, (1 << 15) + 1, 1, Bytes(4096, 0x80)),
              Gdiplus::OutOfMemory);
}

TEST(Claims, OfGifFramesBeyondTheScreenCountAgainstTheLimit) {
  GifParts parts{.width = 1, .height = 1, .colors = {kRed, kWhite}};
  parts.images.push_back({.width = 0xFFFF, .height = 0xFFFF, .pixels = {1}});
  ExpectFails(DecodeGif, MakeGif(parts), Gdiplus::OutOfMemory);
  const test::DecodeLimitGuard limit({.pixels = 100, .bytes = 1000});
  parts.images[0] = {.width = 10, .height = 10, .pixels = Bytes(100, 1)};
  EXPECT_EQ(Pixels(*Decode(DecodeGif, MakeGif(parts))), std::vector<ARGB>{kWhite});
  parts.images[0] = {.width = 11, .height = 10, .pixels = Bytes(110, 1)};
  ExpectFails(DecodeGif, MakeGif(parts), Gdiplus::OutOfMemory);
  // A later frame that is too large ends the frames.
  parts.images.insert(parts.images.begin(), {.width = 1, .height = 1, .pixels = {0}});
  const Bytes file = MakeGif(parts);
  EXPECT_EQ(kGifFrames.count(file), 1U);
  EXPECT_EQ(Pixels(*Decode(DecodeGif, file)), std::vector<ARGB>{kRed});
}

TEST(Claims, OfGifFramesNeedATenthOfTheShortestCoding) {
  // 8192 x 8202 pixels: 16,404 codes of 12 bits, 24,606 bytes.
  GifParts parts = PlainGif(1 << 13, (1 << 13) + 10, {1}, {kRed, kWhite});
  Bytes file = MakeGif(parts);
  ExpectFails(DecodeGif, file, Gdiplus::OutOfMemory);
  file.resize(2459);  // what follows the image counts, too
  ExpectFails(DecodeGif, file, Gdiplus::OutOfMemory);
  file.resize(2460);
  EXPECT_EQ(Decode(DecodeGif, file)->height(), 8202U);
}

TEST(Claims, OfBmpNeedATenthOfTheRows) {
  // 8192 x 8202 pixels of 1 bit, 8,398,848 bytes.
  BmpParts parts{.width = 1 << 13, .height = (1 << 13) + 10, .bits = 1};
  parts.after_header = RedWhitePalette();
  parts.colors_used = 2;
  parts.pixels = Bytes(839'883, 0);
  ExpectFails(DecodeBmp, MakeBmp(parts), Gdiplus::OutOfMemory);
  parts.pixels = Bytes(839'884, 0);
  ExpectFails(DecodeBmp, MakeBmp(parts), Gdiplus::GenericError);
}

}  // namespace
}  // namespace pixtola::portable
