// Lists of formats, file types and methods that several tests go through.
#ifndef PIXTOLA_TESTS_SUPPORT_TEST_FORMATS_H_
#define PIXTOLA_TESTS_SUPPORT_TEST_FORMATS_H_

#include "Pixtola.h"

namespace pixtola::test {

inline constexpr Gdiplus::PixelFormat kIndexedFormats[] = {
    PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed};

inline constexpr Gdiplus::PixelFormat kFormatOfEachDepth[] = {
    PixelFormat1bppIndexed, PixelFormat4bppIndexed, PixelFormat8bppIndexed,
    PixelFormat16bppRGB565, PixelFormat24bppRGB,    PixelFormat32bppARGB};

inline constexpr PxtConversionMethod kMethods[] = {MethodGray8, MethodBilevelOtsu,
                                                   MethodBilevelAdaptive, MethodBilevelDiffusion};

inline constexpr PxtFileType kTiffTypes[] = {PxtFileTypeTiffGroup3, PxtFileTypeTiffGroup4,
                                             PxtFileTypeTiffLzw, PxtFileTypeTiffRunLength,
                                             PxtFileTypeTiffNone};

/// What is neither TIFF nor PCX: only the platform writes it.
inline constexpr PxtFileType kPlatformTypes[] = {PxtFileTypeBmp,     PxtFileTypeGif,
                                                 PxtFileTypeJpeg,    PxtFileTypePng,
                                                 PxtFileTypeJpegLow, PxtFileTypeJpegHigh};

// Short names for tables.
inline constexpr Gdiplus::PixelFormat k1 = PixelFormat1bppIndexed;
inline constexpr Gdiplus::PixelFormat k4 = PixelFormat4bppIndexed;
inline constexpr Gdiplus::PixelFormat k8 = PixelFormat8bppIndexed;
inline constexpr Gdiplus::PixelFormat k555 = PixelFormat16bppRGB555;
inline constexpr Gdiplus::PixelFormat k565 = PixelFormat16bppRGB565;
inline constexpr Gdiplus::PixelFormat k24 = PixelFormat24bppRGB;
inline constexpr Gdiplus::PixelFormat k32 = PixelFormat32bppRGB;
inline constexpr Gdiplus::PixelFormat kArgb = PixelFormat32bppARGB;
inline constexpr Gdiplus::PixelFormat kPargb = PixelFormat32bppPARGB;

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_TEST_FORMATS_H_
