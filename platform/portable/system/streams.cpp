#include "system/streams.h"

#include <algorithm>
#include <limits>

#include "base/heap_bytes.h"
#include "pixtola/portable/kernel.h"
#include "shared/decode_limit.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

/// False when the stream cannot be moved there.
bool MoveTo(IStream& stream, std::uint64_t position) {
  if (position > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return false;
  LARGE_INTEGER move{};
  move.QuadPart = static_cast<std::int64_t>(position);
  return SUCCEEDED(stream.Seek(move, STREAM_SEEK_SET, nullptr));
}

/// The stream's position; 0 when it does not report one.
std::uint64_t PositionOf(IStream& stream) {
  ULARGE_INTEGER position{};
  const bool is_known = SUCCEEDED(stream.Seek({}, STREAM_SEEK_CUR, &position));
  return is_known ? position.QuadPart : 0;
}

/// Bytes of the whole stream; false when it does not report them.
bool SizeOf(IStream& stream, std::uint64_t& size) {
  STATSTG stat{};
  if (FAILED(stream.Stat(&stat, STATFLAG_NONAME))) return false;
  size = stat.cbSize.QuadPart;
  return true;
}

}  // namespace

Status StreamBytes::Read(IStream& stream) {
  HGLOBAL memory = nullptr;
  if (FAILED(GetHGlobalFromStream(&stream, &memory))) return ReadThrough(stream);
  const void* bytes = GlobalLock(memory);
  if (bytes == nullptr) return Gdiplus::Ok;  // an empty block has no address
  locked_.reset(memory);
  bytes_ = {static_cast<const std::uint8_t*>(bytes), GlobalSize(memory)};
  return Gdiplus::Ok;
}

Status StreamBytes::ReadThrough(IStream& stream) {
  std::uint64_t size = 0;
  if (!SizeOf(stream, size) || !MoveTo(stream, 0)) return Gdiplus::Win32Error;
  if (size > platform::GetDecodeLimit().bytes) return Gdiplus::OutOfMemory;
  own_ = AllocateBytes(size);
  if (own_ == nullptr) return Gdiplus::OutOfMemory;
  constexpr std::uint64_t kMost = 1U << 30;
  std::uint64_t done = 0;
  while (done < size) {
    ULONG count = 0;
    const auto wanted = static_cast<ULONG>(std::min(kMost, size - done));
    if (FAILED(stream.Read(own_.get() + done, wanted, &count)) || count > wanted) {
      return Gdiplus::Win32Error;
    }
    if (count == 0) break;  // shorter than it said
    done += count;
  }
  bytes_ = {own_.get(), done};
  return Gdiplus::Ok;
}

StreamSink::StreamSink(IStream& stream) : stream_(stream), start_(PositionOf(stream)) {}

bool StreamSink::Write(const void* bytes, std::size_t size) {
  constexpr std::size_t kMost = 1U << 30;
  const auto* next = static_cast<const std::uint8_t*>(bytes);
  while (size > 0) {
    const auto wanted = static_cast<ULONG>(std::min(kMost, size));
    ULONG count = 0;
    if (FAILED(stream_.Write(next, wanted, &count)) || count != wanted) return false;
    next += count;
    size -= count;
    position_ += count;
  }
  return true;
}

bool StreamSink::Seek(std::uint64_t position) {
  if (!MoveTo(stream_, start_ + position)) return false;
  position_ = position;
  return true;
}

}  // namespace pixtola::portable
