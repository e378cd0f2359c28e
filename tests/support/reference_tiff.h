// What a page of a TIFF must look like when it is read: the rules written down once more, plainly,
// over libtiff's own calls, to compare the reader with.
#ifndef PIXTOLA_TESTS_SUPPORT_REFERENCE_TIFF_H_
#define PIXTOLA_TESTS_SUPPORT_REFERENCE_TIFF_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/test_bitmap.h"

namespace pixtola::test {

struct TiffPicture {
  Gdiplus::PixelFormat format = PixelFormatUndefined;
  UINT width = 0;
  UINT height = 0;
  float horizontal_dpi = 0;
  float vertical_dpi = 0;
  std::vector<Gdiplus::ARGB> palette;
  Bytes pixels;  ///< rows without padding; bits past a row's end are 0
};

/// Nothing when the page is refused. Index 0 is the first page, and so are negative ones.
std::optional<TiffPicture> ReferenceTiffPage(const Bytes& file, std::int32_t page = 0);

/// How a bitmap differs, in words; empty when it is the picture, or when it is null and there is
/// none. Resolutions count as equal when they are as close as an indexed bitmap can hold them.
std::string DifferenceFrom(const std::optional<TiffPicture>& picture, Gdiplus::Bitmap* bitmap);

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_REFERENCE_TIFF_H_
