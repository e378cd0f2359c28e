// The palette entry nearest to a colour.
#ifndef PIXTOLA_PORTABLE_NEAREST_COLOR_H_
#define PIXTOLA_PORTABLE_NEAREST_COLOR_H_

#include <array>
#include <cstdint>

#include "imaging/palette.h"

namespace pixtola::portable {

/// Nearest by the squared distance of red, green and blue, the first of equals; alpha is not looked
/// at. Colours that were asked for lately are remembered: those of a page come back again and
/// again.
class NearestColor {
 public:
  /// Looks among the first `usable` entries, 0 when there are none.
  NearestColor(const Palette& palette, unsigned usable);

  unsigned IndexOf(Gdiplus::ARGB color) {
    const std::uint32_t rgb = color & 0x00FFFFFFU;
    Remembered& slot = remembered_[rgb * 0x9E3779B1U >> (32 - kSlotBits)];
    if (slot.key != (rgb | kFilled)) slot = {rgb | kFilled, Search(rgb)};
    return slot.index;
  }

 private:
  static constexpr unsigned kSlotBits = 10;
  static constexpr std::uint32_t kFilled = 0x01000000U;

  struct Remembered {
    std::uint32_t key = 0;  ///< the colour and kFilled; 0 in an unused slot
    std::uint32_t index = 0;
  };

  unsigned Search(std::uint32_t rgb) const;

  unsigned count_;
  std::array<std::int32_t, 256> red_;
  std::array<std::int32_t, 256> green_;
  std::array<std::int32_t, 256> blue_;
  std::array<Remembered, 1U << kSlotBits> remembered_{};
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_NEAREST_COLOR_H_
