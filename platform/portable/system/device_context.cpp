// Device contexts: the screen's, and memory ones to measure text on. There is no device behind
// them, only a resolution, 96 dots per inch.

#include <cstdint>
#include <memory>
#include <new>

#include "base/handle_table.h"
#include "pixtola/portable/gdi.h"

namespace pixtola::portable {

namespace {

struct DeviceContext {};

using ContextTable = HandleTable<DeviceContext, HDC>;

/// The one handle of the screen; odd, unlike those of a table.
const HDC kScreen = reinterpret_cast<HDC>(std::uintptr_t{1});

}  // namespace

}  // namespace pixtola::portable

using pixtola::portable::ContextTable;
using pixtola::portable::DeviceContext;
using pixtola::portable::kScreen;

extern "C" {

HDC WINAPI GetDC(HWND /*window*/) { return kScreen; }

int WINAPI ReleaseDC(HWND /*window*/, HDC device) { return device == kScreen ? 1 : 0; }

HDC WINAPI CreateCompatibleDC(HDC device) {
  ContextTable& table = ContextTable::Instance();
  if (device != nullptr && device != kScreen && table.Find(device) == nullptr) return nullptr;
  return table.Open(std::unique_ptr<DeviceContext>(new (std::nothrow) DeviceContext));
}

BOOL WINAPI DeleteDC(HDC device) { return ContextTable::Instance().Close(device) ? TRUE : FALSE; }

}  // extern "C"
