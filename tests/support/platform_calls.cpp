#include "support/platform_calls.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include "support/fault_calls.h"

namespace pixtola::test {

namespace {

// Everything here is in use before any constructor has run.

/// Where calls are written down, and the thread whose calls they are.
constinit std::atomic<PlatformCalls*> calls_in_force{nullptr};
constinit std::atomic<std::size_t> watched_thread{0};

constinit std::atomic<const ToldResolution*> resolution_in_force{nullptr};

/// Writes a call down where that is wanted. What it takes does not count.
template <typename Write>
void WriteDown(const Write& write) {
  PlatformCalls* const calls = calls_in_force;
  if (calls == nullptr || watched_thread != ThisThread()) return;
  const Uncounted uncounted;
  write(*calls);
}

}  // namespace

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

const ToldResolution* ResolutionInForce() { return resolution_in_force; }

}  // namespace pixtola::test
