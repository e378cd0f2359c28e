// What the platform's encoder is told for each file type.
#ifndef PIXTOLA_TESTS_FAULTS_ENCODER_PARAMETERS_H_
#define PIXTOLA_TESTS_FAULTS_ENCODER_PARAMETERS_H_

#include <cstdint>
#include <limits>
#include <vector>

#include "support/platform_calls.h"

namespace pixtola::test {

/// One parameter with one 32-bit value for JPEG and TIFF, none at all for the others. PCX has no
/// encoder.
inline std::vector<ParameterOfEncoder> ParametersFor(PxtFileType type) {
  constexpr ULONG kLongValue = 4;
  const auto quality = [](ULONG percent) {
    return std::vector<ParameterOfEncoder>{{Gdiplus::EncoderQuality, kLongValue, {percent}}};
  };
  const auto compression = [](ULONG value) {
    return std::vector<ParameterOfEncoder>{{Gdiplus::EncoderCompression, kLongValue, {value}}};
  };
  switch (type) {
    case PxtFileTypeJpeg:
      return quality(85);
    case PxtFileTypeJpegLow:
      return quality(35);
    case PxtFileTypeJpegHigh:
      return quality(97);
    case PxtFileTypeTiffLzw:
      return compression(2);
    case PxtFileTypeTiffGroup3:
      return compression(3);
    case PxtFileTypeTiffGroup4:
      return compression(4);
    case PxtFileTypeTiffRunLength:
      return compression(5);
    case PxtFileTypeTiffNone:
      return compression(6);
    default:
      return {};
  }
}

/// All types that the platform writes, TIFF after libtiff has failed.
inline constexpr PxtFileType kEncodedTypes[] = {
    PxtFileTypeBmp,        PxtFileTypeGif,        PxtFileTypeJpeg,    PxtFileTypePng,
    PxtFileTypeTiffGroup3, PxtFileTypeTiffGroup4, PxtFileTypeTiffLzw, PxtFileTypeTiffRunLength,
    PxtFileTypeTiffNone,   PxtFileTypeJpegLow,    PxtFileTypeJpegHigh};

inline constexpr std::uint32_t kNoLock = std::numeric_limits<std::uint32_t>::max();

/// Which lock has to fail so that libtiff does not write the image and the platform does: the first
/// one, after that of a conversion to one bit. kNoLock for what the platform writes anyway.
inline std::uint32_t LockOfLibtiff(PxtFileType type, Gdiplus::PixelFormat format) {
  const bool is_bilevel = format == PixelFormat1bppIndexed;
  switch (type) {
    case PxtFileTypeTiffGroup3:
    case PxtFileTypeTiffGroup4:
    case PxtFileTypeTiffRunLength:
      return is_bilevel ? 1 : 2;
    case PxtFileTypeTiffLzw:
    case PxtFileTypeTiffNone:
      return is_bilevel ? 1 : kNoLock;
    default:
      return kNoLock;
  }
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_FAULTS_ENCODER_PARAMETERS_H_
