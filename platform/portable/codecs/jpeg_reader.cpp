// Reads JPEG with libjpeg-turbo, straight into the rows of the bitmap where the formats allow.
//
// Gray files become 8bppIndexed with a gray ramp, all others 24bppRGB. A file that ends too early
// gives what was read, the rest gray, as libjpeg does. EXIF data (orientation included) and colour
// profiles are left out.
#include <algorithm>

#include "codecs/codec.h"
#include "codecs/jpeg_errors.h"
#include "codecs/jpeg_handles.h"
#include "codecs/resolution.h"
#include "shared/decode_limit.h"

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

/// Real files have a dozen scans; thousands of tiny ones keep a decoder busy for hours.
constexpr std::uint64_t kMaxScans = 500;
/// The same bound for large images: pixels times scans, some two seconds' work.
constexpr std::uint64_t kMaxScannedPixels = std::uint64_t{1} << 31;
constexpr std::uint64_t kAlwaysAllowedScans = 16;

struct ProgressMonitor {
  jpeg_progress_mgr base;  ///< first: libjpeg knows the address of this member only
  std::uint64_t max_scans;
};

void LimitScans(j_common_ptr jpeg) {
  const auto* monitor = reinterpret_cast<const ProgressMonitor*>(jpeg->progress);
  const int scan = reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number;
  if (scan > 0 && static_cast<std::uint64_t>(scan) > monitor->max_scans) JumpOut(jpeg);
}

// The functions with setjmp.

bool ReadHeader(jpeg_decompress_struct& jpeg, JpegErrors& errors, EncodedBytes bytes) {
  if (setjmp(errors.jump) != 0) return false;
  jpeg_create_decompress(&jpeg);
  jpeg_mem_src(&jpeg, bytes.data(), static_cast<unsigned long>(bytes.size()));
  jpeg_read_header(&jpeg, TRUE);
  switch (jpeg.jpeg_color_space) {
    case JCS_GRAYSCALE:
      jpeg.out_color_space = JCS_GRAYSCALE;
      return true;
    case JCS_YCbCr:
    case JCS_RGB:
      jpeg.out_color_space = JCS_EXT_BGR;
      return true;
    case JCS_CMYK:
    case JCS_YCCK:
      jpeg.out_color_space = JCS_CMYK;
      return true;
    default:
      return false;
  }
}

/// The least number of bytes of a file with this size and these components.
std::uint64_t LeastSize(const jpeg_decompress_struct& jpeg) {
  if (jpeg.arith_code != FALSE) return 0;  // likely values take next to no bits
  std::uint64_t blocks = 0;
  for (int i = 0; i < jpeg.num_components; ++i) {
    const jpeg_component_info& component = jpeg.comp_info[i];
    blocks += std::uint64_t{component.width_in_blocks} * component.height_in_blocks;
  }
  // A code of one bit says that a block's mean is that of the previous one, another that there is
  // nothing else in it. Progressive files may say the latter of many blocks at once.
  return blocks * (jpeg.progressive_mode != FALSE ? 1 : 2) / 8;
}

/// Arithmetic codes can be trained to find something in zeros, of which there are always enough,
/// and that takes time. Real images have data in proportion to the time they take.
constexpr std::uint64_t kMuchArithmeticData = 1 << 20;
constexpr std::uint64_t kQuickArithmeticSamples = std::uint64_t{1} << 25;
constexpr std::uint64_t kQuickArithmeticPixels = std::uint64_t{1} << 27;  ///< times scans

bool IsQuickOrHasData(const jpeg_decompress_struct& jpeg, std::uint64_t pixels, std::size_t size) {
  const auto components = static_cast<std::uint64_t>(jpeg.num_components);
  return jpeg.arith_code == FALSE || size >= kMuchArithmeticData ||
         pixels * components <= kQuickArithmeticSamples;
}

/// How many scans the file may have.
std::uint64_t MaxScans(const jpeg_decompress_struct& jpeg, std::uint64_t pixels, std::size_t size) {
  pixels = std::max<std::uint64_t>(pixels, 1);
  if (jpeg.arith_code != FALSE && size < kMuchArithmeticData) {
    return std::min(kQuickArithmeticPixels / pixels, kMaxScans);
  }
  return std::clamp(kMaxScannedPixels / pixels, kAlwaysAllowedScans, kMaxScans);
}

/// One row of inks to B, G, R. 255 is no ink: Adobe's files store it that way, and other decoders
/// assume it for files that do not say whose they are.
void CmykToBgr(const JSAMPLE* cmyk, std::uint32_t width, BYTE* bgr) {
  for (std::uint32_t x = 0; x < width; ++x, cmyk += 4, bgr += 3) {
    for (int i = 0; i < 3; ++i) bgr[2 - i] = static_cast<BYTE>((cmyk[i] * cmyk[3] + 127) / 255);
  }
}

/// `cmyk` is room for one row of inks, null unless libjpeg gives them.
bool ReadRows(jpeg_decompress_struct& jpeg, JpegErrors& errors, JSAMPLE* cmyk,
              BitmapObject& bitmap) {
  if (setjmp(errors.jump) != 0) return false;
  jpeg_start_decompress(&jpeg);
  const auto components = static_cast<unsigned>(jpeg.output_components);
  const unsigned expected = cmyk != nullptr ? 4 : bitmap.bits_per_pixel() / 8;
  if (components != expected || jpeg.output_width != bitmap.width() ||
      jpeg.output_height != bitmap.height()) {
    return false;
  }
  while (jpeg.output_scanline < jpeg.output_height) {
    const JDIMENSION y = jpeg.output_scanline;
    JSAMPROW row = cmyk != nullptr ? cmyk : bitmap.Row(y);
    if (jpeg_read_scanlines(&jpeg, &row, 1) != 1) return false;
    if (cmyk != nullptr) CmykToBgr(cmyk, bitmap.width(), bitmap.Row(y));
  }
  jpeg_finish_decompress(&jpeg);
  return true;
}

float DotsPerInch(const jpeg_decompress_struct& jpeg, std::uint16_t density) {
  const bool is_per_inch = jpeg.density_unit == 1;
  const bool is_per_centimetre = jpeg.density_unit == 2;
  if (density == 0 || !(is_per_inch || is_per_centimetre)) return kDefaultDotsPerInch;
  return is_per_inch ? density : static_cast<float>(density * 2.54);
}

}  // namespace

bool IsJpeg(EncodedBytes bytes) {
  return bytes.size() >= 3 && bytes[0] == 0xFF && bytes[1] == 0xD8 && bytes[2] == 0xFF;
}

Status DecodeJpeg(EncodedBytes bytes, std::unique_ptr<BitmapObject>& bitmap) {
  bitmap = nullptr;
  JpegErrors errors{};
  JpegReadHandle handle;
  jpeg_decompress_struct& jpeg = handle.jpeg;
  jpeg.err = SilentJpegErrors(errors);
  if (!ReadHeader(jpeg, errors, bytes)) return Gdiplus::GenericError;

  const std::uint64_t pixels = std::uint64_t{jpeg.image_width} * jpeg.image_height;
  if (!platform::IsClaimPlausible(pixels, bytes.size(), LeastSize(jpeg)) ||
      !IsQuickOrHasData(jpeg, pixels, bytes.size())) {
    return Gdiplus::OutOfMemory;
  }
  // Files of several scans are collected as coefficients of two bytes before any row is made.
  const auto components = static_cast<std::uint64_t>(jpeg.num_components);
  if (jpeg_has_multiple_scans(&jpeg) != FALSE &&
      !platform::IsDecodeAllowed(jpeg.image_width, jpeg.image_height, 2 * pixels * components)) {
    return Gdiplus::OutOfMemory;
  }
  ProgressMonitor monitor{};
  monitor.base.progress_monitor = LimitScans;
  monitor.max_scans = MaxScans(jpeg, pixels, bytes.size());
  jpeg.progress = &monitor.base;

  const bool is_gray = jpeg.out_color_space == JCS_GRAYSCALE;
  auto decoded = BitmapObject::CreateForDecoder(
      jpeg.image_width, jpeg.image_height, is_gray ? PixelFormat8bppIndexed : PixelFormat24bppRGB);
  if (decoded == nullptr) return Gdiplus::OutOfMemory;
  if (is_gray) decoded->palette = GrayPalette(8);
  decoded->dpi_x = DotsPerInch(jpeg, jpeg.X_density);
  decoded->dpi_y = DotsPerInch(jpeg, jpeg.Y_density);

  HeapBytes cmyk;
  if (jpeg.out_color_space == JCS_CMYK) {
    cmyk = AllocateBytes(std::uint64_t{jpeg.image_width} * 4);
    if (cmyk == nullptr) return Gdiplus::OutOfMemory;
  }
  if (!ReadRows(jpeg, errors, cmyk.get(), *decoded)) return Gdiplus::GenericError;
  bitmap = std::move(decoded);
  return Gdiplus::Ok;
}

}  // namespace pixtola::portable
