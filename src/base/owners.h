// The handles that the library owns: each is released with its owner.
//
// Functions of the library pass owners to one another; a raw pointer never owns.
#ifndef PIXTOLA_BASE_OWNERS_H_
#define PIXTOLA_BASE_OWNERS_H_

#include <tiffio.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <type_traits>

#include "platform.h"

namespace pixtola {

namespace detail {

struct ReleaseObject {
  template <typename T>
  void operator()(T* object) const {
    object->Release();
  }
};

struct DisposeImage {
  void operator()(Gdiplus::GpBitmap* bitmap) const {
    Gdiplus::DllExports::GdipDisposeImage(bitmap);
  }
};

struct FreePalette {
  void operator()(Gdiplus::ColorPalette* palette) const { std::free(palette); }
};

struct DeleteGdiObject {
  void operator()(HBITMAP handle) const { DeleteObject(handle); }
};

struct FreeGlobal {
  void operator()(void* block) const { GlobalFree(block); }
};

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

}  // namespace detail

/// A bitmap object, whose memory is the platform's.
using BitmapPointer = std::unique_ptr<Gdiplus::Bitmap>;

/// A bitmap of the flat API.
using NativeBitmap = std::unique_ptr<Gdiplus::GpBitmap, detail::DisposeImage>;

/// A palette with its entries, in one block of the standard allocator.
using PalettePointer = std::unique_ptr<Gdiplus::ColorPalette, detail::FreePalette>;

/// One reference to a COM object.
template <typename T>
using ComPointer = std::unique_ptr<T, detail::ReleaseObject>;

/// A new reference to an object that somebody else holds.
template <typename T>
ComPointer<T> Share(T& object) {
  object.AddRef();
  return ComPointer<T>(&object);
}

/// A bitmap of GDI.
using BitmapHandle = std::unique_ptr<std::remove_pointer_t<HBITMAP>, detail::DeleteGdiObject>;

/// A block of global memory.
using GlobalBlock = std::unique_ptr<void, detail::FreeGlobal>;

/// A file of the C runtime.
using File = std::unique_ptr<std::FILE, detail::CloseFile>;

/// An open TIFF. It is closed under the lock under which it was opened.
using TiffFile = std::unique_ptr<TIFF, detail::CloseTiff>;

}  // namespace pixtola

#endif  // PIXTOLA_BASE_OWNERS_H_
