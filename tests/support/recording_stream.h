// A stream in memory that writes down what is asked of it, and whose calls fail or fall short on
// demand.
#ifndef PIXTOLA_TESTS_SUPPORT_RECORDING_STREAM_H_
#define PIXTOLA_TESTS_SUPPORT_RECORDING_STREAM_H_

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "support/test_bitmap.h"

// Some systems' interfaces have a destructor that is neither virtual nor hidden. Streams end by
// Release.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace test_support {

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

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
    *object = nullptr;
    return static_cast<HRESULT>(0x80004002U);  // E_NOINTERFACE
  }
  ULONG STDMETHODCALLTYPE AddRef() override {
    Record({StreamCall::kAddRef});
    return ++references;
  }
  ULONG STDMETHODCALLTYPE Release() override {
    Record({StreamCall::kRelease});
    return --references;
  }

  HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG size, ULONG* read) override {
    const bool is_due = Record({StreamCall::kRead, size});
    std::uint64_t count = is_due ? count_of_failures : std::min(size, most_at_once);
    count = std::min(count, bytes.size() - std::min<std::uint64_t>(position, bytes.size()));
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(count == 0 ? 0 : position), count,
                static_cast<std::uint8_t*>(buffer));
    position += count;
    if (read != nullptr) *read = static_cast<ULONG>(count);
    if (is_due) return kFailure;
    return count == size ? S_OK : S_FALSE;
  }

  /// What does not fit into `capacity` is not written at all.
  HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG size, ULONG* written) override {
    const bool is_due = Record({StreamCall::kWrite, size}) || position + size > capacity;
    const std::uint64_t count = is_due ? count_of_failures : std::min(size, most_at_once);
    if (count != 0) {
      bytes.resize(
          static_cast<std::size_t>(std::max<std::uint64_t>(bytes.size(), position + count)));
      std::copy_n(static_cast<const std::uint8_t*>(buffer), count,
                  bytes.begin() + static_cast<std::ptrdiff_t>(position));
      position += count;
    }
    if (written != nullptr) *written = static_cast<ULONG>(count);
    return is_due ? kFailure : S_OK;
  }

  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin,
                                 ULARGE_INTEGER* new_position) override {
    if (Record({StreamCall::kSeek, static_cast<std::uint64_t>(move.QuadPart), origin})) {
      return kFailure;
    }
    const std::uint64_t from = origin == STREAM_SEEK_SET   ? 0
                               : origin == STREAM_SEEK_CUR ? position
                                                           : bytes.size();
    position = from + static_cast<std::uint64_t>(move.QuadPart);
    if (new_position != nullptr) new_position->QuadPart = position;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD flags) override {
    if (Record({StreamCall::kStat, flags})) return kFailure;
    *stat = {};
    stat->type = STGTY_STREAM;
    stat->cbSize.QuadPart = claimed_size.value_or(bytes.size());
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return Refuse(); }
  HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*,
                                   ULARGE_INTEGER*) override {
    return Refuse();
  }
  HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return Refuse(); }
  HRESULT STDMETHODCALLTYPE Revert() override { return Refuse(); }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return Refuse();
  }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return Refuse();
  }
  HRESULT STDMETHODCALLTYPE Clone(IStream** stream) override {
    *stream = nullptr;
    return Refuse();
  }

  /// The calls since the last time, which are forgotten by it.
  std::vector<StreamRecord> TakeRecords() { return std::exchange(records_, {}); }

  Bytes bytes;
  std::uint64_t position = 0;
  ULONG references = 1;

  std::optional<std::uint64_t> claimed_size;  ///< what Stat tells instead of the real one
  std::uint64_t capacity = std::numeric_limits<std::uint64_t>::max();
  ULONG most_at_once = std::numeric_limits<ULONG>::max();  ///< bytes of one read or write
  ULONG count_of_failures = 0;  ///< bytes that a failing read or write moves nevertheless
  /// Whether a call fails. It also is the place to look around during one.
  std::function<bool(const StreamRecord&)> fails = [](const StreamRecord&) { return false; };

 private:
  bool Record(const StreamRecord& record) {
    records_.push_back(record);
    return fails(record);
  }
  HRESULT Refuse() {
    Record({StreamCall::kOther});
    return static_cast<HRESULT>(0x80004001U);  // E_NOTIMPL
  }

  std::vector<StreamRecord> records_;
};

}  // namespace test_support

#pragma GCC diagnostic pop

#endif  // PIXTOLA_TESTS_SUPPORT_RECORDING_STREAM_H_
