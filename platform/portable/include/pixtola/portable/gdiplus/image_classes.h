// The wrapper classes of images, inline over the flat API as in the real headers: an object holds a
// native handle and the status of its last failed call.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_IMAGE_CLASSES_H_
#define PIXTOLA_PORTABLE_GDIPLUS_IMAGE_CLASSES_H_

#include "pixtola/portable/gdiplus/base_class.h"
#include "pixtola/portable/gdiplus/flat_image.h"
#include "pixtola/portable/gdiplus/flat_palette.h"

namespace Gdiplus {

class Image : public GdiplusBase {
 public:
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  virtual ~Image() { DllExports::GdipDisposeImage(nativeImage); }
  virtual Image* Clone() const = 0;

  UINT GetWidth() {
    UINT width = 0;
    SetStatus(DllExports::GdipGetImageWidth(nativeImage, &width));
    return width;
  }
  UINT GetHeight() {
    UINT height = 0;
    SetStatus(DllExports::GdipGetImageHeight(nativeImage, &height));
    return height;
  }
  PixelFormat GetPixelFormat() {
    PixelFormat format = PixelFormatUndefined;
    SetStatus(DllExports::GdipGetImagePixelFormat(nativeImage, &format));
    return format;
  }
  REAL GetHorizontalResolution() {
    REAL dpi = 0;
    SetStatus(DllExports::GdipGetImageHorizontalResolution(nativeImage, &dpi));
    return dpi;
  }
  REAL GetVerticalResolution() {
    REAL dpi = 0;
    SetStatus(DllExports::GdipGetImageVerticalResolution(nativeImage, &dpi));
    return dpi;
  }
  INT GetPaletteSize() {
    INT size = 0;
    SetStatus(DllExports::GdipGetImagePaletteSize(nativeImage, &size));
    return size;
  }
  Status GetPalette(ColorPalette* palette, INT size) {
    return SetStatus(DllExports::GdipGetImagePalette(nativeImage, palette, size));
  }
  Status SetPalette(const ColorPalette* palette) {
    return SetStatus(DllExports::GdipSetImagePalette(nativeImage, palette));
  }
  UINT GetFrameCount(const GUID* dimension) {
    UINT count = 0;
    SetStatus(DllExports::GdipImageGetFrameCount(nativeImage, dimension, &count));
    return count;
  }
  Status SelectActiveFrame(const GUID* dimension, UINT index) {
    return SetStatus(DllExports::GdipImageSelectActiveFrame(nativeImage, dimension, index));
  }
  Status Save(const WCHAR* path, const CLSID* encoder,
              const EncoderParameters* parameters = nullptr) {
    return SetStatus(DllExports::GdipSaveImageToFile(nativeImage, path, encoder, parameters));
  }

  Status Save(IStream* stream, const CLSID* encoder,
              const EncoderParameters* parameters = nullptr) {
    return SetStatus(DllExports::GdipSaveImageToStream(nativeImage, stream, encoder, parameters));
  }

  /// Returns the last failure and forgets it; a call that succeeds does not clear it.
  Status GetLastStatus() const {
    const Status status = lastResult;
    lastResult = Ok;
    return status;
  }

 protected:
  Image(GpImage* image, Status status) : nativeImage(image), lastResult(status) {}

  Status SetStatus(Status status) const {
    if (status != Ok) lastResult = status;
    return status;
  }

  GpImage* nativeImage;
  mutable Status lastResult;
};

class Bitmap : public Image {
 public:
  /// Colour profiles are not applied, whatever `use_profile` says.
  explicit Bitmap(const WCHAR* path, BOOL /*use_profile*/ = FALSE) : Image(nullptr, Ok) {
    GpBitmap* bitmap = nullptr;
    lastResult = DllExports::GdipCreateBitmapFromFile(path, &bitmap);
    nativeImage = bitmap;
  }
  /// A bitmap over the caller's rows, which must outlive it.
  Bitmap(INT width, INT height, INT stride, PixelFormat format, BYTE* scan0) : Image(nullptr, Ok) {
    GpBitmap* bitmap = nullptr;
    lastResult =
        DllExports::GdipCreateBitmapFromScan0(width, height, stride, format, scan0, &bitmap);
    nativeImage = bitmap;
  }
  explicit Bitmap(IStream* stream, BOOL /*use_profile*/ = FALSE) : Image(nullptr, Ok) {
    GpBitmap* bitmap = nullptr;
    lastResult = DllExports::GdipCreateBitmapFromStream(stream, &bitmap);
    nativeImage = bitmap;
  }
  /// A copy of a device-independent bitmap; `palette` is not used.
  Bitmap(HBITMAP handle, HPALETTE palette) : Image(nullptr, Ok) {
    GpBitmap* bitmap = nullptr;
    lastResult = DllExports::GdipCreateBitmapFromHBITMAP(handle, palette, &bitmap);
    nativeImage = bitmap;
  }
  /// A bitmap with zeroed rows of its own.
  Bitmap(INT width, INT height, PixelFormat format = PixelFormat32bppARGB)
      : Bitmap(width, height, 0, format, nullptr) {}

  /// Never null unless out of memory: ask GetLastStatus whether there is an image. The caller
  /// deletes it.
  static Bitmap* FromFile(const WCHAR* path, BOOL use_profile = FALSE) {
    return new Bitmap(path, use_profile);
  }
  static Bitmap* FromStream(IStream* stream, BOOL use_profile = FALSE) {
    return new Bitmap(stream, use_profile);
  }

  Bitmap* Clone() const override {
    GpImage* clone = nullptr;
    if (SetStatus(DllExports::GdipCloneImage(nativeImage, &clone)) != Ok) return nullptr;
    Bitmap* bitmap = new Bitmap(static_cast<GpBitmap*>(clone), Ok);
    if (bitmap == nullptr) DllExports::GdipDisposeImage(clone);
    return bitmap;
  }

  Status LockBits(const Rect* rect, UINT flags, PixelFormat format, BitmapData* data) {
    return SetStatus(DllExports::GdipBitmapLockBits(native(), rect, flags, format, data));
  }
  Status UnlockBits(BitmapData* data) {
    return SetStatus(DllExports::GdipBitmapUnlockBits(native(), data));
  }
  Status SetResolution(REAL dpi_x, REAL dpi_y) {
    return SetStatus(DllExports::GdipBitmapSetResolution(native(), dpi_x, dpi_y));
  }

 protected:
  Bitmap(GpBitmap* bitmap, Status status) : Image(bitmap, status) {}

 private:
  GpBitmap* native() const { return static_cast<GpBitmap*>(nativeImage); }
};

}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_IMAGE_CLASSES_H_
