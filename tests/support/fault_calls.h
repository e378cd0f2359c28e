// What is done with the calls that the linker redirects to the tests, see fault_injection.h.
#ifndef PIXTOLA_TESTS_SUPPORT_FAULT_CALLS_H_
#define PIXTOLA_TESTS_SUPPORT_FAULT_CALLS_H_

#include <cstddef>

#include "Pixtola.h"
#include "support/fault_injection.h"
#include "support/platform_calls.h"

namespace pixtola::test {

// Called inside malloc, so it must not allocate.
std::size_t ThisThread();

/// Counts a new block; returns it.
void* Allocated(void* block);
void Freed(const void* block);

bool FailsToAllocate();

/// Whether a read or write has to fail; the error is then a device's.
bool FailsToTransfer(Fault fault);

/// Until the end of the scope nothing that this thread does is counted.
class Uncounted {
 public:
  Uncounted();
  Uncounted(const Uncounted&) = delete;
  Uncounted& operator=(const Uncounted&) = delete;
  ~Uncounted();

 private:
  FaultPlan* plan_;
};

/// Whether memory streams are made to be able to fail.
bool StreamsAreFaulty();

/// Puts a FaultyStream, which is a block that has to be freed, in front of a new memory stream. The
/// allocation of the stream itself does not count.
void MakeFaulty(IStream*& stream);

// Each records a call where that is wanted.
void WriteSectionDown(HDC device, const BITMAPINFO* info, UINT usage, HANDLE file, DWORD offset);
void WriteBlockDown(UINT flags, SIZE_T size);
void WriteLockDown();
void WriteUnlockDown();
void WritePaletteDown(const Gdiplus::ColorPalette* palette);
void WriteEncodingDown(bool is_to_stream, const Gdiplus::EncoderParameters* parameters);

/// The resolution that all bitmaps report; null when they report their own.
const ToldResolution* ResolutionInForce();

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_FAULT_CALLS_H_
