#include "tiff_data.h"

#include <algorithm>
#include <array>
#include <cstdio>
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

template <typename Check>
bool IsEach(TIFF* tiff, std::uint32_t chunks, const Check& check) {
  const TiffBytes bytes(tiff);
  for (std::uint32_t i = 0; i < chunks; ++i) {
    const Place place = PlaceOf(tiff, i);
    if (place.size != 0 && !check(bytes, place)) return false;
  }
  return true;
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

/// What ends too early has nothing after it.
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
  return at + (has_check_sum ? 4 : 0) >= place.size;
}

// The markers of JPEG that count here.
constexpr std::uint8_t kStartOfScan = 0xDA;

bool IsStartOfFrame(std::uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// Markers without a segment.
bool IsAlone(std::uint8_t marker) { return marker <= 1 || (marker >= 0xD0 && marker <= 0xD8); }

/// Looked for in the first bytes only: before the scan there are tables at most.
bool IsSequentialJpeg(const TiffBytes& bytes, const Place& place) {
  std::array<std::uint8_t, 4096> start{};
  const std::size_t size = bytes.Read(
      place.offset, std::span(start).first(std::min<std::uint64_t>(place.size, start.size())));
  std::optional<unsigned> components;
  for (std::size_t at = 0; at + 1 < size;) {
    const std::uint8_t marker = start[at + 1];
    if (start[at] != 0xFF) return false;
    if (marker == 0xFF || IsAlone(marker)) {
      at += marker == 0xFF ? 1 : 2;
      continue;
    }
    if (at + 10 > size) return false;
    const std::size_t length = start[at + 2] * std::size_t{256} + start[at + 3];
    if (marker == kStartOfScan) return components == start[at + 4];
    if (IsStartOfFrame(marker)) {
      if (marker > 0xC1) return false;
      components = start[at + 9];
    }
    at += 2 + length;
  }
  return false;
}

}  // namespace

std::size_t TiffBytes::Read(std::uint64_t offset, std::span<std::uint8_t> bytes) const {
  const thandle_t client = TIFFClientdata(tiff_);
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
  return IsEach(tiff, chunks, IsOneZstandardFrame);
}

bool IsEachSequentialJpeg(TIFF* tiff, std::uint32_t chunks) {
  return IsEach(tiff, chunks, IsSequentialJpeg);
}

}  // namespace pixtola::platform
