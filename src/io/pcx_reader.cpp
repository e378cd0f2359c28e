#include "io/pcx_reader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <utility>

#include "base/file_bytes.h"
#include "base/owners.h"
#include "base/pixel_memory.h"
#include "base/text.h"
#include "bitmap/wrapped_bitmap.h"
#include "format/palettes.h"
#include "format/pixel_format.h"
#include "format/stride.h"
#include "io/pcx_layout.h"
#include "io/pixels/pcx_header.h"
#include "io/pixels/pcx_plane_kernels.h"
#include "io/pixels/pcx_rle_kernels.h"

namespace pixtola {

namespace {

bool ReadHeader(std::FILE* file, PcxHeader& header) {
  std::uint8_t bytes[kPcxHeaderSize];
  if (std::fread(bytes, 1, sizeof(bytes), file) != sizeof(bytes)) return false;
  header = ParsePcxHeader(bytes);
  return true;
}

/// What goes from a file into a bitmap.
struct PcxImage {
  PcxHeader header;
  const PcxLayout* layout = nullptr;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t stride = 0;
  std::uint32_t row_bytes = 0;  ///< those of a row that are filled
  Block<std::uint8_t> pixels{};
  PaletteOf256 palette{};
};

/// Makes room for the pixels, all 0; false when there are none or when out of memory.
bool MakeRoom(PcxImage& image) {
  const Gdiplus::PixelFormat format = image.layout->format;
  image.width = image.header.width();
  image.height = image.header.height();
  image.stride = PxtCalcStride(image.width, format);
  // Kept on purpose: rounded down. Pixels in an incomplete last byte stay 0.
  image.row_bytes = image.width * BitsPerPixel(format) / 8;
  const std::uint64_t size = std::uint64_t{image.stride} * image.height;
  if (size == 0 || !platform::IsDecodeAllowed(image.width, image.height, size)) return false;
  image.pixels = AllocatePixels<std::uint8_t>(size);
  return image.pixels != nullptr;
}

/// Fills a line of `size` bytes; what the file no longer has of it is taken from the previous line.
/// False, with nothing done, when that would be all of it.
bool ReadLine(const PcxRleKernels& kernels, FileBytes& file, PcxRun& run,
              const std::uint8_t* line_before, std::uint8_t* line, std::size_t size) {
  for (std::size_t filled = 0; filled < size;) {
    const auto ahead = file.ahead();
    const PcxProgress progress =
        kernels.decode(run, ahead.data(), ahead.size(), line + filled, size - filled);
    file.Take(progress.consumed);
    filled += progress.produced;
    if (filled < size && !file.Refill()) {
      // A count at the very end repeats the value before it, in the lines to come.
      run.is_value_due = false;
      if (filled == 0) return false;
      std::copy(line_before + filled, line_before + size, line + filled);
      return true;
    }
  }
  return true;
}

/// Decodes all rows; false when out of memory.
bool ReadRows(FileBytes& file, PcxImage& image) {
  const PcxHeader& header = image.header;
  const std::size_t line_bytes = std::size_t{header.planes} * header.bytes_per_line;
  const std::size_t capacity =
      PcxLineCapacity(header.planes, header.bytes_per_line, image.row_bytes);
  const auto lines = AllocateZeroed<std::uint8_t>(2 * capacity);
  if (lines == nullptr) return false;
  std::uint8_t* latest = lines.get();
  std::uint8_t* next = latest + capacity;
  const PcxRleKernels& rle_kernels = BestPcxRleKernels();
  const PcxPlaneKernels& plane_kernels = BestPcxPlaneKernels();
  PcxRun run;
  for (std::uint32_t y = 0; y < image.height; ++y) {
    if (ReadLine(rle_kernels, file, run, latest, next, line_bytes)) std::swap(latest, next);
    image.layout->convert(plane_kernels, {latest, header.bytes_per_line},
                          {image.pixels.get() + std::size_t{y} * image.stride, image.row_bytes});
  }
  return true;
}

/// One byte; false at the end of the file.
bool ReadByte(FileBytes& file, std::uint8_t& byte) {
  if (file.ahead().empty() && !file.Refill()) return false;
  byte = file.ahead().front();
  file.Take(1);
  return true;
}

/// Reads on past the mark that comes before a palette.
bool FindPalette(FileBytes& file) {
  do {
    const auto ahead = file.ahead();
    const auto mark = std::find(ahead.begin(), ahead.end(), kPcxPaletteMark);
    if (mark != ahead.end()) {
      file.Take(static_cast<std::size_t>(mark - ahead.begin()) + 1);
      return true;
    }
  } while (file.Refill());
  return false;
}

bool ReadColor(FileBytes& file, Gdiplus::ARGB& color) {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  if (!ReadByte(file, red) || !ReadByte(file, green) || !ReadByte(file, blue)) return false;
  color = Gdiplus::ARGB{red} << 16 | Gdiplus::ARGB{green} << 8 | blue;
  return true;
}

/// The palette after the image, or a ramp of grays where there is none. The header's map of 16
/// colours is never used.
void ReadPalette(FileBytes& file, PcxImage& image) {
  constexpr Gdiplus::ARGB kOpaque = 0xFF000000;
  const std::uint32_t size = image.layout->palette_size;
  PaletteOf256& palette = image.palette;
  palette.Flags = 0;
  palette.Count = size;
  for (std::uint32_t i = 0; i < size; ++i) palette.SetEntry(i, kOpaque);
  // Kept on purpose: one fewer than 256. The last entry is not taken from the file.
  const std::uint32_t count = std::min<std::uint32_t>(size, 255);
  std::uint32_t read = 0;
  if (image.header.version == kPcxNewestVersion && FindPalette(file)) {
    Gdiplus::ARGB color = 0;
    for (; read < count && ReadColor(file, color); ++read) palette.SetEntry(read, kOpaque | color);
  }
  if (read == 0) {
    const std::uint32_t step = 256 / count;
    for (std::uint32_t i = 0; i < count; ++i) {
      palette.SetEntry(i, kOpaque | (i * step & 0xFF) * 0x010101);
    }
  }
}

bool ReadImage(const wchar_t* path, PcxImage& image) {
  const File file(_wfsopen(path, L"rb", _SH_DENYWR));
  if (file == nullptr || !ReadHeader(file.get(), image.header) || !IsReadable(image.header)) {
    return false;
  }
  image.layout = FindPcxLayout(image.header);
  if (image.layout == nullptr || !MakeRoom(image)) return false;
  FileBytes bytes(file.get());
  if (!ReadRows(bytes, image)) return false;
  if (image.layout->palette_size != 0) ReadPalette(bytes, image);
  return true;
}

}  // namespace

BitmapPointer ReadPcxFile(const wchar_t* path) try {
  if (path == nullptr) return nullptr;
  const std::wstring trimmed(Trim(path));
  PcxImage image;
  if (trimmed.empty() || !ReadImage(trimmed.c_str(), image)) return nullptr;
  const PcxHeader& header = image.header;
  const Gdiplus::PixelFormat format = image.layout->format;
  BitmapPointer bitmap = MakeWrappedBitmap(
      {image.pixels.get(), image.width, image.height, SignedStride(image.stride),
       BitsPerPixel(format)},
      format, {static_cast<float>(header.horizontal_dpi), static_cast<float>(header.vertical_dpi)},
      nullptr);
  if (bitmap == nullptr) return nullptr;
  // A palette that cannot be set shows in the bitmap's last status.
  if (image.layout->palette_size != 0) bitmap->SetPalette(&image.palette);
  return bitmap;
} catch (const std::bad_alloc&) {
  return nullptr;
}

}  // namespace pixtola
