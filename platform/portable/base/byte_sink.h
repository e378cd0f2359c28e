// Where encoded images go.
#ifndef PIXTOLA_PORTABLE_BYTE_SINK_H_
#define PIXTOLA_PORTABLE_BYTE_SINK_H_

#include <cstddef>
#include <cstdint>

namespace pixtola::portable {

/// Its position can be moved back to patch what was written.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  /// False when not everything could be written.
  virtual bool Write(const void* bytes, std::size_t size) = 0;
  /// Moves to `position` bytes from the start.
  virtual bool Seek(std::uint64_t position) = 0;
  /// Bytes from the start to where the next write goes.
  virtual std::uint64_t Position() const = 0;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_BYTE_SINK_H_
