#include "io/pcx_writer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>

#include "base/memory.h"
#include "base/owners.h"
#include "bitmap/bitmap_access.h"
#include "bitmap/rows.h"
#include "format/pixel_format.h"
#include "format/stride.h"
#include "io/pixels/pcx_header.h"
#include "io/pixels/pcx_plane_kernels.h"
#include "io/pixels/pcx_rle_kernels.h"

namespace pixtola {

namespace {

/// How a bitmap is written.
struct PcxShape {
  UINT width = 0;
  UINT height = 0;
  float dpi_x = 0;
  float dpi_y = 0;
  Gdiplus::PixelFormat format = PixelFormatUndefined;
  std::uint32_t bits = 0;       ///< of a pixel
  std::uint32_t row_bytes = 0;  ///< of a row's pixels
  std::uint32_t padding = 0;    ///< bytes after them, as in the bitmap's rows

  bool is_color() const { return bits == 24; }
  /// A line of a colour image has three planes of one byte a pixel.
  std::uint32_t planes() const { return is_color() ? 3 : 1; }
  std::uint32_t bytes_per_plane() const { return padding + (is_color() ? width : row_bytes); }
};

bool WriteBytes(std::FILE* file, const void* bytes, std::size_t size) {
  return std::fwrite(bytes, 1, size, file) == size;
}

/// The format that comes nearest to the bitmap's own: everything else becomes 24-bit.
Gdiplus::PixelFormat ChooseFormat(Gdiplus::PixelFormat format) {
  const bool is_kept = format == PixelFormat1bppIndexed || format == PixelFormat8bppIndexed;
  return is_kept ? format : PixelFormat24bppRGB;
}

/// Whether the header's fields can describe the image.
bool FitsHeader(const PcxShape& shape) {
  constexpr std::uint32_t kLargest = std::numeric_limits<std::uint16_t>::max();
  return shape.width - 1 <= kLargest && shape.height - 1 <= kLargest &&
         shape.bytes_per_plane() <= kLargest;
}

/// Finds out how the bitmap is written; false when its rows cannot be read or have no bytes.
bool ChooseShape(Gdiplus::Bitmap& bitmap, PcxShape& shape) {
  shape.width = bitmap.GetWidth();
  shape.height = bitmap.GetHeight();
  shape.dpi_x = bitmap.GetHorizontalResolution();
  shape.dpi_y = bitmap.GetVerticalResolution();
  shape.format = ChooseFormat(bitmap.GetPixelFormat());
  shape.bits = BitsPerPixel(shape.format);
  std::uint64_t stride = 0;
  {
    const ReadLock lock(bitmap, shape.width, shape.height, shape.format);
    if (!lock.is_locked()) return false;
    stride = static_cast<std::uint64_t>(std::abs(std::int64_t{lock.data().Stride}));
  }
  const std::uint64_t row_bytes = PackedRowBytes(shape.bits, shape.width);
  if (stride * shape.height == 0 || stride < row_bytes) return false;
  shape.row_bytes = static_cast<std::uint32_t>(row_bytes);
  shape.padding = (stride - row_bytes) & 0xFFFF;
  return FitsHeader(shape);
}

/// Dots per inch as a whole number. What was rounded down on its way into the bitmap comes out as
/// it was.
std::uint16_t WholeDpi(float dpi) {
  constexpr double kLargest = std::numeric_limits<std::uint16_t>::max();
  if (!(dpi > 0)) return 0;
  return static_cast<std::uint16_t>(std::min(dpi + 0.1, kLargest));
}

bool WriteHeader(std::FILE* file, const PcxShape& shape) {
  PcxHeader header;
  header.bits_per_pixel = static_cast<std::uint8_t>(std::min(shape.bits, 8U));
  header.right = static_cast<std::uint16_t>(shape.width - 1);
  header.bottom = static_cast<std::uint16_t>(shape.height - 1);
  header.horizontal_dpi = WholeDpi(shape.dpi_x);
  header.vertical_dpi = WholeDpi(shape.dpi_y);
  header.planes = static_cast<std::uint8_t>(shape.planes());
  header.bytes_per_line = static_cast<std::uint16_t>(shape.bytes_per_plane());
  std::uint8_t bytes[kPcxHeaderSize];
  StorePcxHeader(header, bytes);
  return WriteBytes(file, bytes, sizeof(bytes));
}

/// Writes the rows; false when out of memory or when they cannot be written.
bool WriteRows(std::FILE* file, Gdiplus::Bitmap& bitmap, const PcxShape& shape) {
  const std::size_t plane_bytes = shape.bytes_per_plane();
  const std::size_t line_bytes = shape.planes() * plane_bytes;
  const auto line = AllocateZeroed<std::uint8_t>(line_bytes);  // its padding stays 0
  const auto code = Allocate<std::uint8_t>(PcxCodeCapacity(line_bytes));
  if (line == nullptr || code == nullptr) return false;
  const ReadLock lock(bitmap, shape.width, shape.height, shape.format);
  // Kept on purpose: rows that can no longer be read are left out, and the file goes on without
  // them.
  if (!lock.is_locked()) return true;
  const PcxPlaneKernels& plane_kernels = BestPcxPlaneKernels();
  const PcxRleKernels& rle_kernels = BestPcxRleKernels();
  const ImageView image = ViewOf(lock.data());
  for (UINT y = 0; y < shape.height; ++y) {
    const std::uint8_t* row = image.Row(y);
    if (shape.is_color()) {
      plane_kernels.separate_rgb(row, shape.width, line.get(), line.get() + plane_bytes,
                                 line.get() + 2 * plane_bytes);
    } else {
      std::copy_n(row, shape.row_bytes, line.get());
    }
    const std::size_t size = rle_kernels.encode(line.get(), line_bytes, code.get());
    // Kept on purpose: whether the lines of colour images were written is not checked.
    if (!WriteBytes(file, code.get(), size) && !shape.is_color()) return false;
  }
  return true;
}

/// Writes a palette of as many entries as the pixels can name, black where the bitmap has none or
/// they cannot be read; false when out of memory or when it cannot be written.
bool WritePalette(std::FILE* file, Gdiplus::Bitmap& bitmap, std::uint32_t bits) {
  constexpr std::size_t kColorBytes = 3;
  std::uint8_t bytes[1 + 256 * kColorBytes] = {kPcxPaletteMark};
  const std::uint32_t size = 1U << bits;
  const std::optional<PalettePointer> copied = CopyPalette(bitmap);
  if (!copied.has_value()) return false;
  const Gdiplus::ColorPalette* palette = copied->get();
  const UINT count = palette != nullptr ? std::min<UINT>(size, palette->Count) : 0;
  std::uint8_t* color = bytes + 1;
  for (UINT i = 0; i < count; ++i, color += kColorBytes) {
    const Gdiplus::ARGB* entries = palette->Entries;
    color[0] = static_cast<std::uint8_t>(entries[i] >> 16 & 0xFF);
    color[1] = static_cast<std::uint8_t>(entries[i] >> 8 & 0xFF);
    color[2] = static_cast<std::uint8_t>(entries[i] & 0xFF);
  }
  return WriteBytes(file, bytes, 1 + size * kColorBytes);
}

}  // namespace

int WritePcxFile(const wchar_t* path, Gdiplus::Bitmap* bitmap) {
  if (path == nullptr || bitmap == nullptr) return 0;
  PcxShape shape;
  if (!ChooseShape(*bitmap, shape)) return 0;

  // The runtime's own buffer holds less than a line of a page.
  char buffer[std::size_t{1} << 16];
  File file(_wfsopen(path, L"wb", _SH_DENYRW));
  if (file == nullptr) return 0;
  std::setvbuf(file.get(), buffer, _IOFBF, sizeof(buffer));
  bool is_written = WriteHeader(file.get(), shape) && WriteRows(file.get(), *bitmap, shape) &&
                    (shape.is_color() || WritePalette(file.get(), *bitmap, shape.bits));
  // What the runtime still buffers is written now.
  const bool is_closed = std::fclose(file.release()) == 0;
  is_written = is_written && (is_closed || shape.is_color());
  if (!is_written) DeleteFileW(path);
  return is_written ? 1 : 0;
}

}  // namespace pixtola
