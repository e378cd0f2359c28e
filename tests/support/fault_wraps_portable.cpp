// What the linker redirects calls to elsewhere than on Windows.

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>

#include "Pixtola.h"
#include "support/fault_calls.h"

using pixtola::test::FailsToAllocate;
using pixtola::test::FailsToTransfer;
using pixtola::test::Fault;
using pixtola::test::MakeFaulty;
using pixtola::test::StreamsAreFaulty;
using pixtola::test::WriteBlockDown;
using pixtola::test::WriteSectionDown;

extern "C" {
HRESULT __real_CreateStreamOnHGlobal(HGLOBAL memory, BOOL deletes, IStream** stream);
decltype(CreateDIBSection) __real_CreateDIBSection;
decltype(GlobalAlloc) __real_GlobalAlloc;
int __real_ftruncate(int descriptor, off_t size);
int __real_fseeko(std::FILE* file, off_t offset, int origin);
std::FILE* __real_fdopen(int descriptor, const char* mode);
}

extern "C" {

HRESULT __wrap_CreateStreamOnHGlobal(HGLOBAL memory, BOOL deletes, IStream** stream) {
  const HRESULT result = __real_CreateStreamOnHGlobal(memory, deletes, stream);
  if (SUCCEEDED(result) && StreamsAreFaulty()) MakeFaulty(*stream);
  return result;
}

HBITMAP __wrap_CreateDIBSection(HDC device, const BITMAPINFO* info, UINT usage, void** bits,
                                HANDLE section, DWORD offset) {
  WriteSectionDown(device, info, usage, section, offset);
  return __real_CreateDIBSection(device, info, usage, bits, section, offset);
}

HGLOBAL __wrap_GlobalAlloc(UINT flags, SIZE_T size) {
  WriteBlockDown(flags, size);
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
}
