// The header of PCX files: 128 bytes, all numbers little-endian.
#ifndef PIXTOLA_IO_PIXELS_PCX_HEADER_H_
#define PIXTOLA_IO_PIXELS_PCX_HEADER_H_

#include <cstddef>
#include <cstdint>
#include <span>

namespace pixtola {

inline constexpr std::size_t kPcxHeaderSize = 128;
inline constexpr std::uint8_t kPcxManufacturer = 10;
inline constexpr std::uint8_t kPcxNewestVersion = 5;
inline constexpr std::uint8_t kPcxRunLengths = 1;    ///< the one encoding there is
inline constexpr std::uint8_t kPcxPaletteMark = 12;  ///< comes before the palette of 256 colours

/// The fields of the header that matter here. The 16-colour map is not used.
struct PcxHeader {
  std::uint8_t manufacturer = kPcxManufacturer;
  std::uint8_t version = kPcxNewestVersion;
  std::uint8_t encoding = kPcxRunLengths;
  std::uint8_t bits_per_pixel = 0;  ///< of one plane
  std::uint16_t left = 0;           ///< the edges of the image, all inclusive
  std::uint16_t top = 0;
  std::uint16_t right = 0;
  std::uint16_t bottom = 0;
  std::uint16_t horizontal_dpi = 0;
  std::uint16_t vertical_dpi = 0;
  std::uint8_t planes = 0;
  std::uint16_t bytes_per_line = 0;  ///< of one plane

  /// 0 when the edges are as far apart as they can be: sizes have 16 bits.
  std::uint16_t width() const { return static_cast<std::uint16_t>(right - left + 1); }
  std::uint16_t height() const { return static_cast<std::uint16_t>(bottom - top + 1); }
};

PcxHeader ParsePcxHeader(std::span<const std::uint8_t, kPcxHeaderSize> bytes);

/// Whether a header is that of a PCX file whose rows can be read, should the reader know its
/// layout.
bool IsReadable(const PcxHeader& header);

/// The header as bytes of a file.
void StorePcxHeader(const PcxHeader& header, std::span<std::uint8_t, kPcxHeaderSize> bytes);

}  // namespace pixtola

#endif  // PIXTOLA_IO_PIXELS_PCX_HEADER_H_
