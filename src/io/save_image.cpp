// Saving bitmaps: the encoder and its one parameter, the conversion that fax and run-length types
// ask for, and who writes the file.

#include <optional>

#include "base/owners.h"
#include "bitmap/bitmap_stream.h"
#include "bitmap/encoded_copy.h"
#include "convert/bitmap_transfer.h"
#include "format/file_types.h"
#include "io/codec_list.h"
#include "io/pcx_writer.h"
#include "io/tiff_writer.h"
#include "platform.h"

namespace pixtola {

namespace {

/// The class identifier of the first installed encoder that writes what the file type asks for.
std::optional<CLSID> FindEncoderForFileType(const FileType& type) {
  const CodecList encoders = CodecList::OfEncoders();
  for (const Gdiplus::ImageCodecInfo& encoder : encoders.codecs()) {
    if (encoder.FormatID == *type.container) return encoder.Clsid;
  }
  return {};
}

/// Where an image is saved to: one of the two.
struct Target {
  const wchar_t* path = nullptr;
  IStream* stream = nullptr;
};

int SaveWithLibtiff(Gdiplus::Bitmap& bitmap, PxtFileType type, const Target& target) {
  return target.stream != nullptr ? WriteTiffStream(&bitmap, type, target.stream)
                                  : WriteTiffFile(&bitmap, type, target.path);
}

Gdiplus::Status SaveWithPlatform(Gdiplus::Bitmap& bitmap, const Target& target,
                                 const CLSID& encoder, const FileType& type) {
  ULONG value = type.parameter_value;
  Gdiplus::EncoderParameters block{1,
                                   {{GUID{}, 1, Gdiplus::EncoderParameterValueTypeLong, &value}}};
  if (type.parameter != nullptr) block.Parameter[0].Guid = *type.parameter;
  const Gdiplus::EncoderParameters* parameters = type.parameter != nullptr ? &block : nullptr;
  return target.stream != nullptr ? bitmap.Save(target.stream, &encoder, parameters)
                                  : bitmap.Save(target.path, &encoder, parameters);
}

int SaveImage(Gdiplus::Bitmap& bitmap, PxtFileType code, const Target& target) {
  const Gdiplus::PixelFormat format = bitmap.GetPixelFormat();
  const FileType* type = FindFileType(code);
  if (type == nullptr || type->container == nullptr) return 0;
  const std::optional<CLSID> encoder = FindEncoderForFileType(*type);
  if (!encoder.has_value()) return 0;
  Gdiplus::Bitmap* saved = &bitmap;
  BitmapPointer converted;
  if (type->to_bilevel.has_value() && format != PixelFormat1bppIndexed) {
    converted = ConvertBitmap(*type->to_bilevel, bitmap);
    if (converted == nullptr) return 0;
    saved = converted.get();
  }
  // libtiff writes 1-bit TIFF; if it fails, the platform's encoder tries next.
  if (type->tiff_compression != 0 && saved->GetPixelFormat() == PixelFormat1bppIndexed) {
    if (SaveWithLibtiff(*saved, code, target) != 0) return 1;
    // Overwrites what libtiff may have written.
    if (target.stream != nullptr) target.stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
  }
  return SaveWithPlatform(*saved, target, *encoder, *type) == Gdiplus::Ok ? 1 : 0;
}

}  // namespace

ComPointer<IStream> EncodeToMemory(Gdiplus::Bitmap& bitmap, PxtFileType type) {
  CBitmapStream stream(EncodedSizeEstimate(bitmap, type));
  if (!stream.has_inner() || SaveImage(bitmap, type, {.stream = &stream}) == 0) return nullptr;
  return stream.Finish();
}

}  // namespace pixtola

int PxtSaveBitmapToFile(Gdiplus::Bitmap* bitmap, PxtFileType type, const wchar_t* path) {
  if (bitmap == nullptr || path == nullptr) return 0;
  if (type == PxtFileTypePcx) return pixtola::WritePcxFile(path, bitmap);
  return pixtola::SaveImage(*bitmap, type, {.path = path});
}

int PxtSaveBitmapToStream(Gdiplus::Bitmap* bitmap, IStream** stream, PxtFileType type) {
  if (bitmap == nullptr || stream == nullptr) return 0;
  pixtola::ComPointer<IStream> encoded = pixtola::EncodeToMemory(*bitmap, type);
  if (encoded == nullptr) return 0;
  *stream = encoded.release();
  return 1;
}
