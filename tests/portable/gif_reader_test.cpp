// Reading GIF: colours of single images, what lies under them, frames and their disposal, damage.

#include "portable/gif_files.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"

namespace pixtola::portable {
namespace {

const std::vector<ARGB> kFourColors = {kRed, kWhite, kGreen, kBlue};

std::vector<ARGB> PaletteOf(const BitmapObject& bitmap) {
  const auto* first = bitmap.palette.entries.data();
  return {first, first + bitmap.palette.count};
}

/// The frame, never null: a failure is reported and gives a bitmap of one pixel.
BitmapPtr DecodeFrame(const Bytes& file, UINT index) {
  BitmapPtr bitmap;
  EXPECT_EQ(kGifFrames.decode(file, index, bitmap), Gdiplus::Ok);
  return bitmap != nullptr ? std::move(bitmap) : BitmapObject::Create(1, 1, PixelFormat32bppARGB);
}

TEST(GifReader, GivesOneImageItsIndexesAndColors) {
  const BitmapPtr bitmap =
      Decode(DecodeGif, MakeGif(PlainGif(3, 2, {0, 1, 2, 3, 0, 1}, kFourColors)));
  EXPECT_EQ(bitmap->format(), PixelFormat8bppIndexed);
  EXPECT_EQ(bitmap->width(), 3U);
  EXPECT_EQ(bitmap->height(), 2U);
  EXPECT_EQ(PaletteOf(*bitmap), kFourColors);
  EXPECT_EQ(bitmap->palette.flags, 0U);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kWhite, kGreen, kBlue, kRed, kWhite}));
  EXPECT_EQ(bitmap->dpi_x, 96.0F);
  EXPECT_EQ(bitmap->dpi_y, 96.0F);
}

TEST(GifReader, GivesTheTransparentColorNoAlpha) {
  GifParts parts = PlainGif(2, 1, {2, 1}, kFourColors);
  parts.images[0].transparent = 2;
  const BitmapPtr bitmap = Decode(DecodeGif, MakeGif(parts));
  EXPECT_EQ(PaletteOf(*bitmap), (std::vector<ARGB>{kRed, kWhite, 0x0000FF00, kBlue}));
  EXPECT_EQ(bitmap->palette.flags, UINT{Gdiplus::PaletteFlagsHasAlpha});
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{0x0000FF00, kWhite}));
}

TEST(GifReader, PrefersTheImagesOwnColors) {
  GifParts parts = PlainGif(2, 1, {0, 1}, kFourColors);
  parts.images[0].colors = {kBlue, kGreen};
  EXPECT_EQ(PaletteOf(*Decode(DecodeGif, MakeGif(parts))), (std::vector<ARGB>{kBlue, kGreen}));
  parts.colors.clear();
  EXPECT_EQ(PaletteOf(*Decode(DecodeGif, MakeGif(parts))), (std::vector<ARGB>{kBlue, kGreen}));
}

TEST(GifReader, GivesPixelsBeyondThePaletteBlackEntries) {
  GifParts parts = PlainGif(2, 1, {1, 200}, kFourColors);
  const BitmapPtr bitmap = Decode(DecodeGif, MakeGif(parts));
  EXPECT_EQ(bitmap->palette.count, 256U);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kWhite, kBlack}));
  parts.images[0].transparent = 200;
  EXPECT_EQ(Pixels(*Decode(DecodeGif, MakeGif(parts))), (std::vector<ARGB>{kWhite, 0}));
}

TEST(GifReader, TakesGrayForColorsThatNoMapTells) {
  const BitmapPtr bitmap = Decode(DecodeGif, MakeGif(PlainGif(3, 1, {0, 100, 255}, {})));
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kBlack, 0xFF646464, kWhite}));
  EXPECT_EQ(bitmap->palette.flags, UINT{Gdiplus::PaletteFlagsGrayScale});
}

TEST(GifReader, PutsInterlacedRowsInOrder) {
  for (std::uint32_t height = 1; height < 35; ++height) {
    Bytes pixels(std::size_t{3} * height);
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>(i);
    GifParts parts = PlainGif(3, height, pixels, {});
    const auto plain = Pixels(*Decode(DecodeGif, MakeGif(parts)));
    parts.images[0].is_interlaced = true;
    const auto interlaced = Pixels(*Decode(DecodeGif, MakeGif(parts)));
    EXPECT_EQ(interlaced, plain) << height;
    EXPECT_EQ(interlaced.back() & 0xFF, pixels.back()) << height;
  }
}

/// One white pixel at the right of three, on whatever is under it.
GifParts SmallImage() {
  GifParts parts{.width = 3, .height = 1, .colors = kFourColors, .background = 2};
  parts.images.push_back({.left = 2, .width = 1, .height = 1, .pixels = {1}});
  return parts;
}

TEST(GifReader, LaysASmallImageOnTheBackgroundColor) {
  const BitmapPtr bitmap = Decode(DecodeGif, MakeGif(SmallImage()));
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kGreen, kGreen, kWhite}));
  EXPECT_EQ(PaletteOf(*bitmap), kFourColors);
}

TEST(GifReader, LaysASmallImageOnNothingWithoutAUsableBackgroundColor) {
  GifParts parts = SmallImage();
  const std::vector<ARGB> on_nothing = {0, 0, kWhite};
  parts.background = 4;
  const BitmapPtr beyond = Decode(DecodeGif, MakeGif(parts));
  EXPECT_EQ(Pixels(*beyond), on_nothing);
  EXPECT_EQ(beyond->palette.flags, UINT{Gdiplus::PaletteFlagsHasAlpha});
  // The colour would be one of the file's, but the image has others.
  parts.background = 2;
  parts.images[0].colors = {kBlue, kWhite};
  EXPECT_EQ(Pixels(*Decode(DecodeGif, MakeGif(parts))), on_nothing);
  // A transparent colour serves, and the palette stays as it is.
  parts.images[0].transparent = 0;
  const BitmapPtr transparent = Decode(DecodeGif, MakeGif(parts));
  EXPECT_EQ(Pixels(*transparent), (std::vector<ARGB>{0x000000FF, 0x000000FF, kWhite}));
  EXPECT_EQ(transparent->palette.count, 2U);
}

TEST(GifReader, LaysASmallImageOnItsFirstColorWhenItHasThemAll) {
  GifParts parts = SmallImage();
  parts.images[0].colors.assign(256, kBlue);
  parts.images[0].colors[1] = kWhite;
  EXPECT_EQ(Pixels(*Decode(DecodeGif, MakeGif(parts))), (std::vector<ARGB>{kBlue, kBlue, kWhite}));
}

TEST(GifReader, KeepsThePaletteOfAnImageThatCoversTheScreen) {
  GifParts parts = PlainGif(2, 1, {0, 1}, kFourColors);
  parts.background = 4;
  EXPECT_EQ(PaletteOf(*Decode(DecodeGif, MakeGif(parts))), kFourColors);
}

TEST(GifReader, ClipsImagesToTheScreen) {
  GifParts parts{.width = 2, .height = 2, .colors = kFourColors, .background = 3};
  parts.images.push_back({.left = 1, .top = 1, .width = 2, .height = 2, .pixels = {1, 2, 2, 2}});
  EXPECT_EQ(Pixels(*Decode(DecodeGif, MakeGif(parts))),
            (std::vector<ARGB>{kBlue, kBlue, kBlue, kWhite}));
  parts.images[0].left = 0xFFFF;
  parts.images[0].top = 0xFFFF;
  EXPECT_EQ(Pixels(*Decode(DecodeGif, MakeGif(parts))), std::vector<ARGB>(4, kBlue));
}

TEST(GifReader, TakesTheFirstImagesSizeForAScreenWithout) {
  GifParts parts = PlainGif(2, 1, {0, 1}, kFourColors);
  parts.width = parts.height = 0;
  parts.images[0].left = 1;
  const BitmapPtr bitmap = Decode(DecodeGif, MakeGif(parts));
  EXPECT_EQ(bitmap->width(), 3U);
  EXPECT_EQ(bitmap->height(), 1U);
  EXPECT_EQ(Pixels(*bitmap), (std::vector<ARGB>{kRed, kRed, kWhite}));
  parts.images[0] = {};
  ExpectFails(DecodeGif, MakeGif(parts), Gdiplus::GenericError);
}

TEST(GifReader, RefusesOtherVersionsAndFilesWithoutAnImage) {
  Bytes file = MakeGif(PlainGif(1, 1, {0}, kFourColors));
  EXPECT_TRUE(IsGif(file));
  file[4] = '7';
  EXPECT_TRUE(IsGif(file));
  file[4] = '8';
  EXPECT_FALSE(IsGif(file));
  ExpectFails(DecodeGif, file, Gdiplus::GenericError);
  ExpectFails(DecodeGif, MakeGif({}), Gdiplus::GenericError);
}

/// What is to be seen after each image, played as the format tells: each on what the one before
/// left, with a copy of the canvas to go back to.
std::vector<std::vector<ARGB>> Play(const GifParts& parts) {
  std::vector<std::vector<ARGB>> shown;
  std::vector<ARGB> canvas(std::size_t{parts.width} * parts.height);
  for (const GifImage& image : parts.images) {
    const std::vector<ARGB>& colors = image.colors.empty() ? parts.colors : image.colors;
    const auto before = canvas;
    const auto for_each_visible = [&](const auto& act) {
      for (std::uint32_t y = 0; y < image.height && image.top + y < parts.height; ++y) {
        for (std::uint32_t x = 0; x < image.width && image.left + x < parts.width; ++x) {
          act(canvas[(image.top + y) * parts.width + image.left + x],
              image.pixels[y * image.width + x]);
        }
      }
    };
    for_each_visible([&](ARGB& pixel, std::uint8_t index) {
      if (image.transparent != index) pixel = index < colors.size() ? colors[index] : kBlack;
    });
    shown.push_back(canvas);
    if (image.disposal == 2U) for_each_visible([](ARGB& pixel, std::uint8_t) { pixel = 0; });
    if (image.disposal == 3U) canvas = before;
  }
  return shown;
}

void ExpectPlays(const GifParts& parts) {
  const Bytes file = MakeGif(parts);
  const auto shown = Play(parts);
  ASSERT_EQ(kGifFrames.count(file), shown.size());
  EXPECT_EQ(Pixels(*Decode(DecodeGif, file)), shown[0]);
  for (UINT i = 0; i < shown.size(); ++i) {
    const BitmapPtr frame = DecodeFrame(file, i);
    EXPECT_EQ(frame->format(), PixelFormat32bppARGB);
    EXPECT_EQ(Pixels(*frame), shown[i]) << "frame " << i;
  }
}

TEST(GifFrames, FollowOneAnotherAsTheirDisposalTells) {
  GifParts parts{.width = 3, .height = 1, .colors = kFourColors};
  parts.images = {
      {.width = 3, .height = 1, .pixels = {0, 0, 0}, .disposal = 1},
      {.left = 1, .width = 1, .height = 1, .pixels = {1}, .disposal = 3},
      {.left = 2, .width = 1, .height = 1, .pixels = {2}, .disposal = 2},
      {.width = 2, .height = 1, .pixels = {3, 1}, .disposal = 0, .transparent = 1},
      {.width = 0, .height = 0},
  };
  const std::vector<std::vector<ARGB>> expected = {{kRed, kRed, kRed},
                                                   {kRed, kWhite, kRed},
                                                   {kRed, kRed, kGreen},
                                                   {kBlue, kRed, 0},
                                                   {kBlue, kRed, 0}};
  EXPECT_EQ(Play(parts), expected);
  ExpectPlays(parts);
}

TEST(GifFrames, LieInTime) { EXPECT_TRUE(kGifFrames.dimension == Gdiplus::FrameDimensionTime); }

TEST(GifFrames, ShowWhatAPlayerShows) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](std::uint32_t limit) {
      return static_cast<std::uint32_t>(random() % limit);
    };
    const auto colors = [&](std::size_t count) {
      std::vector<ARGB> made(count);
      for (ARGB& color : made) color = kBlack | static_cast<ARGB>(random());
      return made;
    };
    GifParts parts{.width = 1 + below(12), .height = 1 + below(12), .colors = colors(8)};
    parts.background = below(9);
    for (std::uint32_t i = 0; i < 2 + seed % 7; ++i) {
      GifImage image{.left = below(14), .top = below(14), .width = below(14), .height = below(14)};
      image.pixels.resize(std::size_t{image.width} * image.height);
      for (auto& index : image.pixels) index = static_cast<std::uint8_t>(below(6));
      if (below(3) == 0) image.colors = colors(4);
      image.is_interlaced = below(2) == 0;
      if (below(4) != 0) image.disposal = below(8);
      if (below(2) == 0) image.transparent = static_cast<std::uint8_t>(below(6));
      parts.images.push_back(std::move(image));
    }
    ExpectPlays(parts);
  }
}

TEST(GifFrames, AreControlledByTheExtensionBeforeThemOnly) {
  GifParts parts{.width = 2, .height = 1, .colors = kFourColors};
  const GifImage image{.width = 2, .height = 1, .pixels = {0, 1}, .transparent = 0};
  GifImage plain = image;
  plain.transparent.reset();
  parts.images = {image, plain};
  EXPECT_EQ(Play(parts)[1], (std::vector<ARGB>{kRed, kWhite}));
  ExpectPlays(parts);
  // Comments and applications' blocks may come between; text is controlled itself.
  Bytes comment = {0x21, 0xFE};
  AddGifBlocks(comment, Bytes(300, 'x'));
  Append(comment, {0x21, 0xFF});
  AddGifBlocks(comment, Bytes(11, 'y'));
  parts.images = {image, image};
  parts.images[1].before = comment;
  ExpectPlays(parts);
  Bytes text = {0x21, 0x01};
  AddGifBlocks(text, Bytes(12, 0));
  parts.images[1].before = text;
  EXPECT_EQ(Pixels(*DecodeFrame(MakeGif(parts), 1)), (std::vector<ARGB>{kRed, kWhite}));
}

TEST(GifFrames, AreSelectedInABitmap) {
  const test::TemporaryFolder folder;
  GifParts parts{.width = 1, .height = 1, .colors = kFourColors};
  for (const std::uint8_t index : Bytes{0, 1, 2}) {
    parts.images.push_back({.width = 1, .height = 1, .pixels = {index}});
  }
  test::WriteWholeFile(folder / "frames", MakeGif(parts));
  Gdiplus::GpBitmap* loaded = nullptr;
  namespace Flat = Gdiplus::DllExports;
  ASSERT_EQ(Flat::GdipCreateBitmapFromFile((folder / "frames").wstring().c_str(), &loaded),
            Gdiplus::Ok);
  UINT count = 0;
  EXPECT_EQ(Flat::GdipImageGetFrameCount(loaded, &Gdiplus::FrameDimensionTime, &count),
            Gdiplus::Ok);
  EXPECT_EQ(count, 3U);
  for (const UINT index : {2U, 0U, 1U}) {
    EXPECT_EQ(Flat::GdipImageSelectActiveFrame(loaded, &Gdiplus::FrameDimensionTime, index),
              Gdiplus::Ok);
    EXPECT_EQ(Pixels(BitmapObject::From(*loaded)), std::vector<ARGB>{kFourColors[index]});
  }
  Flat::GdipDisposeImage(loaded);
}

TEST(DamagedGif, KeepsTheCompleteRowsOfItsOnlyImage) {
  constexpr std::uint32_t kWidth = 7;
  constexpr std::uint32_t kHeight = 9;
  GifParts parts = PlainGif(kWidth, kHeight, Bytes(kWidth * kHeight, 1), kFourColors);
  parts.background = 3;
  const std::size_t image_at = GifHeader(parts).size();
  const std::size_t code_at = image_at + 11;  // behind the description and the size of the codes
  for (const bool is_interlaced : {false, true}) {
    parts.images[0].is_interlaced = is_interlaced;
    const Bytes file = MakeGif(parts);
    for (std::size_t size = 0; size <= file.size(); ++size) {
      SCOPED_TRACE(size);
      const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
      if (size < code_at) {
        ExpectFails(DecodeGif, cut, Gdiplus::GenericError);
        continue;
      }
      const std::size_t data = size > code_at ? size - code_at - 1 : 0;  // in one block
      const std::size_t rows = GifCodes::PixelsIn(data, kWidth * kHeight) / kWidth;
      const BitmapPtr bitmap = Decode(DecodeGif, cut);
      EXPECT_EQ(kGifFrames.count(cut), 1U);
      std::vector<std::size_t> order = {0, 1, 2, 3, 4, 5, 6, 7, 8};
      if (is_interlaced) order = {0, 8, 4, 2, 6, 1, 3, 5, 7};
      std::vector<ARGB> expected(kWidth * kHeight, kBlue);
      for (std::size_t i = 0; i < rows; ++i) {
        std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(order[i] * kWidth), kWidth,
                    kWhite);
      }
      EXPECT_EQ(Pixels(*bitmap), expected);
    }
  }
}

TEST(DamagedGif, CountsTheImagesThatAreComplete) {
  GifParts parts{.width = 4, .height = 4, .colors = kFourColors};
  for (const std::uint8_t index : Bytes{0, 1, 2}) {
    parts.images.push_back({.left = index,
                            .width = 2,
                            .height = 2,
                            .pixels = Bytes(4, index),
                            .colors = index == 1 ? kFourColors : std::vector<ARGB>{},
                            .disposal = 1});
  }
  const auto shown = Play(parts);
  Bytes file = GifHeader(parts);
  std::vector<std::size_t> ends;
  for (const GifImage& image : parts.images) {
    AddGifImage(file, image);
    ends.push_back(file.size());
  }
  for (std::size_t size = ends[0]; size <= file.size(); ++size) {
    SCOPED_TRACE(size);
    const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
    const UINT complete = size < ends[1] ? 1 : size < ends[2] ? 2 : 3;
    EXPECT_EQ(kGifFrames.count(cut), complete);
    for (UINT i = 0; complete > 1 && i < complete; ++i) {
      EXPECT_EQ(Pixels(*DecodeFrame(cut, i)), shown[i]);
    }
  }
}

TEST(DamagedGif, ShowsFramesBehindOneWhoseCodeEndsEarly) {
  GifParts parts{.width = 2, .height = 2, .colors = kFourColors};
  parts.images = {{.width = 2, .height = 2, .pixels = {0, 0, 0, 0}},
                  {.width = 2, .height = 2, .pixels = {1, 1, 1}},
                  {.width = 1, .height = 1, .pixels = {2}}};
  const Bytes file = MakeGif(parts);
  ASSERT_EQ(kGifFrames.count(file), 3U);
  EXPECT_EQ(Pixels(*DecodeFrame(file, 1)), (std::vector<ARGB>{kWhite, kWhite, kRed, kRed}));
  EXPECT_EQ(Pixels(*DecodeFrame(file, 2)), (std::vector<ARGB>{kGreen, kWhite, kRed, kRed}));
}

TEST(DamagedGif, EndsAtCodesThatAreTooLong) {
  GifParts parts{.width = 1, .height = 1, .colors = kFourColors};
  parts.images = {{.width = 1, .height = 1, .pixels = {1}},
                  {.width = 1, .height = 1, .pixels = {2}}};
  Bytes file = GifHeader(parts);
  const std::size_t first_size = file.size() + 10;  // the size of the codes
  AddGifImage(file, parts.images[0]);
  const std::size_t second_size = file.size() + 10;
  AddGifImage(file, parts.images[1]);
  ASSERT_EQ(file[first_size], 8);
  ASSERT_EQ(file[second_size], 8);
  file[second_size] = 13;
  EXPECT_EQ(kGifFrames.count(file), 1U);
  EXPECT_EQ(Pixels(*Decode(DecodeGif, file)), std::vector<ARGB>{kWhite});
  file[first_size] = 13;
  ExpectFails(DecodeGif, file, Gdiplus::GenericError);
}

TEST(DamagedGif, CountsManySmallFramesQuickly) {
  const GifParts parts{.width = 1, .height = 1, .colors = kFourColors};
  Bytes file = GifHeader(parts);
  constexpr UINT kFrames = 100000;
  Bytes image;
  AddGifImage(image, {.width = 1, .height = 1, .pixels = {1}});
  for (UINT i = 0; i < kFrames; ++i) Append(file, image);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(kGifFrames.count(file), kFrames);
  EXPECT_EQ(Pixels(*DecodeFrame(file, kFrames - 1)), std::vector<ARGB>{kWhite});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST(DamagedGif, LeavesOutFramesThatWouldTakeMinutesTogether) {
  GifParts parts{.width = 10, .height = 10, .colors = kFourColors};
  // 2^26 pixels each: 128 of them are 2^33.
  const GifImage huge{.width = 1 << 13, .height = 1 << 13, .pixels = {1}, .disposal = 2};
  parts.images.assign(200, huge);
  const Bytes file = MakeGif(parts);
  EXPECT_EQ(kGifFrames.count(file), 128U);
  EXPECT_EQ(Pixels(*DecodeFrame(file, 127)), std::vector<ARGB>(100, 0));
  // The first counts whatever its size.
  parts.images.assign(3, {.width = 0xFFFF, .height = 0xFFFF, .pixels = {1}});
  EXPECT_EQ(kGifFrames.count(MakeGif(parts)), 1U);
}

}  // namespace
}  // namespace pixtola::portable
