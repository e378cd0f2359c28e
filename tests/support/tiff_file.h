// TIFF files written and inspected with libtiff itself, for tests of the reader and the writer.
#ifndef PIXTOLA_TESTS_SUPPORT_TIFF_FILE_H_
#define PIXTOLA_TESTS_SUPPORT_TIFF_FILE_H_

#include <tiffio.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace test_support {

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPointer = std::unique_ptr<TIFF, CloseTiff>;

inline TiffPointer OpenTiff(const std::filesystem::path& path, const char* mode) {
  return TiffPointer(TIFFOpen(path.string().c_str(), mode));
}

/// One page to be written.
struct TiffPage {
  std::uint32_t width = 8;
  std::uint32_t height = 1;
  std::uint16_t bits_per_sample = 1;
  std::uint16_t samples_per_pixel = 1;
  std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
  std::vector<std::uint8_t> rows;  ///< scan lines one after another
  /// Sets further tags, before the rows are written.
  std::function<void(TIFF*)> more_tags = [](TIFF*) {};
};

inline void WritePages(TIFF* tiff, const std::vector<TiffPage>& pages) {
  for (const TiffPage& page : pages) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, page.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, page.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, page.bits_per_sample);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, page.samples_per_pixel);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, page.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, page.height);
    page.more_tags(tiff);
    TIFFWriteEncodedStrip(tiff, 0, const_cast<std::uint8_t*>(page.rows.data()),
                          static_cast<tmsize_t>(page.rows.size()));
    TIFFWriteDirectory(tiff);
  }
}

inline void WriteTiff(const std::filesystem::path& path, const std::vector<TiffPage>& pages) {
  WritePages(OpenTiff(path, "w").get(), pages);
}

/// A 16-bit tag of the first page, or `absent`.
inline unsigned ShortTag(const std::filesystem::path& path, std::uint32_t tag,
                         unsigned absent = 0) {
  const TiffPointer tiff = OpenTiff(path, "r");
  std::uint16_t value = 0;
  return tiff != nullptr && TIFFGetField(tiff.get(), tag, &value) != 0 ? value : absent;
}

inline constexpr unsigned kTagIsAbsent = 99999;

}  // namespace test_support

#endif  // PIXTOLA_TESTS_SUPPORT_TIFF_FILE_H_
