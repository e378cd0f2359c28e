#include "support/tiff_file.h"

namespace pixtola::test {

TiffPointer OpenTiff(const std::filesystem::path& path, const char* mode) {
  return TiffPointer(TIFFOpen(path.string().c_str(), mode));
}

void WritePages(TIFF* tiff, const std::vector<TiffPage>& pages) {
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

void WriteTiff(const std::filesystem::path& path, const std::vector<TiffPage>& pages) {
  WritePages(OpenTiff(path, "w").get(), pages);
}

unsigned ShortTag(const std::filesystem::path& path, std::uint32_t tag, unsigned absent) {
  const TiffPointer tiff = OpenTiff(path, "r");
  std::uint16_t value = 0;
  return tiff != nullptr && TIFFGetField(tiff.get(), tag, &value) != 0 ? value : absent;
}

}  // namespace pixtola::test
