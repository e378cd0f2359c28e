// The flat API: images and bitmaps.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_FLAT_IMAGE_H_
#define PIXTOLA_PORTABLE_GDIPLUS_FLAT_IMAGE_H_

#include "pixtola/portable/gdi.h"
#include "pixtola/portable/gdiplus/codec_types.h"
#include "pixtola/portable/gdiplus/geometry.h"
#include "pixtola/portable/gdiplus/image_types.h"
#include "pixtola/portable/gdiplus/pixel_formats.h"
#include "pixtola/portable/gdiplus/status.h"
#include "pixtola/portable/stream.h"
#include "pixtola/portable/windows_types.h"

namespace Gdiplus {
namespace DllExports {
extern "C" {

// Creation. With scan0 the bitmap refers to the caller's rows; without, it owns zeroed ones.
PIXTOLA_PLATFORM_API GpStatus GdipCreateBitmapFromScan0(INT width, INT height, INT stride,
                                                        PixelFormat format, BYTE* scan0,
                                                        GpBitmap** bitmap);
PIXTOLA_PLATFORM_API GpStatus GdipCreateBitmapFromFile(const WCHAR* path, GpBitmap** bitmap);
/// Decodes the image at the stream's start, wherever its position is. The stream is not kept.
PIXTOLA_PLATFORM_API GpStatus GdipCreateBitmapFromStream(IStream* stream, GpBitmap** bitmap);
/// Copies the pixels of a CreateDIBSection bitmap, top row first: 32 bits per pixel become
/// 32bppRGB, 8 and fewer keep their colour table as palette. `palette` is not used.
PIXTOLA_PLATFORM_API GpStatus GdipCreateBitmapFromHBITMAP(HBITMAP handle, HPALETTE palette,
                                                          GpBitmap** bitmap);
PIXTOLA_PLATFORM_API GpStatus GdipCloneImage(GpImage* image, GpImage** clone);
PIXTOLA_PLATFORM_API GpStatus GdipDisposeImage(GpImage* image);

// Properties.
PIXTOLA_PLATFORM_API GpStatus GdipGetImageWidth(GpImage* image, UINT* width);
PIXTOLA_PLATFORM_API GpStatus GdipGetImageHeight(GpImage* image, UINT* height);
PIXTOLA_PLATFORM_API GpStatus GdipGetImagePixelFormat(GpImage* image, PixelFormat* format);
PIXTOLA_PLATFORM_API GpStatus GdipGetImageHorizontalResolution(GpImage* image, REAL* dpi);
PIXTOLA_PLATFORM_API GpStatus GdipGetImageVerticalResolution(GpImage* image, REAL* dpi);
PIXTOLA_PLATFORM_API GpStatus GdipBitmapSetResolution(GpBitmap* bitmap, REAL dpi_x, REAL dpi_y);

// Frames. Bitmaps in memory have one, whichever dimension is asked for. Selecting another frame
// changes what the bitmap shows; Win32Error, and no change, when it is not there.
PIXTOLA_PLATFORM_API GpStatus GdipImageGetFrameCount(GpImage* image, const GUID* dimension,
                                                     UINT* count);
PIXTOLA_PLATFORM_API GpStatus GdipImageSelectActiveFrame(GpImage* image, const GUID* dimension,
                                                         UINT index);

// Pixel access.
PIXTOLA_PLATFORM_API GpStatus GdipBitmapLockBits(GpBitmap* bitmap, const GpRect* rect, UINT flags,
                                                 PixelFormat format, BitmapData* data);
PIXTOLA_PLATFORM_API GpStatus GdipBitmapUnlockBits(GpBitmap* bitmap, BitmapData* data);

// Saving. `parameters` may be null.

PIXTOLA_PLATFORM_API GpStatus GdipSaveImageToFile(GpImage* image, const WCHAR* path,
                                                  const CLSID* encoder,
                                                  const EncoderParameters* parameters);

/// Writes at the stream's position and leaves it where the encoder last wrote.
PIXTOLA_PLATFORM_API GpStatus GdipSaveImageToStream(GpImage* image, IStream* stream,
                                                    const CLSID* encoder,
                                                    const EncoderParameters* parameters);

}  // extern "C"
}  // namespace DllExports
}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_FLAT_IMAGE_H_
