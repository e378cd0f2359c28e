// Reads GIF. A file with one image becomes 8bppIndexed; of one with several, each frame becomes
// 32bppARGB and shows what a player shows after it: the frames before it count as far as their
// disposal lets them stay.
//
// The bitmap has the size of the logical screen, and frames are clipped to it. What no frame covers
// is transparent in a file with several. With one, it has the screen's background colour when the
// frame uses the file's colours, of which that is one; otherwise it is transparent. Of a damaged
// frame the complete rows are kept. Delays, loops, text and comments are left out.
#include <algorithm>
#include <array>
#include <cstring>

#include "codecs/gif_file.h"
#include "imaging/words.h"
#include "shared/decode_limit.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

/// A tiny file can claim thousands of frames of any size, and the last takes as long as all of them
/// together. Those that come after so many pixels are not counted.
constexpr std::uint64_t kMaxFramePixels = std::uint64_t{1} << 33;

/// Whether the frame may be decoded. Its rows are, even where they lie beyond the screen.
bool IsAllowed(const GifFrame& frame) {
  return platform::IsDecodeAllowed(frame.width, frame.height,
                                   std::uint64_t{frame.width} * frame.height);
}

UINT CountFrames(EncodedBytes bytes) {
  GifFile file(bytes);
  UINT count = 0;
  std::uint64_t pixels = 0;
  while (file.NextFrame()) {
    pixels += std::uint64_t{file.frame().width} * file.frame().height;
    if (count > 0 && (pixels > kMaxFramePixels || !IsAllowed(file.frame()))) break;
    const bool is_complete = file.EndFrame();
    // The first frame is shown as far as it goes.
    if (is_complete || count == 0) ++count;
    if (!is_complete) break;
  }
  return count;
}

/// The part of a frame that lies within the screen, in the screen's coordinates.
struct Area {
  std::uint32_t left;
  std::uint32_t top;
  std::uint32_t right;
  std::uint32_t bottom;

  std::uint32_t width() const { return right - left; }
};

Area VisibleArea(const GifFrame& frame, const BitmapObject& bitmap) {
  const std::uint32_t left = std::min(frame.left, bitmap.width());
  const std::uint32_t top = std::min(frame.top, bitmap.height());
  return {left, top, std::min(frame.left + frame.width, bitmap.width()),
          std::min(frame.top + frame.height, bitmap.height())};
}

/// Gives the rows of the frame as they come to `paint`, with their place in the frame. False when
/// the code ends before the rows do. `row` has room for a row of the frame.
template <typename Paint>
bool ReadRows(GifFile& file, std::uint8_t* row, Paint paint) {
  struct Pass {
    std::uint32_t first;
    std::uint32_t step;
  };
  static constexpr Pass kPlain[] = {{0, 1}};
  static constexpr Pass kInterlaced[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
  const GifFrame& frame = file.frame();
  if (frame.width == 0) return true;
  for (const Pass& pass : frame.is_interlaced ? std::span<const Pass>(kInterlaced) : kPlain) {
    for (std::uint32_t y = pass.first; y < frame.height; y += pass.step) {
      if (!file.ReadRow(row)) return false;
      paint(y, row);
    }
  }
  return true;
}

/// What is under the frame of a file with one image, as an index of its palette.
struct Background {
  std::uint8_t index;
  bool is_new;  ///< an entry that the palette does not have yet
};

Background BackgroundOf(const GifFile& file, const Palette& palette) {
  const std::optional<std::uint8_t> index = file.BackgroundIndex();
  if (index.has_value() && !file.frame().has_own_colors) return {*index, false};
  if (file.frame().transparent.has_value()) return {*file.frame().transparent, false};
  // The last entry is not in use unless all are, and then any colour is as wrong as another.
  return palette.count < 256 ? Background{255, true} : Background{0, false};
}

Status DecodeOnly(GifFile& file, BitmapObject& bitmap, std::uint8_t* row) {
  bitmap.palette = file.FramePalette();
  const Background background = BackgroundOf(file, bitmap.palette);
  for (std::uint32_t y = 0; y < bitmap.height(); ++y) {
    std::fill_n(bitmap.Row(y), bitmap.width(), background.index);
  }
  const GifFrame& frame = file.frame();
  const Area area = VisibleArea(frame, bitmap);
  const bool is_complete = ReadRows(file, row, [&](std::uint32_t y, const std::uint8_t* indexes) {
    if (y + frame.top < area.bottom) {
      std::copy_n(indexes, area.width(), bitmap.Row(y + frame.top) + area.left);
    }
  });
  const bool is_covered = is_complete && area.left == 0 && area.top == 0 &&
                          area.right == bitmap.width() && area.bottom == bitmap.height();
  if (!is_covered && background.is_new) {
    bitmap.palette.flags |= Gdiplus::PaletteFlagsHasAlpha;
    bitmap.palette.entries[background.index] = 0;
  }
  CoverAllIndexes(bitmap);
  return Gdiplus::Ok;
}

void Paint(GifFile& file, BitmapObject& canvas, std::uint8_t* row) {
  const GifFrame& frame = file.frame();
  const Palette palette = file.FramePalette();
  const Area area = VisibleArea(frame, canvas);
  const int transparent = frame.transparent.has_value() ? *frame.transparent : -1;
  ReadRows(file, row, [&](std::uint32_t y, const std::uint8_t* indexes) {
    if (y + frame.top >= area.bottom) return;
    BYTE* pixel = canvas.Row(y + frame.top) + std::size_t{4} * area.left;
    for (std::uint32_t x = 0; x < area.width(); ++x, pixel += 4) {
      if (indexes[x] != transparent) StoreWord(pixel, palette.entries[indexes[x]]);
    }
  });
}

void Clear(const Area& area, BitmapObject& canvas) {
  for (std::uint32_t y = area.top; y < area.bottom; ++y) {
    std::memset(canvas.Row(y) + std::size_t{4} * area.left, 0, std::size_t{4} * area.width());
  }
}

/// The file is at its first frame.
Status DecodeFrame(GifFile& file, UINT index, BitmapObject& canvas, std::uint8_t* row) {
  for (; index > 0; --index) {
    // A frame after which the canvas is restored or cleared leaves nothing.
    if (file.frame().disposal == GifDisposal::kKeep) Paint(file, canvas, row);
    if (file.frame().disposal == GifDisposal::kBackground) {
      Clear(VisibleArea(file.frame(), canvas), canvas);
    }
    file.EndFrame();
    if (!file.NextFrame()) return Gdiplus::GenericError;
  }
  Paint(file, canvas, row);
  return Gdiplus::Ok;
}

Status DecodeGifFrame(EncodedBytes bytes, UINT index, std::unique_ptr<BitmapObject>& bitmap) {
  bitmap = nullptr;
  if (!IsGif(bytes)) return Gdiplus::GenericError;
  const bool is_only = CountFrames(bytes) < 2;
  GifFile file(bytes);
  if (!file.NextFrame()) return file.failure();
  if (file.ScreenWidth() == 0 || file.ScreenHeight() == 0) return Gdiplus::GenericError;
  // Codes of 12 bits give at most 4096 pixels each.
  const std::uint64_t pixels = std::uint64_t{file.frame().width} * file.frame().height;
  if (!IsAllowed(file.frame()) ||
      !platform::IsClaimPlausible(pixels, bytes.size(), pixels / 4096 * 12 / 8)) {
    return Gdiplus::OutOfMemory;
  }

  auto decoded =
      BitmapObject::CreateForDecoder(file.ScreenWidth(), file.ScreenHeight(),
                                     is_only ? PixelFormat8bppIndexed : PixelFormat32bppARGB);
  // No frame is wider than 16 bits can say.
  const HeapBytes row = AllocateBytes(0xFFFF);
  if (decoded == nullptr || row == nullptr) return Gdiplus::OutOfMemory;
  const Status status = is_only ? DecodeOnly(file, *decoded, row.get())
                                : DecodeFrame(file, index, *decoded, row.get());
  if (status == Gdiplus::Ok) bitmap = std::move(decoded);
  return status;
}

bool HasSignature(EncodedBytes bytes, const char* signature) {
  return bytes.size() >= std::strlen(signature) &&
         std::equal(signature, signature + std::strlen(signature), bytes.begin());
}

}  // namespace

const FrameFunctions kGifFrames = {Gdiplus::FrameDimensionTime, CountFrames, DecodeGifFrame};

bool IsGif(EncodedBytes bytes) {
  return HasSignature(bytes, GIF87_STAMP) || HasSignature(bytes, GIF89_STAMP);
}

Status DecodeGif(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap) {
  return DecodeGifFrame(bytes, 0, bitmap);
}

}  // namespace pixtola::portable
