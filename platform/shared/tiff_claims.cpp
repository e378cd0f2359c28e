// Whether the data of a TIFF page can be meant for what its tags claim, and how much work it may
// cause.

#include <tiffio.h>

#include <algorithm>
#include <limits>

#include "shared/decode_limit.h"
#include "shared/tiff_data.h"
#include "shared/tiff_files.h"
#include "shared/tiff_page.h"

namespace pixtola::platform {

namespace {

/// What the tags of a page claim. The products can be larger than any integer.
struct Claim : TiffPage {
  explicit Claim(TIFF* tiff)
      : TiffPage(ReadTiffPage(tiff)),
        chunks(is_tiled ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff)) {}

  double area() const {
    return static_cast<double>(decoded_width()) * static_cast<double>(decoded_height());
  }
  double pixels() const { return area() * std::max(1, (samples + 3) / 4); }
  /// The bytes that all samples take uncompressed, at least: the colours of YCbCr may be stored for
  /// some pixels only.
  double sample_bytes() const {
    return area() * (photometric == PHOTOMETRIC_YCBCR ? 1 : samples) * bits / 8;
  }

  std::uint32_t chunks;  ///< strips or tiles
};

/// A size that may be beyond what can be counted.
std::uint64_t Counted(double size) { return static_cast<std::uint64_t>(std::min(size, 1e18)); }

/// How many bytes of samples a byte of data can give at most.
double LargestExpansion(std::uint16_t compression) {
  switch (compression) {
    case COMPRESSION_LZW:
      return 4096 * 8 / 12.0;  // the longest string of the table, by a code of 12 bits
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
      return 1032;  // 258 bytes by two codes of one bit
    case COMPRESSION_PIXARLOG:
      return 1032 * 2;  // Deflate of 16 bits per sample, which may become floats
    case COMPRESSION_PACKBITS:
      return 64;  // 128 by two
    case COMPRESSION_SGILOG:
    case COMPRESSION_SGILOG24:
      return 129;  // by a count and a byte, for each byte of a pixel
    case COMPRESSION_THUNDERSCAN:
      return 63 / 2.0;  // 63 pixels of 4 bits
    case COMPRESSION_ZSTD:
      return (1 << 17) / 4.0;  // a block of equal bytes
    default:
      return 1;
  }
}

/// The bytes that the shortest coding of the claim takes.
double LeastBytes(const Claim& claim) {
  switch (claim.compression) {
    case COMPRESSION_CCITTRLE:
    case COMPRESSION_CCITTRLEW:
    case COMPRESSION_CCITTFAX3:
    case COMPRESSION_CCITTFAX4:
      return claim.height / 8.0;  // a bit says that a row equals the previous one
    case COMPRESSION_NEXT:
      return claim.height;  // some bytes say that a row is white
    case COMPRESSION_JPEG:
    case COMPRESSION_OJPEG:
      // As in JPEG files, but only the luma is sure to be there for every pixel.
      return claim.area() / 64 / 8;
    case COMPRESSION_WEBP:
      return claim.chunks;  // the rest of a flat picture takes no bits
    default:
      return claim.sample_bytes() / LargestExpansion(claim.compression);
  }
}

constexpr std::uint64_t kLargestCount = std::numeric_limits<std::uint64_t>::max();

/// The bytes of data that the page's strips or tiles have together in the first `file_size` bytes,
/// as far as that is known. What several of them share counts for each.
std::uint64_t DataSize(TIFF* tiff, const Claim& claim, std::uint64_t file_size) {
  std::uint64_t sum = 0;
  for (std::uint32_t i = 0; i < claim.chunks; ++i) {
    int is_unknown = 0;
    const std::uint64_t size = TIFFGetStrileByteCountWithErr(tiff, i, &is_unknown);
    if (is_unknown != 0) break;
    const std::uint64_t offset = std::min(TIFFGetStrileOffset(tiff, i), file_size);
    sum += std::min({size, file_size - offset, kLargestCount - sum});
  }
  return sum;
}

/// Blank tiles often share their data, and some files count more of it than is meant. But shared
/// data may also be such as takes long to decode and gives nothing: a byte of Deflate can take 70
/// nanoseconds, one of other codes 8 at most.
std::uint64_t MostData(const Claim& claim, std::uint64_t file_size) {
  switch (claim.compression) {
    case COMPRESSION_NONE:
      return std::max(file_size, Counted(claim.sample_bytes()));
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_PIXARLOG:
      return std::max(file_size, std::uint64_t{1} << 24);
    default:
      return std::max(file_size, std::uint64_t{1} << 27);
  }
}

/// The most memory that the codec takes besides the samples.
double CodecMemory(const Claim& claim) {
  switch (claim.compression) {
    case COMPRESSION_ZSTD:
      return (1 << 27) + (1 << 20);  // the largest window
    case COMPRESSION_WEBP: {
      // The picture once more, and tables of 20.7 kB for groups of at least 4 x 4 pixels.
      const double chunk_area = static_cast<double>(claim.chunk_width) * claim.chunk_height;
      return chunk_area * 4 + std::min(65536.0, chunk_area / 16 + 1) * 20.7e3;
    }
    default:
      return 0;
  }
}

constexpr double kAnySize = std::numeric_limits<double>::infinity();

/// The most bytes of samples that are decoded in two seconds or so from data of any kind; any
/// number where the cost of the samples shows in the size of the data.
double MostQuickBytes(TIFF* tiff, const Claim& claim) {
  switch (claim.compression) {
    case COMPRESSION_ZSTD:
    case COMPRESSION_WEBP:
      return 1 << 28;
    case COMPRESSION_JPEG:
      switch (WorstJpegKind(tiff, claim.chunks)) {
        case JpegKind::kOneScan:
          return kAnySize;
        case JpegKind::kSeveralScans:
          return 1 << 27;
        case JpegKind::kOther:
          return 1 << 20;  // libtiff allows a hundred scans
      }
      return 0;
    default:
      return kAnySize;
  }
}

/// Whether data whose cost does not show in its size is little, or enough to be meant.
bool IsHarmless(TIFF* tiff, const Claim& claim, std::uint64_t data_size, std::uint64_t file_size) {
  constexpr std::uint64_t kMuchData = 1 << 20;
  const double most_quick_bytes = MostQuickBytes(tiff, claim);
  if (most_quick_bytes == kAnySize) return true;
  const double all_sample_bytes = claim.area() * claim.samples * claim.bits / 8;
  if (data_size > file_size || (data_size < kMuchData && all_sample_bytes > most_quick_bytes) ||
      !IsDecodeAllowed(0, 0, Counted(CodecMemory(claim)))) {
    return false;
  }
  if (claim.compression == COMPRESSION_JPEG) return true;
  // Otherwise libtiff would reverse the bits of every byte: nobody writes that, and what is checked
  // here would not be what is decoded.
  return claim.fill_order == FILLORDER_MSB2LSB &&
         (claim.compression != COMPRESSION_ZSTD || IsEachOneZstandardFrame(tiff, claim.chunks));
}

}  // namespace

bool IsTiffPageAllowed(TIFF* tiff) {
  const Claim claim(tiff);
  // Tiles are decoded whole. At the right and lower edge of a page that keeps to the limit they may
  // go beyond it, but they are no second page.
  if (!IsDecodeAllowed(claim.width, claim.height, 0) ||
      !IsDecodeAllowed(claim.chunk_width, claim.chunk_height, 0) ||
      !IsDecodeAllowed(Counted(claim.area() / 2), 1, 0)) {
    return false;
  }
  const std::uint64_t file_size = TIFFGetSizeProc(tiff)(TIFFClientdata(tiff));
  const std::uint64_t data_size = DataSize(tiff, claim, file_size);
  if (data_size > MostData(claim, file_size) ||
      !IsClaimPlausible(Counted(claim.pixels()), data_size, Counted(LeastBytes(claim)))) {
    return false;
  }
  return IsHarmless(tiff, claim, data_size, file_size);
}

}  // namespace pixtola::platform
