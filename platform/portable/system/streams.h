// Encoded images in COM streams: read whole, written piece by piece.
#ifndef PIXTOLA_PORTABLE_STREAMS_H_
#define PIXTOLA_PORTABLE_STREAMS_H_

#include <span>

#include "codecs/codec.h"
#include "imaging/heap_bytes.h"
#include "pixtola/portable/stream.h"

namespace pixtola::portable {

/// All bytes of a stream, from its start wherever its position is. Those of a memory stream are
/// looked at where they are; others are read.
class StreamBytes {
 public:
  StreamBytes() = default;
  StreamBytes(const StreamBytes&) = delete;
  StreamBytes& operator=(const StreamBytes&) = delete;
  ~StreamBytes();

  /// OutOfMemory when there are more bytes than the decode limit has or memory lacks, Win32Error
  /// when the stream fails.
  Gdiplus::Status Read(IStream& stream);

  /// Valid as long as this object and the stream, unless that is written to.
  std::span<const std::uint8_t> bytes() const { return bytes_; }

 private:
  Gdiplus::Status ReadThrough(IStream& stream);

  std::span<const std::uint8_t> bytes_;
  HGLOBAL locked_ = nullptr;
  HeapBytes own_;
};

/// Writes from where the stream's position is.
class StreamSink final : public ByteSink {
 public:
  explicit StreamSink(IStream& stream);

  bool Write(const void* bytes, std::size_t size) override;
  bool Seek(std::uint64_t position) override;
  std::uint64_t Position() const override { return position_; }

 private:
  IStream& stream_;
  std::uint64_t start_ = 0;  ///< of what is written, in the stream
  std::uint64_t position_ = 0;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_STREAMS_H_
