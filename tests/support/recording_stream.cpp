#include "support/recording_stream.h"

#include <algorithm>

namespace pixtola::test {

HRESULT STDMETHODCALLTYPE RecordingStream::QueryInterface(REFIID, void** object) {
  *object = nullptr;
  return static_cast<HRESULT>(0x80004002U);  // E_NOINTERFACE
}

ULONG STDMETHODCALLTYPE RecordingStream::AddRef() {
  Record({StreamCall::kAddRef});
  return ++references;
}

ULONG STDMETHODCALLTYPE RecordingStream::Release() {
  Record({StreamCall::kRelease});
  return --references;
}

HRESULT STDMETHODCALLTYPE RecordingStream::Read(void* buffer, ULONG size, ULONG* read) {
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

HRESULT STDMETHODCALLTYPE RecordingStream::Write(const void* buffer, ULONG size, ULONG* written) {
  const bool is_due = Record({StreamCall::kWrite, size}) || position + size > capacity;
  const std::uint64_t count = is_due ? count_of_failures : std::min(size, most_at_once);
  if (count != 0) {
    bytes.resize(static_cast<std::size_t>(std::max<std::uint64_t>(bytes.size(), position + count)));
    std::copy_n(static_cast<const std::uint8_t*>(buffer), count,
                bytes.begin() + static_cast<std::ptrdiff_t>(position));
    position += count;
  }
  if (written != nullptr) *written = static_cast<ULONG>(count);
  return is_due ? kFailure : S_OK;
}

HRESULT STDMETHODCALLTYPE RecordingStream::Seek(LARGE_INTEGER move, DWORD origin,
                                                ULARGE_INTEGER* new_position) {
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

HRESULT STDMETHODCALLTYPE RecordingStream::Stat(STATSTG* stat, DWORD flags) {
  if (Record({StreamCall::kStat, flags})) return kFailure;
  *stat = {};
  stat->type = STGTY_STREAM;
  stat->cbSize.QuadPart = claimed_size.value_or(bytes.size());
  return S_OK;
}

HRESULT STDMETHODCALLTYPE RecordingStream::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*,
                                                  ULARGE_INTEGER*) {
  return Refuse();
}

HRESULT STDMETHODCALLTYPE RecordingStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return Refuse();
}

HRESULT STDMETHODCALLTYPE RecordingStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return Refuse();
}

HRESULT STDMETHODCALLTYPE RecordingStream::Clone(IStream** stream) {
  *stream = nullptr;
  return Refuse();
}

bool RecordingStream::Record(const StreamRecord& record) {
  records_.push_back(record);
  return fails(record);
}

HRESULT RecordingStream::Refuse() {
  Record({StreamCall::kOther});
  return static_cast<HRESULT>(0x80004001U);  // E_NOTIMPL
}

}  // namespace pixtola::test
