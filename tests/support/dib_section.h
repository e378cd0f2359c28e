// DIB sections for tests, and their descriptions with colours or masks.
#ifndef PIXTOLA_TESTS_SUPPORT_DIB_SECTION_H_
#define PIXTOLA_TESTS_SUPPORT_DIB_SECTION_H_

#include <cstddef>
#include <vector>

#include "platform.h"

namespace pixtola::test {

/// A BITMAPINFO with a header of 40 bytes and room for 256 colours. Rows are bottom-up when the
/// height is positive, top-down when it is negative.
class DibInfo {
 public:
  DibInfo(LONG width, LONG height, WORD bits) {
    BITMAPINFOHEADER& header = info_.header;
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = bits;
    header.biCompression = BI_RGB;
  }

  /// Entry i of the colour table is 0x00RRGGBB in colors[i].
  DibInfo& WithColors(const std::vector<DWORD>& colors) {
    for (std::size_t i = 0; i < colors.size(); ++i) info_.entries[i] = colors[i];
    return *this;
  }

  /// The bits of each colour in a pixel.
  DibInfo& WithMasks(DWORD red, DWORD green, DWORD blue) {
    info_.header.biCompression = BI_BITFIELDS;
    return WithColors({red, green, blue});
  }

  const BITMAPINFO* get() const { return reinterpret_cast<const BITMAPINFO*>(&info_); }

 private:
  struct {
    BITMAPINFOHEADER header;
    DWORD entries[256];  // RGBQUADs or masks
  } info_{};
};

/// A section that is deleted with its owner.
class DibSection {
 public:
  explicit DibSection(const DibInfo& info)
      : bitmap_(CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, &bits_, nullptr, 0)) {}
  DibSection(const DibSection&) = delete;
  DibSection& operator=(const DibSection&) = delete;
  ~DibSection() { Delete(); }

  HBITMAP get() const { return bitmap_; }
  /// The first row in memory.
  void* bits() const { return bits_; }

  void Delete() {
    if (bitmap_ != nullptr) DeleteObject(bitmap_);
    bitmap_ = nullptr;
    bits_ = nullptr;
  }

 private:
  void* bits_ = nullptr;
  HBITMAP bitmap_;
};

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_DIB_SECTION_H_
