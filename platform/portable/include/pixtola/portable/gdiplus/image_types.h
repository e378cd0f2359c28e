// Images as native handles refer to them, and what is told about their pixels and frames.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_IMAGE_TYPES_H_
#define PIXTOLA_PORTABLE_GDIPLUS_IMAGE_TYPES_H_

#include "pixtola/portable/windows_types.h"

namespace Gdiplus {

/// What the native handles point to; only the platform sees inside.
class GpImage {
 protected:
  GpImage() = default;
  ~GpImage() = default;
};
class GpBitmap : public GpImage {
 protected:
  GpBitmap() = default;
  ~GpBitmap() = default;
};

enum ImageLockMode { ImageLockModeRead = 1, ImageLockModeWrite = 2, ImageLockModeUserInputBuf = 4 };

struct BitmapData {
  UINT Width;   ///< pixels
  UINT Height;  ///< rows
  INT Stride;   ///< bytes from one row to the next, negative when rows run upwards
  INT PixelFormat;
  VOID* Scan0;  ///< the top row
  UINT_PTR Reserved;
};

constexpr GUID FrameDimensionTime = {
    0x6AEDBD6D, 0x3FB5, 0x418A, {0x83, 0xA6, 0x7F, 0x45, 0x22, 0x9D, 0xC8, 0x72}};
constexpr GUID FrameDimensionPage = {
    0x7462DC86, 0x6180, 0x4C7E, {0x8E, 0x3F, 0xEE, 0x73, 0x33, 0xA7, 0xA4, 0x83}};

}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_IMAGE_TYPES_H_
