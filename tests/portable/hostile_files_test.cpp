// Files that are cut, changed or lie about their size end in a status, silently.

#include "portable/gif_files.h"
#include "portable/tiff_pages.h"

namespace pixtola::portable {
namespace {

/// Frames of every kind: interlaced, with colours of their own, transparent, each disposal.
Bytes Animation() {
  const std::vector<ARGB> colors = {kRed, kWhite, kGreen, kBlue};
  GifParts parts{.width = 6, .height = 5, .colors = colors};
  for (std::uint32_t i = 0; i < 4; ++i) {
    parts.images.push_back({.left = i,
                            .top = 1,
                            .width = 3,
                            .height = 4,
                            .pixels = Bytes(12, static_cast<std::uint8_t>(i)),
                            .colors = i % 2 == 0 ? std::vector<ARGB>{} : colors,
                            .is_interlaced = i > 1,
                            .disposal = i,
                            .transparent = std::uint8_t{3}});
  }
  return MakeGif(parts);
}

Status DecodeSecondTiffPage(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap) {
  if (kTiffFrames.count(bytes) < 2) return Gdiplus::GenericError;
  return kTiffFrames.decode(bytes, 1, bitmap);
}

/// One file for each way to read a page: strips, tiles, planes, libtiff's conversion.
void AddTiffLayouts(std::vector<std::pair<DecodeFunction, Bytes>>& files) {
  StoredPage page;
  page.sample = AnySample(8);
  page.samples = 3;
  page.photometric = PHOTOMETRIC_RGB;
  for (const std::uint32_t tile_width : {0U, 16U}) {
    for (const bool is_planar : {false, true}) {
      for (const int compression : {COMPRESSION_LZW, COMPRESSION_PACKBITS}) {
        page.tile_width = tile_width;
        page.rows = tile_width == 0 ? 2 : 16;
        page.is_planar = is_planar;
        page.compression = static_cast<std::uint16_t>(compression);
        files.emplace_back(DecodeTiff, MakeTiffOf(page));
      }
    }
  }
  StoredPage alpha = page;
  alpha.samples = 4;
  alpha.more_tags = [](TIFF* tiff) {
    const std::uint16_t type = EXTRASAMPLE_ASSOCALPHA;
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &type);
  };
  files.emplace_back(DecodeTiff, MakeTiffOf(alpha));
  StoredPage fax;
  fax.width = 40;
  fax.bits = 1;
  fax.sample = AnySample(1);
  for (const int compression :
       {COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4}) {
    fax.compression = static_cast<std::uint16_t>(compression);
    files.emplace_back(DecodeTiff, MakeTiffOf(fax));
  }
  StoredPage two_bits;
  two_bits.bits = 2;
  two_bits.sample = AnySample(2);
  files.emplace_back(DecodeTiff, MakeTiffOf(two_bits));
  two_bits.tile_width = 16;
  two_bits.rows = 16;
  files.emplace_back(DecodeTiff, MakeTiffOf(two_bits));
  StoredPage deep;
  deep.bits = 16;
  deep.sample = AnySample(16);
  files.emplace_back(DecodeTiff, MakeTiffOf(deep));
  deep.tile_width = 16;
  deep.rows = 16;
  deep.compression = COMPRESSION_ADOBE_DEFLATE;
  files.emplace_back(DecodeTiff, MakeTiffOf(deep));
  StoredPage jpeg;
  jpeg.rows = 16;
  jpeg.compression = COMPRESSION_JPEG;
  jpeg.sample = AnySample(8);
  files.emplace_back(DecodeTiff, MakeTiffOf(jpeg));
  jpeg.samples = 3;
  jpeg.photometric = PHOTOMETRIC_YCBCR;
  jpeg.more_tags = [](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB); };
  files.emplace_back(DecodeTiff, MakeTiffOf(jpeg));
  files.emplace_back(DecodeSecondTiffPage, MakeTiffOfPages({fax, page}));
}

std::vector<std::pair<DecodeFunction, Bytes>> SmallFiles() {
  std::vector<std::pair<DecodeFunction, Bytes>> files;
  for (const Codec& codec : Codecs()) {
    for (const Gdiplus::PixelFormat format : {PixelFormat1bppIndexed, PixelFormat4bppIndexed,
                                              PixelFormat24bppRGB, PixelFormat32bppARGB}) {
      files.emplace_back(codec.decode, Encode(codec.encode, *Noise(5, 4, format)));
    }
  }
  files.emplace_back(DecodeBmp, MakeBmp(Rle(8, {2, 1, 3, 2, 0, 0, 0, 3, 3, 0, 1, 0, 0, 2, 0, 1})));
  files.emplace_back(DecodeBmp, MakeBmp(Rle(4, {3, 0x12, 0, 0, 0, 3, 0x30, 0x10, 0, 0, 1, 0x30})));
  files.emplace_back(DecodeBmp, MakeBmp({.header_size = 124,
                                         .bits = 16,
                                         .compression = 3,
                                         .pixels = Bytes(8, 0x55),
                                         .masks = {0xF800, 0x07E0, 0x001F}}));
  files.emplace_back(DecodeGif, Animation());
  files.emplace_back(
      DecodePng,
      MakePng({PNG_COLOR_TYPE_RGBA, 8, 2, Bytes(24, 3), {}, false, PNG_INTERLACE_ADAM7}));
  files.emplace_back(DecodeJpeg, MakeJpeg({1, JCS_GRAYSCALE, JCS_GRAYSCALE, {9}, 1}));
  files.emplace_back(DecodeJpeg, MakeJpeg({3, JCS_RGB, JCS_YCbCr, {200, 100, 30}, 1, true}));
  files.emplace_back(DecodeJpeg, MakeJpeg({4, JCS_CMYK, JCS_YCCK, {1, 2, 3, 4}}));
  AddTiffLayouts(files);
  return files;
}

/// Null for formats of one image.
const FrameFunctions* FramesOf(DecodeFunction decode) {
  for (const Codec& codec : Codecs()) {
    if (codec.decode == decode) return codec.frames;
  }
  return nullptr;
}

/// Any status will do, as long as it agrees with the bitmap, and an image that is decoded has a
/// frame.
void ExpectAnswer(DecodeFunction decode, const Bytes& bytes) {
  // A block of the exact size, so that a read past the end is seen by an address checker.
  const HeapBytes exact = AllocateBytes(bytes.size());
  std::copy(bytes.begin(), bytes.end(), exact.get());
  const EncodedBytes encoded(exact.get(), bytes.size());
  BitmapPtr bitmap;
  const Status status = decode(encoded, bitmap);
  ASSERT_EQ(status == Gdiplus::Ok, bitmap != nullptr);
  const FrameFunctions* frames = FramesOf(decode);
  if (frames == nullptr || bitmap == nullptr) return;
  const UINT count = frames->count(encoded);
  ASSERT_GE(count, 1U);
  const Status last = frames->decode(encoded, count - 1, bitmap);
  ASSERT_EQ(last == Gdiplus::Ok, bitmap != nullptr);
  // Frames of GIF are counted as far as they can be shown.
  ASSERT_TRUE(last == Gdiplus::Ok || decode != DecodeGif);
}

TEST(Codecs, AnswerToFilesCutAtEveryByteAndPrintNothing) {
  const test::DecodeLimitGuard limit({.pixels = 1 << 18, .bytes = 1 << 22});
  ::testing::internal::CaptureStderr();
  for (const auto& [decode, bytes] : SmallFiles()) {
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
      ExpectAnswer(decode, Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)));
    }
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(Codecs, AnswerToFilesWithChangedBytesAndPrintNothing) {
  const test::DecodeLimitGuard limit({.pixels = 1 << 18, .bytes = 1 << 22});
  ::testing::internal::CaptureStderr();
  unsigned seed = 0;
  for (const auto& [decode, bytes] : SmallFiles()) {
    for (int round = 0; round < 500; ++round) {
      SCOPED_TRACE("seed " + std::to_string(++seed));
      std::mt19937 random(seed);
      Bytes changed = bytes;
      for (auto changes = 1 + random() % 4; changes > 0; --changes) {
        changed[random() % changed.size()] = static_cast<std::uint8_t>(random());
      }
      ExpectAnswer(decode, changed);
    }
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

std::uint32_t Crc(const Bytes& bytes) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (const std::uint8_t byte : bytes) {
    crc ^= byte;
    for (int i = 0; i < 8; ++i) crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
  }
  return ~crc;
}

/// Files that say they are 40000 x 40000 pixels and hold next to nothing.
std::vector<std::pair<DecodeFunction, Bytes>> HugeClaims() {
  std::vector<std::pair<DecodeFunction, Bytes>> files;
  files.emplace_back(DecodeBmp, MakeBmp({.width = 40000, .height = 40000, .pixels = Bytes(8, 0)}));
  BmpParts rle = Rle(8, {4, 1, 0, 1});
  rle.width = rle.height = 40000;
  files.emplace_back(DecodeBmp, MakeBmp(rle));

  GifParts gif = PlainGif(40000, 40000, {0}, {kRed, kWhite});
  files.emplace_back(DecodeGif, MakeGif(gif));
  gif.images.push_back(gif.images[0]);
  files.emplace_back(DecodeGif, MakeGif(gif));

  Bytes png = Encode(EncodePng, *Noise(2, 2, PixelFormat24bppRGB));
  for (const std::size_t at : {18U, 22U}) {
    png[at] = 40000 >> 8;
    png[at + 1] = 40000 & 0xFF;
  }
  const std::uint32_t crc = Crc(Bytes(png.begin() + 12, png.begin() + 29));
  for (unsigned i = 0; i < 4; ++i) png[29 + i] = static_cast<std::uint8_t>(crc >> (24 - 8 * i));
  files.emplace_back(DecodePng, png);

  Bytes jpeg = MakeJpeg({3, JCS_RGB, JCS_YCbCr, {200, 100, 30}, 0, true});
  for (std::size_t at = 0; at + 9 < jpeg.size(); ++at) {
    if (jpeg[at] != 0xFF || jpeg[at + 1] != 0xC2) continue;  // frame: length, depth, height, width
    for (const std::size_t size_at : {at + 5, at + 7}) {
      jpeg[size_at] = 40000 >> 8;
      jpeg[size_at + 1] = 40000 & 0xFF;
    }
  }
  files.emplace_back(DecodeJpeg, jpeg);

  files.emplace_back(DecodeTiff, MakeTiff({{256, 4, 40000},
                                           {257, 4, 40000},
                                           {258, 3, 8},
                                           {259, 3, 1},
                                           {262, 3, 1},
                                           {273, 4, 8},
                                           {277, 3, 1},
                                           {278, 4, 40000},
                                           {279, 4, 8}},
                                          Bytes(8, 0)));
  return files;
}

TEST(Codecs, RefuseHugeSizesBeforeTheyAllocate) {
  for (const auto& [decode, bytes] : HugeClaims()) {
    ExpectFails(decode, bytes, Gdiplus::OutOfMemory);
  }
}

TEST(Codecs, KeepToTheDecodeLimitThatIsSet) {
  const test::DecodeLimitGuard limit({.pixels = 100, .bytes = 1 << 20});
  for (const Codec& codec : Codecs()) {
    SCOPED_TRACE(codec.info.SigPattern[0]);
    Decode(codec.decode, Encode(codec.encode, *Noise(10, 10, PixelFormat24bppRGB)));
    ExpectFails(codec.decode, Encode(codec.encode, *Noise(101, 1, PixelFormat24bppRGB)),
                Gdiplus::OutOfMemory);
  }
  ExpectFails(DecodeJpeg, MakeJpeg({1, JCS_GRAYSCALE, JCS_GRAYSCALE, {9}}), Gdiplus::OutOfMemory);
}

}  // namespace
}  // namespace pixtola::portable
