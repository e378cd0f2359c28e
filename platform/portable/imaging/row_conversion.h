// Rows of pixels from one format to another, in the fewest steps.
#ifndef PIXTOLA_PORTABLE_ROW_CONVERSION_H_
#define PIXTOLA_PORTABLE_ROW_CONVERSION_H_

#include <cstdint>
#include <optional>

#include "imaging/direct_rows.h"
#include "imaging/nearest_color.h"
#include "imaging/palette.h"

namespace pixtola::portable {

/// What the pixels of one row are and where they begin.
struct RowPosition {
  BYTE* row;
  std::uint32_t x;  ///< pixels from the row's start
};
struct ConstRowPosition {
  const BYTE* row;
  std::uint32_t x;
};

class RowConversion {
 public:
  /// Whether pixels of `from` can be converted to `to`; always when they are the same.
  static bool IsPossible(Gdiplus::PixelFormat from, Gdiplus::PixelFormat to);

  /// The conversion must be possible. Palettes are read for indexed formats only; `from_palette`
  /// must outlive this object.
  RowConversion(Gdiplus::PixelFormat from, const Palette& from_palette, Gdiplus::PixelFormat to,
                const Palette& to_palette);

  /// Bits of the destination that belong to other pixels stay as they are.
  void Convert(ConstRowPosition source, RowPosition destination, std::uint32_t width);

 private:
  enum class Way { kCopy, kDirect, kTable24, kTable32, kLinear, kColors };

  Way ChooseWay() const;
  void FillTable(const Palette& palette);
  void ConvertByColors(ConstRowPosition source, RowPosition destination, std::uint32_t width);
  void ConvertByLinear(ConstRowPosition source, RowPosition destination, std::uint32_t width);

  Gdiplus::PixelFormat from_;
  Gdiplus::PixelFormat to_;
  const Palette& from_palette_;
  DirectRow direct_;
  Way way_;
  ColorTable table_;                     ///< for the ways by table
  std::optional<NearestColor> nearest_;  ///< for indexed destinations
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_ROW_CONVERSION_H_
