// TIFF: every layout of strips, tiles and planes gives the pixels that its samples mean, and the
// format that goes with them.

#include "portable/tiff_pages.h"

namespace pixtola::portable {
namespace {

ARGB Rgb(unsigned red, unsigned green, unsigned blue) {
  return kBlack | red << 16 | green << 8 | blue;
}

constexpr std::uint16_t kIndexedDepths[] = {1, 2, 4, 8};

/// What a page's samples mean.
using Meaning = std::function<ARGB(const StoredPage& page, std::uint32_t x, std::uint32_t y)>;

void ExpectPixels(const StoredPage& page, Gdiplus::PixelFormat format, const Meaning& meaning) {
  const BitmapPtr bitmap = Decode(DecodeTiff, MakeTiffOf(page));
  ASSERT_EQ(bitmap->format(), format);
  ASSERT_EQ(bitmap->width(), page.width);
  ASSERT_EQ(bitmap->height(), page.height);
  const std::vector<ARGB> pixels = Pixels(*bitmap);
  for (std::uint32_t y = 0; y < page.height; ++y) {
    for (std::uint32_t x = 0; x < page.width; ++x) {
      ASSERT_EQ(pixels[std::size_t{y} * page.width + x], meaning(page, x, y)) << x << ", " << y;
    }
  }
}

/// Calls `check` for `page` in strips and tiles of several sizes, compressed or not.
void ForEachLayout(StoredPage page, const std::function<void(const StoredPage&)>& check) {
  struct Chunk {
    std::uint32_t tile_width;
    std::uint32_t rows;
  };
  for (const std::uint32_t width : {1U, 7U, 16U, 35U}) {
    page.width = width;
    page.height = 19;
    for (const Chunk chunk : {Chunk{0, 1}, {0, 5}, {0, 19}, {16, 16}, {48, 32}}) {
      page.tile_width = chunk.tile_width;
      page.rows = chunk.rows;
      for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE,
                                    COMPRESSION_PACKBITS, COMPRESSION_ZSTD}) {
        page.compression = static_cast<std::uint16_t>(compression);
        if (TIFFIsCODECConfigured(page.compression) == 0) continue;
        for (const bool is_planar : {false, true}) {
          if (is_planar && page.samples == 1) continue;
          page.is_planar = is_planar;
          SCOPED_TRACE(::testing::Message() << "width " << width << ", tile " << chunk.tile_width
                                            << ", rows " << chunk.rows << ", compression "
                                            << compression << (is_planar ? ", planes" : ""));
          check(page);
        }
      }
    }
  }
}

/// The indexed format that holds the samples.
Gdiplus::PixelFormat IndexedFormat(unsigned bits) {
  if (bits == 1) return PixelFormat1bppIndexed;
  return bits == 8 ? PixelFormat8bppIndexed : PixelFormat4bppIndexed;
}

TEST(TiffLayouts, GrayOfUpToEightBitsIsIndexed) {
  for (const std::uint16_t bits : kIndexedDepths) {
    for (const bool is_white_zero : {false, true}) {
      StoredPage gray;
      gray.bits = bits;
      gray.photometric = is_white_zero ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
      gray.sample = AnySample(bits);
      ForEachLayout(gray, [&](const StoredPage& page) {
        ExpectPixels(page, IndexedFormat(bits), [&](const StoredPage&, auto x, auto y) {
          const unsigned last = (1U << bits) - 1;
          const unsigned level = gray.sample(x, y, 0) * 255 / last;
          const unsigned light = is_white_zero ? 255 - level : level;
          return Rgb(light, light, light);
        });
      });
    }
  }
}

TEST(TiffLayouts, GrayPalettesSayThatTheyAreGray) {
  StoredPage page;
  for (const std::uint16_t bits : kIndexedDepths) {
    page.bits = bits;
    page.sample = AnySample(bits);
    const BitmapPtr bitmap = Decode(DecodeTiff, MakeTiffOf(page));
    EXPECT_EQ(bitmap->palette.flags, UINT{Gdiplus::PaletteFlagsGrayScale});
    EXPECT_EQ(bitmap->palette.count, 1U << bits);
  }
}

/// A colour map of `value(channel, index)`.
std::function<void(TIFF*)> ColorMapTag(std::function<unsigned(unsigned, unsigned)> value) {
  return [value](TIFF* tiff) {
    std::uint16_t map[3][256];
    for (unsigned channel = 0; channel < 3; ++channel) {
      for (unsigned i = 0; i < 256; ++i) {
        map[channel][i] = static_cast<std::uint16_t>(value(channel, i));
      }
    }
    TIFFSetField(tiff, TIFFTAG_COLORMAP, map[0], map[1], map[2]);
  };
}

TEST(TiffLayouts, PalettesStayPalettes) {
  for (const std::uint16_t bits : kIndexedDepths) {
    const auto channel = [](unsigned c, unsigned i) { return (i * 37 + c * 91 + 17) & 0xFF; };
    StoredPage palette;
    palette.bits = bits;
    palette.photometric = PHOTOMETRIC_PALETTE;
    palette.sample = AnySample(bits);
    // The lower byte is anything.
    palette.more_tags = ColorMapTag(
        [&](unsigned c, unsigned i) { return channel(c, i) << 8 | (channel(c, i) ^ 0xA5); });
    ForEachLayout(palette, [&](const StoredPage& page) {
      ExpectPixels(page, IndexedFormat(bits), [&](const StoredPage&, auto x, auto y) {
        const unsigned index = palette.sample(x, y, 0);
        return Rgb(channel(0, index), channel(1, index), channel(2, index));
      });
    });
  }
}

TEST(TiffLayouts, ColorMapsOfBytesAreTakenAsBytes) {
  StoredPage page;
  page.bits = 4;
  page.photometric = PHOTOMETRIC_PALETTE;
  page.sample = AnySample(4);
  page.more_tags = ColorMapTag([](unsigned c, unsigned i) { return i + 20 * c; });
  const auto color = [&](const StoredPage&, auto x, auto y) {
    const unsigned index = page.sample(x, y, 0);
    return Rgb(index, index + 20, index + 40);
  };
  ExpectPixels(page, PixelFormat4bppIndexed, color);
  // One larger value, and all have 16 bits.
  page.more_tags = ColorMapTag([](unsigned c, unsigned i) { return c == 2 && i == 3 ? 256U : i; });
  ExpectPixels(page, PixelFormat4bppIndexed, [&](const StoredPage&, auto x, auto y) {
    return page.sample(x, y, 0) == 3 ? Rgb(0, 0, 1) : kBlack;
  });
}

TEST(TiffLayouts, RgbIs24Bits) {
  StoredPage rgb;
  rgb.samples = 3;
  rgb.photometric = PHOTOMETRIC_RGB;
  rgb.sample = AnySample(8);
  ForEachLayout(rgb, [&](const StoredPage& page) {
    ExpectPixels(page, PixelFormat24bppRGB, [&](const StoredPage&, auto x, auto y) {
      return Rgb(rgb.sample(x, y, 0), rgb.sample(x, y, 1), rgb.sample(x, y, 2));
    });
  });
}

std::function<void(TIFF*)> ExtraSampleTag(std::uint16_t type) {
  return [type](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &type); };
}

TEST(TiffLayouts, RgbaIs32BitsWithStraightAlpha) {
  for (const int type : {EXTRASAMPLE_ASSOCALPHA, EXTRASAMPLE_UNASSALPHA}) {
    StoredPage rgba;
    rgba.samples = 4;
    rgba.photometric = PHOTOMETRIC_RGB;
    // Colours that were multiplied are not above their alpha; opaque and clear pixels among them.
    rgba.sample = [](std::uint32_t x, std::uint32_t y, unsigned sample) {
      const unsigned alpha = (x + y) % 4 == 0 ? 255 : AnySample(8)(x, y, 3) * ((x + y) % 4 - 1) / 2;
      return sample == 3 ? alpha : AnySample(8)(x, y, sample) % (alpha + 1);
    };
    rgba.more_tags = ExtraSampleTag(static_cast<std::uint16_t>(type));
    ForEachLayout(rgba, [&](const StoredPage& page) {
      ExpectPixels(page, PixelFormat32bppARGB, [&](const StoredPage&, auto x, auto y) {
        const unsigned alpha = rgba.sample(x, y, 3);
        const auto channel = [&](unsigned sample) {
          const unsigned stored = rgba.sample(x, y, sample);
          if (type == EXTRASAMPLE_UNASSALPHA || alpha == 0) return stored;
          return static_cast<unsigned>(stored * 255.0 / alpha + 0.5);  // halves go up
        };
        return alpha << 24 | channel(0) << 16 | channel(1) << 8 | channel(2);
      });
    });
  }
}

TEST(TiffLayouts, AFourthSampleThatIsNoAlphaIsLeftOut) {
  StoredPage page;
  page.samples = 4;
  page.photometric = PHOTOMETRIC_RGB;
  page.sample = AnySample(8);
  page.more_tags = ExtraSampleTag(EXTRASAMPLE_UNSPECIFIED);
  ExpectPixels(page, PixelFormat24bppRGB, [&](const StoredPage&, auto x, auto y) {
    return Rgb(page.sample(x, y, 0), page.sample(x, y, 1), page.sample(x, y, 2));
  });
}

TEST(TiffLayouts, SixteenBitsBecomeEight) {
  for (const std::uint16_t samples : {std::uint16_t{1}, std::uint16_t{3}}) {
    StoredPage deep;
    deep.bits = 16;
    deep.samples = samples;
    deep.photometric = samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    // Multiples of 257 are eighths bits exactly, in whichever way others are rounded.
    deep.sample = [](auto x, auto y, unsigned sample) { return AnySample(8)(x, y, sample) * 257; };
    ForEachLayout(deep, [&](const StoredPage& page) {
      ExpectPixels(page, PixelFormat24bppRGB, [&](const StoredPage&, auto x, auto y) {
        const auto channel = [&](unsigned c) { return AnySample(8)(x, y, samples == 3 ? c : 0); };
        return Rgb(channel(0), channel(1), channel(2));
      });
    });
  }
}

TEST(TiffLayouts, GrayWithAlphaIs32Bits) {
  StoredPage gray;
  gray.samples = 2;
  gray.sample = AnySample(8);
  gray.more_tags = ExtraSampleTag(EXTRASAMPLE_UNASSALPHA);
  ExpectPixels(gray, PixelFormat32bppARGB, [&](const StoredPage&, auto x, auto y) {
    const unsigned level = gray.sample(x, y, 0);
    return gray.sample(x, y, 1) << 24 | level << 16 | level << 8 | level;
  });
}

TEST(TiffLayouts, InksBecomeColors) {
  StoredPage inks;
  inks.samples = 4;
  inks.photometric = PHOTOMETRIC_SEPARATED;
  inks.sample = [](auto x, auto y, unsigned s) { return s == 3 ? 0 : AnySample(8)(x, y, s); };
  ForEachLayout(inks, [&](const StoredPage& page) {
    if (page.is_planar) return;
    ExpectPixels(page, PixelFormat24bppRGB, [&](const StoredPage&, auto x, auto y) {
      return Rgb(255 - inks.sample(x, y, 0), 255 - inks.sample(x, y, 1),
                 255 - inks.sample(x, y, 2));
    });
  });
}

TEST(TiffLayouts, FaxCodesAreRead) {
  for (const int compression :
       {COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4}) {
    StoredPage fax;
    fax.width = 61;
    fax.height = 13;
    fax.rows = 5;
    fax.bits = 1;
    fax.photometric = PHOTOMETRIC_MINISWHITE;
    fax.compression = static_cast<std::uint16_t>(compression);
    fax.sample = AnySample(1);
    ExpectPixels(fax, PixelFormat1bppIndexed, [&](const StoredPage&, auto x, auto y) {
      return fax.sample(x, y, 0) != 0 ? kBlack : kWhite;
    });
  }
}

TEST(TiffLayouts, RowsComeAsTheyAreStored) {
  for (const std::uint16_t bits : {std::uint16_t{8}, std::uint16_t{16}}) {  // both ways to read
    for (const bool is_tiled : {false, true}) {
      StoredPage page;
      page.bits = bits;
      page.tile_width = is_tiled ? 16 : 0;
      page.rows = is_tiled ? 16 : 2;
      page.sample = [bits](auto x, auto y, unsigned) {
        return (x + 10 * y) * (bits == 16 ? 257 : 1);
      };
      for (const int orientation : {1, 2, 3, 4, 5, 6, 7, 8}) {
        page.more_tags = [&](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation); };
        ExpectPixels(page, bits == 8 ? PixelFormat8bppIndexed : PixelFormat24bppRGB,
                     [](const StoredPage&, auto x, auto y) {
                       return Rgb(x + 10 * y, x + 10 * y, x + 10 * y);
                     });
      }
    }
  }
}

TEST(TiffLayouts, MissingStripsStayEmpty) {
  StoredPage page;
  page.rows = 1;
  page.sample = [](auto, auto, unsigned) { return 7; };
  Bytes file = MakeTiffOf(page);
  // The offsets of the four strips: the third lies beyond the end.
  const Bytes offsets = Little({8, 13, 18, 23}, 4);
  const auto at = std::search(file.begin(), file.end(), offsets.begin(), offsets.end());
  ASSERT_NE(at, file.end());
  at[11] = 0x70;
  const std::vector<ARGB> pixels = Pixels(*Decode(DecodeTiff, file));
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    EXPECT_EQ(pixels[i], i / 5 == 2 ? kBlack : Rgb(7, 7, 7)) << i;
  }
  for (const int strip : {0, 1, 3}) at[4 * strip + 3] = 0x70;
  ExpectFails(DecodeTiff, file, Gdiplus::GenericError);
}

TEST(TiffFrames, ArePages) {
  StoredPage bilevel;
  bilevel.bits = 1;
  bilevel.sample = AnySample(1);
  StoredPage rgb;
  rgb.width = 9;
  rgb.samples = 3;
  rgb.photometric = PHOTOMETRIC_RGB;
  rgb.sample = AnySample(8);
  StoredPage deep;
  deep.width = 3;
  deep.bits = 16;
  deep.sample = AnySample(16);
  const Bytes file = MakeTiffOfPages({bilevel, rgb, deep});
  EXPECT_TRUE(kTiffFrames.dimension == Gdiplus::FrameDimensionPage);
  EXPECT_EQ(kTiffFrames.count(MakeTiffOf(rgb)), 1U);
  ASSERT_EQ(kTiffFrames.count(file), 3U);
  const StoredPage* const pages[] = {&bilevel, &rgb, &deep};
  for (const UINT index : {2U, 0U, 1U}) {
    BitmapPtr frame;
    ASSERT_EQ(kTiffFrames.decode(file, index, frame), Gdiplus::Ok);
    const BitmapPtr alone = Decode(DecodeTiff, MakeTiffOf(*pages[index]));
    EXPECT_EQ(frame->format(), alone->format());
    EXPECT_EQ(frame->width(), pages[index]->width);
    EXPECT_EQ(Pixels(*frame), Pixels(*alone));
  }
}

TEST(TiffFrames, EndWhereTheyBeginAnew) {
  StoredPage page;
  page.sample = AnySample(8);
  Bytes file = MakeTiffOfPages({page, page, page});
  ASSERT_EQ(kTiffFrames.count(file), 3U);
  // Directories of twelve bytes an entry; the next one's place is behind the last.
  const auto u16 = [&](std::size_t at) {
    return std::size_t{file[at]} | std::size_t{file[at + 1]} << 8;
  };
  std::size_t link = 4;
  for (int i = 0; i < 3; ++i) link = u16(link) + 2 + 12 * u16(u16(link));
  ASSERT_EQ(u16(link), 0U);
  std::copy_n(file.begin() + 4, 4, file.begin() + static_cast<std::ptrdiff_t>(link));
  EXPECT_EQ(kTiffFrames.count(file), 3U);
}

TEST(TiffFrames, ManyAreCountedWithoutDelay) {
  // 100000 pages, each the same directory but for the next one's place.
  Bytes file = Little({0x2A4949, 8}, 4);
  constexpr std::uint32_t kPages = 100000;
  for (std::uint32_t page = 1; page <= kPages; ++page) {
    Add(file, 6, 2);
    for (const auto& [tag, value] :
         {std::pair{256U, 1U}, {257U, 1U}, {258U, 8U}, {262U, 1U}, {273U, 4U}, {279U, 1U}}) {
      Add(Add(Add(Add(file, tag, 2), 3, 2), 1, 4), value, 4);
    }
    Add(file, page < kPages ? 8 + 78 * page : 0, 4);
  }
  const auto start = std::chrono::steady_clock::now();
  const UINT count = kTiffFrames.count(file);
  EXPECT_GT(count, 1000U);
  BitmapPtr frame;
  EXPECT_EQ(kTiffFrames.decode(file, count - 1, frame), Gdiplus::Ok);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

/// A page of 8-bit gray by hand, with other tags in place of or beside its own.
Bytes GrayWith(std::vector<std::array<std::uint32_t, 3>> other_tags) {
  std::vector<std::array<std::uint32_t, 3>> tags = {{256, 4, 4}, {257, 4, 4}, {258, 3, 8},
                                                    {259, 3, 1}, {262, 3, 1}, {273, 4, 8},
                                                    {277, 3, 1}, {278, 4, 4}, {279, 4, 16}};
  for (const auto& other : other_tags) {
    std::erase_if(tags, [&](const auto& tag) { return tag[0] == other[0]; });
    tags.push_back(other);
  }
  std::sort(tags.begin(), tags.end());
  return MakeTiff(tags, Bytes(16, 9));
}

TEST(TiffLayouts, TheOnlySampleIsNoAlpha) {
  constexpr std::uint32_t kExtraSamples = 338;
  for (const std::uint32_t type : {0U, 1U, 2U}) {
    const BitmapPtr bitmap = Decode(DecodeTiff, GrayWith({{kExtraSamples, 3, type}}));
    EXPECT_EQ(bitmap->format(), PixelFormat8bppIndexed);
    EXPECT_EQ(Pixels(*bitmap), std::vector<ARGB>(16, Rgb(9, 9, 9)));
  }
}

TEST(TiffSizes, AreRefusedWhenNothingCanHaveThem) {
  EXPECT_EQ(Decode(DecodeTiff, GrayWith({}))->format(), PixelFormat8bppIndexed);
  constexpr std::uint32_t kHuge = 0x80000000;
  constexpr std::uint32_t kMost = 0xFFFFFFFF;
  const std::vector<std::vector<std::array<std::uint32_t, 3>>> claims = {
      {{256, 4, 0}},
      {{257, 4, 0}},
      {{256, 4, kHuge}, {257, 4, 1}},
      {{256, 4, 1}, {257, 4, kHuge}},
      {{256, 4, kMost}, {257, 4, kMost}},
      {{258, 3, 0}},
      {{258, 3, 65535}},
      {{277, 3, 0}},
      {{277, 3, 65535}},
      {{256, 4, kMost}, {257, 4, kMost}, {277, 3, 65535}, {258, 3, 64}},
      // Tiles: 322 is their width, 323 their length, 324 and 325 where they are.
      {{322, 4, kHuge}, {323, 4, kHuge}, {324, 4, 8}, {325, 4, 16}},
      {{322, 4, kMost - 15}, {323, 4, 16}, {324, 4, 8}, {325, 4, 16}},
      {{322, 4, 16}, {323, 4, kMost - 15}, {324, 4, 8}, {325, 4, 16}},
      {{322, 4, 65536}, {323, 4, 65536}, {324, 4, 8}, {325, 4, 16}},
      {{322, 4, 0}, {323, 4, 16}, {324, 4, 8}, {325, 4, 16}},
      {{322, 4, 16}, {323, 4, 0}, {324, 4, 8}, {325, 4, 16}},
  };
  for (std::size_t i = 0; i < claims.size(); ++i) {
    SCOPED_TRACE("claim " + std::to_string(i));
    BitmapPtr bitmap;
    const Status status = DecodeTiff(GrayWith(claims[i]), bitmap);
    EXPECT_TRUE(status == Gdiplus::GenericError || status == Gdiplus::OutOfMemory) << status;
    EXPECT_EQ(bitmap, nullptr);
  }
}

}  // namespace
}  // namespace pixtola::portable
