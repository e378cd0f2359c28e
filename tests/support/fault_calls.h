// What becomes of the calls that the linker leads to the tests, see fault_injection.h.
#ifndef PIXTOLA_TESTS_SUPPORT_FAULT_CALLS_H_
#define PIXTOLA_TESTS_SUPPORT_FAULT_CALLS_H_

#include <cstddef>

#include "Pixtola.h"
#include "support/fault_injection.h"
#include "support/platform_calls.h"

namespace pixtola::test {

// Asked inside of malloc, so it must not allocate itself.
std::size_t ThisThread();

/// Takes a new block into account; returns it.
void* Allocated(void* block);
void Freed(const void* block);

bool FailsToAllocate();

/// Whether a read or write has to fail; the error is then that of a device.
bool FailsToTransfer(Fault fault);

/// Nothing that this thread does is counted until the end of the scope.
class Uncounted {
 public:
  Uncounted();
  Uncounted(const Uncounted&) = delete;
  Uncounted& operator=(const Uncounted&) = delete;
  ~Uncounted();

 private:
  FaultPlan* plan_;
};

/// Whether memory streams are made such that they can fail.
bool StreamsAreFaulty();

/// Puts a FaultyStream, which is a block that has to be freed, in front of a new memory stream.
/// What the stream itself takes does not count.
void MakeFaulty(IStream*& stream);

// Each writes a call down where that is wanted.
void WriteSectionDown(HDC device, const BITMAPINFO* info, UINT usage, HANDLE file, DWORD offset);
void WriteBlockDown(UINT flags, SIZE_T size);
void WriteLockDown();
void WriteUnlockDown();
void WritePaletteDown(const Gdiplus::ColorPalette* palette);
void WriteEncodingDown(bool is_to_stream, const Gdiplus::EncoderParameters* parameters);

/// The resolution that all bitmaps tell; null when they tell their own.
const ToldResolution* ResolutionInForce();

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_FAULT_CALLS_H_
