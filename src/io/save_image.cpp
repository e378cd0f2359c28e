// Saving bitmaps: which encoder a file type means, its one parameter, the conversion that fax and
// run-length types ask for, and who writes the file.

#include <memory>
#include <optional>

#include "base/memory.h"
#include "bitmap/encoded_copy.h"
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

/// The class identifier of the first installed encoder that writes the container.
std::optional<CLSID> FindEncoder(const GUID& container) {
  UINT count = 0;
  UINT size = 0;
  if (Gdiplus::GetImageEncodersSize(&count, &size) != Gdiplus::Ok || count == 0) return {};
  // The list is one block: `count` records, then the strings that they point to.
  const Block<std::uint8_t> block = Allocate<std::uint8_t>(size);
  auto* encoders = reinterpret_cast<Gdiplus::ImageCodecInfo*>(block.get());
  if (encoders == nullptr || Gdiplus::GetImageEncoders(count, size, encoders) != Gdiplus::Ok) {
    return {};
  }
  for (UINT i = 0; i < count; ++i) {
    if (encoders[i].FormatID == container) return encoders[i].Clsid;
  }
  return {};
}

Gdiplus::Status SaveWithPlatform(Gdiplus::Bitmap& bitmap, const wchar_t* path, const CLSID& encoder,
                                 const FileTypeRule& rule) {
  if (!rule.parameter.has_value()) return bitmap.Save(path, &encoder, nullptr);
  ULONG value = rule.parameter_value;
  const Gdiplus::EncoderParameters parameters{
      1, {{*rule.parameter, 1, Gdiplus::EncoderParameterValueTypeLong, &value}}};
  return bitmap.Save(path, &encoder, &parameters);
}

int SaveImage(Gdiplus::Bitmap& bitmap, PxtFileType type, const wchar_t* path) {
  const Gdiplus::PixelFormat format = bitmap.GetPixelFormat();
  const std::optional<FileTypeRule> rule = RuleOf(type);
  if (!rule.has_value()) return 0;
  const std::optional<CLSID> encoder = FindEncoder(rule->container);
  if (!encoder.has_value()) return 0;

  Gdiplus::Bitmap* saved = &bitmap;
  std::unique_ptr<Gdiplus::Bitmap> converted;
  if (rule->to_bilevel.has_value() && format != PixelFormat1bppIndexed) {
    Gdiplus::Bitmap* result = nullptr;
    if (PxtBitmapToBitmap(*rule->to_bilevel, bitmap, &result) == 0) return 0;
    converted.reset(result);
    saved = result;
  }
  // libtiff writes 1-bit TIFF; should it fail, the platform's encoder has a second try.
  if (rule->container == Gdiplus::ImageFormatTIFF &&
      saved->GetPixelFormat() == PixelFormat1bppIndexed && WriteTiffFile(saved, type, path) != 0) {
    return 1;
  }
  return SaveWithPlatform(*saved, path, *encoder, *rule) == Gdiplus::Ok ? 1 : 0;
}

}  // namespace

bool MakeEncodedCopy(Gdiplus::Bitmap& /*bitmap*/, EncodedCopy& /*copy*/) {
  // Bitmaps are not encoded into memory streams so far; the generator copies the rows instead.
  return false;
}

}  // namespace pixtola

int PxtSaveBitmapToFile(Gdiplus::Bitmap* bitmap, PxtFileType type, const wchar_t* path) {
  if (bitmap == nullptr || path == nullptr) return 0;
  return pixtola::SaveImage(*bitmap, type, path);
}
