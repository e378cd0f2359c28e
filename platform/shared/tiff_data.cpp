#include "shared/tiff_data.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <optional>

namespace pixtola::platform {

namespace {

/// Where the data of a strip or tile lies.
struct Place {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

Place PlaceOf(TIFF* tiff, std::uint32_t chunk) {
  return {TIFFGetStrileOffset(tiff, chunk), TIFFGetStrileByteCount(tiff, chunk)};
}

// The parts of a Zstandard frame (RFC 8878).

constexpr std::array<std::uint8_t, 4> kZstandardMagic = {0x28, 0xB5, 0x2F, 0xFD};

/// The bytes from a frame's magic number to its first block.
std::uint64_t FrameHeaderSize(std::uint8_t descriptor) {
  constexpr std::uint64_t kDictionarySizes[] = {0, 1, 2, 4};
  constexpr std::uint64_t kContentSizes[] = {0, 2, 4, 8};
  const bool is_single_segment = (descriptor & 0x20) != 0;
  const unsigned content_flag = descriptor >> 6;
  const std::uint64_t window_size = is_single_segment ? 0 : 1;
  const std::uint64_t content_size =
      content_flag == 0 && is_single_segment ? 1 : kContentSizes[content_flag];
  return kZstandardMagic.size() + 1 + window_size + kDictionarySizes[descriptor & 3] + content_size;
}

/// A frame that ends too early has nothing after it, and fewer bytes than a magic number are not a
/// frame.
bool IsOneZstandardFrame(const TiffBytes& bytes, const Place& place) {
  std::array<std::uint8_t, kZstandardMagic.size() + 1> start{};
  if (bytes.Read(place.offset, start) < start.size()) return true;
  if (!std::equal(kZstandardMagic.begin(), kZstandardMagic.end(), start.begin())) return false;
  const std::uint8_t descriptor = start.back();
  std::uint64_t at = FrameHeaderSize(descriptor);
  for (bool is_last = false; !is_last;) {
    std::array<std::uint8_t, 3> header{};
    if (at >= place.size || bytes.Read(place.offset + at, header) < header.size()) return true;
    is_last = (header[0] & 1) != 0;
    const bool is_repeated_byte = (header[0] >> 1 & 3) == 1;
    const std::uint64_t size =
        (header[0] | std::uint64_t{header[1]} << 8 | std::uint64_t{header[2]} << 16) >> 3;
    at += header.size() + (is_repeated_byte ? 1 : size);
  }
  const bool has_check_sum = (descriptor & 4) != 0;
  const std::uint64_t end = at + (has_check_sum ? 4 : 0);
  return place.size < end + kZstandardMagic.size();
}

// The markers of JPEG that count here.
constexpr std::uint8_t kBaseline = 0xC0;
constexpr std::uint8_t kExtended = 0xC1;
constexpr std::uint8_t kProgressive = 0xC2;
constexpr std::uint8_t kStartOfScan = 0xDA;

bool IsStartOfFrame(std::uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// Markers without a segment.
bool IsAlone(std::uint8_t marker) { return marker <= 1 || (marker >= 0xD0 && marker <= 0xD8); }

JpegKind KindOfJpeg(const TiffBytes& bytes, const Place& place) {
  constexpr int kMostMarkers = 200;
  std::optional<unsigned> components;
  bool is_progressive = false;
  std::uint64_t at = 0;
  for (int i = 0; i < kMostMarkers && at < place.size; ++i) {
    std::array<std::uint8_t, 10> start{};  // up to the number of components
    bytes.Read(place.offset + at, start);
    const std::uint8_t marker = start[1];
    if (start[0] != 0xFF) break;
    if (marker == 0xFF || IsAlone(marker)) {
      at += marker == 0xFF ? 1 : 2;
      continue;
    }
    if (marker == kStartOfScan) {
      const bool is_only_scan = components == start[4] && !is_progressive;
      return is_only_scan ? JpegKind::kOneScan : JpegKind::kSeveralScans;
    }
    if (IsStartOfFrame(marker)) {
      is_progressive = marker == kProgressive;
      if (marker != kBaseline && marker != kExtended && !is_progressive) break;
      components = start[9];
    }
    at += 2 + (start[2] * std::uint64_t{256} + start[3]);
  }
  return JpegKind::kOther;
}

}  // namespace

std::size_t TiffBytes::Read(std::uint64_t offset, std::span<std::uint8_t> bytes) const {
  const thandle_t client = TIFFClientdata(tiff_);
  if (offset > std::numeric_limits<std::int64_t>::max()) return 0;
  if (TIFFGetSeekProc(tiff_)(client, offset, SEEK_SET) != offset) return 0;
  const tmsize_t size =
      TIFFGetReadProc(tiff_)(client, bytes.data(), static_cast<tmsize_t>(bytes.size()));
  return static_cast<std::size_t>(std::max<tmsize_t>(size, 0));
}

std::uint64_t TiffBytes::Number(std::span<const std::uint8_t> bytes) const {
  const bool is_big_endian = TIFFIsBigEndian(tiff_) != 0;
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    number = number << 8 | bytes[is_big_endian ? i : bytes.size() - 1 - i];
  }
  return number;
}

bool IsEachOneZstandardFrame(TIFF* tiff, std::uint32_t chunks) {
  const TiffBytes bytes(tiff);
  for (std::uint32_t i = 0; i < chunks; ++i) {
    const Place place = PlaceOf(tiff, i);
    if (place.size != 0 && !IsOneZstandardFrame(bytes, place)) return false;
  }
  return true;
}

JpegKind WorstJpegKind(TIFF* tiff, std::uint32_t chunks) {
  const TiffBytes bytes(tiff);
  JpegKind worst = JpegKind::kOneScan;
  for (std::uint32_t i = 0; i < chunks && worst != JpegKind::kOther; ++i) {
    const Place place = PlaceOf(tiff, i);
    if (place.size != 0) worst = std::max(worst, KindOfJpeg(bytes, place));
  }
  return worst;
}

}  // namespace pixtola::platform
