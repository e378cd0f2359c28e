// GDI+'s flat API, as far as it is supplied: names, arguments and statuses of the real one.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_FLAT_H_
#define PIXTOLA_PORTABLE_GDIPLUS_FLAT_H_

#include "pixtola/portable/gdiplus_types.h"

namespace Gdiplus {

/// Nothing has to be started here: both always succeed. They exist so that callers can be written
/// once.
PIXTOLA_PLATFORM_API Status GdiplusStartup(ULONG_PTR* token, const GdiplusStartupInput* input,
                                           GdiplusStartupOutput* output);
PIXTOLA_PLATFORM_API void GdiplusShutdown(ULONG_PTR token);

namespace DllExports {
extern "C" {

// Memory of bitmap objects. GdipAlloc returns null when there is none; GdipFree takes null.
PIXTOLA_PLATFORM_API void* GdipAlloc(std::size_t size);
PIXTOLA_PLATFORM_API void GdipFree(void* memory);

// Creation. With scan0 the bitmap refers to the caller's rows; without, it owns zeroed ones.
PIXTOLA_PLATFORM_API GpStatus GdipCreateBitmapFromScan0(INT width, INT height, INT stride,
                                                        PixelFormat format, BYTE* scan0,
                                                        GpBitmap** bitmap);
PIXTOLA_PLATFORM_API GpStatus GdipCreateBitmapFromFile(const WCHAR* path, GpBitmap** bitmap);
/// Decodes the image at the stream's start, wherever its position is. The stream is not kept.
PIXTOLA_PLATFORM_API GpStatus GdipCreateBitmapFromStream(IStream* stream, GpBitmap** bitmap);
/// Copies the pixels of a CreateDIBSection bitmap, top row first: 32 bits a pixel become 32bppRGB,
/// 8 and fewer keep their colour table as palette. `palette` is not used.
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
PIXTOLA_PLATFORM_API GpStatus GdipGetImagePaletteSize(GpImage* image, INT* size);
PIXTOLA_PLATFORM_API GpStatus GdipGetImagePalette(GpImage* image, ColorPalette* palette, INT size);
PIXTOLA_PLATFORM_API GpStatus GdipSetImagePalette(GpImage* image, const ColorPalette* palette);

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

// Codecs.
PIXTOLA_PLATFORM_API GpStatus GdipGetImageDecodersSize(UINT* count, UINT* size);
PIXTOLA_PLATFORM_API GpStatus GdipGetImageDecoders(UINT count, UINT size, ImageCodecInfo* decoders);
PIXTOLA_PLATFORM_API GpStatus GdipGetImageEncodersSize(UINT* count, UINT* size);
PIXTOLA_PLATFORM_API GpStatus GdipGetImageEncoders(UINT count, UINT size, ImageCodecInfo* encoders);
PIXTOLA_PLATFORM_API GpStatus GdipSaveImageToFile(GpImage* image, const WCHAR* path,
                                                  const CLSID* encoder,
                                                  const EncoderParameters* parameters);

/// Writes at the stream's position and leaves it where the encoder last wrote.
PIXTOLA_PLATFORM_API GpStatus GdipSaveImageToStream(GpImage* image, IStream* stream,
                                                    const CLSID* encoder,
                                                    const EncoderParameters* parameters);

}  // extern "C"
}  // namespace DllExports

inline Status GetImageDecodersSize(UINT* count, UINT* size) {
  return DllExports::GdipGetImageDecodersSize(count, size);
}
inline Status GetImageDecoders(UINT count, UINT size, ImageCodecInfo* decoders) {
  return DllExports::GdipGetImageDecoders(count, size, decoders);
}

inline Status GetImageEncodersSize(UINT* count, UINT* size) {
  return DllExports::GdipGetImageEncodersSize(count, size);
}
inline Status GetImageEncoders(UINT count, UINT size, ImageCodecInfo* encoders) {
  return DllExports::GdipGetImageEncoders(count, size, encoders);
}

}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_FLAT_H_
