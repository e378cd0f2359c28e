// The flat API on encoded images in files and streams.

#include <new>

#include "base/files.h"
#include "base/utf8.h"
#include "codecs/codec_choice.h"
#include "system/file_sink.h"
#include "system/streams.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

Status DecodeFile(const wchar_t* path, std::unique_ptr<BitmapObject>& bitmap) {
  const Utf8Path utf8_path(path);
  if (!utf8_path.is_valid()) return Gdiplus::InvalidParameter;
  FileBytes file;
  const Status status = ReadFile(utf8_path.c_str(), file);
  if (status != Gdiplus::Ok) return status;
  return DecodeImage({file.bytes.get(), file.size}, bitmap);
}

Status DecodeStream(IStream& stream, std::unique_ptr<BitmapObject>& bitmap) {
  StreamBytes source;
  const Status status = source.Read(stream);
  if (status != Gdiplus::Ok) return status;
  return DecodeImage(source.bytes(), bitmap);
}

Status EncodeFile(const BitmapObject& bitmap, const wchar_t* path, const CLSID& encoder,
                  const Gdiplus::EncoderParameters* parameters) {
  const Codec* codec = FindEncoder(encoder, bitmap);
  const Utf8Path utf8_path(path);
  if (codec == nullptr || !utf8_path.is_valid()) return Gdiplus::InvalidParameter;
  FileSink sink(utf8_path.c_str());
  if (!sink.is_open()) return Gdiplus::Win32Error;
  Status status = codec->encode(bitmap, parameters, sink);
  if (status == Gdiplus::Ok && !sink.Close()) status = Gdiplus::Win32Error;
  if (status != Gdiplus::Ok) sink.Discard();
  return status;
}

Status EncodeStream(const BitmapObject& bitmap, IStream& stream, const CLSID& encoder,
                    const Gdiplus::EncoderParameters* parameters) {
  const Codec* codec = FindEncoder(encoder, bitmap);
  if (codec == nullptr) return Gdiplus::InvalidParameter;
  StreamSink sink(stream);
  return codec->encode(bitmap, parameters, sink);
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

GpStatus GdipCreateBitmapFromStream(IStream* stream, GpBitmap** bitmap) try {
  if (stream == nullptr || bitmap == nullptr) return InvalidParameter;
  *bitmap = nullptr;
  std::unique_ptr<BitmapObject> decoded;
  const Status status = pixtola::portable::DecodeStream(*stream, decoded);
  *bitmap = decoded.release();
  return status;
} catch (const std::bad_alloc&) {
  return OutOfMemory;
}

GpStatus GdipSaveImageToStream(GpImage* image, IStream* stream, const CLSID* encoder,
                               const EncoderParameters* parameters) try {
  if (image == nullptr || stream == nullptr || encoder == nullptr) return InvalidParameter;
  return pixtola::portable::EncodeStream(BitmapObject::From(*image), *stream, *encoder, parameters);
} catch (const std::bad_alloc&) {
  return OutOfMemory;
}

}  // namespace Gdiplus::DllExports
