// The plain definition of PCX files, written to be obviously right and never to be fast: what the
// reader makes of the bytes of a file, and the bytes that the writer makes of a bitmap. It shares
// no code with the codec, so that a test which compares the two compares two independent answers.
#ifndef PIXTOLA_TESTS_SUPPORT_REFERENCE_PCX_H_
#define PIXTOLA_TESTS_SUPPORT_REFERENCE_PCX_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <vector>

#include "Pixtola.h"
#include "support/bytes.h"

namespace pixtola::test {

/// Entries 0xAARRGGBB.
using Palette = std::vector<std::uint32_t>;

inline constexpr std::size_t kPcxFileHeaderSize = 128;

/// What tests choose of a header. It may be wrong in any way.
struct PcxFileHeader {
  std::uint8_t manufacturer = 10;
  std::uint8_t version = 5;
  std::uint8_t encoding = 1;
  std::uint8_t bits = 8;
  std::uint16_t left = 0;
  std::uint16_t top = 0;
  std::uint16_t right = 0;  ///< inclusive, as is `bottom`
  std::uint16_t bottom = 0;
  std::uint16_t horizontal_dpi = 96;
  std::uint16_t vertical_dpi = 96;
  std::uint8_t planes = 1;
  std::uint16_t bytes_per_line = 0;
  std::uint8_t filler = 0;  ///< every byte of the fields that a reader ignores
};

Bytes HeaderBytes(const PcxFileHeader& header);

/// A combination of bits and planes that is read.
struct PcxFileLayout {
  std::uint8_t bits;
  std::uint8_t planes;
  bool needs_version_5;
  Gdiplus::PixelFormat format;
  unsigned palette_size;  ///< 0: none is read
};

/// All such layouts.
std::span<const PcxFileLayout> PcxFileLayouts();

/// What a file shows.
struct PcxPicture {
  Gdiplus::PixelFormat format = PixelFormatUndefined;
  UINT width = 0;
  UINT height = 0;
  unsigned horizontal_dpi = 0;  ///< as the file says
  unsigned vertical_dpi = 0;
  Bytes rows;       ///< packed without padding; bits past a row's end are 0
  Palette palette;  ///< empty when the file does not determine it
};

/// Nothing when the file is refused.
std::optional<PcxPicture> DecodePcx(const Bytes& file);

/// The bytes of one scan line (or of any other piece) as the writer packs them: each run of equal
/// bytes in pieces of 63 and a rest.
Bytes PackRuns(const Bytes& bytes);

/// Each byte by itself, those of 0xC0 and above as runs of 1.
Bytes PackSingly(const Bytes& bytes);

/// In any way that unpacks to `bytes`: runs of any length, single bytes as runs of 1, and runs of
/// 0.
Bytes PackAnyhow(const Bytes& bytes, std::mt19937& random);

/// The mark, then red, green and blue of each entry.
Bytes PaletteBytes(const Palette& palette);

/// A bitmap as the writer sees it, locked in the format that is written.
struct LockedImage {
  unsigned bits = 8;  ///< 1, 8 or 24
  unsigned width = 0;
  unsigned height = 0;
  std::size_t stride = 0;
  Bytes rows;  ///< `stride` bytes each, top-down
  unsigned horizontal_dpi = 96;
  unsigned vertical_dpi = 96;
  Palette palette;
};

/// The whole file that is written from it.
Bytes WrittenPcx(const LockedImage& image);

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_REFERENCE_PCX_H_
