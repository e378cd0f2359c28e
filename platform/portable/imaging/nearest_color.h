// The palette entry nearest to a colour.
#ifndef PIXTOLA_PORTABLE_NEAREST_COLOR_H_
#define PIXTOLA_PORTABLE_NEAREST_COLOR_H_

#include <array>
#include <cstdint>
#include <span>

#include "base/heap_bytes.h"
#include "imaging/palette.h"

namespace pixtola::portable {

/// Nearest by the squared distance of red, green and blue, the first of equals; alpha is ignored.
///
/// The cube of colours is cut into 16 x 16 x 16 cells. At the first colour of a cell, the entries
/// that can be nearest to any colour of the cell are noted; from then on only these few are
/// compared.
class NearestColor {
 public:
  /// Looks among the first `usable` entries, at most 256; the index is 0 when there are none.
  NearestColor(const Palette& palette, unsigned usable);

  unsigned IndexOf(Gdiplus::ARGB color);

 private:
  /// Candidates are `count` indexes in ascending order; 0 when nobody has asked yet.
  struct Cell {
    std::uint32_t start = 0;
    std::uint32_t count = 0;
  };
  struct Channels {
    std::int32_t red;
    std::int32_t green;
    std::int32_t blue;
  };

  std::span<const std::uint8_t> CandidatesOf(const Channels& color);
  void FillCell(const Channels& color, Cell& cell);
  bool Reserve(std::uint32_t count);

  unsigned count_;
  std::array<Channels, 256> entries_;
  std::array<std::uint8_t, 256> all_;  ///< the candidates when out of memory for better ones
  std::array<Cell, 16 * 16 * 16> cells_{};
  HeapBytes candidates_;
  std::uint32_t candidates_size_ = 0;
  std::uint32_t candidates_capacity_ = 0;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_NEAREST_COLOR_H_
