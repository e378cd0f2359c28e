// Saving bitmaps: which encoder a file type means, its one parameter, the conversion that fax and
// run-length types ask for, and who writes the file.

#include <memory>
#include <optional>

#include "base/platform_object.h"
#include "bitmap/bitmap_stream.h"
#include "bitmap/encoded_copy.h"
#include "io/codec_list.h"
#include "io/pcx_writer.h"
#include "io/tiff_writer.h"
#include "platform.h"

namespace pixtola {

namespace {

/// What saving as a file type means.
struct FileTypeRule {
  GUID container;
  std::optional<GUID> parameter;  ///< the encoder parameter, if there is one
  ULONG parameter_value = 0;
  std::optional<PxtConversionMethod> to_bilevel;  ///< for images that are not 1-bit yet
};

/// Nothing for codes that no encoder is asked for.
std::optional<FileTypeRule> RuleOf(PxtFileType type) {
  switch (type) {
    case PxtFileTypeBmp:
      return FileTypeRule{Gdiplus::ImageFormatBMP, {}, 0, {}};
    case PxtFileTypeGif:
      return FileTypeRule{Gdiplus::ImageFormatGIF, {}, 0, {}};
    case PxtFileTypeJpeg:
      return FileTypeRule{Gdiplus::ImageFormatJPEG, Gdiplus::EncoderQuality, 85, {}};
    case PxtFileTypePng:
      return FileTypeRule{Gdiplus::ImageFormatPNG, {}, 0, {}};
    case PxtFileTypeTiffGroup3:
      return FileTypeRule{Gdiplus::ImageFormatTIFF, Gdiplus::EncoderCompression,
                          Gdiplus::EncoderValueCompressionCCITT3, MethodBilevelDiffusion};
    case PxtFileTypeTiffGroup4:
      return FileTypeRule{Gdiplus::ImageFormatTIFF, Gdiplus::EncoderCompression,
                          Gdiplus::EncoderValueCompressionCCITT4, MethodBilevelDiffusion};
    case PxtFileTypeTiffLzw:
      return FileTypeRule{Gdiplus::ImageFormatTIFF,
                          Gdiplus::EncoderCompression,
                          Gdiplus::EncoderValueCompressionLZW,
                          {}};
    case PxtFileTypeTiffRunLength:
      // Kept on purpose: run lengths here, PackBits where libtiff writes the file.
      return FileTypeRule{Gdiplus::ImageFormatTIFF, Gdiplus::EncoderCompression,
                          Gdiplus::EncoderValueCompressionRle, MethodBilevelOtsu};
    case PxtFileTypeTiffNone:
      return FileTypeRule{Gdiplus::ImageFormatTIFF,
                          Gdiplus::EncoderCompression,
                          Gdiplus::EncoderValueCompressionNone,
                          {}};
    case PxtFileTypeJpegLow:
      return FileTypeRule{Gdiplus::ImageFormatJPEG, Gdiplus::EncoderQuality, 35, {}};
    case PxtFileTypeJpegHigh:
      return FileTypeRule{Gdiplus::ImageFormatJPEG, Gdiplus::EncoderQuality, 97, {}};
    case PxtFileTypePcx:
      break;
  }
  return std::nullopt;
}

/// The class identifier of the first installed encoder that writes what the file type asks for.
std::optional<CLSID> FindEncoderForFileType(const FileTypeRule& rule) {
  const CodecList encoders = CodecList::OfEncoders();
  for (const Gdiplus::ImageCodecInfo& encoder : encoders.codecs()) {
    if (encoder.FormatID == rule.container) return encoder.Clsid;
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
                                 const CLSID& encoder, const FileTypeRule& rule) {
  ULONG value = rule.parameter_value;
  const Gdiplus::EncoderParameters block{
      1, {{rule.parameter.value_or(GUID{}), 1, Gdiplus::EncoderParameterValueTypeLong, &value}}};
  const Gdiplus::EncoderParameters* parameters = rule.parameter.has_value() ? &block : nullptr;
  return target.stream != nullptr ? bitmap.Save(target.stream, &encoder, parameters)
                                  : bitmap.Save(target.path, &encoder, parameters);
}

int SaveImage(Gdiplus::Bitmap& bitmap, PxtFileType type, const Target& target) {
  const Gdiplus::PixelFormat format = bitmap.GetPixelFormat();
  const std::optional<FileTypeRule> rule = RuleOf(type);
  if (!rule.has_value()) return 0;
  const std::optional<CLSID> encoder = FindEncoderForFileType(*rule);
  if (!encoder.has_value()) return 0;

  Gdiplus::Bitmap* saved = &bitmap;
  BitmapPointer converted;
  if (rule->to_bilevel.has_value() && format != PixelFormat1bppIndexed) {
    Gdiplus::Bitmap* result = nullptr;
    if (PxtBitmapToBitmap(*rule->to_bilevel, bitmap, &result) == 0) return 0;
    converted.reset(result);
    saved = result;
  }
  // libtiff writes 1-bit TIFF; should it fail, the platform's encoder has a second try.
  if (rule->container == Gdiplus::ImageFormatTIFF &&
      saved->GetPixelFormat() == PixelFormat1bppIndexed) {
    if (SaveWithLibtiff(*saved, type, target) != 0) return 1;
    // Over what libtiff may have written.
    if (target.stream != nullptr) target.stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
  }
  return SaveWithPlatform(*saved, target, *encoder, *rule) == Gdiplus::Ok ? 1 : 0;
}

}  // namespace

IStream* EncodeToMemory(Gdiplus::Bitmap& bitmap, PxtFileType type) {
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
  IStream* encoded = pixtola::EncodeToMemory(*bitmap, type);
  if (encoded == nullptr) return 0;
  *stream = encoded;
  return 1;
}
