// PxtLoadBitmapFromResource: an image from a module's resources.

#include <cstring>

#include "base/owners.h"
#include "platform.h"

namespace pixtola {

namespace {

/// A movable block with the bytes of a resource; null when it is missing or empty, or when out of
/// memory.
GlobalBlock CopyResource(const wchar_t* name, const wchar_t* type, HMODULE module) {
  const HRSRC resource = FindResourceW(module, name, type);
  if (resource == nullptr) return nullptr;
  const DWORD size = SizeofResource(module, resource);
  const HGLOBAL loaded = LoadResource(module, resource);
  const void* bytes = loaded != nullptr ? LockResource(loaded) : nullptr;
  if (size == 0 || bytes == nullptr) return nullptr;
  GlobalBlock block(GlobalAlloc(GMEM_MOVEABLE, size));
  void* copy = block != nullptr ? GlobalLock(block.get()) : nullptr;
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, bytes, size);
  GlobalUnlock(block.get());
  return block;
}

}  // namespace

}  // namespace pixtola

int PxtLoadBitmapFromResource(const wchar_t* name, const wchar_t* type, HMODULE module,
                              Gdiplus::Bitmap** result) {
  using namespace pixtola;
  if (name == nullptr || type == nullptr || result == nullptr) return 0;
  // Outlives the stream and what is decoded from it.
  const GlobalBlock block = CopyResource(name, type, module);
  if (block == nullptr) return 0;
  IStream* made = nullptr;
  constexpr BOOL kKeepBlock = FALSE;
  if (FAILED(CreateStreamOnHGlobal(block.get(), kKeepBlock, &made))) return 0;
  ComPointer<IStream> stream(made);
  Gdiplus::Bitmap decoded(stream.get());
  stream.reset();
  return decoded.GetLastStatus() == Gdiplus::Ok ? PxtCopyBitmap(&decoded, result) : 0;
}
