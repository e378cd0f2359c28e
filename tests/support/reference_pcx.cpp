// The plain definition of PCX files, see the header. Every rule is spelled out once, in the
// simplest form that is exact.
#include "support/reference_pcx.h"

#include <algorithm>
#include <array>

namespace pixtola::test {
namespace {

constexpr std::uint8_t kPaletteMark = 12;

constexpr std::array<PcxFileLayout, 13> kLayouts = {{{1, 1, false, PixelFormat1bppIndexed, 0},
                                                     {1, 2, false, PixelFormat4bppIndexed, 4},
                                                     {1, 3, false, PixelFormat4bppIndexed, 8},
                                                     {1, 4, false, PixelFormat4bppIndexed, 16},
                                                     {2, 1, false, PixelFormat4bppIndexed, 4},
                                                     {2, 2, false, PixelFormat4bppIndexed, 16},
                                                     {2, 3, true, PixelFormat8bppIndexed, 64},
                                                     {2, 4, true, PixelFormat8bppIndexed, 256},
                                                     {4, 1, false, PixelFormat4bppIndexed, 16},
                                                     {4, 2, true, PixelFormat8bppIndexed, 256},
                                                     {8, 1, true, PixelFormat8bppIndexed, 256},
                                                     {8, 3, true, PixelFormat24bppRGB, 0},
                                                     {8, 4, true, PixelFormat32bppARGB, 0}}};

unsigned BitsPerPixel(Gdiplus::PixelFormat format) {
  return (static_cast<unsigned>(format) >> 8) & 0xFF;
}

/// A file that is read byte by byte.
class Source {
 public:
  explicit Source(const Bytes& file) : file_(file) {}

  std::optional<std::uint8_t> Next() {
    if (position_ == file_.size()) return std::nullopt;
    return file_[position_++];
  }

  std::optional<std::uint32_t> NextColor() {
    std::uint32_t color = 0;
    for (int i = 0; i < 3; ++i) {
      const auto channel = Next();
      if (!channel.has_value()) return std::nullopt;
      color = color << 8 | *channel;
    }
    return color;
  }

 private:
  const Bytes& file_;
  std::size_t position_ = 0;
};

/// Unpacks line after line; a run may be longer than its line.
class Unpacker {
 public:
  explicit Unpacker(Source& source) : source_(source) {}

  /// Leaves what it has no bytes for.
  void Fill(Bytes& line) {
    std::size_t filled = 0;
    while (filled < line.size()) {
      if (count_ > 0) {
        line[filled++] = value_;
        --count_;
        continue;
      }
      const auto byte = source_.Next();
      if (!byte.has_value()) return;
      if (*byte < 0xC0) {
        line[filled++] = *byte;
        continue;
      }
      count_ = *byte - 0xC0U;
      const auto value = source_.Next();
      if (!value.has_value()) return;
      value_ = *value;
    }
  }

 private:
  Source& source_;
  unsigned count_ = 0;
  std::uint8_t value_ = 0;
};

/// Bit `index` of a byte, 7 being the leftmost one.
unsigned Bit(unsigned byte, unsigned index) { return byte >> index & 1U; }

/// The two bits of the pixel `index` of four, 0 being the leftmost one.
unsigned Pair(unsigned byte, unsigned index) { return byte >> (6 - 2 * index) & 3U; }

std::uint8_t Low8(std::uint64_t value) { return static_cast<std::uint8_t>(value & 0xFF); }

/// The bytes that one group of bytes, one of each plane, becomes.
Bytes Group(const PcxFileLayout& layout, const std::array<unsigned, 4>& plane) {
  const unsigned planes = layout.planes;
  Bytes group;
  if (layout.bits == 8 && planes >= 3) {
    group = {Low8(plane[2]), Low8(plane[1]), Low8(plane[0])};
    if (planes == 4) group.push_back(Low8(plane[3]));
  } else if (planes == 1 && layout.bits != 2) {
    group = {Low8(plane[0])};
  } else if (layout.bits == 4) {
    group = {Low8((plane[0] / 16) * 16 + plane[1] / 16),
             Low8((plane[0] % 16) * 16 + plane[1] % 16)};
  } else if (layout.bits == 2 && planes <= 2) {
    // Two pixels a byte; with two planes the first one has the higher bits.
    std::array<unsigned, 4> pixels{};
    for (unsigned i = 0; i < 4; ++i) {
      pixels[i] = Pair(plane[0], i);
      if (planes == 2) pixels[i] = pixels[i] * 4 + Pair(plane[1], i);
    }
    group = {Low8(pixels[0] * 16 + pixels[1]), Low8(pixels[2] * 16 + pixels[3])};
  } else if (layout.bits == 2) {
    // A pixel a byte, but pixel i misses the last i planes.
    for (unsigned i = 0; i < 4; ++i) {
      unsigned pixel = 0;
      for (unsigned p = 0; p + i < planes; ++p) pixel = pixel * 4 + Pair(plane[p], i);
      group.push_back(Low8(pixel));
    }
  } else {
    for (unsigned i = 0; i < 8; i += 2) {
      unsigned left = 0;
      unsigned right = 0;
      for (unsigned p = 0; p < planes; ++p) {
        left = left * 2 + Bit(plane[p], 7 - i);
        right = right * 2 + Bit(plane[p], 6 - i);
      }
      group.push_back(Low8(left * 16 + right));
    }
    if (planes == 4) {
      // Bit 6 of the first plane counts 16 instead of 8 here.
      group[0] = Low8(Bit(plane[0], 7) * 128 + Bit(plane[1], 7) * 64 + Bit(plane[2], 7) * 32 +
                      Bit(plane[3], 7) * 16 + Bit(plane[0], 6) * 16 + Bit(plane[1], 6) * 4 +
                      Bit(plane[2], 6) * 2 + Bit(plane[3], 6));
    }
  }
  return group;
}

/// Whether every group repeats the first one.
bool RepeatsItsFirstGroup(const PcxFileLayout& layout) {
  return layout.bits == 1 && layout.planes >= 3;
}

Bytes ConvertLine(const PcxFileLayout& layout, const Bytes& line, std::size_t bytes_per_line,
                  std::size_t length) {
  Bytes row;
  for (std::size_t position = 0; row.size() < length;) {
    std::array<unsigned, 4> plane{};
    for (std::size_t p = 0; p < layout.planes; ++p) {
      const std::size_t at = p * bytes_per_line + position;
      plane[p] = at < line.size() ? line[at] : 0;
    }
    Append(row, Group(layout, plane));
    if (!RepeatsItsFirstGroup(layout)) ++position;
  }
  row.resize(length);
  return row;
}

Palette ReadPalette(Source& source, unsigned version, unsigned size) {
  const unsigned count = std::min(size, 255U);
  Palette palette(size, 0);
  bool is_read = false;
  if (version == 5) {
    auto byte = source.Next();
    while (byte.has_value() && *byte != kPaletteMark) byte = source.Next();
    for (unsigned i = 0; i < count; ++i) {
      const auto color = source.NextColor();
      if (!color.has_value()) break;
      palette[i] = *color;
      is_read = true;
    }
  }
  if (!is_read) {
    const unsigned step = 256 / count;
    for (unsigned i = 0; i < count; ++i) palette[i] = (i * step & 0xFF) * 0x010101U;
  }
  for (std::uint32_t& entry : palette) entry |= 0xFF000000U;
  return palette;
}

unsigned Number(const Bytes& file, std::size_t offset) {
  return file[offset] + 256U * file[offset + 1];
}

const PcxFileLayout* FindLayout(unsigned bits, unsigned planes) {
  const auto found = std::find_if(
      kLayouts.begin(), kLayouts.end(),
      [&](const PcxFileLayout& layout) { return layout.bits == bits && layout.planes == planes; });
  return found != kLayouts.end() ? &*found : nullptr;
}

void AppendNumber(Bytes& bytes, unsigned number) {
  bytes.push_back(Low8(number));
  bytes.push_back(Low8(number >> 8));
}

void AppendUnused(Bytes& bytes, std::size_t size, std::uint8_t value) {
  bytes.insert(bytes.end(), size, value);
}

/// The lengths of the runs of equal bytes.
std::vector<std::size_t> RunLengths(const Bytes& bytes) {
  std::vector<std::size_t> lengths;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i > 0 && bytes[i] == bytes[i - 1]) {
      ++lengths.back();
    } else {
      lengths.push_back(1);
    }
  }
  return lengths;
}

}  // namespace

std::span<const PcxFileLayout> PcxFileLayouts() { return kLayouts; }

Bytes HeaderBytes(const PcxFileHeader& header) {
  Bytes bytes = {header.manufacturer, header.version, header.encoding, header.bits};
  AppendNumber(bytes, header.left);
  AppendNumber(bytes, header.top);
  AppendNumber(bytes, header.right);
  AppendNumber(bytes, header.bottom);
  AppendNumber(bytes, header.horizontal_dpi);
  AppendNumber(bytes, header.vertical_dpi);
  AppendUnused(bytes, 49, header.filler);
  bytes.push_back(header.planes);
  AppendNumber(bytes, header.bytes_per_line);
  AppendUnused(bytes, 60, header.filler);
  return bytes;
}

std::optional<PcxPicture> DecodePcx(const Bytes& file) {
  if (file.size() < kPcxFileHeaderSize) return std::nullopt;
  const unsigned version = file[1];
  if (file[0] != 10 || version > 5 || file[2] != 1) return std::nullopt;
  const unsigned left = Number(file, 4), top = Number(file, 6);
  const unsigned right = Number(file, 8), bottom = Number(file, 10);
  if (left > right || top > bottom) return std::nullopt;
  const std::size_t bytes_per_line = Number(file, 66);
  if (bytes_per_line % 2 != 0) return std::nullopt;
  const PcxFileLayout* layout = FindLayout(file[3], file[65]);
  if (layout == nullptr || (layout->needs_version_5 && version != 5)) return std::nullopt;

  PcxPicture picture;
  picture.format = layout->format;
  picture.width = (right - left + 1) % 65536;
  picture.height = (bottom - top + 1) % 65536;
  if (picture.width == 0 || picture.height == 0) return std::nullopt;
  picture.horizontal_dpi = Number(file, 12);
  picture.vertical_dpi = Number(file, 14);

  Source source(file);
  for (std::size_t i = 0; i < kPcxFileHeaderSize; ++i) source.Next();
  Unpacker unpacker(source);
  Bytes line(layout->planes * bytes_per_line, 0);
  const std::size_t row_bits = std::size_t{picture.width} * BitsPerPixel(picture.format);
  for (UINT y = 0; y < picture.height; ++y) {
    unpacker.Fill(line);
    // A last byte that the pixels do not fill stays empty.
    Append(picture.rows, ConvertLine(*layout, line, bytes_per_line, row_bits / 8));
    if (row_bits % 8 != 0) picture.rows.push_back(0);
  }
  if (layout->palette_size != 0) {
    picture.palette = ReadPalette(source, version, layout->palette_size);
  }
  return picture;
}

Bytes PackRuns(const Bytes& bytes) {
  Bytes packed;
  std::size_t position = 0;
  for (std::size_t left : RunLengths(bytes)) {
    const std::uint8_t value = bytes[position];
    position += left;
    for (; left >= 63; left -= 63) Append(packed, {0xFF, value});
    if (left > 1 || (left == 1 && value >= 0xC0)) packed.push_back(Low8(0xC0U + left));
    if (left > 0) packed.push_back(value);
  }
  return packed;
}

Bytes PackSingly(const Bytes& bytes) {
  Bytes packed;
  for (const std::uint8_t byte : bytes) {
    if (byte >= 0xC0) packed.push_back(0xC1);
    packed.push_back(byte);
  }
  return packed;
}

Bytes PackAnyhow(const Bytes& bytes, std::mt19937& random) {
  Bytes packed;
  std::size_t position = 0;
  for (std::size_t left : RunLengths(bytes)) {
    const std::uint8_t value = bytes[position];
    position += left;
    while (left > 0) {
      if (random() % 8 == 0) Append(packed, {0xC0, Low8(random())});
      const std::size_t count = 1 + random() % std::min<std::size_t>(left, 63);
      left -= count;
      if (count == 1 && value < 0xC0 && random() % 2 == 0) {
        packed.push_back(value);
      } else {
        Append(packed, {Low8(0xC0U + count), value});
      }
    }
  }
  return packed;
}

Bytes PaletteBytes(const Palette& palette) {
  Bytes bytes = {kPaletteMark};
  for (const std::uint32_t entry : palette) {
    Append(bytes, {Low8(entry >> 16), Low8(entry >> 8), Low8(entry)});
  }
  return bytes;
}

Bytes WrittenPcx(const LockedImage& image) {
  const unsigned planes = image.bits == 24 ? 3 : 1;
  const unsigned bits = image.bits / planes;
  const std::size_t row_bytes = (std::size_t{image.width} * bits + 7) / 8;  // of one plane
  const std::size_t padding = image.stride - row_bytes * planes;
  const auto depth = static_cast<std::uint8_t>(bits);

  Bytes file = {10, 5, 1, depth};
  for (const unsigned edge : {0U, 0U, image.width - 1, image.height - 1}) AppendNumber(file, edge);
  AppendNumber(file, image.horizontal_dpi);
  AppendNumber(file, image.vertical_dpi);
  AppendUnused(file, 49, depth);  // 16 colours and a byte
  file.push_back(Low8(planes));
  AppendNumber(file, static_cast<unsigned>(row_bytes + padding));
  for (const unsigned number : {1U, image.width, image.height}) AppendNumber(file, number);
  AppendUnused(file, 54, 0);

  for (std::size_t y = 0; y < image.height; ++y) {
    Bytes line;
    for (unsigned plane = 0; plane < planes; ++plane) {
      for (std::size_t x = 0; x < row_bytes; ++x) {
        const std::size_t channel = planes - 1 - plane;  // red comes first and lies last
        line.push_back(image.rows[y * image.stride + x * planes + channel]);
      }
      AppendUnused(line, padding, 0);
    }
    Append(file, PackRuns(line));
  }

  if (image.bits != 24) {
    Palette palette = image.palette;
    palette.resize(std::size_t{1} << bits, 0);
    Append(file, PaletteBytes(palette));
  }
  return file;
}

}  // namespace pixtola::test
