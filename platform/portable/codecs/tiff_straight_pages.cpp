// TIFF pages whose samples are a bitmap's pixels, except for their order.
//
// Strips are decoded straight into the rows of the bitmap that they fill, and put in order there.
// Tiles and the strips of single planes go through a buffer of one of them.
#include <algorithm>
#include <cstring>

#include "codecs/tiff_pages.h"
#include "imaging/argb.h"
#include "imaging/indexed_rows.h"
#include "imaging/red_blue_swap.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

bool IsIndexedPage(TIFF* tiff, const TiffPage& page) {
  const bool is_depth = page.bits == 1 || page.bits == 2 || page.bits == 4 || page.bits == 8;
  if (page.samples != 1 || !is_depth) return false;
  switch (page.photometric) {
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
      return true;
    case PHOTOMETRIC_PALETTE: {
      std::uint16_t* map[3] = {};
      return TIFFGetField(tiff, TIFFTAG_COLORMAP, &map[0], &map[1], &map[2]) != 0;
    }
    default:
      return false;
  }
}

bool IsColorPage(const TiffPage& page) {
  const bool has_alpha = page.alpha != TiffAlpha::kNone;
  return page.bits == 8 && page.photometric == PHOTOMETRIC_RGB &&
         page.samples == (has_alpha ? 4 : 3);
}

/// Bitmaps cannot have 2 bits per pixel; such pages get 4, and a palette of four colours.
Gdiplus::PixelFormat FormatOf(const TiffPage& page) {
  if (page.samples == 4) return PixelFormat32bppARGB;
  if (page.samples == 3) return PixelFormat24bppRGB;
  if (page.bits == 8) return PixelFormat8bppIndexed;
  return page.bits == 1 ? PixelFormat1bppIndexed : PixelFormat4bppIndexed;
}

/// The values of a colour map have 16 bits; but there are files whose writers filled only the lower
/// half of each.
Palette ColorMap(TIFF* tiff, unsigned bits) {
  Palette palette;
  std::uint16_t* map[3] = {};
  TIFFGetField(tiff, TIFFTAG_COLORMAP, &map[0], &map[1], &map[2]);
  palette.count = 1U << bits;
  const auto fits_byte = [&](const std::uint16_t* channel) {
    return std::all_of(channel, channel + palette.count, [](auto value) { return value < 256; });
  };
  const bool are_bytes = fits_byte(map[0]) && fits_byte(map[1]) && fits_byte(map[2]);
  const unsigned shift = are_bytes ? 0 : 8;
  for (unsigned i = 0; i < palette.count; ++i) {
    const auto channel = [&](int c) { return static_cast<unsigned>(map[c][i]) >> shift; };
    palette.entries[i] = MakeArgb(255, channel(0), channel(1), channel(2));
  }
  return palette;
}

Palette PaletteOf(TIFF* tiff, const TiffPage& page) {
  if (page.photometric == PHOTOMETRIC_PALETTE) return ColorMap(tiff, page.bits);
  Palette palette = GrayPalette(page.bits);
  if (page.photometric == PHOTOMETRIC_MINISWHITE) {
    std::reverse(palette.entries.begin(), palette.entries.begin() + palette.count);
  }
  return palette;
}

/// The 2-bit sample `x` of a row, leftmost in the highest bits.
unsigned ReadTwoBits(const BYTE* samples, std::uint32_t x) {
  const unsigned shift = 6 - x % 4 * 2;
  return static_cast<unsigned>(samples[x / 4] >> shift & 3);
}

/// Rows of 2-bit samples to rows of 4-bit indexes, from right to left: the widened row may begin
/// where the samples do, or after that.
void Widen2To4(const BYTE* samples, BYTE* row, std::uint32_t width) {
  for (std::uint32_t pair = (width + 1) / 2; pair-- > 0;) {
    const std::uint32_t x = pair * 2;
    const unsigned right = x + 1 < width ? ReadTwoBits(samples, x + 1) : 0;
    row[pair] = static_cast<BYTE>(ReadTwoBits(samples, x) << 4 | right);
  }
}

void Unpremultiply(BYTE* row, std::uint32_t width) {
  for (BYTE* pixel = row; width > 0; --width, pixel += 4) {
    if (pixel[3] == 255) continue;
    for (int i = 0; i < 3; ++i) pixel[i] = StraightTiffColor(pixel[i], pixel[3]);
  }
}

class StraightPageReader {
 public:
  StraightPageReader(TIFF* tiff, const TiffPage& page, BitmapObject& bitmap)
      : tiff_(tiff),
        page_(page),
        bitmap_(bitmap),
        pixel_bits_(page.bits * (page.is_planar ? 1U : page.samples)),
        chunk_row_bytes_((std::uint64_t{page.chunk_width} * pixel_bits_ + 7) / 8) {}

  Status Read() {
    if (!page_.is_tiled && !page_.is_planar) {
      ReadStripsInPlace();
    } else if (!ReadThroughBuffer()) {
      return Gdiplus::OutOfMemory;
    }
    if (page_.alpha == TiffAlpha::kAssociated) {
      for (std::uint32_t y = 0; y < page_.height; ++y) Unpremultiply(bitmap_.Row(y), page_.width);
    }
    return is_anything_read_ ? Gdiplus::Ok : Gdiplus::GenericError;
  }

 private:
  /// The strip or tile that begins at (x, y) to `size` bytes, which are 0.
  void ReadChunk(std::uint32_t x, std::uint32_t y, std::uint16_t plane, BYTE* bytes,
                 std::uint64_t size) {
    const auto signed_size = static_cast<tmsize_t>(size);
    const tmsize_t read =
        page_.is_tiled
            ? TIFFReadEncodedTile(tiff_, TIFFComputeTile(tiff_, x, y, 0, plane), bytes, signed_size)
            : TIFFReadEncodedStrip(tiff_, TIFFComputeStrip(tiff_, y, plane), bytes, signed_size);
    // An error within a chunk leaves what came before it.
    is_anything_read_ = is_anything_read_ || read >= 0 ||
                        std::any_of(bytes, bytes + size, [](BYTE byte) { return byte != 0; });
  }

  /// Rows of a strip are packed; those of a bitmap are aligned, so that a strip fits into the rows
  /// that it fills.
  void ReadStripsInPlace() {
    for (std::uint64_t top = 0; top < page_.height; top += page_.chunk_height) {
      const auto y = static_cast<std::uint32_t>(top);
      const std::uint32_t rows = std::min(page_.chunk_height, page_.height - y);
      BYTE* strip = bitmap_.Row(y);
      ReadChunk(0, y, 0, strip, chunk_row_bytes_ * rows);
      // Rows only move towards the end, so the last goes first.
      for (std::uint32_t i = rows; i-- > 0;) {
        PutRowInPlace(strip + chunk_row_bytes_ * i, bitmap_.Row(y + i));
      }
    }
  }

  /// `samples` lie at or before `row` and may overlap it.
  void PutRowInPlace(const BYTE* samples, BYTE* row) {
    if (page_.bits == 2) {
      Widen2To4(samples, row, page_.width);
      return;
    }
    if (samples != row) std::memmove(row, samples, chunk_row_bytes_);
    if (page_.samples == 3) SwapRedBlue24(row, row, page_.width);
    if (page_.samples == 4) SwapRedBlue32(row, row, page_.width);
  }

  /// False when out of memory.
  bool ReadThroughBuffer() {
    const std::uint64_t size = chunk_row_bytes_ * page_.chunk_height;
    const HeapBytes buffer = AllocateBytes(size);
    if (buffer == nullptr) return false;
    const std::uint16_t planes = page_.is_planar ? page_.samples : std::uint16_t{1};
    for (std::uint16_t plane = 0; plane < planes; ++plane) {
      for (std::uint64_t y = 0; y < page_.height; y += page_.chunk_height) {
        for (std::uint64_t x = 0; x < page_.width; x += page_.chunk_width) {
          std::fill_n(buffer.get(), size, BYTE{0});
          ReadChunk(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), plane,
                    buffer.get(), size);
          PutChunk(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), plane,
                   buffer.get());
        }
      }
    }
    return true;
  }

  /// The part of a chunk that lies within the page.
  void PutChunk(std::uint32_t x, std::uint32_t y, std::uint16_t plane, const BYTE* chunk) {
    const std::uint32_t width = std::min(page_.chunk_width, page_.width - x);
    const std::uint32_t height = std::min(page_.chunk_height, page_.height - y);
    for (std::uint32_t i = 0; i < height; ++i) {
      PutRow(chunk + chunk_row_bytes_ * i, bitmap_.Row(y + i), x, width, plane);
    }
  }

  void PutRow(const BYTE* samples, BYTE* row, std::uint32_t x, std::uint32_t width,
              std::uint16_t plane) {
    const std::uint16_t count = page_.samples;
    BYTE* pixels = row + std::size_t{x} * count;  // for colours
    if (page_.is_planar) {
      // Red, green, blue and alpha go to bytes 2, 1, 0 and 3.
      for (pixels += plane < 3 ? 2 - plane : 3; width > 0; --width, pixels += count) {
        *pixels = *samples++;
      }
    } else if (count == 3) {
      SwapRedBlue24(samples, pixels, width);
    } else if (count == 4) {
      SwapRedBlue32(samples, pixels, width);
    } else if (page_.bits == 2) {
      for (std::uint32_t i = 0; i < width; ++i) {
        WriteIndex(row, x + i, 4, ReadTwoBits(samples, i));
      }
    } else {
      CopyPixels(samples, 0, row, x, width, page_.bits);
    }
  }

  TIFF* tiff_;
  const TiffPage& page_;
  BitmapObject& bitmap_;
  unsigned pixel_bits_;  ///< of a pixel in a chunk: of one plane when there are several
  std::uint64_t chunk_row_bytes_;
  bool is_anything_read_ = false;
};

}  // namespace

bool IsStraightTiffPage(TIFF* tiff, const TiffPage& page) {
  switch (page.compression) {
    case COMPRESSION_OJPEG:
    case COMPRESSION_PIXARLOG:
    case COMPRESSION_SGILOG:
    case COMPRESSION_SGILOG24:
      return false;  // their decoders give samples of other kinds than the tags say
    default:
      return page.sample_format != SAMPLEFORMAT_IEEEFP &&
             (IsIndexedPage(tiff, page) || IsColorPage(page));
  }
}

Status DecodeStraightTiffPage(TIFF* tiff, const TiffPage& page,
                              std::unique_ptr<BitmapObject>& bitmap) {
  auto decoded = BitmapObject::CreateForDecoder(page.width, page.height, FormatOf(page));
  if (decoded == nullptr) return Gdiplus::OutOfMemory;
  if (decoded->is_indexed()) decoded->palette = PaletteOf(tiff, page);
  const Status status = StraightPageReader(tiff, page, *decoded).Read();
  if (status == Gdiplus::Ok) bitmap = std::move(decoded);
  return status;
}

}  // namespace pixtola::portable
