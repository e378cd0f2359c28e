// The codecs of the stand-in: what each reader and writer must do, and the list of them.
//
// A reader gets the whole encoded image as bytes and makes a bitmap object of one of its frames; a
// writer sends bytes to a ByteSink. Neither keeps state, prints or throws.
#ifndef PIXTOLA_PORTABLE_CODEC_H_
#define PIXTOLA_PORTABLE_CODEC_H_

#include <cstdint>
#include <memory>
#include <span>

#include "base/byte_sink.h"
#include "imaging/bitmap_object.h"

namespace pixtola::portable {

using EncodedBytes = std::span<const std::uint8_t>;

/// On Ok `bitmap` holds the image; on any other status it is null.
/// OutOfMemory: out of memory, or beyond the decode limit. GenericError: damaged or not supported.
using DecodeFunction = Gdiplus::Status (*)(EncodedBytes bytes,
                                           std::unique_ptr<BitmapObject>& bitmap);

/// Frames of a format that can hold several.
struct FrameFunctions {
  GUID dimension;
  /// At least 1 for bytes that the format's reader decodes; damaged frames need not be counted.
  UINT (*count)(EncodedBytes bytes);
  /// Decodes the frame `index`, which is below the count, as DecodeFunction does.
  Gdiplus::Status (*decode)(EncodedBytes bytes, UINT index, std::unique_ptr<BitmapObject>& bitmap);
};

/// Any bitmap but one of 16-bit gray, which converts to nothing. `parameters` may be null.
/// InvalidParameter: a pixel format or a parameter that the writer does not take. Win32Error: the
/// sink failed.
using EncodeFunction = Gdiplus::Status (*)(const BitmapObject& bitmap,
                                           const Gdiplus::EncoderParameters* parameters,
                                           ByteSink& sink);

struct Codec {
  Gdiplus::ImageCodecInfo info;
  /// Whether the first bytes are this format's.
  bool (*recognizes)(EncodedBytes bytes);
  DecodeFunction decode;
  EncodeFunction encode;
  const FrameFunctions* frames;  ///< null when the format holds one image
};

/// All codecs, in the order in which GDI+ lists them: BMP, JPEG, GIF, TIFF, PNG.
std::span<const Codec> Codecs();

// Each format's own functions, one file per format and direction.
bool IsBmp(EncodedBytes bytes);
Gdiplus::Status DecodeBmp(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap);
Gdiplus::Status EncodeBmp(const BitmapObject& bitmap, const Gdiplus::EncoderParameters* parameters,
                          ByteSink& sink);

bool IsJpeg(EncodedBytes bytes);
Gdiplus::Status DecodeJpeg(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap);
Gdiplus::Status EncodeJpeg(const BitmapObject& bitmap, const Gdiplus::EncoderParameters* parameters,
                           ByteSink& sink);

bool IsGif(EncodedBytes bytes);
Gdiplus::Status DecodeGif(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap);
Gdiplus::Status EncodeGif(const BitmapObject& bitmap, const Gdiplus::EncoderParameters* parameters,
                          ByteSink& sink);
extern const FrameFunctions kGifFrames;

bool IsTiff(EncodedBytes bytes);
Gdiplus::Status DecodeTiff(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap);
extern const FrameFunctions kTiffFrames;
Gdiplus::Status EncodeTiff(const BitmapObject& bitmap, const Gdiplus::EncoderParameters* parameters,
                           ByteSink& sink);

bool IsPng(EncodedBytes bytes);
Gdiplus::Status DecodePng(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap);
Gdiplus::Status EncodePng(const BitmapObject& bitmap, const Gdiplus::EncoderParameters* parameters,
                          ByteSink& sink);

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_CODEC_H_
