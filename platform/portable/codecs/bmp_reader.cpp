// Reads BMP: uncompressed, RLE4 and RLE8.
//
// Every position is checked before it is read. JPEG, PNG, Huffman and RLE24 data inside a BMP,
// colour profiles and the alpha channel of 32-bit files are left out.
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "codecs/bmp_header.h"
#include "codecs/codec.h"
#include "codecs/resolution.h"
#include "shared/decode_limit.h"

namespace pixtola::portable {

namespace {

using Gdiplus::ARGB;
using Gdiplus::Status;

/// The fourth byte of 32bppRGB has no meaning; 255 suits those who take it for alpha.
constexpr ARGB kOpaque = 0xFF000000;

/// As many entries as the header says, or as pixels can name; those missing from the file are
/// black.
Palette ReadPalette(EncodedBytes bytes, const BmpHeader& header) {
  Palette palette;
  palette.entries.fill(kOpaque);
  palette.count = 1U << header.bits;
  // Many files with fewer colours show that only by where the pixels begin.
  const std::uint64_t in_file = (header.pixels_at - header.palette_at) / header.palette_entry_size;
  std::uint64_t used = std::min<std::uint64_t>(palette.count, in_file);
  if (header.palette_used != 0) {
    palette.count = std::min(palette.count, header.palette_used);
    used = std::min<std::uint64_t>(used, palette.count);
  }
  const std::uint8_t* entry = bytes.data() + header.palette_at;
  for (std::size_t i = 0; i < used; ++i, entry += header.palette_entry_size) {
    palette.entries[i] = kOpaque | ARGB{entry[2]} << 16 | ARGB{entry[1]} << 8 | entry[0];
  }
  return palette;
}

/// One channel of a bit-field pixel, scaled to 8 bits: narrow ones by repeating their bits, wide
/// ones by dropping the low bits.
class Channel {
 public:
  explicit Channel(std::uint32_t mask) : mask_(mask) {
    const int width = std::popcount(mask);
    // The shift leaves at most eight bits, the top ones.
    shift_ = mask == 0 ? 0 : std::countr_zero(mask) + std::max(0, width - 8);
    const int kept = std::min(width, 8);
    for (std::uint32_t value = 0; kept > 0 && value < (1U << kept); ++value) {
      std::uint32_t bits = value << (8 - kept);
      for (int filled = kept; filled < 8; filled *= 2) bits |= bits >> filled;
      scaled_[value] = static_cast<std::uint8_t>(bits);
    }
  }

  std::uint8_t Of(std::uint32_t pixel) const { return scaled_[(pixel & mask_) >> shift_]; }

 private:
  std::uint32_t mask_;
  int shift_;
  std::array<std::uint8_t, 256> scaled_{};
};

void Put(BYTE* pixel, ARGB color) {
  pixel[0] = static_cast<BYTE>(color);
  pixel[1] = static_cast<BYTE>(color >> 8);
  pixel[2] = static_cast<BYTE>(color >> 16);
  pixel[3] = static_cast<BYTE>(color >> 24);
}

/// `rows` is known to hold every row that the header promises.
void ReadRows(const std::uint8_t* rows, const BmpHeader& header, BitmapObject& bitmap) {
  const bool has_masks = header.bits == 16 || header.bits == 32;
  const Channel red(header.masks[0]);
  const Channel green(header.masks[1]);
  const Channel blue(header.masks[2]);
  for (std::uint32_t y = 0; y < bitmap.height(); ++y) {
    BYTE* destination = bitmap.Row(header.top_down ? y : bitmap.height() - 1 - y);
    const std::uint8_t* source = rows + y * header.stride();
    if (!has_masks) {
      std::memcpy(destination, source, bitmap.row_bytes());
      continue;
    }
    for (std::uint32_t x = 0; x < bitmap.width(); ++x, destination += 4) {
      std::uint32_t pixel = source[0] | std::uint32_t{source[1]} << 8;
      if (header.bits == 32) {
        pixel |= std::uint32_t{source[2]} << 16 | std::uint32_t{source[3]} << 24;
      }
      source += header.bits / 8;
      destination[0] = blue.Of(pixel);
      destination[1] = green.Of(pixel);
      destination[2] = red.Of(pixel);
      destination[3] = 0xFF;
    }
  }
}

/// Writes run-length coded pixels at a position that moves from the bottom up; what falls outside
/// is dropped.
class RlePainter {
 public:
  RlePainter(const Palette& palette, unsigned bits, BitmapObject& bitmap)
      : palette_(palette), bits_(bits), bitmap_(bitmap) {
    BYTE* first = bitmap.Row(0);
    for (std::size_t x = 0; x < bitmap.width(); ++x) Put(first + 4 * x, palette.entries[0]);
    for (std::uint32_t y = 1; y < bitmap.height(); ++y) {
      std::memcpy(bitmap.Row(y), first, bitmap.row_bytes());
    }
  }

  /// Decodes until the end mark, the top of the image or the end of the data.
  void Paint(EncodedBytes data) {
    std::size_t at = 0;
    while (data.size() - at >= 2 && y_ < bitmap_.height()) {
      const std::uint8_t count = data[at];
      const std::uint8_t value = data[at + 1];
      at += 2;
      if (count != 0) {
        for (unsigned i = 0; i < count; ++i) PutIndex(bits_ == 8 ? value : Nibble(value, i));
      } else if (value == 0) {
        x_ = 0;
        ++y_;
      } else if (value == 1) {
        return;
      } else if (value == 2) {
        if (data.size() - at < 2) return;
        x_ += data[at];
        y_ += data[at + 1];
        at += 2;
      } else {
        const std::size_t size = (std::size_t{value} * bits_ + 7) / 8;
        for (unsigned i = 0; i < value; ++i) {
          const std::size_t pixel_at = at + (bits_ == 8 ? i : i / 2);
          if (pixel_at >= data.size()) return;
          PutIndex(bits_ == 8 ? data[pixel_at] : Nibble(data[pixel_at], i));
        }
        at = std::min(at + size + size % 2, data.size());
      }
    }
  }

 private:
  static unsigned Nibble(std::uint8_t pair, unsigned i) {
    return i % 2 == 0 ? pair >> 4U : pair & 0x0FU;
  }

  void PutIndex(unsigned index) {
    if (x_ < bitmap_.width()) {
      BYTE* row = bitmap_.Row(static_cast<std::uint32_t>(bitmap_.height() - 1 - y_));
      Put(row + 4 * x_, palette_.entries[index]);
    }
    ++x_;
  }

  const Palette& palette_;
  unsigned bits_;
  BitmapObject& bitmap_;
  std::uint64_t x_ = 0;
  std::uint64_t y_ = 0;  ///< 0 is the bottom row
};

Gdiplus::PixelFormat FormatOf(const BmpHeader& header) {
  if (header.is_rle()) return PixelFormat32bppRGB;
  switch (header.bits) {
    case 1:
      return PixelFormat1bppIndexed;
    case 4:
      return PixelFormat4bppIndexed;
    case 8:
      return PixelFormat8bppIndexed;
    case 24:
      return PixelFormat24bppRGB;
    default:
      return PixelFormat32bppRGB;
  }
}

/// Negative numbers are not a resolution.
float DotsPerInch(std::int32_t pixels_per_metre) {
  return DotsPerInchOf(static_cast<std::uint32_t>(std::max(pixels_per_metre, 0)));
}

}  // namespace

Status DecodeBmp(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap) {
  bitmap = nullptr;
  BmpHeader header;
  if (!ReadBmpHeader(bytes, header)) return Gdiplus::GenericError;
  const EncodedBytes pixels = bytes.subspan(header.pixels_at);
  // Pixels that run lengths skip are part of the image all the same.
  if (!header.is_rle() && !platform::IsClaimPlausible(header.width * header.height, pixels.size(),
                                                      header.row_bytes() * header.height)) {
    return Gdiplus::OutOfMemory;
  }

  auto decoded = BitmapObject::CreateForDecoder(header.width, header.height, FormatOf(header));
  if (decoded == nullptr) return Gdiplus::OutOfMemory;
  decoded->dpi_x = DotsPerInch(header.pixels_per_metre_x);
  decoded->dpi_y = DotsPerInch(header.pixels_per_metre_y);

  if (header.is_rle()) {
    const Palette palette = ReadPalette(bytes, header);
    RlePainter(palette, header.bits, *decoded).Paint(pixels);
  } else {
    if (header.bits <= 8) decoded->palette = ReadPalette(bytes, header);
    // Only the padding after the last row may be missing.
    if (pixels.size() < header.row_bytes() ||
        (pixels.size() - header.row_bytes()) / header.stride() < header.height - 1) {
      return Gdiplus::GenericError;
    }
    ReadRows(pixels.data(), header, *decoded);
    if (decoded->is_indexed()) CoverAllIndexes(*decoded);
  }
  bitmap = std::move(decoded);
  return Gdiplus::Ok;
}

}  // namespace pixtola::portable
