// Writes a TIFF of one page through libtiff, in strips of about 64 KiB: LZW or no compression, and
// the fax codes for 1 bit per pixel.
//
// Indexed bitmaps keep their depth, those of 16, 24 and 48 bits become RGB and those of 32 and 64
// bits RGBA with unassociated alpha, 8 bits per sample. The format has no alpha in palettes; theirs
// is lost.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "codecs/codec.h"
#include "codecs/tiff_memory.h"
#include "imaging/red_blue_swap.h"
#include "imaging/row_conversion.h"

namespace pixtola::portable {

namespace {

using Gdiplus::ARGB;
using Gdiplus::Status;

constexpr std::uint64_t kStripBytes = 65536;

/// LZW without a parameter; false for a parameter that this writer does not take for `bits` per
/// pixel.
bool ReadParameters(const Gdiplus::EncoderParameters* parameters, unsigned bits,
                    std::uint16_t& compression) {
  compression = COMPRESSION_LZW;
  if (parameters == nullptr) return true;
  const Gdiplus::EncoderParameter* parameter = parameters->Parameter;
  for (UINT i = 0; i < parameters->Count; ++i, ++parameter) {
    if (parameter->Guid != Gdiplus::EncoderCompression || parameter->NumberOfValues != 1 ||
        parameter->Type != Gdiplus::EncoderParameterValueTypeLong || parameter->Value == nullptr) {
      return false;
    }
    ULONG value = 0;
    std::memcpy(&value, parameter->Value, sizeof(value));
    switch (value) {
      case Gdiplus::EncoderValueCompressionLZW:
        compression = COMPRESSION_LZW;
        break;
      case Gdiplus::EncoderValueCompressionNone:
        compression = COMPRESSION_NONE;
        break;
      case Gdiplus::EncoderValueCompressionCCITT3:
        compression = COMPRESSION_CCITTFAX3;
        break;
      case Gdiplus::EncoderValueCompressionCCITT4:
        compression = COMPRESSION_CCITTFAX4;
        break;
      case Gdiplus::EncoderValueCompressionRle:
        compression = COMPRESSION_CCITTRLE;
        break;
      default:
        return false;
    }
  }
  const bool is_any_depth = compression == COMPRESSION_LZW || compression == COMPRESSION_NONE;
  return is_any_depth || bits == 1;
}

struct Form {
  std::uint16_t bits = 0;  ///< of a sample; 0: not written
  std::uint16_t samples = 1;
  std::uint16_t photometric = PHOTOMETRIC_RGB;
};

/// Red, green and blue of an entry; entries beyond the palette are black.
ARGB ColorOf(const Palette& palette, std::size_t i) {
  return i < palette.count ? palette.entries[i] & 0x00FFFFFF : 0;
}

std::uint16_t PalettePhotometric(const BitmapObject& bitmap) {
  const auto rgb = [&](std::size_t i) { return ColorOf(bitmap.palette, i); };
  if (bitmap.format() == PixelFormat1bppIndexed) {
    if (rgb(0) == 0x000000 && rgb(1) == 0xFFFFFF) return PHOTOMETRIC_MINISBLACK;
    if (rgb(0) == 0xFFFFFF && rgb(1) == 0x000000) return PHOTOMETRIC_MINISWHITE;
  }
  // Gray of 4 bits is known to fewer readers than a palette of 4 bits.
  if (bitmap.format() == PixelFormat8bppIndexed) {
    bool is_ramp = true;
    for (std::size_t i = 0; i < 256; ++i) is_ramp = is_ramp && rgb(i) == i * 0x010101;
    if (is_ramp) return PHOTOMETRIC_MINISBLACK;
  }
  return PHOTOMETRIC_PALETTE;
}

Form FormOf(const BitmapObject& bitmap) {
  switch (bitmap.format()) {
    case PixelFormat1bppIndexed:
    case PixelFormat4bppIndexed:
    case PixelFormat8bppIndexed:
      return {static_cast<std::uint16_t>(bitmap.bits_per_pixel()), 1, PalettePhotometric(bitmap)};
    case PixelFormat16bppRGB555:
    case PixelFormat16bppRGB565:
    case PixelFormat16bppARGB1555:
    case PixelFormat24bppRGB:
    case PixelFormat48bppRGB:
      return {8, 3, PHOTOMETRIC_RGB};
    case PixelFormat32bppRGB:
    case PixelFormat32bppARGB:
    case PixelFormat32bppPARGB:
    case PixelFormat64bppARGB:
    case PixelFormat64bppPARGB:
      return {8, 4, PHOTOMETRIC_RGB};
    default:
      return {};
  }
}

bool SetColorMap(TIFF* tiff, const Palette& palette) {
  // Samples of 16 bits: 255 becomes 65535.
  std::array<std::array<std::uint16_t, 256>, 3> map{};
  for (std::size_t i = 0; i < 256; ++i) {
    for (unsigned channel = 0; channel < 3; ++channel) {
      const ARGB value = ColorOf(palette, i) >> (16 - 8 * channel) & 0xFF;
      map[channel][i] = static_cast<std::uint16_t>(value * 257);
    }
  }
  return TIFFSetField(tiff, TIFFTAG_COLORMAP, map[0].data(), map[1].data(), map[2].data()) != 0;
}

bool SetTags(TIFF* tiff, const BitmapObject& bitmap, const Form& form, std::uint16_t compression,
             std::uint32_t rows_per_strip) {
  bool ok = TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, bitmap.width()) != 0;
  ok = ok && TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, bitmap.height()) != 0;
  ok = ok && TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, form.bits) != 0;
  ok = ok && TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, form.samples) != 0;
  ok = ok && TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, form.photometric) != 0;
  ok = ok && TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression) != 0;
  ok = ok && TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) != 0;
  ok = ok && TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) != 0;
  ok = ok && TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows_per_strip) != 0;
  ok = ok && TIFFSetField(tiff, TIFFTAG_XRESOLUTION, double{bitmap.dpi_x}) != 0;
  ok = ok && TIFFSetField(tiff, TIFFTAG_YRESOLUTION, double{bitmap.dpi_y}) != 0;
  ok = ok && TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) != 0;
  if (form.samples == 4) {
    const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
    ok = ok && TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha) != 0;
  }
  if (form.photometric == PHOTOMETRIC_PALETTE) ok = ok && SetColorMap(tiff, bitmap.palette);
  return ok;
}

/// What the samples of the form are once red and blue are swapped.
Gdiplus::PixelFormat SwappedFormat(const BitmapObject& bitmap, const Form& form) {
  if (bitmap.is_indexed()) return bitmap.format();
  return form.samples == 4 ? PixelFormat32bppARGB : PixelFormat24bppRGB;
}

/// `conversion` goes to the swapped format.
void PutRow(const BitmapObject& bitmap, std::uint32_t y, const Form& form,
            RowConversion& conversion, BYTE* row) {
  const bool is_to_convert = bitmap.format() != SwappedFormat(bitmap, form);
  if (is_to_convert) conversion.Convert({bitmap.Row(y), 0}, {row, 0}, bitmap.width());
  const BYTE* pixels = is_to_convert ? row : bitmap.Row(y);
  if (form.samples == 3) {
    SwapRedBlue24(pixels, row, bitmap.width());
  } else if (form.samples == 4) {
    SwapRedBlue32(pixels, row, bitmap.width());
  } else {
    std::memcpy(row, pixels, bitmap.row_bytes());
  }
}

}  // namespace

Status EncodeTiff(const BitmapObject& bitmap, const Gdiplus::EncoderParameters* parameters,
                  ByteSink& sink) {
  std::uint16_t compression = COMPRESSION_LZW;
  const Form form = FormOf(bitmap);
  if (form.bits == 0 || !ReadParameters(parameters, bitmap.bits_per_pixel(), compression)) {
    return Gdiplus::InvalidParameter;
  }

  const std::uint64_t row_bytes =
      (std::uint64_t{bitmap.width()} * form.bits * form.samples + 7) / 8;
  const auto rows_per_strip = static_cast<std::uint32_t>(
      std::clamp<std::uint64_t>(kStripBytes / row_bytes, 1, bitmap.height()));
  const HeapBytes strip = AllocateBytes(row_bytes * rows_per_strip);
  if (strip == nullptr) return Gdiplus::OutOfMemory;
  RowConversion conversion(bitmap.format(), bitmap.palette, SwappedFormat(bitmap, form), {});

  TiffDestination destination{&sink};
  const TiffHandle tiff = OpenTiffForWriting(destination);
  const auto failure = [&] {
    return destination.failed ? Gdiplus::Win32Error : Gdiplus::GenericError;
  };
  if (tiff == nullptr || !SetTags(tiff.get(), bitmap, form, compression, rows_per_strip)) {
    return failure();
  }
  std::uint32_t strip_index = 0;
  for (std::uint32_t y = 0; y < bitmap.height();) {
    const std::uint32_t rows = std::min(rows_per_strip, bitmap.height() - y);
    for (std::uint32_t i = 0; i < rows; ++i, ++y) {
      PutRow(bitmap, y, form, conversion, &strip[row_bytes * i]);
    }
    const auto size = static_cast<tmsize_t>(row_bytes * rows);
    if (TIFFWriteEncodedStrip(tiff.get(), strip_index++, strip.get(), size) != size) {
      return failure();
    }
  }
  return TIFFWriteDirectory(tiff.get()) != 0 ? Gdiplus::Ok : failure();
}

}  // namespace pixtola::portable
