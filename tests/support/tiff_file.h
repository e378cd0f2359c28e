// TIFF files written and inspected with libtiff itself, for tests of the reader and the writer.
#ifndef PIXTOLA_TESTS_SUPPORT_TIFF_FILE_H_
#define PIXTOLA_TESTS_SUPPORT_TIFF_FILE_H_

#include <tiffio.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace pixtola::test {

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPointer = std::unique_ptr<TIFF, CloseTiff>;

TiffPointer OpenTiff(const std::filesystem::path& path, const char* mode);

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

void WritePages(TIFF* tiff, const std::vector<TiffPage>& pages);

void WriteTiff(const std::filesystem::path& path, const std::vector<TiffPage>& pages);

/// A 16-bit tag of the first page, or `absent`.
unsigned ShortTag(const std::filesystem::path& path, std::uint32_t tag, unsigned absent = 0);

inline constexpr unsigned kTagIsAbsent = 99999;

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_TIFF_FILE_H_
