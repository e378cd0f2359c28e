// The flat API on files and codecs: a file is decoded by whichever codec recognises its first
// bytes, saved by the encoder that the caller names.

#include <cstring>
#include <new>
#include <string>

#include "codecs/codec.h"
#include "system/files.h"
#include "system/utf8.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

Status DecodeBytes(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap) {
  for (const Codec& codec : Codecs()) {
    if (codec.recognizes(bytes)) return codec.decode(bytes, bitmap);
  }
  return Gdiplus::OutOfMemory;  // the platform's answer to data that no codec knows
}

Status DecodeFile(const wchar_t* path, std::unique_ptr<BitmapObject>& bitmap) {
  const std::optional<std::string> utf8_path = Utf8FromWide(path);
  if (!utf8_path.has_value()) return Gdiplus::InvalidParameter;
  FileBytes file;
  const Status status = ReadFile(utf8_path->c_str(), file);
  if (status != Gdiplus::Ok) return status;
  return DecodeBytes({file.bytes.get(), file.size}, bitmap);
}

const Codec* FindEncoder(const CLSID& encoder) {
  for (const Codec& codec : Codecs()) {
    if (codec.encode != nullptr && codec.info.Clsid == encoder) return &codec;
  }
  return nullptr;
}

Status EncodeFile(const BitmapObject& bitmap, const wchar_t* path, const CLSID& encoder,
                  const Gdiplus::EncoderParameters* parameters) {
  const Codec* codec = FindEncoder(encoder);
  const std::optional<std::string> utf8_path = Utf8FromWide(path);
  if (codec == nullptr || !utf8_path.has_value()) return Gdiplus::InvalidParameter;
  FileSink sink(utf8_path->c_str());
  if (!sink.is_open()) return Gdiplus::Win32Error;
  Status status = codec->encode(bitmap, parameters, sink);
  if (status == Gdiplus::Ok && !sink.Close()) status = Gdiplus::Win32Error;
  if (status != Gdiplus::Ok) sink.Discard();
  return status;
}

UINT CountEncoders() {
  UINT count = 0;
  for (const Codec& codec : Codecs()) count += codec.encode != nullptr ? 1 : 0;
  return count;
}

}  // namespace

}  // namespace pixtola::portable

namespace Gdiplus::DllExports {

using pixtola::portable::BitmapObject;

GpStatus GdipCreateBitmapFromFile(const WCHAR* path, GpBitmap** bitmap) try {
  if (path == nullptr || bitmap == nullptr) return InvalidParameter;
  *bitmap = nullptr;
  std::unique_ptr<BitmapObject> decoded;
  const Status status = pixtola::portable::DecodeFile(path, decoded);
  *bitmap = decoded.release();
  return status;
} catch (const std::bad_alloc&) {
  return OutOfMemory;
}

GpStatus GdipSaveImageToFile(GpImage* image, const WCHAR* path, const CLSID* encoder,
                             const EncoderParameters* parameters) try {
  if (image == nullptr || path == nullptr || encoder == nullptr) return InvalidParameter;
  return pixtola::portable::EncodeFile(BitmapObject::From(*image), path, *encoder, parameters);
} catch (const std::bad_alloc&) {
  return OutOfMemory;
}

GpStatus GdipGetImageEncodersSize(UINT* count, UINT* size) {
  if (count == nullptr || size == nullptr) return InvalidParameter;
  *count = pixtola::portable::CountEncoders();
  *size = *count * static_cast<UINT>(sizeof(ImageCodecInfo));
  return Ok;
}

GpStatus GdipGetImageEncoders(UINT count, UINT size, ImageCodecInfo* encoders) {
  if (encoders == nullptr || count != pixtola::portable::CountEncoders() ||
      size != count * sizeof(ImageCodecInfo)) {
    return GenericError;
  }
  for (const pixtola::portable::Codec& codec : pixtola::portable::Codecs()) {
    if (codec.encode != nullptr) *encoders++ = codec.info;
  }
  return Ok;
}

}  // namespace Gdiplus::DllExports
