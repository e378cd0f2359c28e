// What the linker redirects calls to on Windows only.

#include <cstdio>

#include <tiffio.h>

#include "Pixtola.h"
#include "support/fault_calls.h"

namespace Flat = Gdiplus::DllExports;

using pixtola::test::Allocated;
using pixtola::test::FailsToAllocate;
using pixtola::test::FailsToTransfer;
using pixtola::test::Fault;
using pixtola::test::Freed;
using pixtola::test::MakeFaulty;
using pixtola::test::StreamsAreFaulty;
using pixtola::test::Uncounted;
using pixtola::test::WriteBlockDown;
using pixtola::test::WriteSectionDown;

extern "C" {
void* __real_GdipAlloc(std::size_t size);
void __real_GdipFree(void* block);
decltype(Flat::GdipCreateBitmapFromScan0) __real_GdipCreateBitmapFromScan0;
decltype(Flat::GdipCreateBitmapFromFile) __real_GdipCreateBitmapFromFile;
decltype(Flat::GdipCreateBitmapFromStream) __real_GdipCreateBitmapFromStream;
decltype(Flat::GdipDisposeImage) __real_GdipDisposeImage;
void* __real___cxa_allocate_exception(std::size_t size) noexcept;
void* __real__TIFFmalloc(tmsize_t size);
void* __real__TIFFcalloc(tmsize_t count, tmsize_t size);
void* __real__TIFFrealloc(void* block, tmsize_t size);
extern decltype(&GlobalAlloc) __real___imp_GlobalAlloc;
extern decltype(&GlobalFree) __real___imp_GlobalFree;
extern decltype(&CreateStreamOnHGlobal) __real___imp_CreateStreamOnHGlobal;
extern decltype(&CreateDIBSection) __real___imp_CreateDIBSection;
extern decltype(&DeleteObject) __real___imp_DeleteObject;
extern decltype(&_wfsopen) __real___imp__wfsopen;
extern decltype(&ReadFile) __real___imp_ReadFile;
extern decltype(&WriteFile) __real___imp_WriteFile;
}

namespace {

/// Makes an object of the platform and puts it into `*place`, or fails as when out of memory.
template <typename Object, typename Make>
Gdiplus::GpStatus MakeImage(Object** place, const Make& make) {
  if (FailsToAllocate()) {
    *place = nullptr;
    return Gdiplus::OutOfMemory;
  }
  const Gdiplus::GpStatus status = make();
  if (status == Gdiplus::Ok) Allocated(*place);
  return status;
}

}  // namespace

extern "C" {

// Elsewhere these two come to malloc and free.
void* __wrap_GdipAlloc(std::size_t size) {
  return FailsToAllocate() ? nullptr : Allocated(__real_GdipAlloc(size));
}

void __wrap_GdipFree(void* block) {
  Freed(block);
  __real_GdipFree(block);
}

// The runtime is a static library there, and exceptions' own memory would count. When there is
// none, its reserve has to be locked, which takes memory, too, the first time, and the lack of that
// is told by an exception ...
void* __wrap___cxa_allocate_exception(std::size_t size) noexcept {
  const Uncounted uncounted;
  return __real___cxa_allocate_exception(size);
}

// libtiff is a static library there, and its own memory would count. It is left alone as elsewhere:
// what it does without memory is not the matter of these tests.
void* __wrap__TIFFmalloc(tmsize_t size) {
  const Uncounted uncounted;
  return __real__TIFFmalloc(size);
}

void* __wrap__TIFFcalloc(tmsize_t count, tmsize_t size) {
  const Uncounted uncounted;
  return __real__TIFFcalloc(count, size);
}

void* __wrap__TIFFrealloc(void* block, tmsize_t size) {
  const Uncounted uncounted;
  return __real__TIFFrealloc(block, size);
}

// What the platform itself allocates is out of reach: the making of its objects stands for it.

Gdiplus::GpStatus __wrap_GdipCreateBitmapFromScan0(INT width, INT height, INT stride,
                                                   Gdiplus::PixelFormat format, BYTE* rows,
                                                   Gdiplus::GpBitmap** bitmap) {
  return MakeImage(bitmap, [&] {
    return __real_GdipCreateBitmapFromScan0(width, height, stride, format, rows, bitmap);
  });
}

Gdiplus::GpStatus __wrap_GdipCreateBitmapFromFile(const WCHAR* path, Gdiplus::GpBitmap** bitmap) {
  return MakeImage(bitmap, [&] { return __real_GdipCreateBitmapFromFile(path, bitmap); });
}

Gdiplus::GpStatus __wrap_GdipCreateBitmapFromStream(IStream* stream, Gdiplus::GpBitmap** bitmap) {
  return MakeImage(bitmap, [&] { return __real_GdipCreateBitmapFromStream(stream, bitmap); });
}

Gdiplus::GpStatus __wrap_GdipDisposeImage(Gdiplus::GpImage* image) {
  Freed(image);
  return __real_GdipDisposeImage(image);
}

static HGLOBAL WINAPI AllocateGlobal(UINT flags, SIZE_T size) {
  WriteBlockDown(flags, size);
  return FailsToAllocate() ? nullptr : Allocated(__real___imp_GlobalAlloc(flags, size));
}

static HGLOBAL WINAPI FreeGlobal(HGLOBAL memory) {
  Freed(memory);
  return __real___imp_GlobalFree(memory);
}

static HRESULT WINAPI CreateStream(HGLOBAL memory, BOOL deletes, IStream** stream) {
  if (FailsToAllocate()) return E_OUTOFMEMORY;
  const HRESULT result = __real___imp_CreateStreamOnHGlobal(memory, deletes, stream);
  if (FAILED(result)) return result;
  if (deletes != FALSE) Freed(memory);  // from now on it is the stream's
  if (StreamsAreFaulty()) MakeFaulty(*stream);
  return result;
}

static HBITMAP WINAPI CreateSection(HDC device, const BITMAPINFO* info, UINT usage, void** bits,
                                    HANDLE section, DWORD offset) {
  WriteSectionDown(device, info, usage, section, offset);
  if (FailsToAllocate()) return nullptr;
  return static_cast<HBITMAP>(
      Allocated(__real___imp_CreateDIBSection(device, info, usage, bits, section, offset)));
}

static WINBOOL WINAPI DeleteGdiObject(HGDIOBJ object) {
  Freed(object);
  return __real___imp_DeleteObject(object);
}

static std::FILE* OpenShared(const wchar_t* path, const wchar_t* mode, int sharing) {
  return FailsToAllocate() ? nullptr : __real___imp__wfsopen(path, mode, sharing);
}

// libtiff's ways to its files. What cannot be read is as at the file's end: libtiff 4.5 writes in
// front of its buffer when it is told of an error while it reads a strip.

static WINBOOL WINAPI ReadFromFile(HANDLE file, LPVOID bytes, DWORD size, LPDWORD read,
                                   LPOVERLAPPED overlapped) {
  if (FailsToTransfer(Fault::kRead)) {
    *read = 0;
    return TRUE;
  }
  return __real___imp_ReadFile(file, bytes, size, read, overlapped);
}

static WINBOOL WINAPI WriteToFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written,
                                  LPOVERLAPPED overlapped) {
  if (FailsToTransfer(Fault::kWrite)) return FALSE;
  return __real___imp_WriteFile(file, bytes, size, written, overlapped);
}

decltype(&GlobalAlloc) __wrap___imp_GlobalAlloc = AllocateGlobal;
decltype(&GlobalFree) __wrap___imp_GlobalFree = FreeGlobal;
decltype(&CreateStreamOnHGlobal) __wrap___imp_CreateStreamOnHGlobal = CreateStream;
decltype(&CreateDIBSection) __wrap___imp_CreateDIBSection = CreateSection;
decltype(&DeleteObject) __wrap___imp_DeleteObject = DeleteGdiObject;
decltype(&_wfsopen) __wrap___imp__wfsopen = OpenShared;
decltype(&ReadFile) __wrap___imp_ReadFile = ReadFromFile;
decltype(&WriteFile) __wrap___imp_WriteFile = WriteToFile;
}
