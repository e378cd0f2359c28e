// Writes JPEG with libjpeg-turbo: always three components, luma at full and chroma at half the
// resolution, baseline. Every file therefore reloads as 24bppRGB, gray ones included.
//
// The alpha of a pixel is dropped, its colour stays. The one parameter is EncoderQuality; others
// are ignored.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "codecs/codec.h"
#include "codecs/jpeg_errors.h"
#include "codecs/jpeg_handles.h"
#include "imaging/row_conversion.h"

#include <jerror.h>

namespace pixtola::portable {

namespace {

using Gdiplus::Status;

constexpr int kDefaultQuality = 75;

/// The longest side that libjpeg writes.
constexpr std::uint32_t kMaxSide = JPEG_MAX_DIMENSION;

/// Rows that are given to libjpeg at once: as many as a block of chroma covers.
constexpr std::uint32_t kRowsAtOnce = 16;

/// False when a quality is given that is not valid.
bool ReadParameters(const Gdiplus::EncoderParameters* parameters, int& quality) {
  quality = kDefaultQuality;
  if (parameters == nullptr) return true;
  const Gdiplus::EncoderParameter* parameter = parameters->Parameter;
  for (UINT i = 0; i < parameters->Count; ++i, ++parameter) {
    if (parameter->Guid != Gdiplus::EncoderQuality) continue;
    if (parameter->NumberOfValues != 1 ||
        parameter->Type != Gdiplus::EncoderParameterValueTypeLong || parameter->Value == nullptr) {
      return false;
    }
    ULONG value = 0;
    std::memcpy(&value, parameter->Value, sizeof(value));
    if (value > 100) return false;
    quality = static_cast<int>(value);
  }
  return true;
}

/// Sends libjpeg's output to a sink, a buffer at a time.
struct Destination {
  jpeg_destination_mgr base;  ///< first: libjpeg knows the address of this member only
  ByteSink* sink;
  bool failed;
  std::array<JOCTET, 65536> buffer;
};

// Called by libjpeg. Errors leave by longjmp, so nothing here needs a destructor.
Destination& DestinationOf(j_compress_ptr jpeg) {
  return *reinterpret_cast<Destination*>(jpeg->dest);
}

void StartBuffer(j_compress_ptr jpeg) {
  Destination& destination = DestinationOf(jpeg);
  destination.base.next_output_byte = destination.buffer.data();
  destination.base.free_in_buffer = destination.buffer.size();
}

void Send(j_compress_ptr jpeg, std::size_t size) {
  Destination& destination = DestinationOf(jpeg);
  if (destination.sink->Write(destination.buffer.data(), size)) return;
  destination.failed = true;
  ERREXIT(jpeg, JERR_FILE_WRITE);
}

boolean SendBuffer(j_compress_ptr jpeg) {
  // The whole buffer, whatever free_in_buffer says.
  Send(jpeg, DestinationOf(jpeg).buffer.size());
  StartBuffer(jpeg);
  return TRUE;
}

void SendRest(j_compress_ptr jpeg) {
  const Destination& destination = DestinationOf(jpeg);
  Send(jpeg, destination.buffer.size() - destination.base.free_in_buffer);
}

/// As a JFIF header holds it: at least 1, since 0 is not a density.
UINT16 Density(float dots_per_inch) {
  if (!(dots_per_inch >= 1)) return 1;
  return static_cast<UINT16>(std::min(std::round(dots_per_inch), 65535.0F));
}

/// What WriteImage needs; none of it is owned.
struct Job {
  const BitmapObject* bitmap;
  int quality;
  J_COLOR_SPACE color_space;  ///< of the rows that libjpeg is given
  RowConversion* conversion;  ///< to these rows; null when they are the bitmap's own
  BYTE* converted;            ///< kRowsAtOnce of them; null as above
};

/// Returns how many of the rows from `y` on are ready, beginning at `rows`.
JDIMENSION PrepareRows(const Job& job, std::uint32_t y, JSAMPROW* rows) {
  const BitmapObject& bitmap = *job.bitmap;
  const std::uint32_t count = std::min(kRowsAtOnce, bitmap.height() - y);
  for (std::uint32_t i = 0; i < count; ++i) {
    if (job.conversion == nullptr) {
      rows[i] = const_cast<BYTE*>(bitmap.Row(y + i));  // libjpeg only reads it
      continue;
    }
    rows[i] = job.converted + std::size_t{bitmap.width()} * 3 * i;
    job.conversion->Convert({bitmap.Row(y + i), 0}, {rows[i], 0}, bitmap.width());
  }
  return count;
}

/// The function with setjmp.
bool WriteImage(jpeg_compress_struct& jpeg, JpegErrors& errors, Destination& destination,
                const Job& job) {
  if (setjmp(errors.jump) != 0) return false;
  jpeg_create_compress(&jpeg);
  jpeg.dest = &destination.base;
  jpeg.image_width = job.bitmap->width();
  jpeg.image_height = job.bitmap->height();
  jpeg.input_components = job.color_space == JCS_EXT_BGR ? 3 : 4;
  jpeg.in_color_space = job.color_space;
  jpeg_set_defaults(&jpeg);  // YCbCr, chroma at half the resolution
  jpeg_set_quality(&jpeg, job.quality, TRUE);
  jpeg.density_unit = 1;  // dots per inch
  jpeg.X_density = Density(job.bitmap->dpi_x);
  jpeg.Y_density = Density(job.bitmap->dpi_y);
  jpeg_start_compress(&jpeg, TRUE);
  JSAMPROW rows[kRowsAtOnce];
  while (jpeg.next_scanline < jpeg.image_height) {
    const JDIMENSION count = PrepareRows(job, jpeg.next_scanline, rows);
    if (jpeg_write_scanlines(&jpeg, rows, count) != count) return false;
  }
  jpeg_finish_compress(&jpeg);
  return true;
}

}  // namespace

Status EncodeJpeg(const BitmapObject& bitmap, const Gdiplus::EncoderParameters* parameters,
                  ByteSink& sink) {
  Job job{&bitmap, kDefaultQuality, JCS_EXT_BGR, nullptr, nullptr};
  if (!RowConversion::IsPossible(bitmap.format(), PixelFormat24bppRGB) ||
      !ReadParameters(parameters, job.quality)) {
    return Gdiplus::InvalidParameter;
  }
  if (bitmap.width() > kMaxSide || bitmap.height() > kMaxSide) return Gdiplus::GenericError;

  const bool has_fourth_byte =
      bitmap.format() == PixelFormat32bppRGB || bitmap.format() == PixelFormat32bppARGB;
  if (has_fourth_byte) job.color_space = JCS_EXT_BGRX;
  RowConversion conversion(bitmap.format(), bitmap.palette, PixelFormat24bppRGB, {});
  HeapBytes converted;
  if (bitmap.format() != PixelFormat24bppRGB && !has_fourth_byte) {
    converted = AllocateBytes(std::uint64_t{bitmap.width()} * 3 * kRowsAtOnce);
    if (converted == nullptr) return Gdiplus::OutOfMemory;
    job.conversion = &conversion;
    job.converted = converted.get();
  }

  Destination destination{};
  destination.base.init_destination = StartBuffer;
  destination.base.empty_output_buffer = SendBuffer;
  destination.base.term_destination = SendRest;
  destination.sink = &sink;
  JpegErrors errors{};
  JpegWriteHandle handle;
  handle.jpeg.err = SilentJpegErrors(errors);
  if (WriteImage(handle.jpeg, errors, destination, job)) return Gdiplus::Ok;
  if (destination.failed) return Gdiplus::Win32Error;
  return errors.base.msg_code == JERR_OUT_OF_MEMORY ? Gdiplus::OutOfMemory : Gdiplus::GenericError;
}

}  // namespace pixtola::portable
