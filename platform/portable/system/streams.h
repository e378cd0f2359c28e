// Encoded images in COM streams: read whole, written piece by piece.
#ifndef PIXTOLA_PORTABLE_STREAMS_H_
#define PIXTOLA_PORTABLE_STREAMS_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/byte_sink.h"
#include "base/handles.h"
#include "pixtola/portable/gdiplus.h"
#include "pixtola/portable/stream.h"

namespace pixtola::portable {

/// All bytes of a stream, from its start, wherever its position is. Those of a memory stream are
/// used in place; others are read.
class StreamBytes {
 public:
  /// OutOfMemory when there are more bytes than the decode limit has, or when out of memory;
  /// Win32Error when the stream fails.
  Gdiplus::Status Read(IStream& stream);

  /// Valid as long as this object and the stream, unless that is written to.
  std::span<const std::uint8_t> bytes() const { return bytes_; }

 private:
  Gdiplus::Status ReadThrough(IStream& stream);

  std::span<const std::uint8_t> bytes_;
  GlobalLockHandle locked_;
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
