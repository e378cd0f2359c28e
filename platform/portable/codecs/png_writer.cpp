// Writes PNG with libpng.
//
// Indexed bitmaps with an opaque palette keep their depth, 24bppRGB stays RGB and everything else
// becomes RGBA with straight alpha. The format has no encoder parameters here; any that are given
// are ignored.
#include <algorithm>
#include <array>
#include <csetjmp>

#include "codecs/codec.h"
#include "codecs/png_handles.h"
#include "codecs/resolution.h"
#include "imaging/color_rows.h"

namespace pixtola::portable {

namespace {

using Gdiplus::ARGB;
using Gdiplus::Status;

struct Destination {
  ByteSink* sink;
  bool failed = false;
};

// Called by libpng. Errors leave by longjmp, so nothing here needs a destructor.
void WriteBytes(png_structp png, png_bytep bytes, std::size_t size) {
  auto* destination = static_cast<Destination*>(png_get_io_ptr(png));
  if (!destination->sink->Write(bytes, size)) {
    destination->failed = true;
    png_error(png, "write failed");
  }
}

void FlushNothing(png_structp) {}

[[noreturn]] void FailSilently(png_structp png, png_const_charp) { png_longjmp(png, 1); }

void IgnoreWarning(png_structp, png_const_charp) {}

enum class Form { kPalette, kRgb, kRgba };

Form FormOf(const BitmapObject& bitmap) {
  if (bitmap.format() == PixelFormat24bppRGB) return Form::kRgb;
  if (!bitmap.is_indexed()) return Form::kRgba;
  const auto* entries = bitmap.palette.entries.data();
  const bool is_opaque = std::all_of(entries, entries + bitmap.palette.count,
                                     [](ARGB entry) { return entry >> 24 == 0xFF; });
  return is_opaque ? Form::kPalette : Form::kRgba;
}

/// Palette entries to write: as many as the palette has, and more when a pixel's index lies beyond
/// them, which the format does not allow.
std::uint32_t ColorCount(const BitmapObject& bitmap) {
  return std::max({bitmap.palette.count, HighestIndex(bitmap) + 1, 1U});
}

/// What WriteImage needs; none of it has a destructor.
struct Job {
  const BitmapObject* bitmap;
  Form form;
  std::array<png_color, 256> colors;
  std::uint32_t color_count;
  ARGB* argb;      ///< one row; null unless the form is kRgba
  png_byte* rgba;  ///< one row; null unless the form is kRgba
};

const png_byte* RowBytes(const Job& job, std::uint32_t y) {
  const BitmapObject& bitmap = *job.bitmap;
  if (job.form != Form::kRgba) return bitmap.Row(y);
  RowToArgb(bitmap.Row(y), 0, bitmap.width(), bitmap.format(), bitmap.palette, job.argb);
  png_byte* rgba = job.rgba;
  for (std::uint32_t x = 0; x < bitmap.width(); ++x, rgba += 4) {
    const ARGB color = job.argb[x];
    rgba[0] = static_cast<png_byte>(color >> 16);
    rgba[1] = static_cast<png_byte>(color >> 8);
    rgba[2] = static_cast<png_byte>(color);
    rgba[3] = static_cast<png_byte>(color >> 24);
  }
  return job.rgba;
}

/// The function with setjmp: it holds nothing with a destructor and changes no variable that is
/// read after the jump.
bool WriteImage(png_structp png, png_infop info, const Job& job) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  const bool is_palette = job.form == Form::kPalette;
  const int depth = is_palette ? static_cast<int>(job.bitmap->bits_per_pixel()) : 8;
  const int type = is_palette               ? PNG_COLOR_TYPE_PALETTE
                   : job.form == Form::kRgb ? PNG_COLOR_TYPE_RGB
                                            : PNG_COLOR_TYPE_RGB_ALPHA;
  png_set_user_limits(png, 0x7FFFFFFF, 0x7FFFFFFF);
  png_set_IHDR(png, info, job.bitmap->width(), job.bitmap->height(), depth, type,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (is_palette) {
    png_set_PLTE(png, info, job.colors.data(), static_cast<int>(job.color_count));
  }
  const png_uint_32 x = PixelsPerMetre(job.bitmap->dpi_x);
  const png_uint_32 y = PixelsPerMetre(job.bitmap->dpi_y);
  if (x != 0 && y != 0) png_set_pHYs(png, info, x, y, PNG_RESOLUTION_METER);
  // The grain of a scanned page costs zlib three times as long at its usual level 6 as at level 4
  // and hardly makes files smaller; palette images are quick at 6. Filters are libpng's choice:
  // none for palette images, the cheapest of all five per row for the others.
  png_set_compression_level(png, is_palette ? 6 : 4);
  png_write_info(png, info);
  if (job.form == Form::kRgb) png_set_bgr(png);
  for (std::uint32_t row = 0; row < job.bitmap->height(); ++row) {
    png_write_row(png, RowBytes(job, row));
  }
  png_write_end(png, info);
  return true;
}

}  // namespace

Status EncodePng(const BitmapObject& bitmap, const Gdiplus::EncoderParameters*, ByteSink& sink) {
  Job job{&bitmap, FormOf(bitmap), {}, 0, nullptr, nullptr};
  if (job.form == Form::kPalette) {
    job.color_count = ColorCount(bitmap);
    for (std::size_t i = 0; i < job.color_count; ++i) {
      const ARGB entry = i < bitmap.palette.count ? bitmap.palette.entries[i] : 0xFF000000;
      job.colors[i] = {static_cast<png_byte>(entry >> 16), static_cast<png_byte>(entry >> 8),
                       static_cast<png_byte>(entry)};
    }
  }
  HeapBytes argb;
  HeapBytes rgba;
  if (job.form == Form::kRgba) {
    argb = AllocateBytes(std::uint64_t{bitmap.width()} * sizeof(ARGB));
    rgba = AllocateBytes(std::uint64_t{bitmap.width()} * 4);
    if (argb == nullptr || rgba == nullptr) return Gdiplus::OutOfMemory;
    job.argb = reinterpret_cast<ARGB*>(argb.get());
    job.rgba = rgba.get();
  }

  Destination destination{&sink};
  PngWriteHandle handle;
  handle.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, FailSilently, IgnoreWarning);
  if (handle.png == nullptr) return Gdiplus::OutOfMemory;
  handle.info = png_create_info_struct(handle.png);
  if (handle.info == nullptr) return Gdiplus::OutOfMemory;
  png_set_write_fn(handle.png, &destination, WriteBytes, FlushNothing);
  if (WriteImage(handle.png, handle.info, job)) return Gdiplus::Ok;
  return destination.failed ? Gdiplus::Win32Error : Gdiplus::GenericError;
}

}  // namespace pixtola::portable
