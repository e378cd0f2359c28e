// The bytes of a TIFF file below libtiff: directories and coded data, looked at before libtiff
// reads or decodes them.
#ifndef PIXTOLA_PLATFORM_SHARED_TIFF_DATA_H_
#define PIXTOLA_PLATFORM_SHARED_TIFF_DATA_H_

#include <tiffio.h>

#include <cstdint>
#include <span>

namespace pixtola::platform {

/// Reads through the procedures that a handle was opened with. libtiff seeks before each of its own
/// reads.
class TiffBytes {
 public:
  explicit TiffBytes(TIFF* tiff) : tiff_(tiff) {}

  std::uint64_t file_size() const { return TIFFGetSizeProc(tiff_)(TIFFClientdata(tiff_)); }

  /// Returns how many of the bytes at `offset` there are.
  std::size_t Read(std::uint64_t offset, std::span<std::uint8_t> bytes) const;

  /// A number in the file's byte order.
  std::uint64_t Number(std::span<const std::uint8_t> bytes) const;

 private:
  TIFF* tiff_;
};

/// Whether each of the first `chunks` strips or tiles of the current page has one frame of
/// Zstandard and nothing after it. The codec goes on with what follows a frame, and also accepts
/// what Zstandard wrote before its format was fixed.
bool IsEachOneZstandardFrame(TIFF* tiff, std::uint32_t chunks);

/// What JPEG can cost, the cheapest first.
enum class JpegKind {
  kOneScan,       ///< Huffman codes, all components in one scan: as much as its pixels
  kSeveralScans,  ///< progressive, or a scan for each component: the pixels again and again
  kOther          ///< with arithmetic codes, which need no data, or unknown
};

/// The most costly kind of the first `chunks` strips or tiles.
JpegKind WorstJpegKind(TIFF* tiff, std::uint32_t chunks);

}  // namespace pixtola::platform

#endif  // PIXTOLA_PLATFORM_SHARED_TIFF_DATA_H_
