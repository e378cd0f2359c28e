// What the linker redirects calls to on all platforms, and all forms of new and delete.

#include <cstdio>
#include <cstdlib>
#include <new>

#include "Pixtola.h"
#include "support/fault_calls.h"

#if defined(_WIN32)
#include <malloc.h>
#endif

namespace Flat = Gdiplus::DllExports;

using pixtola::test::Allocated;
using pixtola::test::FailsToAllocate;
using pixtola::test::FailsToTransfer;
using pixtola::test::Fault;
using pixtola::test::Freed;
using pixtola::test::IsFaultDue;
using pixtola::test::ResolutionInForce;
using pixtola::test::ToldResolution;
using pixtola::test::WriteEncodingDown;
using pixtola::test::WritePaletteDown;

// What the linker calls the functions that the calls were meant for. Some are called through
// pointers.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
std::size_t __real_fread(void* bytes, std::size_t size, std::size_t count, std::FILE* file);
std::size_t __real_fwrite(const void* bytes, std::size_t size, std::size_t count, std::FILE* file);
int __real_fclose(std::FILE* file);
Gdiplus::GpStatus __real_GdipBitmapLockBits(Gdiplus::GpBitmap* bitmap, const Gdiplus::GpRect* rect,
                                            UINT flags, Gdiplus::PixelFormat format,
                                            Gdiplus::BitmapData* data);
Gdiplus::GpStatus __real_GdipBitmapUnlockBits(Gdiplus::GpBitmap* bitmap, Gdiplus::BitmapData* data);
Gdiplus::GpStatus __real_GdipGetImagePaletteSize(Gdiplus::GpImage* image, INT* size);
Gdiplus::GpStatus __real_GdipGetImagePalette(Gdiplus::GpImage* image,
                                             Gdiplus::ColorPalette* palette, INT size);
decltype(Flat::GdipSetImagePalette) __real_GdipSetImagePalette;
decltype(Flat::GdipSaveImageToFile) __real_GdipSaveImageToFile;
decltype(Flat::GdipSaveImageToStream) __real_GdipSaveImageToStream;
decltype(Flat::GdipGetImageHorizontalResolution) __real_GdipGetImageHorizontalResolution;
decltype(Flat::GdipGetImageVerticalResolution) __real_GdipGetImageVerticalResolution;
}

namespace {

void* AlignedBlock(std::size_t size, std::align_val_t alignment) {
  if (FailsToAllocate()) return nullptr;
  const auto multiple = static_cast<std::size_t>(alignment);
#if defined(_WIN32)
  return Allocated(_aligned_malloc(size, multiple));
#else
  return Allocated(std::aligned_alloc(multiple, (size + multiple - 1) / multiple * multiple));
#endif
}

void FreeAlignedBlock(void* block) {
  Freed(block);
#if defined(_WIN32)
  _aligned_free(block);
#else
  __real_free(block);
#endif
}

void* OrThrow(void* block) {
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

// What the linker lets the calls come to.
extern "C" {

void* __wrap_malloc(std::size_t size) {
  return FailsToAllocate() ? nullptr : Allocated(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  return FailsToAllocate() ? nullptr : Allocated(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
  if (FailsToAllocate()) return nullptr;
  void* const moved = __real_realloc(block, size);
  if (moved == nullptr && size != 0) return nullptr;
  Freed(block);
  return Allocated(moved);
}

void __wrap_free(void* block) {
  Freed(block);
  __real_free(block);
}

std::size_t __wrap_fread(void* bytes, std::size_t size, std::size_t count, std::FILE* file) {
  return FailsToTransfer(Fault::kRead) ? 0 : __real_fread(bytes, size, count, file);
}

std::size_t __wrap_fwrite(const void* bytes, std::size_t size, std::size_t count, std::FILE* file) {
  return FailsToTransfer(Fault::kWrite) ? 0 : __real_fwrite(bytes, size, count, file);
}

// A file is closed even when its last bytes are lost.
int __wrap_fclose(std::FILE* file) {
  const int result = __real_fclose(file);
  return FailsToTransfer(Fault::kWrite) ? EOF : result;
}

Gdiplus::GpStatus __wrap_GdipBitmapLockBits(Gdiplus::GpBitmap* bitmap, const Gdiplus::GpRect* rect,
                                            UINT flags, Gdiplus::PixelFormat format,
                                            Gdiplus::BitmapData* data) {
  pixtola::test::WriteLockDown();
  if (IsFaultDue(Fault::kLock)) return Gdiplus::OutOfMemory;
  return __real_GdipBitmapLockBits(bitmap, rect, flags, format, data);
}

Gdiplus::GpStatus __wrap_GdipBitmapUnlockBits(Gdiplus::GpBitmap* bitmap,
                                              Gdiplus::BitmapData* data) {
  pixtola::test::WriteUnlockDown();
  return __real_GdipBitmapUnlockBits(bitmap, data);
}

Gdiplus::GpStatus __wrap_GdipGetImagePaletteSize(Gdiplus::GpImage* image, INT* size) {
  if (IsFaultDue(Fault::kPalette)) return Gdiplus::OutOfMemory;
  return __real_GdipGetImagePaletteSize(image, size);
}

Gdiplus::GpStatus __wrap_GdipGetImagePalette(Gdiplus::GpImage* image,
                                             Gdiplus::ColorPalette* palette, INT size) {
  if (IsFaultDue(Fault::kPalette)) return Gdiplus::OutOfMemory;
  return __real_GdipGetImagePalette(image, palette, size);
}

Gdiplus::GpStatus __wrap_GdipSetImagePalette(Gdiplus::GpImage* image,
                                             const Gdiplus::ColorPalette* palette) {
  WritePaletteDown(palette);
  return __real_GdipSetImagePalette(image, palette);
}

Gdiplus::GpStatus __wrap_GdipSaveImageToFile(Gdiplus::GpImage* image, const WCHAR* path,
                                             const CLSID* encoder,
                                             const Gdiplus::EncoderParameters* parameters) {
  WriteEncodingDown(false, parameters);
#if defined(_WIN32)
  // The writes in there are out of reach.
  if (FailsToTransfer(Fault::kWrite)) return Gdiplus::Win32Error;
#endif
  return __real_GdipSaveImageToFile(image, path, encoder, parameters);
}

Gdiplus::GpStatus __wrap_GdipSaveImageToStream(Gdiplus::GpImage* image, IStream* stream,
                                               const CLSID* encoder,
                                               const Gdiplus::EncoderParameters* parameters) {
  WriteEncodingDown(true, parameters);
  return __real_GdipSaveImageToStream(image, stream, encoder, parameters);
}

Gdiplus::GpStatus __wrap_GdipGetImageHorizontalResolution(Gdiplus::GpImage* image,
                                                          Gdiplus::REAL* dpi) {
  const ToldResolution* const told = ResolutionInForce();
  if (told == nullptr) return __real_GdipGetImageHorizontalResolution(image, dpi);
  *dpi = told->horizontal_dpi();
  return Gdiplus::Ok;
}

Gdiplus::GpStatus __wrap_GdipGetImageVerticalResolution(Gdiplus::GpImage* image,
                                                        Gdiplus::REAL* dpi) {
  const ToldResolution* const told = ResolutionInForce();
  if (told == nullptr) return __real_GdipGetImageVerticalResolution(image, dpi);
  *dpi = told->vertical_dpi();
  return Gdiplus::Ok;
}
}

// All replaceable forms of new and delete.

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return __wrap_malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void* operator new(std::size_t size) { return OrThrow(operator new(size, std::nothrow)); }
void* operator new[](std::size_t size) { return operator new(size); }

void operator delete(void* block) noexcept { __wrap_free(block); }
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { operator delete(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { operator delete(block); }

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return AlignedBlock(size == 0 ? 1 : size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment,
                     const std::nothrow_t& tag) noexcept {
  return operator new(size, alignment, tag);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return OrThrow(operator new(size, alignment, std::nothrow));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return operator new(size, alignment);
}

void operator delete(void* block, std::align_val_t) noexcept { FreeAlignedBlock(block); }
void operator delete[](void* block, std::align_val_t alignment) noexcept {
  operator delete(block, alignment);
}
void operator delete(void* block, std::size_t, std::align_val_t alignment) noexcept {
  operator delete(block, alignment);
}
void operator delete[](void* block, std::size_t, std::align_val_t alignment) noexcept {
  operator delete(block, alignment);
}
void operator delete(void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  operator delete(block, alignment);
}
void operator delete[](void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  operator delete(block, alignment);
}
