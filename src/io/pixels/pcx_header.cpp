#include "io/pixels/pcx_header.h"

#include <algorithm>

namespace pixtola {

namespace {

// Where the fields are.
enum Offset : std::size_t {
  kManufacturer = 0,
  kVersion = 1,
  kEncoding = 2,
  kBitsPerPixel = 3,
  kLeft = 4,
  kTop = 6,
  kRight = 8,
  kBottom = 10,
  kHorizontalDpi = 12,
  kVerticalDpi = 14,
  kColorMap = 16,
  kPlanes = 65,
  kBytesPerLine = 66,
  kPaletteInfo = 68,
  kScreenWidth = 70,
  kScreenHeight = 72
};

std::uint16_t Load16(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

void Store16(std::uint16_t value, std::uint8_t* bytes) {
  bytes[0] = static_cast<std::uint8_t>(value & 0xFF);
  bytes[1] = static_cast<std::uint8_t>(value >> 8);
}

}  // namespace

PcxHeader ParsePcxHeader(std::span<const std::uint8_t, kPcxHeaderSize> bytes) {
  const std::uint8_t* at = bytes.data();
  PcxHeader header;
  header.manufacturer = at[kManufacturer];
  header.version = at[kVersion];
  header.encoding = at[kEncoding];
  header.bits_per_pixel = at[kBitsPerPixel];
  header.left = Load16(at + kLeft);
  header.top = Load16(at + kTop);
  header.right = Load16(at + kRight);
  header.bottom = Load16(at + kBottom);
  header.horizontal_dpi = Load16(at + kHorizontalDpi);
  header.vertical_dpi = Load16(at + kVerticalDpi);
  header.planes = at[kPlanes];
  header.bytes_per_line = Load16(at + kBytesPerLine);
  return header;
}

bool IsReadable(const PcxHeader& header) {
  const std::uint8_t bits = header.bits_per_pixel;
  return header.manufacturer == kPcxManufacturer && header.version <= kPcxNewestVersion &&
         header.encoding == kPcxRunLengths && (bits == 1 || bits == 2 || bits == 4 || bits == 8) &&
         header.left <= header.right && header.top <= header.bottom && header.planes >= 1 &&
         header.planes <= 4 && header.bytes_per_line % 2 == 0;
}

void StorePcxHeader(const PcxHeader& header, std::span<std::uint8_t, kPcxHeaderSize> bytes) {
  std::uint8_t* at = bytes.data();
  std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
  at[kManufacturer] = header.manufacturer;
  at[kVersion] = header.version;
  at[kEncoding] = header.encoding;
  at[kBitsPerPixel] = header.bits_per_pixel;
  Store16(header.left, at + kLeft);
  Store16(header.top, at + kTop);
  Store16(header.right, at + kRight);
  Store16(header.bottom, at + kBottom);
  Store16(header.horizontal_dpi, at + kHorizontalDpi);
  Store16(header.vertical_dpi, at + kVerticalDpi);
  // Kept on purpose: the map of 16 colours, which nobody should use, and the reserved byte after it
  // repeat the number of bits.
  std::fill(at + kColorMap, at + kPlanes, header.bits_per_pixel);
  at[kPlanes] = header.planes;
  Store16(header.bytes_per_line, at + kBytesPerLine);
  Store16(1, at + kPaletteInfo);
  Store16(header.width(), at + kScreenWidth);
  Store16(header.height(), at + kScreenHeight);
}

}  // namespace pixtola
