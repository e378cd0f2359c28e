// The image codecs that the platform has.
#ifndef PIXTOLA_IO_CODEC_LIST_H_
#define PIXTOLA_IO_CODEC_LIST_H_

#include <cstdint>
#include <span>

#include "base/memory.h"
#include "platform.h"

namespace pixtola {

/// Records, and the strings that they point to, in one block. Empty when the platform has no
/// codecs, when it does not list them, or when out of memory.
class CodecList {
 public:
  static CodecList OfDecoders();
  static CodecList OfEncoders();

  std::span<const Gdiplus::ImageCodecInfo> codecs() const { return codecs_; }

 private:
  using GetSize = Gdiplus::Status (*)(UINT* count, UINT* size);
  using GetList = Gdiplus::Status (*)(UINT count, UINT size, Gdiplus::ImageCodecInfo* codecs);

  CodecList(GetSize get_size, GetList get_list);

  Block<std::uint8_t> block_;
  std::span<const Gdiplus::ImageCodecInfo> codecs_;
};

}  // namespace pixtola

#endif  // PIXTOLA_IO_CODEC_LIST_H_
