// Streams in memory for tests: made of bytes, read back as bytes.
#ifndef PIXTOLA_TESTS_SUPPORT_MEMORY_STREAMS_H_
#define PIXTOLA_TESTS_SUPPORT_MEMORY_STREAMS_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

#include "support/test_bitmap.h"

namespace test_support {

struct ReleaseStream {
  void operator()(IStream* stream) const { stream->Release(); }
};
using StreamPointer = std::unique_ptr<IStream, ReleaseStream>;

/// Takes over a stream that a function hands out through a pointer.
class StreamReceiver {
 public:
  explicit StreamReceiver(StreamPointer& stream) : stream_(stream) {}
  ~StreamReceiver() { stream_.reset(raw_); }
  operator IStream**() { return &raw_; }

 private:
  StreamPointer& stream_;
  IStream* raw_ = nullptr;
};

inline StreamReceiver Receive(StreamPointer& stream) { return StreamReceiver(stream); }

/// Returns the stream's new position.
inline std::uint64_t Seek(IStream& stream, std::int64_t offset, STREAM_SEEK origin) {
  LARGE_INTEGER move{};
  move.QuadPart = offset;
  ULARGE_INTEGER position{};
  EXPECT_EQ(stream.Seek(move, static_cast<DWORD>(origin), &position), S_OK);
  return position.QuadPart;
}

inline void SeekTo(IStream& stream, std::uint64_t position) {
  Seek(stream, static_cast<std::int64_t>(position), STREAM_SEEK_SET);
}

inline std::uint64_t PositionOf(IStream& stream) { return Seek(stream, 0, STREAM_SEEK_CUR); }

inline std::uint64_t SizeOf(IStream& stream) {
  STATSTG state{};
  EXPECT_EQ(stream.Stat(&state, STATFLAG_NONAME), S_OK);
  return state.cbSize.QuadPart;
}

inline void SetSize(IStream& stream, std::uint64_t size) {
  ULARGE_INTEGER new_size{};
  new_size.QuadPart = size;
  EXPECT_EQ(stream.SetSize(new_size), S_OK);
}

/// Writes at the position.
inline void Write(IStream& stream, const Bytes& bytes) {
  ULONG written = 0;
  EXPECT_EQ(stream.Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written), S_OK);
  EXPECT_EQ(written, bytes.size());
}

/// Up to `size` bytes from the position on.
inline Bytes Read(IStream& stream, std::uint64_t size) {
  Bytes bytes(static_cast<std::size_t>(size));
  if (bytes.empty()) return bytes;  // without an address to read to
  ULONG read = 0;
  EXPECT_TRUE(SUCCEEDED(stream.Read(bytes.data(), static_cast<ULONG>(size), &read)));
  bytes.resize(read);
  return bytes;
}

/// The whole stream; its position stays.
inline Bytes BytesOf(IStream& stream) {
  const std::uint64_t position = PositionOf(stream);
  SeekTo(stream, 0);
  Bytes bytes = Read(stream, SizeOf(stream));
  SeekTo(stream, position);
  return bytes;
}

inline StreamPointer EmptyStream() {
  StreamPointer stream;
  EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, Receive(stream)), S_OK);
  return stream;
}

/// A stream of these bytes, its position at the start.
inline StreamPointer StreamOf(const Bytes& bytes) {
  StreamPointer stream = EmptyStream();
  if (!bytes.empty()) Write(*stream, bytes);
  SeekTo(*stream, 0);
  return stream;
}

/// How many references there are to a stream.
inline ULONG ReferencesTo(IStream& stream) {
  stream.AddRef();
  return stream.Release();
}

/// A stream for the place of a result that must stay as it is: never used as a stream.
inline IStream* UntouchedStream() {
  static std::uintptr_t place = 0;
  return reinterpret_cast<IStream*>(&place);
}

}  // namespace test_support

#endif  // PIXTOLA_TESTS_SUPPORT_MEMORY_STREAMS_H_
