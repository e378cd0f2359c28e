#include "codecs/bmp_header.h"

#include <algorithm>
#include <array>
#include <bit>

namespace pixtola::portable {

namespace {

constexpr std::uint64_t kFileHeaderSize = 14;
constexpr std::uint32_t kCoreHeaderSize = 12;
constexpr std::uint32_t kInfoHeaderSize = 40;
constexpr std::uint32_t kV2HeaderSize = 52;
constexpr std::uint32_t kOs2HeaderSize = 64;

enum Compression : std::uint32_t {
  kUncompressed = 0,
  kRle8 = 1,
  kRle4 = 2,
  kBitFields = 3,
  kAlphaBitFields = 6
};

/// Little-endian numbers; bytes past the end read as 0.
class Parser {
 public:
  explicit Parser(EncodedBytes bytes) : bytes_(bytes) {}

  std::uint32_t Byte(std::uint64_t at) const { return at < bytes_.size() ? bytes_[at] : 0U; }
  std::uint32_t U16(std::uint64_t at) const { return Byte(at) | Byte(at + 1) << 8; }
  std::uint32_t U32(std::uint64_t at) const { return U16(at) | U16(at + 2) << 16; }

 private:
  EncodedBytes bytes_;
};

bool IsHeaderSize(std::uint32_t size) {
  constexpr std::array<std::uint32_t, 7> kSizes = {
      kCoreHeaderSize, kInfoHeaderSize, kV2HeaderSize, 56, kOs2HeaderSize, 108, 124};
  return std::find(kSizes.begin(), kSizes.end(), size) != kSizes.end();
}

/// A mask is usable when its bits are one run inside the pixel; 0 makes the channel 0.
bool IsMask(std::uint32_t mask, std::uint32_t bits) {
  if (mask == 0) return true;
  if (bits < 32 && mask >> bits != 0) return false;
  const std::uint32_t run = mask >> std::countr_zero(mask);
  return (run & (run + 1)) == 0;
}

bool ReadMasks(const Parser& file, BmpHeader& header) {
  if (header.compression == kUncompressed) {
    header.masks = header.bits == 16 ? std::array<std::uint32_t, 3>{0x7C00, 0x03E0, 0x001F}
                                     : std::array<std::uint32_t, 3>{0xFF0000, 0xFF00, 0xFF};
    return true;
  }
  // The masks are at the same place whether they follow the 40-byte header or belong to a later
  // one.
  for (std::size_t i = 0; i < 3; ++i) {
    header.masks[i] = file.U32(kFileHeaderSize + kInfoHeaderSize + 4 * i);
    if (!IsMask(header.masks[i], header.bits)) return false;
  }
  return true;
}

/// Depth and compression as the header kind allows them.
bool IsSupported(const BmpHeader& header, std::uint32_t header_size) {
  switch (header.compression) {
    case kUncompressed:
      return header.bits == 1 || header.bits == 4 || header.bits == 8 || header.bits == 16 ||
             header.bits == 24 || header.bits == 32;
    case kRle8:
      return header.bits == 8 && !header.top_down;
    case kRle4:
      return header.bits == 4 && !header.top_down;
    case kBitFields:
    case kAlphaBitFields:
      // In an OS/2 header these numbers mean Huffman coding and RLE24.
      return (header.bits == 16 || header.bits == 32) && header_size != kOs2HeaderSize;
    default:
      return false;
  }
}

}  // namespace

bool BmpHeader::is_rle() const { return compression == kRle4 || compression == kRle8; }

bool IsBmp(EncodedBytes bytes) {
  return bytes.size() >= kFileHeaderSize + 4 && bytes[0] == 'B' && bytes[1] == 'M' &&
         IsHeaderSize(Parser(bytes).U32(kFileHeaderSize));
}

bool ReadBmpHeader(EncodedBytes bytes, BmpHeader& header) {
  const Parser file(bytes);
  const std::uint32_t header_size = file.U32(kFileHeaderSize);
  if (!IsBmp(bytes) || bytes.size() < kFileHeaderSize + header_size) return false;

  header.pixels_at = file.U32(10);
  header.palette_at = kFileHeaderSize + header_size;
  if (header_size == kCoreHeaderSize) {
    header.width = file.U16(18);
    header.height = file.U16(20);
    header.bits = file.U16(24);
    header.palette_entry_size = 3;
  } else {
    const auto width = static_cast<std::int32_t>(file.U32(18));
    const auto height = std::int64_t{static_cast<std::int32_t>(file.U32(22))};
    if (width <= 0) return false;
    header.width = static_cast<std::uint64_t>(width);
    header.top_down = height < 0;
    header.height = static_cast<std::uint64_t>(height < 0 ? -height : height);
    header.bits = file.U16(28);
    header.compression = file.U32(30);
    header.pixels_per_metre_x = static_cast<std::int32_t>(file.U32(38));
    header.pixels_per_metre_y = static_cast<std::int32_t>(file.U32(42));
    header.palette_used = file.U32(46);
  }
  if (header.width == 0 || header.height == 0 || !IsSupported(header, header_size)) return false;
  if (header_size == kInfoHeaderSize && header.compression == kBitFields) header.palette_at += 12;
  if (header_size == kInfoHeaderSize && header.compression == kAlphaBitFields) {
    header.palette_at += 16;
  }
  // Some writers forget that the colours they declare come before the pixels.
  if (header.bits <= 8 && header.pixels_at == header.palette_at) {
    header.pixels_at +=
        std::uint64_t{header.palette_entry_size} *
        std::min<std::uint32_t>(header.palette_used, std::uint32_t{1} << header.bits);
  }
  if (header.pixels_at < header.palette_at || header.pixels_at >= bytes.size()) return false;
  return header.bits < 16 || header.bits == 24 || ReadMasks(file, header);
}

}  // namespace pixtola::portable
