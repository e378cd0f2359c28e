// GIF files made by hand for the tests of the codec, independently of any library.
#ifndef PIXTOLA_TESTS_PORTABLE_GIF_FILES_H_
#define PIXTOLA_TESTS_PORTABLE_GIF_FILES_H_

#include <optional>

#include "portable/codec_files.h"

namespace pixtola::portable {

struct GifImage {
  std::uint32_t left = 0;
  std::uint32_t top = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  Bytes pixels{};              ///< indexes; there may be fewer than the size says
  std::vector<ARGB> colors{};  ///< its own map: a power of two of colours, or none
  bool is_interlaced = false;
  std::optional<std::uint32_t> disposal{};  ///< with one of these there is a control extension
  std::optional<std::uint8_t> transparent{};
  Bytes before{};  ///< blocks between the control extension and the image
};

struct GifParts {
  std::uint32_t width = 2;
  std::uint32_t height = 2;
  std::vector<ARGB> colors{};
  std::uint32_t background = 0;
  std::vector<GifImage> images{};
};

/// Codes of nine bits without any compression: a clear code comes often enough that they never
/// grow. The first is a clear code, the last says that the data ends.
class GifCodes {
 public:
  explicit GifCodes(const Bytes& pixels) {
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      if (i % kClearEvery == 0) Add(256);
      Add(pixels[i]);
    }
    Add(257);
    Flush();
  }

  const Bytes& bytes() const { return bytes_; }

  /// Pixels whose codes lie wholly in the first `size` bytes, when there are `pixels` of them.
  static std::size_t PixelsIn(std::size_t size, std::size_t pixels) {
    const std::size_t codes = size * 8 / 9;
    return std::min(pixels, codes - (codes + kClearEvery) / (kClearEvery + 1));
  }

 private:
  static constexpr std::size_t kClearEvery = 200;

  void Add(std::uint32_t code) {
    bits_ |= code << count_;
    count_ += 9;
    while (count_ >= 8) Flush();
  }

  void Flush() {
    bytes_.push_back(static_cast<std::uint8_t>(bits_));
    bits_ >>= 8;
    count_ -= std::min(count_, 8U);
  }

  Bytes bytes_;
  std::uint32_t bits_ = 0;
  unsigned count_ = 0;
};

/// The rows in the order of the four passes: every eighth, those in the middle of these, and so on.
inline Bytes Interlaced(const Bytes& pixels, std::uint32_t width, std::uint32_t height) {
  Bytes reordered;
  const auto add_rows = [&](std::uint32_t first, std::uint32_t step) {
    for (std::uint32_t y = first; y < height; y += step) {
      const auto row = pixels.begin() + static_cast<std::ptrdiff_t>(width * y);
      reordered.insert(reordered.end(), row, row + static_cast<std::ptrdiff_t>(width));
    }
  };
  add_rows(0, 8);
  add_rows(4, 8);
  add_rows(2, 4);
  add_rows(1, 2);
  return reordered;
}

/// Blocks of at most `length` bytes, and the empty one.
inline void AddGifBlocks(Bytes& file, const Bytes& data, std::size_t length = 255) {
  for (std::size_t at = 0; at < data.size(); at += length) {
    const std::size_t size = std::min(length, data.size() - at);
    Add(file, static_cast<std::uint32_t>(size), 1);
    const auto first = data.begin() + static_cast<std::ptrdiff_t>(at);
    file.insert(file.end(), first, first + static_cast<std::ptrdiff_t>(size));
  }
  Add(file, 0, 1);
}

/// The flags and size of a colour map, which is followed by nothing when it is empty.
inline std::uint32_t GifMapFlags(const std::vector<ARGB>& colors) {
  if (colors.empty()) return 0;
  std::uint32_t exponent = 0;
  while ((std::size_t{2} << exponent) < colors.size()) ++exponent;
  return 0x80 | exponent;
}

inline void AddGifMap(Bytes& file, const std::vector<ARGB>& colors) {
  for (const ARGB color : colors) {
    Add(Add(Add(file, color >> 16, 1), color >> 8, 1), color, 1);
  }
}

inline Bytes GifControl(std::uint32_t disposal, std::optional<std::uint8_t> transparent) {
  Bytes block = {0x21, 0xF9, 4};
  Add(block, disposal << 2 | (transparent.has_value() ? 1U : 0U), 1);
  Add(block, 0, 2);  // delay
  return Add(Add(block, transparent.value_or(0), 1), 0, 1);
}

inline void AddGifImage(Bytes& file, const GifImage& image) {
  if (image.disposal.has_value() || image.transparent.has_value()) {
    Append(file, GifControl(image.disposal.value_or(0), image.transparent));
  }
  Append(file, image.before);
  Append(file, {','});
  Append(file, Little({image.left, image.top, image.width, image.height}, 2));
  Add(file, GifMapFlags(image.colors) | (image.is_interlaced ? 0x40U : 0U), 1);
  AddGifMap(file, image.colors);
  Add(file, 8, 1);
  AddGifBlocks(file,
               GifCodes(image.is_interlaced ? Interlaced(image.pixels, image.width, image.height)
                                            : image.pixels)
                   .bytes());
}

/// Everything before the first image.
inline Bytes GifHeader(const GifParts& parts) {
  Bytes file = {'G', 'I', 'F', '8', '9', 'a'};
  Append(file, Little({parts.width, parts.height}, 2));
  Add(Add(Add(file, GifMapFlags(parts.colors) | 0x70, 1), parts.background, 1), 0, 1);
  AddGifMap(file, parts.colors);
  return file;
}

inline Bytes MakeGif(const GifParts& parts) {
  Bytes file = GifHeader(parts);
  for (const GifImage& image : parts.images) AddGifImage(file, image);
  return Add(file, ';', 1);
}

/// One image that covers the screen.
inline GifParts PlainGif(std::uint32_t width, std::uint32_t height, Bytes pixels,
                         std::vector<ARGB> colors) {
  GifParts parts{.width = width, .height = height, .colors = std::move(colors)};
  parts.images.push_back({.width = width, .height = height, .pixels = std::move(pixels)});
  return parts;
}

}  // namespace pixtola::portable

#endif  // PIXTOLA_TESTS_PORTABLE_GIF_FILES_H_
