#include "support/fault_injection.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

#include "Pixtola.h"
#include "support/faulty_stream.h"
#include "support/platform_calls.h"
#include "support/platform_expectations.h"

#if defined(_WIN32)
#include <malloc.h>
#include <tiffio.h>
#else
#include <dlfcn.h>
#include <unistd.h>
#endif

namespace Flat = Gdiplus::DllExports;

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
#if defined(_WIN32)
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
#else
HRESULT __real_CreateStreamOnHGlobal(HGLOBAL memory, BOOL deletes, IStream** stream);
decltype(CreateDIBSection) __real_CreateDIBSection;
decltype(GlobalAlloc) __real_GlobalAlloc;
int __real_ftruncate(int descriptor, off_t size);
int __real_fseeko(std::FILE* file, off_t offset, int origin);
std::FILE* __real_fdopen(int descriptor, const char* mode);
#endif
}

namespace test_support {

namespace {

// Everything here is in use before any constructor has run.

constinit std::atomic<FaultPlan*> plan_in_force{nullptr};

/// The thread whose calls count.
constinit std::atomic<std::size_t> counted_thread{0};

/// Where calls are written down, and the thread whose calls they are.
constinit std::atomic<PlatformCalls*> calls_in_force{nullptr};
constinit std::atomic<std::size_t> watched_thread{0};

constinit std::atomic<const ToldResolution*> resolution_in_force{nullptr};

// Asked inside of malloc, so it must not allocate itself.
std::size_t ThisThread() {
#if defined(_WIN32)
  return ::GetCurrentThreadId();
#else
  static thread_local char place;
  return reinterpret_cast<std::size_t>(&place);
#endif
}

/// Blocks by address, touched by the counted thread only.
class BlockList {
 public:
  void Add(void* block) {
    if (size_ == blocks_.size()) std::abort();
    blocks_[size_++] = block;
  }
  void Remove(const void* block) {
    // The latest blocks are mostly the first to go.
    for (std::size_t i = size_; i-- > 0;) {
      if (blocks_[i] != block) continue;
      std::copy(blocks_.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                blocks_.begin() + static_cast<std::ptrdiff_t>(size_),
                blocks_.begin() + static_cast<std::ptrdiff_t>(i));
      --size_;
      return;
    }
  }
  std::size_t size() const { return size_; }

 private:
  std::array<void*, 4096> blocks_{};
  std::atomic<std::size_t> size_{0};
};

constinit BlockList live_blocks;

bool IsInForce() { return plan_in_force != nullptr && counted_thread == ThisThread(); }

void* Allocated(void* block) {
  if (block != nullptr && IsInForce()) live_blocks.Add(block);
  return block;
}

void Freed(const void* block) {
  if (live_blocks.size() != 0 && counted_thread == ThisThread()) live_blocks.Remove(block);
}

bool FailsToAllocate() {
  if (!IsFaultDue(Fault::kAllocation)) return false;
  errno = ENOMEM;
  return true;
}

/// Whether a read or write has to fail; the error is then that of a device.
bool FailsToTransfer(Fault fault) {
  if (!IsFaultDue(fault)) return false;
  errno = EIO;
  return true;
}

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

/// Nothing that this thread does is counted until the end of the scope.
class Uncounted {
 public:
  Uncounted() : plan_(IsInForce() ? plan_in_force.exchange(nullptr) : nullptr) {}
  Uncounted(const Uncounted&) = delete;
  Uncounted& operator=(const Uncounted&) = delete;
  ~Uncounted() {
    if (plan_ != nullptr) plan_in_force = plan_;
  }

 private:
  FaultPlan* plan_;
};

/// Writes a call down where that is wanted. What it takes does not count.
template <typename Write>
void WriteDown(const Write& write) {
  PlatformCalls* const calls = calls_in_force;
  if (calls == nullptr || watched_thread != ThisThread()) return;
  const Uncounted uncounted;
  write(*calls);
}

void WriteSectionDown(HDC device, const BITMAPINFO* info, UINT usage, HANDLE file, DWORD offset) {
  WriteDown([&](PlatformCalls& calls) {
    calls.sections.push_back({device, info->bmiHeader, usage, file, offset});
  });
}

void WriteBlockDown(UINT flags, SIZE_T size) {
  WriteDown([&](PlatformCalls& calls) { calls.blocks.push_back({flags, size}); });
}

void WritePaletteDown(const Gdiplus::ColorPalette* palette) {
  WriteDown([&](PlatformCalls& calls) {
    const Gdiplus::ARGB* const colors = palette->Entries;
    calls.palettes.emplace_back(colors, colors + palette->Count);
  });
}

void WriteLockDown() {
  WriteDown([](PlatformCalls& calls) { ++calls.locks; });
}

void WriteUnlockDown() {
  WriteDown([](PlatformCalls& calls) { ++calls.unlocks; });
}

void WriteEncodingDown(bool is_to_stream, const Gdiplus::EncoderParameters* parameters) {
  WriteDown([&](PlatformCalls& calls) {
    EncodingCall call{is_to_stream, parameters != nullptr, {}, calls.blocks.size()};
    for (UINT i = 0; parameters != nullptr && i < parameters->Count; ++i) {
      const Gdiplus::EncoderParameter* const all = parameters->Parameter;
      const auto* const values = static_cast<const ULONG*>(all[i].Value);
      call.parameters.push_back(
          {all[i].Guid, all[i].Type, {values, values + all[i].NumberOfValues}});
    }
    calls.encodings.push_back(std::move(call));
  });
}

/// Whether memory streams are made such that they can fail.
bool StreamsAreFaulty() {
  if (!IsInForce()) return false;
  const FaultPlan& plan = *plan_in_force.load();
  return plan.Concerns(Fault::kWrite) ||
         (plan.Concerns(Fault::kRead) && !expectations::kDecodersMishandleFailedReads);
}

/// Puts a FaultyStream, which is a block that has to be freed, in front of a new memory stream.
/// What the stream itself takes does not count.
void MakeFaulty(IStream*& stream) {
  IStream* const inner = stream;
  {
    const Uncounted uncounted;
    stream = FaultyStream::Create(*inner);
  }
  Allocated(stream);
  inner->Release();
}

#if defined(_WIN32)
/// Makes an object of the platform and puts it into `*place`, or fails as without memory.
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

#endif

void* OrThrow(void* block) {
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

/// What the runtime allocates for the first exception of all, it keeps.
const bool first_exception_is_over = [] {
  try {
    throw std::bad_alloc();
  } catch (const std::bad_alloc&) {
    return true;
  }
}();

}  // namespace

FaultPlan::Armed::Armed(FaultPlan& plan) {
  if (plan_in_force != nullptr) std::abort();
  counted_thread = ThisThread();
  plan_in_force = &plan;
}

FaultPlan::Armed::~Armed() { plan_in_force = nullptr; }

PlatformCalls::Watched::Watched(PlatformCalls& calls) {
  if (calls_in_force != nullptr) std::abort();
  watched_thread = ThisThread();
  calls_in_force = &calls;
}

PlatformCalls::Watched::~Watched() { calls_in_force = nullptr; }

ToldResolution::ToldResolution(float horizontal_dpi, float vertical_dpi)
    : horizontal_dpi_(horizontal_dpi), vertical_dpi_(vertical_dpi) {
  if (resolution_in_force != nullptr) std::abort();
  resolution_in_force = this;
}

ToldResolution::~ToldResolution() { resolution_in_force = nullptr; }

bool IsFaultDue(Fault fault) { return IsInForce() && plan_in_force.load()->Count(fault); }

std::size_t LiveBlocks() { return live_blocks.size(); }

}  // namespace test_support

using test_support::Allocated;
using test_support::FailsToAllocate;
using test_support::FailsToTransfer;
using test_support::Fault;
using test_support::Freed;

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
  test_support::WriteLockDown();
  if (test_support::IsFaultDue(Fault::kLock)) return Gdiplus::OutOfMemory;
  return __real_GdipBitmapLockBits(bitmap, rect, flags, format, data);
}

Gdiplus::GpStatus __wrap_GdipBitmapUnlockBits(Gdiplus::GpBitmap* bitmap,
                                              Gdiplus::BitmapData* data) {
  test_support::WriteUnlockDown();
  return __real_GdipBitmapUnlockBits(bitmap, data);
}

Gdiplus::GpStatus __wrap_GdipGetImagePaletteSize(Gdiplus::GpImage* image, INT* size) {
  if (test_support::IsFaultDue(Fault::kPalette)) return Gdiplus::OutOfMemory;
  return __real_GdipGetImagePaletteSize(image, size);
}

Gdiplus::GpStatus __wrap_GdipGetImagePalette(Gdiplus::GpImage* image,
                                             Gdiplus::ColorPalette* palette, INT size) {
  if (test_support::IsFaultDue(Fault::kPalette)) return Gdiplus::OutOfMemory;
  return __real_GdipGetImagePalette(image, palette, size);
}

Gdiplus::GpStatus __wrap_GdipSetImagePalette(Gdiplus::GpImage* image,
                                             const Gdiplus::ColorPalette* palette) {
  test_support::WritePaletteDown(palette);
  return __real_GdipSetImagePalette(image, palette);
}

Gdiplus::GpStatus __wrap_GdipSaveImageToFile(Gdiplus::GpImage* image, const WCHAR* path,
                                             const CLSID* encoder,
                                             const Gdiplus::EncoderParameters* parameters) {
  test_support::WriteEncodingDown(false, parameters);
#if defined(_WIN32)
  // The writes in there are out of reach.
  if (FailsToTransfer(Fault::kWrite)) return Gdiplus::Win32Error;
#endif
  return __real_GdipSaveImageToFile(image, path, encoder, parameters);
}

Gdiplus::GpStatus __wrap_GdipSaveImageToStream(Gdiplus::GpImage* image, IStream* stream,
                                               const CLSID* encoder,
                                               const Gdiplus::EncoderParameters* parameters) {
  test_support::WriteEncodingDown(true, parameters);
  return __real_GdipSaveImageToStream(image, stream, encoder, parameters);
}

Gdiplus::GpStatus __wrap_GdipGetImageHorizontalResolution(Gdiplus::GpImage* image,
                                                          Gdiplus::REAL* dpi) {
  const test_support::ToldResolution* const told = test_support::resolution_in_force;
  if (told == nullptr) return __real_GdipGetImageHorizontalResolution(image, dpi);
  *dpi = told->horizontal_dpi();
  return Gdiplus::Ok;
}

Gdiplus::GpStatus __wrap_GdipGetImageVerticalResolution(Gdiplus::GpImage* image,
                                                        Gdiplus::REAL* dpi) {
  const test_support::ToldResolution* const told = test_support::resolution_in_force;
  if (told == nullptr) return __real_GdipGetImageVerticalResolution(image, dpi);
  *dpi = told->vertical_dpi();
  return Gdiplus::Ok;
}

#if defined(_WIN32)

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
  const test_support::Uncounted uncounted;
  return __real___cxa_allocate_exception(size);
}

// libtiff is a static library there, and its own memory would count. It is left alone as elsewhere:
// what it does without memory is not the matter of these tests.
void* __wrap__TIFFmalloc(tmsize_t size) {
  const test_support::Uncounted uncounted;
  return __real__TIFFmalloc(size);
}

void* __wrap__TIFFcalloc(tmsize_t count, tmsize_t size) {
  const test_support::Uncounted uncounted;
  return __real__TIFFcalloc(count, size);
}

void* __wrap__TIFFrealloc(void* block, tmsize_t size) {
  const test_support::Uncounted uncounted;
  return __real__TIFFrealloc(block, size);
}

// What the platform itself allocates is out of reach: the making of its objects stands for it.

Gdiplus::GpStatus __wrap_GdipCreateBitmapFromScan0(INT width, INT height, INT stride,
                                                   Gdiplus::PixelFormat format, BYTE* rows,
                                                   Gdiplus::GpBitmap** bitmap) {
  return test_support::MakeImage(bitmap, [&] {
    return __real_GdipCreateBitmapFromScan0(width, height, stride, format, rows, bitmap);
  });
}

Gdiplus::GpStatus __wrap_GdipCreateBitmapFromFile(const WCHAR* path, Gdiplus::GpBitmap** bitmap) {
  return test_support::MakeImage(bitmap,
                                 [&] { return __real_GdipCreateBitmapFromFile(path, bitmap); });
}

Gdiplus::GpStatus __wrap_GdipCreateBitmapFromStream(IStream* stream, Gdiplus::GpBitmap** bitmap) {
  return test_support::MakeImage(bitmap,
                                 [&] { return __real_GdipCreateBitmapFromStream(stream, bitmap); });
}

Gdiplus::GpStatus __wrap_GdipDisposeImage(Gdiplus::GpImage* image) {
  Freed(image);
  return __real_GdipDisposeImage(image);
}

static HGLOBAL WINAPI AllocateGlobal(UINT flags, SIZE_T size) {
  test_support::WriteBlockDown(flags, size);
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
  if (test_support::StreamsAreFaulty()) test_support::MakeFaulty(*stream);
  return result;
}

static HBITMAP WINAPI CreateSection(HDC device, const BITMAPINFO* info, UINT usage, void** bits,
                                    HANDLE section, DWORD offset) {
  test_support::WriteSectionDown(device, info, usage, section, offset);
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

#else

HRESULT __wrap_CreateStreamOnHGlobal(HGLOBAL memory, BOOL deletes, IStream** stream) {
  const HRESULT result = __real_CreateStreamOnHGlobal(memory, deletes, stream);
  if (SUCCEEDED(result) && test_support::StreamsAreFaulty()) test_support::MakeFaulty(*stream);
  return result;
}

HBITMAP __wrap_CreateDIBSection(HDC device, const BITMAPINFO* info, UINT usage, void** bits,
                                HANDLE section, DWORD offset) {
  test_support::WriteSectionDown(device, info, usage, section, offset);
  return __real_CreateDIBSection(device, info, usage, bits, section, offset);
}

HGLOBAL __wrap_GlobalAlloc(UINT flags, SIZE_T size) {
  test_support::WriteBlockDown(flags, size);
  return __real_GlobalAlloc(flags, size);
}

static ssize_t RealRead(int descriptor, void* bytes, std::size_t size) {
  static const auto real = reinterpret_cast<decltype(&read)>(dlsym(RTLD_NEXT, "read"));
  return real(descriptor, bytes, size);
}

ssize_t __wrap_read(int descriptor, void* bytes, std::size_t size) {
  return FailsToTransfer(Fault::kRead) ? -1 : RealRead(descriptor, bytes, size);
}

int __wrap_ftruncate(int descriptor, off_t size) {
  return FailsToTransfer(Fault::kWrite) ? -1 : __real_ftruncate(descriptor, size);
}

int __wrap_fseeko(std::FILE* file, off_t offset, int origin) {
  return FailsToTransfer(Fault::kWrite) ? -1 : __real_fseeko(file, offset, origin);
}

// The C library allocates there.
std::FILE* __wrap_fdopen(int descriptor, const char* mode) {
  return FailsToAllocate() ? nullptr : __real_fdopen(descriptor, mode);
}

// These two take the C library's place for shared libraries, of which libtiff reads and writes
// files itself.
#pragma GCC visibility push(default)

// As at the file's end: libtiff 4.5 writes in front of its buffer when it is told of an error while
// it reads a strip.
ssize_t read(int descriptor, void* bytes, std::size_t size) {
  return FailsToTransfer(Fault::kRead) ? 0 : RealRead(descriptor, bytes, size);
}

ssize_t write(int descriptor, const void* bytes, std::size_t size) {
  static const auto real = reinterpret_cast<decltype(&write)>(dlsym(RTLD_NEXT, "write"));
  return FailsToTransfer(Fault::kWrite) ? -1 : real(descriptor, bytes, size);
}

#pragma GCC visibility pop

#endif
}

// All replaceable forms of new and delete.

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return __wrap_malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void* operator new(std::size_t size) {
  return test_support::OrThrow(operator new(size, std::nothrow));
}
void* operator new[](std::size_t size) { return operator new(size); }

void operator delete(void* block) noexcept { __wrap_free(block); }
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { operator delete(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { operator delete(block); }

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return test_support::AlignedBlock(size == 0 ? 1 : size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment,
                     const std::nothrow_t& tag) noexcept {
  return operator new(size, alignment, tag);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return test_support::OrThrow(operator new(size, alignment, std::nothrow));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return operator new(size, alignment);
}

void operator delete(void* block, std::align_val_t) noexcept {
  test_support::FreeAlignedBlock(block);
}
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
