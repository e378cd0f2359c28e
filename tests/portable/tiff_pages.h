// TIFF files of every layout in memory, written by libtiff from single samples, so that what a
// reader must return follows from the samples.
#ifndef PIXTOLA_TESTS_PORTABLE_TIFF_PAGES_H_
#define PIXTOLA_TESTS_PORTABLE_TIFF_PAGES_H_

#include "codecs/tiff_memory.h"
#include "portable/codec_files.h"

namespace pixtola::portable {

struct StoredPage {
  std::uint32_t width = 5;
  std::uint32_t height = 4;
  std::uint16_t bits = 8;
  std::uint16_t samples = 1;
  std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
  std::uint16_t compression = COMPRESSION_NONE;
  bool is_planar = false;
  std::uint32_t tile_width = 0;  ///< 0: strips
  std::uint32_t rows = 2;        ///< of a strip or tile
  std::function<unsigned(std::uint32_t x, std::uint32_t y, unsigned sample)> sample;
  std::function<void(TIFF*)> more_tags = [](TIFF*) {};
};

/// The samples of `plane`, or all when negative, of a strip or tile that begins at (x, y). 0 beyond
/// the page.
inline Bytes PackChunk(const StoredPage& page, std::uint32_t left, std::uint32_t top,
                       std::uint32_t width, std::uint32_t rows, int plane) {
  Bytes bytes;
  const unsigned first = plane < 0 ? 0 : static_cast<unsigned>(plane);
  const unsigned end = plane < 0 ? page.samples : first + 1;
  for (std::uint32_t y = top; y < top + rows; ++y) {
    std::vector<bool> row;
    for (std::uint32_t x = left; x < left + width; ++x) {
      for (unsigned sample = first; sample < end; ++sample) {
        const bool is_inside = x < page.width && y < page.height;
        const unsigned value = is_inside ? page.sample(x, y, sample) : 0;
        // 16-bit samples: the lower byte first, as libtiff takes them in memory.
        for (int bit = page.bits == 16 ? 7 : page.bits - 1; bit >= 0; --bit) {
          row.push_back((value >> bit & 1) != 0);
        }
        for (int bit = 15; page.bits == 16 && bit >= 8; --bit) {
          row.push_back((value >> bit & 1) != 0);
        }
      }
    }
    row.resize((row.size() + 7) / 8 * 8);
    for (std::size_t i = 0; i < row.size(); i += 8) {
      unsigned byte = 0;
      for (std::size_t bit = 0; bit < 8; ++bit) byte = byte << 1 | (row[i + bit] ? 1U : 0U);
      bytes.push_back(static_cast<std::uint8_t>(byte));
    }
  }
  return bytes;
}

inline void WritePage(TIFF* tiff, const StoredPage& page) {
  const bool is_tiled = page.tile_width != 0;
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, page.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, page.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, page.bits);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, page.samples);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, page.photometric);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, page.compression);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG,
               page.is_planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
  if (is_tiled) {
    TIFFSetField(tiff, TIFFTAG_TILEWIDTH, page.tile_width);
    TIFFSetField(tiff, TIFFTAG_TILELENGTH, page.rows);
  } else {
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, page.rows);
  }
  page.more_tags(tiff);
  const std::uint32_t width = is_tiled ? page.tile_width : page.width;
  std::uint32_t index = 0;
  for (int plane = page.is_planar ? 0 : -1; plane < (page.is_planar ? page.samples : 0); ++plane) {
    for (std::uint32_t y = 0; y < page.height; y += page.rows) {
      const std::uint32_t rows = is_tiled ? page.rows : std::min(page.rows, page.height - y);
      for (std::uint32_t x = 0; x < page.width; x += width) {
        Bytes chunk = PackChunk(page, x, y, width, rows, plane);
        const auto size = static_cast<tmsize_t>(chunk.size());
        EXPECT_EQ(is_tiled ? TIFFWriteEncodedTile(tiff, index, chunk.data(), size)
                           : TIFFWriteEncodedStrip(tiff, index, chunk.data(), size),
                  size);
        ++index;
      }
    }
  }
  EXPECT_EQ(TIFFWriteDirectory(tiff), 1);
}

/// A file in memory that libtiff reads back while it links one page to the next.
struct MemoryFile {
  Bytes bytes;
  std::size_t position = 0;

  static tmsize_t Read(thandle_t handle, void* to, tmsize_t size) {
    auto& file = *static_cast<MemoryFile*>(handle);
    const std::size_t count =
        std::min(static_cast<std::size_t>(size), file.bytes.size() - file.position);
    std::copy_n(file.bytes.data() + file.position, count, static_cast<std::uint8_t*>(to));
    file.position += count;
    return static_cast<tmsize_t>(count);
  }

  static tmsize_t Write(thandle_t handle, void* from, tmsize_t size) {
    auto& file = *static_cast<MemoryFile*>(handle);
    const auto count = static_cast<std::size_t>(size);
    file.bytes.resize(std::max(file.bytes.size(), file.position + count));
    std::copy_n(static_cast<const std::uint8_t*>(from), count, file.bytes.data() + file.position);
    file.position += count;
    return size;
  }

  static toff_t Seek(thandle_t handle, toff_t offset, int origin) {
    auto& file = *static_cast<MemoryFile*>(handle);
    const std::size_t from = origin == SEEK_SET   ? 0
                             : origin == SEEK_CUR ? file.position
                                                  : file.bytes.size();
    file.position = from + offset;
    file.bytes.resize(std::max(file.bytes.size(), file.position));
    return file.position;
  }

  static toff_t Size(thandle_t handle) { return static_cast<MemoryFile*>(handle)->bytes.size(); }
  static int Close(thandle_t) { return 0; }
};

inline Bytes MakeTiffOfPages(const std::vector<StoredPage>& pages) {
  MemoryFile file;
  {
    const TiffHandle tiff(TIFFClientOpen("", "wl", &file, MemoryFile::Read, MemoryFile::Write,
                                         MemoryFile::Seek, MemoryFile::Close, MemoryFile::Size,
                                         nullptr, nullptr));
    for (const StoredPage& page : pages) WritePage(tiff.get(), page);
  }
  return file.bytes;
}

inline Bytes MakeTiffOf(const StoredPage& page) { return MakeTiffOfPages({page}); }

/// A sample of any value that fits, the same at every call.
inline auto AnySample(unsigned bits, unsigned seed = 1) {
  return [bits, seed](std::uint32_t x, std::uint32_t y, unsigned sample) {
    std::uint32_t value = (x * 0x9E3779B1U) ^ (y * 0x85EBCA77U) ^ ((sample + seed) * 0xC2B2AE3DU);
    value = (value ^ value >> 15) * 0x2C1B3C6DU;
    return (value ^ value >> 13) & ((1U << bits) - 1);
  };
}

}  // namespace pixtola::portable

#endif  // PIXTOLA_TESTS_PORTABLE_TIFF_PAGES_H_
