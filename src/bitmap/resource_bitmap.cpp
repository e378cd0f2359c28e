// PxtLoadBitmapFromResource: an image that a module brings along.

#include <cstring>
#include <memory>

#include "platform.h"

namespace pixtola {

namespace {

struct FreeGlobal {
  void operator()(void* block) const { GlobalFree(block); }
};
using GlobalBlock = std::unique_ptr<void, FreeGlobal>;

/// A movable block with the bytes of a resource; null when it is missing, empty or memory lacks.
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
  IStream* stream = nullptr;
  constexpr BOOL kKeepBlock = FALSE;
  if (FAILED(CreateStreamOnHGlobal(block.get(), kKeepBlock, &stream))) return 0;
  Gdiplus::Bitmap decoded(stream);
  stream->Release();
  return decoded.GetLastStatus() == Gdiplus::Ok ? PxtCopyBitmap(&decoded, result) : 0;
}
