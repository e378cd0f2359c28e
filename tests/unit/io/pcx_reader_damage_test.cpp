// The PCX reader: random, damaged, long and far too large files.

#include <gtest/gtest.h>

#include <random>

#include "support/decode_limit_guard.h"
#include "unit/io/pcx_reader_fixture.h"

namespace pixtola::test {
namespace {

/// Any sizes, lines longer or shorter than they need to be, runs packed in any way, files cut short
/// or with more at their end.
Bytes RandomFile(const PcxFileLayout& layout, std::mt19937& random) {
  const auto width_choice = random() % 8;
  const auto width =
      static_cast<unsigned>(width_choice < 2 ? 1 : 1 + random() % (width_choice == 2 ? 3000 : 70));
  const auto height = static_cast<unsigned>(random() % 4 == 0 ? 1 : 1 + random() % 9);
  PcxFileHeader header = HeaderOf(layout.bits, layout.planes, width, height);
  if (random() % 4 == 0) header.version = Byte(random() % 6);
  header.left = Word(random() % 3 == 0 ? random() % 60000 : 0);
  header.right = Word(header.right + header.left);
  header.top = Word(random() % 3 == 0 ? random() % 60000 : 0);
  header.bottom = Word(header.bottom + header.top);
  header.horizontal_dpi = Word(random() % 4 == 0 ? random() : 300);
  header.vertical_dpi = Word(random() % 4 == 0 ? random() : 200);
  header.filler = Byte(random());
  const auto line_choice = random() % 4;
  if (line_choice == 0) header.bytes_per_line = Word(header.bytes_per_line + random() % 10 * 2);
  if (line_choice == 1)
    header.bytes_per_line = Word(random() % (header.bytes_per_line + 1U) / 2 * 2);

  const std::size_t size = std::size_t{header.bytes_per_line} * layout.planes * height;
  const Bytes image = ImageBytes(size, random);
  Bytes data;
  switch (random() % 4) {
    case 0:
      data = RandomBytes(random() % (size + 1), random);  // any runs
      break;
    case 1:
      data = PackSingly(image);
      break;
    default:
      data = PackAnyhow(image, random);
  }
  const auto tail_choice = random() % 4;
  Bytes tail;
  if (tail_choice == 0) tail = RandomBytes(random() % 40, random);
  if (tail_choice >= 2) Append(tail, PaletteBytes(RandomColors(random() % 260, random)));
  Bytes file = FileOf(header, data, tail);
  if (random() % 4 == 0) file.resize(file.size() - random() % (file.size() - 127));
  return file;
}

TEST_F(ReadPcxFileTest, ReadsAnyFileAsThePlainDefinitionDoes) {
  std::mt19937 random(20240117);
  for (const PcxFileLayout& layout : PcxFileLayouts()) {
    for (int i = 0; i < 80; ++i) {
      SCOPED_TRACE(testing::Message() << NameOf(layout) << ", file " << i);
      Check(RandomFile(layout, random));
      ASSERT_FALSE(HasFailure());
    }
  }
}

TEST_F(ReadPcxFileTest, ReadsFilesThatAreCutAnywhere) {
  std::mt19937 random(8);
  for (const PcxFileLayout& layout : PcxFileLayouts()) {
    // Rows of more than one group and of less, each of several runs.
    for (const unsigned width : {3U, 19U}) {
      const PcxFileHeader header = HeaderOf(layout.bits, layout.planes, width, 3);
      const std::size_t size = std::size_t{header.bytes_per_line} * layout.planes * 3;
      const Bytes file = FileOf(header, PackAnyhow(ImageBytes(size, random), random),
                                PaletteBytes(RandomColors(5, random)));
      for (std::size_t length = kPcxFileHeaderSize - 2; length <= file.size(); ++length) {
        SCOPED_TRACE(testing::Message() << NameOf(layout) << ", cut at " << length);
        Check({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)});
        ASSERT_FALSE(HasFailure());
      }
    }
  }
}

TEST_F(ReadPcxFileTest, ReadsAPaletteThatIsCutAnywhere) {
  std::mt19937 random(9);
  const Bytes file = FileOf(HeaderOf(8, 1, 2, 1), {1, 2}, PaletteBytes(RandomColors(256, random)));
  for (std::size_t length = 130; length <= file.size(); length += length < 200 ? 1 : 7) {
    SCOPED_TRACE(testing::Message() << "cut at " << length);
    Check({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)});
    ASSERT_FALSE(HasFailure());
  }
}

TEST_F(ReadPcxFileTest, ReadsLongFiles) {
  // Longer than any buffer: runs, single bytes that are marked, and a palette far behind.
  std::mt19937 random(12);
  const PcxFileHeader header = HeaderOf(8, 1, 997, 150);
  const std::size_t size = std::size_t{header.bytes_per_line} * 150;
  Bytes far_palette(100001, 77);
  Append(far_palette, PaletteBytes(RandomColors(256, random)));
  for (const Bytes& data : {PackAnyhow(ImageBytes(size, random), random),
                            PackSingly(RandomBytes(size, random)), RandomBytes(size, random)}) {
    Check(FileOf(header, data, far_palette));
    Check(FileOf(header, {data.begin(), data.begin() + 70001}));
  }
}

TEST_F(ReadPcxFileTest, ReadsLongLinesAndHighImages) {
  std::mt19937 random(10);
  PcxFileHeader wide = HeaderOf(8, 4, 1, 2);
  wide.bytes_per_line = 65534;
  Check(FileOf(wide, PackRuns(ImageBytes(65534U * 4 * 2, random))));
  PcxFileHeader high = HeaderOf(1, 2, 3, 65535);
  Check(FileOf(high, ImageBytes(5000, random)));
}

TEST_F(ReadPcxFileTest, RefusesImagesThatAreFarTooLarge) {
  for (const PcxFileLayout& layout : PcxFileLayouts()) {
    PcxFileHeader header = HeaderOf(layout.bits, layout.planes, 65535, 65535);
    header.bytes_per_line = 65534;
    EXPECT_EQ(ReadBytes(FileOf(header, {0xFF, 1})), nullptr) << NameOf(layout);
  }
}

TEST_F(ReadPcxFileTest, RefusesImagesBeyondTheDecodeLimit) {
  for (const PcxFileLayout& layout : PcxFileLayouts()) {
    SCOPED_TRACE(NameOf(layout));
    const Bytes file = FileOf(HeaderOf(layout.bits, layout.planes, 100, 50), Bytes(10, 1));
    {
      const DecodeLimitGuard limit({4999, 1 << 20});
      EXPECT_EQ(ReadBytes(file), nullptr);
    }
    const DecodeLimitGuard limit({5000, 1 << 20});
    EXPECT_NE(ReadBytes(file), nullptr);
  }
}

TEST_F(ReadPcxFileTest, CountsTheBytesOfTheRowsWithTheirPadding) {
  const Bytes file = FileOf(HeaderOf(8, 3, 9, 10), Bytes(10, 1));  // rows of 27 bytes take 28
  {
    const DecodeLimitGuard limit({1 << 20, 279});
    EXPECT_EQ(ReadBytes(file), nullptr);
  }
  const DecodeLimitGuard limit({1 << 20, 280});
  EXPECT_NE(ReadBytes(file), nullptr);
}

}  // namespace
}  // namespace pixtola::test
