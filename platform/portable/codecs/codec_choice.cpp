#include "codecs/codec_choice.h"

#include <algorithm>
#include <new>
#include <utility>

#include "base/heap_bytes.h"

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

/// Keeps a copy of the encoded image with the bitmap when it has several frames. False when out of
/// memory.
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

}  // namespace

Status DecodeImage(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap) {
  bitmap = nullptr;
  const Codec* codec = FindDecoder(bytes);
  if (codec == nullptr) return Gdiplus::OutOfMemory;
  const Status status = codec->decode(bytes, bitmap);
  if (status != Gdiplus::Ok || codec->frames == nullptr) return status;
  if (KeepFrames(*codec->frames, bytes, *bitmap)) return Gdiplus::Ok;
  bitmap = nullptr;
  return Gdiplus::OutOfMemory;
}

const Codec* FindEncoder(const CLSID& encoder, const BitmapObject& bitmap) {
  if (bitmap.format() == PixelFormat16bppGrayScale) return nullptr;
  for (const Codec& codec : Codecs()) {
    if (codec.info.Clsid == encoder) return &codec;
  }
  return nullptr;
}

}  // namespace pixtola::portable
