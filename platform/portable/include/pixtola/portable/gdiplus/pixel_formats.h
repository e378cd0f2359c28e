// The names of pixel formats, with the values of the real API.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_PIXEL_FORMATS_H_
#define PIXTOLA_PORTABLE_GDIPLUS_PIXEL_FORMATS_H_

#include "pixtola/portable/windows_types.h"

// In the real API these are macros, so calling code writes them without a namespace; they are plain
// constants here.
constexpr INT PixelFormatIndexed = 0x00010000;
constexpr INT PixelFormatGDI = 0x00020000;
constexpr INT PixelFormatAlpha = 0x00040000;
constexpr INT PixelFormatPAlpha = 0x00080000;
constexpr INT PixelFormatExtended = 0x00100000;
constexpr INT PixelFormatCanonical = 0x00200000;
constexpr INT PixelFormatUndefined = 0;
constexpr INT PixelFormatDontCare = 0;
constexpr INT PixelFormat1bppIndexed = 0x00030101;
constexpr INT PixelFormat4bppIndexed = 0x00030402;
constexpr INT PixelFormat8bppIndexed = 0x00030803;
constexpr INT PixelFormat16bppGrayScale = 0x00101004;
constexpr INT PixelFormat16bppRGB555 = 0x00021005;
constexpr INT PixelFormat16bppRGB565 = 0x00021006;
constexpr INT PixelFormat16bppARGB1555 = 0x00061007;
constexpr INT PixelFormat24bppRGB = 0x00021808;
constexpr INT PixelFormat32bppRGB = 0x00022009;
constexpr INT PixelFormat32bppARGB = 0x0026200A;
constexpr INT PixelFormat32bppPARGB = 0x000E200B;
constexpr INT PixelFormat48bppRGB = 0x0010300C;
constexpr INT PixelFormat64bppARGB = 0x0034400D;
constexpr INT PixelFormat64bppPARGB = 0x001C400E;

namespace Gdiplus {

using PixelFormat = INT;

}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_PIXEL_FORMATS_H_
