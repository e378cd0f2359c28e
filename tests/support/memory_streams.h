// Streams in memory for tests: made of bytes, read back as bytes.
#ifndef PIXTOLA_TESTS_SUPPORT_MEMORY_STREAMS_H_
#define PIXTOLA_TESTS_SUPPORT_MEMORY_STREAMS_H_

#include <cstdint>
#include <memory>

#include "support/test_bitmap.h"

namespace pixtola::test {

struct ReleaseStream {
  void operator()(IStream* stream) const { stream->Release(); }
};
using StreamPointer = std::unique_ptr<IStream, ReleaseStream>;

/// Takes over a stream that a function returns through a pointer.
class StreamReceiver {
 public:
  explicit StreamReceiver(StreamPointer& stream) : stream_(stream) {}
  ~StreamReceiver() { stream_.reset(raw_); }
  operator IStream**() { return &raw_; }

 private:
  StreamPointer& stream_;
  IStream* raw_ = nullptr;
};

StreamReceiver Receive(StreamPointer& stream);

/// Numbers as streams take them.
LARGE_INTEGER Offset(std::int64_t value);
ULARGE_INTEGER Size(std::uint64_t value);

/// Returns the stream's new position.
std::uint64_t Seek(IStream& stream, std::int64_t offset, STREAM_SEEK origin);

void SeekTo(IStream& stream, std::uint64_t position);

std::uint64_t PositionOf(IStream& stream);

std::uint64_t SizeOf(IStream& stream);

void SetSize(IStream& stream, std::uint64_t size);

/// Writes at the position.
void Write(IStream& stream, const Bytes& bytes);

/// Up to `size` bytes from the position on.
Bytes Read(IStream& stream, std::uint64_t size);

/// The whole stream; its position stays.
Bytes BytesOf(IStream& stream);

StreamPointer EmptyStream();

/// A stream of these bytes, with its position at the start.
StreamPointer StreamOf(const Bytes& bytes);

/// How many references there are to a stream.
ULONG ReferencesTo(IStream& stream);

/// What an out pointer holds that must stay as it is: never used as a stream.
IStream* UntouchedStream();

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_MEMORY_STREAMS_H_
