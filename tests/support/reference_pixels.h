// The plain definition of what a pixel of one format becomes in another, pixel by pixel, written to
// be obviously right and never to be fast. It shares no code and no table with the platforms, so
// that a test which compares the two compares two independent answers.
#ifndef PIXTOLA_TESTS_SUPPORT_REFERENCE_PIXELS_H_
#define PIXTOLA_TESTS_SUPPORT_REFERENCE_PIXELS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Pixtola.h"
#include "support/bytes.h"

namespace pixtola::test {

/// Entries 0xAARRGGBB. Formats without indexes ignore theirs.
using Palette = std::vector<std::uint32_t>;

/// The bits of one pixel as a number: an index, a 16-bit word, or the pixel's bytes with the first
/// one lowest, such as 0xAARRGGBB for 32 bits and 0xAAAARRRRGGGGBBBB for 64.
using Pixel = std::uint64_t;

/// The formats that all convert to one another.
inline constexpr std::array<Gdiplus::PixelFormat, 13> kFormats = {
    PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed,
    PixelFormat16bppRGB555, PixelFormat16bppRGB565, PixelFormat16bppARGB1555,
    PixelFormat24bppRGB,    PixelFormat32bppRGB,    PixelFormat32bppARGB,
    PixelFormat32bppPARGB,  PixelFormat48bppRGB,    PixelFormat64bppARGB,
    PixelFormat64bppPARGB};

/// Short and fit for the name of a test, such as "32PARGB".
const char* NameOf(Gdiplus::PixelFormat format);

unsigned BitsOfPixel(Gdiplus::PixelFormat format);

bool HasIndexes(Gdiplus::PixelFormat format);

/// Whether the channels are 16 bits of linear light.
bool IsDeep(Gdiplus::PixelFormat format);

/// Bytes of `width` pixels without padding.
std::size_t RowBytes(Gdiplus::PixelFormat format, std::size_t width);

Pixel PixelAt(const std::uint8_t* row, std::size_t x, Gdiplus::PixelFormat format);

/// Leaves every other bit of the row alone.
void SetPixel(std::uint8_t* row, std::size_t x, Gdiplus::PixelFormat format, Pixel pixel);

/// The palette that a format has unless a bitmap has another: black and white, the 16 system
/// colours, or those and a cube of 6 x 6 x 6. Empty for formats without indexes.
Palette DefaultPalette(Gdiplus::PixelFormat format);

/// The first entry, of those that an index of the format can name, whose red, green and blue are
/// nearest to the colour 0xRRGGBB.
unsigned NearestEntry(std::uint32_t rgb, Gdiplus::PixelFormat format, const Palette& palette);

Pixel ConvertPixel(Pixel pixel, Gdiplus::PixelFormat from, const Palette& from_palette,
                   Gdiplus::PixelFormat to, const Palette& to_palette);

/// The pixels x to x + width of a row in another format, packed from the left; the bits after the
/// last pixel are 0.
Bytes ConvertPixels(const Bytes& row, std::size_t x, std::size_t width, Gdiplus::PixelFormat from,
                    const Palette& from_palette, Gdiplus::PixelFormat to,
                    const Palette& to_palette);

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_REFERENCE_PIXELS_H_
