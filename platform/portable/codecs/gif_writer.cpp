// Writes GIF of one image with giflib.
//
// Indexed bitmaps keep their palette, filled up with black to a power of two. The first entry with
// alpha 0 becomes the transparent one, which all pixels take whose entry has alpha 0; any other
// alpha is lost. All deeper formats are dithered to the colour cube of the halftone palette by a
// fixed pattern of 8 x 8 thresholds for each channel: colours of the cube stay as they are, and the
// result does not depend on the pixels around. Pixels with alpha below 128 become transparent. The
// format has no resolution and no encoder parameters here; any that are given are ignored.
#include <algorithm>
#include <array>

#include "codecs/codec.h"
#include "codecs/gif_handles.h"
#include "imaging/argb.h"
#include "imaging/color_rows.h"
#include "imaging/indexed_rows.h"

namespace pixtola::portable {

namespace {

using Gdiplus::ARGB;
using Gdiplus::Status;

constexpr std::uint32_t kLargestSide = 0xFFFF;

struct Destination {
  ByteSink* sink;
  bool failed = false;
};

// Called by giflib, which does not always check what this returns: nothing is written after a
// failed write.
int WriteBytes(GifFileType* gif, const GifByteType* bytes, int size) {
  auto* destination = static_cast<Destination*>(gif->UserData);
  destination->failed =
      destination->failed || !destination->sink->Write(bytes, static_cast<std::size_t>(size));
  return destination->failed ? 0 : size;
}

// The halftone palette: transparent entries from 16 on, the cube of six levels per channel from 40
// on.
constexpr unsigned kHalftoneClear = 16;
constexpr unsigned kHalftoneCube = 40;
constexpr unsigned kLevelStep = 0x33;

/// The order in which the pixels of an 8 x 8 block go up to the next level as a colour rises.
constexpr std::array<std::array<std::uint8_t, 8>, 8> kThresholds = {{
    {0, 32, 8, 40, 2, 34, 10, 42},
    {48, 16, 56, 24, 50, 18, 58, 26},
    {12, 44, 4, 36, 14, 46, 6, 38},
    {60, 28, 52, 20, 62, 30, 54, 22},
    {3, 35, 11, 43, 1, 33, 9, 41},
    {51, 19, 59, 27, 49, 17, 57, 25},
    {15, 47, 7, 39, 13, 45, 5, 37},
    {63, 31, 55, 23, 61, 29, 53, 21},
}};

/// The level of the cube for a channel: the one below, or the one above for the more of the 64
/// thresholds the nearer the channel is to it.
unsigned LevelOf(unsigned channel, unsigned threshold) {
  const unsigned rest = channel % kLevelStep;
  return channel / kLevelStep + (128 * rest > (2 * threshold + 1) * kLevelStep ? 1 : 0);
}

std::uint8_t Dither(ARGB color, unsigned threshold) {
  if (Alpha(color) < 128) return kHalftoneClear;
  const unsigned index = kHalftoneCube + 36 * LevelOf(Red(color), threshold) +
                         6 * LevelOf(Green(color), threshold) + LevelOf(Blue(color), threshold);
  return static_cast<std::uint8_t>(index);
}

/// The colours of the file and what becomes of the bitmap's indexes.
struct Colors {
  std::array<GifColorType, 256> entries{};
  int count = 0;  ///< a power of two
  int transparent = NO_TRANSPARENT_COLOR;
  std::array<std::uint8_t, 256> indexes{};
};

Colors ColorsOf(const Palette& palette, unsigned used) {
  Colors colors;
  // giflib writes indexes with as many bits as the map has: a pixel beyond a short palette needs a
  // longer map.
  colors.count = 2;
  while (static_cast<unsigned>(colors.count) < used) colors.count *= 2;
  for (unsigned i = 0; i < static_cast<unsigned>(colors.count); ++i) {
    const ARGB entry = palette.ColorOf(i);
    colors.entries[i] = {static_cast<GifByteType>(Red(entry)),
                         static_cast<GifByteType>(Green(entry)),
                         static_cast<GifByteType>(Blue(entry))};
    const bool is_clear = Alpha(entry) == 0;
    if (is_clear && colors.transparent == NO_TRANSPARENT_COLOR) {
      colors.transparent = static_cast<int>(i);
    }
    colors.indexes[i] =
        static_cast<std::uint8_t>(is_clear ? static_cast<unsigned>(colors.transparent) : i);
  }
  return colors;
}

Colors ColorsOf(const BitmapObject& bitmap) {
  if (bitmap.is_indexed()) {
    return ColorsOf(bitmap.palette, std::max(bitmap.palette.count, HighestIndex(bitmap) + 1));
  }
  Colors colors = ColorsOf(DefaultPalette(PixelFormat8bppIndexed), 256);
  if ((bitmap.format() & PixelFormatAlpha) == 0) colors.transparent = NO_TRANSPARENT_COLOR;
  return colors;
}

/// `argb` is room for one row, null for indexed bitmaps.
void ConvertRow(const BitmapObject& bitmap, const Colors& colors, std::uint32_t y, ARGB* argb,
                std::uint8_t* row) {
  if (argb == nullptr) {
    for (std::uint32_t x = 0; x < bitmap.width(); ++x) {
      row[x] = colors.indexes[ReadIndex(bitmap.Row(y), x, bitmap.bits_per_pixel())];
    }
    return;
  }
  RowToArgb(bitmap.Row(y), 0, bitmap.width(), bitmap.format(), bitmap.palette, argb);
  const auto& thresholds = kThresholds[y % 8];
  for (std::uint32_t x = 0; x < bitmap.width(); ++x) row[x] = Dither(argb[x], thresholds[x % 8]);
}

/// Everything before the rows.
bool WriteHeader(GifFileType* gif, const BitmapObject& bitmap, Colors& colors) {
  const int bits = GifBitSize(colors.count);
  const ColorMapObject map{colors.count, bits, false, colors.entries.data()};
  const auto width = static_cast<int>(bitmap.width());
  const auto height = static_cast<int>(bitmap.height());
  EGifSetGifVersion(gif, true);
  if (EGifPutScreenDesc(gif, width, height, 8, 0, &map) == GIF_ERROR) return false;
  if (colors.transparent != NO_TRANSPARENT_COLOR) {
    const GraphicsControlBlock control{DISPOSAL_UNSPECIFIED, false, 0, colors.transparent};
    std::array<GifByteType, 4> block{};
    EGifGCBToExtension(&control, block.data());
    if (EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, static_cast<int>(block.size()),
                         block.data()) == GIF_ERROR) {
      return false;
    }
  }
  return EGifPutImageDesc(gif, 0, 0, width, height, false, nullptr) != GIF_ERROR;
}

}  // namespace

Status EncodeGif(const BitmapObject& bitmap, const Gdiplus::EncoderParameters*, ByteSink& sink) {
  if (bitmap.width() > kLargestSide || bitmap.height() > kLargestSide) {
    return Gdiplus::GenericError;
  }
  const HeapBytes row = AllocateBytes(bitmap.width());
  const HeapBytes argb =
      bitmap.is_indexed() ? nullptr : AllocateBytes(std::uint64_t{bitmap.width()} * sizeof(ARGB));
  if (row == nullptr || (argb == nullptr && !bitmap.is_indexed())) return Gdiplus::OutOfMemory;

  Destination destination{&sink};
  int error = E_GIF_SUCCEEDED;
  GifWriteHandle gif(EGifOpen(&destination, WriteBytes, &error));
  if (gif == nullptr) return Gdiplus::OutOfMemory;
  Colors colors = ColorsOf(bitmap);
  bool is_written = WriteHeader(gif.get(), bitmap, colors);
  for (std::uint32_t y = 0; is_written && y < bitmap.height(); ++y) {
    ConvertRow(bitmap, colors, y, reinterpret_cast<ARGB*>(argb.get()), row.get());
    is_written = EGifPutLine(gif.get(), row.get(), static_cast<int>(bitmap.width())) != GIF_ERROR;
  }
  const bool has_no_memory = gif->Error == E_GIF_ERR_NOT_ENOUGH_MEM;
  // Closing writes the end mark; it frees the object in any case.
  is_written = EGifCloseFile(gif.release(), &error) != GIF_ERROR && is_written;
  if (destination.failed) return Gdiplus::Win32Error;
  if (has_no_memory) return Gdiplus::OutOfMemory;
  return is_written ? Gdiplus::Ok : Gdiplus::GenericError;
}

}  // namespace pixtola::portable
