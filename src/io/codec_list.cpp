#include "io/codec_list.h"

namespace pixtola {

CodecList CodecList::OfDecoders() {
  return {Gdiplus::GetImageDecodersSize, Gdiplus::GetImageDecoders};
}

CodecList CodecList::OfEncoders() {
  return {Gdiplus::GetImageEncodersSize, Gdiplus::GetImageEncoders};
}

CodecList::CodecList(GetSize get_size, GetList get_list) {
  UINT count = 0;
  UINT size = 0;
  if (get_size(&count, &size) != Gdiplus::Ok || count == 0) return;
  block_ = Allocate<std::uint8_t>(size);
  auto* codecs = reinterpret_cast<Gdiplus::ImageCodecInfo*>(block_.get());
  if (codecs != nullptr && get_list(count, size, codecs) == Gdiplus::Ok) codecs_ = {codecs, count};
}

}  // namespace pixtola
