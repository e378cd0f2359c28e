// The flat API on encoded images in files and streams: one is decoded by whichever codec recognises
// its first bytes, saved by the encoder that the caller names.

#include <algorithm>
#include <new>

#include "codecs/codec.h"
#include "system/files.h"
#include "system/streams.h"
#include "system/utf8.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

/// The frames of an image that has several, with its encoded form.
class EncodedFrames final : public FrameSource {
 public:
  EncodedFrames(const FrameFunctions& functions, UINT count, HeapBytes bytes, std::size_t size)
      : functions_(functions), count_(count), bytes_(std::move(bytes)), size_(size) {}

  const GUID& dimension() const override { return functions_.dimension; }
  UINT count() const override { return count_; }
  Status Decode(UINT index, std::unique_ptr<BitmapObject>& bitmap) const override {
    return functions_.decode({bytes_.get(), size_}, index, bitmap);
  }

 private:
  const FrameFunctions& functions_;
  UINT count_;
  HeapBytes bytes_;
  std::size_t size_;
};

/// Keeps a copy of the encoded image with the bitmap when it has more frames than the first. False
/// when memory lacks.
bool KeepFrames(const FrameFunctions& functions, EncodedBytes bytes, BitmapObject& bitmap) {
  const UINT count = functions.count(bytes);
  if (count < 2) return true;
  HeapBytes copy = AllocateBytes(bytes.size());
  if (copy == nullptr) return false;
  std::copy(bytes.begin(), bytes.end(), copy.get());
  bitmap.frames.reset(new (std::nothrow)
                          EncodedFrames(functions, count, std::move(copy), bytes.size()));
  return bitmap.frames != nullptr;
}

const Codec* FindDecoder(EncodedBytes bytes) {
  for (const Codec& codec : Codecs()) {
    if (codec.recognizes(bytes)) return &codec;
  }
  return nullptr;
}

Status DecodeBytes(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap) {
  const Codec* codec = FindDecoder(bytes);
  if (codec == nullptr) return Gdiplus::OutOfMemory;  // the platform's answer to unknown data
  const Status status = codec->decode(bytes, bitmap);
  if (status != Gdiplus::Ok || codec->frames == nullptr) return status;
  if (KeepFrames(*codec->frames, bytes, *bitmap)) return Gdiplus::Ok;
  bitmap = nullptr;
  return Gdiplus::OutOfMemory;
}

Status DecodeFile(const wchar_t* path, std::unique_ptr<BitmapObject>& bitmap) {
  const Utf8Path utf8_path(path);
  if (!utf8_path.is_valid()) return Gdiplus::InvalidParameter;
  FileBytes file;
  const Status status = ReadFile(utf8_path.c_str(), file);
  if (status != Gdiplus::Ok) return status;
  return DecodeBytes({file.bytes.get(), file.size}, bitmap);
}

Status DecodeStream(IStream& stream, std::unique_ptr<BitmapObject>& bitmap) {
  StreamBytes source;
  const Status status = source.Read(stream);
  if (status != Gdiplus::Ok) return status;
  return DecodeBytes(source.bytes(), bitmap);
}

const Codec* FindEncoder(const CLSID& encoder) {
  for (const Codec& codec : Codecs()) {
    if (codec.info.Clsid == encoder) return &codec;
  }
  return nullptr;
}

/// Pixels of 16-bit gray convert to nothing, so that no encoder can take them.
bool CanBeEncoded(const BitmapObject& bitmap) {
  return bitmap.format() != PixelFormat16bppGrayScale;
}

Status EncodeFile(const BitmapObject& bitmap, const wchar_t* path, const CLSID& encoder,
                  const Gdiplus::EncoderParameters* parameters) {
  const Codec* codec = FindEncoder(encoder);
  const Utf8Path utf8_path(path);
  if (codec == nullptr || !utf8_path.is_valid() || !CanBeEncoded(bitmap)) {
    return Gdiplus::InvalidParameter;
  }
  FileSink sink(utf8_path.c_str());
  if (!sink.is_open()) return Gdiplus::Win32Error;
  Status status = codec->encode(bitmap, parameters, sink);
  if (status == Gdiplus::Ok && !sink.Close()) status = Gdiplus::Win32Error;
  if (status != Gdiplus::Ok) sink.Discard();
  return status;
}

Status EncodeStream(const BitmapObject& bitmap, IStream& stream, const CLSID& encoder,
                    const Gdiplus::EncoderParameters* parameters) {
  const Codec* codec = FindEncoder(encoder);
  if (codec == nullptr || !CanBeEncoded(bitmap)) return Gdiplus::InvalidParameter;
  StreamSink sink(stream);
  return codec->encode(bitmap, parameters, sink);
}

UINT CountCodecs() { return static_cast<UINT>(Codecs().size()); }

// All codecs read and write: the lists of encoders and of decoders are the same.

Status GetCodecsSize(UINT* count, UINT* size) {
  if (count == nullptr || size == nullptr) return Gdiplus::InvalidParameter;
  *count = CountCodecs();
  *size = *count * static_cast<UINT>(sizeof(Gdiplus::ImageCodecInfo));
  return Gdiplus::Ok;
}

Status GetCodecs(UINT count, UINT size, Gdiplus::ImageCodecInfo* infos) {
  if (infos == nullptr || count != CountCodecs() ||
      size != count * sizeof(Gdiplus::ImageCodecInfo)) {
    return Gdiplus::GenericError;
  }
  for (const Codec& codec : Codecs()) *infos++ = codec.info;
  return Gdiplus::Ok;
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

GpStatus GdipGetImageDecodersSize(UINT* count, UINT* size) {
  return pixtola::portable::GetCodecsSize(count, size);
}

GpStatus GdipGetImageDecoders(UINT count, UINT size, ImageCodecInfo* decoders) {
  return pixtola::portable::GetCodecs(count, size, decoders);
}

GpStatus GdipGetImageEncodersSize(UINT* count, UINT* size) {
  return pixtola::portable::GetCodecsSize(count, size);
}

GpStatus GdipGetImageEncoders(UINT count, UINT size, ImageCodecInfo* encoders) {
  return pixtola::portable::GetCodecs(count, size, encoders);
}

}  // namespace Gdiplus::DllExports
