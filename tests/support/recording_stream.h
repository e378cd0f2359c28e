// A stream in memory that records what is asked of it, and whose calls fail or fall short on
// demand.
#ifndef PIXTOLA_TESTS_SUPPORT_RECORDING_STREAM_H_
#define PIXTOLA_TESTS_SUPPORT_RECORDING_STREAM_H_

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "support/test_bitmap.h"

// Some systems' interfaces have a public destructor that is not virtual. Streams are ended by
// Release.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace pixtola::test {

enum class StreamCall { kAddRef, kRelease, kRead, kWrite, kSeek, kStat, kOther };

struct StreamRecord {
  StreamCall call;
  std::uint64_t number = 0;  ///< the size of a read or write, the move of a seek, Stat's flags
  DWORD origin = 0;          ///< of a seek

  friend bool operator==(const StreamRecord&, const StreamRecord&) = default;
};

/// Lives where it is declared: references are only counted.
class RecordingStream final : public IStream {
 public:
  static constexpr HRESULT kFailure = static_cast<HRESULT>(0x8003001DU);  // STG_E_WRITEFAULT

  explicit RecordingStream(Bytes content = {}) : bytes(std::move(content)) {}
  RecordingStream(const RecordingStream&) = delete;
  RecordingStream& operator=(const RecordingStream&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG size, ULONG* read) override;

  /// What does not fit into `capacity` is not written at all.
  HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG size, ULONG* written) override;

  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin,
                                 ULARGE_INTEGER* new_position) override;

  HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD flags) override;

  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return Refuse(); }
  HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*,
                                   ULARGE_INTEGER*) override;
  HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return Refuse(); }
  HRESULT STDMETHODCALLTYPE Revert() override { return Refuse(); }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override;
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override;
  HRESULT STDMETHODCALLTYPE Clone(IStream** stream) override;

  /// The calls since the last time; they are then forgotten.
  std::vector<StreamRecord> TakeRecords() { return std::exchange(records_, {}); }

  Bytes bytes;
  std::uint64_t position = 0;
  ULONG references = 1;

  std::optional<std::uint64_t> claimed_size;  ///< what Stat reports instead of the real one
  std::uint64_t capacity = std::numeric_limits<std::uint64_t>::max();
  ULONG most_at_once = std::numeric_limits<ULONG>::max();  ///< bytes of one read or write
  ULONG count_of_failures = 0;  ///< bytes that a failing read or write moves nevertheless
  /// Whether a call fails. Tests can also inspect things during a call here.
  std::function<bool(const StreamRecord&)> fails = [](const StreamRecord&) { return false; };

 private:
  bool Record(const StreamRecord& record);
  HRESULT Refuse();

  std::vector<StreamRecord> records_;
};

}  // namespace pixtola::test

#pragma GCC diagnostic pop

#endif  // PIXTOLA_TESTS_SUPPORT_RECORDING_STREAM_H_
