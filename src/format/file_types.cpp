#include "format/file_types.h"

#include <tiffio.h>

#include <algorithm>

namespace pixtola {

namespace {

// In the order of their codes.
const FileType kFileTypes[] = {
    {PxtFileTypeBmp, &Gdiplus::ImageFormatBMP, nullptr, 0, 0, {}},
    {PxtFileTypeGif, &Gdiplus::ImageFormatGIF, nullptr, 0, 0, {}},
    {PxtFileTypeJpeg, &Gdiplus::ImageFormatJPEG, &Gdiplus::EncoderQuality, 85, 0, {}},
    {PxtFileTypePcx, nullptr, nullptr, 0, 0, {}},
    {PxtFileTypePng, &Gdiplus::ImageFormatPNG, nullptr, 0, 0, {}},
    {PxtFileTypeTiffGroup3, &Gdiplus::ImageFormatTIFF, &Gdiplus::EncoderCompression,
     Gdiplus::EncoderValueCompressionCCITT3, COMPRESSION_CCITTFAX3, MethodBilevelDiffusion},
    {PxtFileTypeTiffGroup4, &Gdiplus::ImageFormatTIFF, &Gdiplus::EncoderCompression,
     Gdiplus::EncoderValueCompressionCCITT4, COMPRESSION_CCITTFAX4, MethodBilevelDiffusion},
    {PxtFileTypeTiffLzw,
     &Gdiplus::ImageFormatTIFF,
     &Gdiplus::EncoderCompression,
     Gdiplus::EncoderValueCompressionLZW,
     COMPRESSION_LZW,
     {}},
    // Kept on purpose: run lengths with the platform's encoder, PackBits where libtiff writes.
    {PxtFileTypeTiffRunLength, &Gdiplus::ImageFormatTIFF, &Gdiplus::EncoderCompression,
     Gdiplus::EncoderValueCompressionRle, COMPRESSION_PACKBITS, MethodBilevelOtsu},
    {PxtFileTypeTiffNone,
     &Gdiplus::ImageFormatTIFF,
     &Gdiplus::EncoderCompression,
     Gdiplus::EncoderValueCompressionNone,
     COMPRESSION_NONE,
     {}},
    {PxtFileTypeJpegLow, &Gdiplus::ImageFormatJPEG, &Gdiplus::EncoderQuality, 35, 0, {}},
    {PxtFileTypeJpegHigh, &Gdiplus::ImageFormatJPEG, &Gdiplus::EncoderQuality, 97, 0, {}},
};

}  // namespace

std::span<const FileType> AllFileTypes() { return kFileTypes; }

const FileType* FindFileType(PxtFileType code) {
  const auto* found = std::find_if(std::begin(kFileTypes), std::end(kFileTypes),
                                   [code](const FileType& type) { return type.code == code; });
  return found != std::end(kFileTypes) ? found : nullptr;
}

}  // namespace pixtola
