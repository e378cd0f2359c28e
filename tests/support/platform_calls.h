// What the code under test asks of the platform, recorded with its arguments, and an answer that
// the platform itself would not give.
//
// Calls are seen where faults are: in programs that are linked by pixtola_wrap_faults.
#ifndef PIXTOLA_TESTS_SUPPORT_PLATFORM_CALLS_H_
#define PIXTOLA_TESTS_SUPPORT_PLATFORM_CALLS_H_

#include <cstddef>
#include <vector>

#include "Pixtola.h"

namespace pixtola::test {

/// A call of CreateDIBSection.
struct SectionCall {
  HDC device;
  BITMAPINFOHEADER header;
  UINT usage;
  HANDLE file;
  DWORD offset;
};

/// A call of GlobalAlloc.
struct BlockCall {
  UINT flags;
  SIZE_T size;

  friend bool operator==(const BlockCall&, const BlockCall&) = default;
};

/// What an encoder is told; all values are read as 32-bit ones.
struct ParameterOfEncoder {
  GUID guid;
  ULONG type;
  std::vector<ULONG> values;

  friend bool operator==(const ParameterOfEncoder&, const ParameterOfEncoder&) = default;
};

/// A call of GdipSaveImageToFile or GdipSaveImageToStream.
struct EncodingCall {
  bool is_to_stream;
  bool has_parameters;  ///< there is a block of them, empty or not
  std::vector<ParameterOfEncoder> parameters;
  std::size_t blocks_before;  ///< how many blocks had been allocated until then
};

/// Calls of each kind in order, whether they succeed or fail.
class PlatformCalls {
 public:
  /// Makes the call, and nothing else, while the calls of this thread are recorded.
  template <typename Call>
  decltype(auto) Run(const Call& call) {
    const Watched watched(*this);
    return call();
  }

  std::vector<SectionCall> sections;
  std::vector<BlockCall> blocks;
  std::vector<std::vector<Gdiplus::ARGB>> palettes;  ///< the colours that bitmaps are given
  std::vector<EncodingCall> encodings;
  std::size_t locks = 0;    ///< calls of GdipBitmapLockBits
  std::size_t unlocks = 0;  ///< calls of GdipBitmapUnlockBits

 private:
  /// Calls are recorded from here to the end of the scope, in one place at a time.
  class Watched {
   public:
    explicit Watched(PlatformCalls& calls);
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;
    ~Watched();
  };
};

/// To the end of the scope, all bitmaps report this resolution. There is one at a time.
class ToldResolution {
 public:
  ToldResolution(float horizontal_dpi, float vertical_dpi);
  ToldResolution(const ToldResolution&) = delete;
  ToldResolution& operator=(const ToldResolution&) = delete;
  ~ToldResolution();

  float horizontal_dpi() const { return horizontal_dpi_; }
  float vertical_dpi() const { return vertical_dpi_; }

 private:
  float horizontal_dpi_;
  float vertical_dpi_;
};

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_PLATFORM_CALLS_H_
