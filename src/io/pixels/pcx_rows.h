// Rows of PCX files to rows of bitmaps.
//
// A line holds its planes one after another, plane 0 first. Kept on purpose: plane 0 gives the most
// significant bits of a pixel's index, the reverse of other readers' order, and several of the
// conversions put only some of the pixels in their places. Files read that way come out as they
// always did.
#ifndef PIXTOLA_IO_PIXELS_PCX_ROWS_H_
#define PIXTOLA_IO_PIXELS_PCX_ROWS_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "io/pixels/pcx_plane_kernels.h"

namespace pixtola {

/// A decoded line.
struct PcxLine {
  const std::uint8_t* bytes = nullptr;
  std::size_t bytes_per_plane = 0;

  const std::uint8_t* plane(std::size_t index) const { return bytes + index * bytes_per_plane; }
};

/// How many bytes a line must have to be converted to a row of `row_bytes`. Planes may be too short
/// for that, or empty: the bytes past the last one have to exist, and be 0.
constexpr std::size_t PcxLineCapacity(std::size_t planes, std::size_t bytes_per_plane,
                                      std::size_t row_bytes) {
  return planes * bytes_per_plane + row_bytes + 1;
}

/// Fills `row`, of which the last group of pixels may be cut off. Some do not use the kernels.
using PcxRowConverter = void (*)(const PcxPlaneKernels& kernels, const PcxLine& line,
                                 std::span<std::uint8_t> row);

// Named after what they do, with the bits per plane and the number of planes.
void CopyPcxRow(const PcxPlaneKernels& kernels, const PcxLine& line, std::span<std::uint8_t> row);
void InterleavePcxRgb(const PcxPlaneKernels& kernels, const PcxLine& line,
                      std::span<std::uint8_t> row);
void InterleavePcxRgba(const PcxPlaneKernels& kernels, const PcxLine& line,
                       std::span<std::uint8_t> row);
void WidenPcx2To4(const PcxPlaneKernels& kernels, const PcxLine& line, std::span<std::uint8_t> row);
void MergePcx1x2(const PcxPlaneKernels& kernels, const PcxLine& line, std::span<std::uint8_t> row);
void MergePcx1x3(const PcxPlaneKernels& kernels, const PcxLine& line, std::span<std::uint8_t> row);
void MergePcx1x4(const PcxPlaneKernels& kernels, const PcxLine& line, std::span<std::uint8_t> row);
void MergePcx2x2(const PcxPlaneKernels& kernels, const PcxLine& line, std::span<std::uint8_t> row);
void MergePcx2x3(const PcxPlaneKernels& kernels, const PcxLine& line, std::span<std::uint8_t> row);
void MergePcx2x4(const PcxPlaneKernels& kernels, const PcxLine& line, std::span<std::uint8_t> row);
void MergePcx4x2(const PcxPlaneKernels& kernels, const PcxLine& line, std::span<std::uint8_t> row);

}  // namespace pixtola

#endif  // PIXTOLA_IO_PIXELS_PCX_ROWS_H_
