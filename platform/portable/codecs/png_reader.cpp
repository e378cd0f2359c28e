// Reads PNG with libpng, straight into the rows of the bitmap.
//
// Images that fit a palette format or 24bppRGB as they are keep their form; all others become
// 32bppARGB. Gamma, colour profiles, text and every other ancillary chunk except tRNS and pHYs are
// left out.
#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstring>

#include "codecs/codec.h"
#include "codecs/png_handles.h"
#include "codecs/resolution.h"
#include "imaging/color_rows.h"
#include "shared/decode_limit.h"

namespace pixtola::portable {

namespace {

using Gdiplus::ARGB;
using Gdiplus::Status;

constexpr std::array<std::uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

struct Source {
  EncodedBytes bytes;
  std::size_t position = 0;
};

// Called by libpng. Errors leave by longjmp, so nothing here needs a destructor.
void ReadBytes(png_structp png, png_bytep destination, std::size_t size) {
  auto* source = static_cast<Source*>(png_get_io_ptr(png));
  if (size > source->bytes.size() - source->position) png_error(png, "unexpected end");
  std::memcpy(destination, source->bytes.data() + source->position, size);
  source->position += size;
}

[[noreturn]] void FailSilently(png_structp png, png_const_charp) { png_longjmp(png, 1); }

void IgnoreWarning(png_structp, png_const_charp) {}

struct Form {
  Gdiplus::PixelFormat format;
  bool is_gray;
};

Form FormOf(png_structp png, png_infop info) {
  const int type = png_get_color_type(png, info);
  const int depth = png_get_bit_depth(png, info);
  const bool has_transparency = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
  const bool is_gray = type == PNG_COLOR_TYPE_GRAY;
  if (has_transparency) return {PixelFormat32bppARGB, is_gray};
  if (is_gray && depth == 1) return {PixelFormat1bppIndexed, true};
  if (type == PNG_COLOR_TYPE_PALETTE && depth == 1) return {PixelFormat1bppIndexed, false};
  if (type == PNG_COLOR_TYPE_PALETTE && depth == 4) return {PixelFormat4bppIndexed, false};
  if (type == PNG_COLOR_TYPE_PALETTE && depth == 8) return {PixelFormat8bppIndexed, false};
  if (type == PNG_COLOR_TYPE_RGB && depth == 8) return {PixelFormat24bppRGB, false};
  return {PixelFormat32bppARGB, is_gray};
}

// The two functions with setjmp. They hold nothing with a destructor and change no variable that is
// read after the jump.

bool ReadHeader(png_structp png, png_infop info) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_set_user_limits(png, 0x7FFFFFFF, 0x7FFFFFFF);
  // Chunks that are not used are not unpacked either: they can be much larger than they look.
  static constexpr png_byte kSkippedChunks[] =
      "bKGD\0cHRM\0eXIf\0gAMA\0hIST\0iCCP\0iTXt\0oFFs\0pCAL\0sBIT\0sCAL\0sPLT\0sRGB\0sTER\0tEXt\0"
      "tIME\0zTXt";
  // The checksums of the chunks reveal damage; the one inside the pixels' stream would only do so
  // again.
  png_set_option(png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, kSkippedChunks,
                              static_cast<int>(sizeof(kSkippedChunks) / 5));
  png_read_info(png, info);
  return true;
}

bool ReadRows(png_structp png, png_infop info, BitmapObject& bitmap) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  if (!bitmap.is_indexed()) {
    png_set_expand(png);
    png_set_scale_16(png);
    png_set_gray_to_rgb(png);
    png_set_bgr(png);
    if (bitmap.format() == PixelFormat32bppARGB &&
        (png_get_color_type(png, info) & PNG_COLOR_MASK_ALPHA) == 0 &&
        png_get_valid(png, info, PNG_INFO_tRNS) == 0) {
      png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
    }
  }
  const int passes = png_set_interlace_handling(png);
  png_read_update_info(png, info);
  // libpng writes as many bytes per row as it says here.
  if (png_get_rowbytes(png, info) != bitmap.row_bytes()) return false;
  for (int pass = 0; pass < passes; ++pass) {
    for (std::uint32_t y = 0; y < bitmap.height(); ++y) png_read_row(png, bitmap.Row(y), nullptr);
  }
  png_read_end(png, nullptr);
  return true;
}

/// Entries that the file does not have are black.
Palette FilePalette(png_structp png, png_infop info) {
  Palette palette;
  palette.entries.fill(0xFF000000);
  png_colorp colors = nullptr;
  int count = 0;
  if (png_get_PLTE(png, info, &colors, &count) == 0) return palette;
  palette.count = static_cast<UINT>(std::clamp(count, 0, 256));
  for (std::size_t i = 0; i < palette.count; ++i) {
    palette.entries[i] =
        0xFF000000 | ARGB{colors[i].red} << 16 | ARGB{colors[i].green} << 8 | colors[i].blue;
  }
  return palette;
}

void ReadResolution(png_structp png, png_infop info, BitmapObject& bitmap) {
  png_uint_32 x = 0;
  png_uint_32 y = 0;
  int unit = PNG_RESOLUTION_UNKNOWN;
  if (png_get_pHYs(png, info, &x, &y, &unit) == 0 || unit != PNG_RESOLUTION_METER) return;
  bitmap.dpi_x = DotsPerInchOf(x);
  bitmap.dpi_y = DotsPerInchOf(y);
}

}  // namespace

bool IsPng(EncodedBytes bytes) {
  return bytes.size() >= kSignature.size() &&
         std::equal(kSignature.begin(), kSignature.end(), bytes.begin());
}

Status DecodePng(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap) {
  bitmap = nullptr;
  Source source{bytes};
  PngReadHandle handle;
  handle.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, FailSilently, IgnoreWarning);
  if (handle.png == nullptr) return Gdiplus::OutOfMemory;
  handle.info = png_create_info_struct(handle.png);
  if (handle.info == nullptr) return Gdiplus::OutOfMemory;
  png_set_read_fn(handle.png, &source, ReadBytes);
  if (!ReadHeader(handle.png, handle.info)) return Gdiplus::GenericError;

  const std::uint64_t width = png_get_image_width(handle.png, handle.info);
  const std::uint64_t height = png_get_image_height(handle.png, handle.info);
  // A byte of Deflate data expands to at most 1032.
  const std::uint64_t least_size = png_get_rowbytes(handle.png, handle.info) * height / 1032;
  if (!platform::IsClaimPlausible(width * height, bytes.size(), least_size)) {
    return Gdiplus::OutOfMemory;
  }
  const Form form = FormOf(handle.png, handle.info);
  auto decoded = BitmapObject::CreateForDecoder(width, height, form.format);
  if (decoded == nullptr) return Gdiplus::OutOfMemory;
  if (decoded->is_indexed()) {
    decoded->palette = form.is_gray ? GrayPalette(1) : FilePalette(handle.png, handle.info);
  }
  ReadResolution(handle.png, handle.info, *decoded);
  if (!ReadRows(handle.png, handle.info, *decoded)) return Gdiplus::GenericError;
  if (decoded->is_indexed()) CoverAllIndexes(*decoded);
  bitmap = std::move(decoded);
  return Gdiplus::Ok;
}

}  // namespace pixtola::portable
