#include "process/pixels/recolor.h"

#include "process/pixels/color_model.h"

namespace pixtola {

namespace {

Hsv HsvOfColor(std::uint32_t color) {
  return HsvFromRgb({static_cast<std::uint8_t>(color), static_cast<std::uint8_t>(color >> 8),
                     static_cast<std::uint8_t>(color >> 16)});
}

}  // namespace

Recoloring MakeRecoloring(std::uint32_t find, std::uint32_t replacement, std::uint8_t tolerance) {
  const Hsv from = HsvOfColor(find);
  const Hsv to = HsvOfColor(replacement);
  return {.find_hue = from.hue,
          .replacement_hue = to.hue,
          .saturation_difference = to.saturation - from.saturation,
          .value_difference = to.value - from.value,
          .tolerance = tolerance};
}

bool ChangesNothing(const Recoloring& recoloring) {
  return recoloring.find_hue == recoloring.replacement_hue &&
         recoloring.saturation_difference == 0 && recoloring.value_difference == 0;
}

void RecolorRows(const Recoloring& recoloring, const MutableImageView& pixels) {
  if (ChangesNothing(recoloring)) return;
  BestRecolorKernels().rows(recoloring, pixels);
}

}  // namespace pixtola
