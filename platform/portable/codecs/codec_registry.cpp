// The list of codecs with what GDI+ reports about each: identifiers, names, extensions, signatures.
//
// How one is chosen for an image is in codec_choice.cpp.
#include <array>

#include "codecs/codec.h"

namespace pixtola::portable {

namespace {

constexpr CLSID ClassId(std::uint32_t first) {
  return {first, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
}

// ImageCodecFlags of the real API.
constexpr DWORD kEncoder = 0x00000001;
constexpr DWORD kDecoder = 0x00000002;
constexpr DWORD kSupportBitmap = 0x00000004;
constexpr DWORD kBuiltin = 0x00010000;
constexpr DWORD kReadsAndWrites = kEncoder | kDecoder | kSupportBitmap | kBuiltin;

// As long as the longest list of signatures.
constexpr BYTE kExact[12] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                             0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
constexpr BYTE kBmpSignature[] = {'B', 'M'};
constexpr BYTE kJpegSignature[] = {0xFF, 0xD8};
constexpr BYTE kGifSignatures[] = {'G', 'I', 'F', '8', '7', 'a', 'G', 'I', 'F', '8', '9', 'a'};
constexpr BYTE kTiffSignatures[] = {'I', 'I', 'M', 'M'};
constexpr BYTE kPngSignature[] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};

constexpr DWORD kVersion = 1;

constexpr std::array<Codec, 5> kCodecs = {{
    {{ClassId(0x557CF400), Gdiplus::ImageFormatBMP, L"Built-in BMP Codec", nullptr, L"BMP",
      L"*.BMP;*.DIB;*.RLE", L"image/bmp", kReadsAndWrites, kVersion, 1, sizeof(kBmpSignature),
      kBmpSignature, kExact},
     IsBmp,
     DecodeBmp,
     EncodeBmp,
     nullptr},
    {{ClassId(0x557CF401), Gdiplus::ImageFormatJPEG, L"Built-in JPEG Codec", nullptr, L"JPEG",
      L"*.JPG;*.JPEG;*.JPE;*.JFIF", L"image/jpeg", kReadsAndWrites, kVersion, 1,
      sizeof(kJpegSignature), kJpegSignature, kExact},
     IsJpeg,
     DecodeJpeg,
     EncodeJpeg,
     nullptr},
    {{ClassId(0x557CF402), Gdiplus::ImageFormatGIF, L"Built-in GIF Codec", nullptr, L"GIF",
      L"*.GIF", L"image/gif", kReadsAndWrites, kVersion, 2, sizeof(kGifSignatures) / 2,
      kGifSignatures, kExact},
     IsGif,
     DecodeGif,
     EncodeGif,
     &kGifFrames},
    {{ClassId(0x557CF405), Gdiplus::ImageFormatTIFF, L"Built-in TIFF Codec", nullptr, L"TIFF",
      L"*.TIF;*.TIFF", L"image/tiff", kReadsAndWrites, kVersion, 2, sizeof(kTiffSignatures) / 2,
      kTiffSignatures, kExact},
     IsTiff,
     DecodeTiff,
     EncodeTiff,
     &kTiffFrames},
    {{ClassId(0x557CF406), Gdiplus::ImageFormatPNG, L"Built-in PNG Codec", nullptr, L"PNG",
      L"*.PNG", L"image/png", kReadsAndWrites, kVersion, 1, sizeof(kPngSignature), kPngSignature,
      kExact},
     IsPng,
     DecodePng,
     EncodePng,
     nullptr},
}};

}  // namespace

std::span<const Codec> Codecs() { return kCodecs; }

}  // namespace pixtola::portable
