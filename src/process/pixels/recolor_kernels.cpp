#include "process/pixels/recolor_kernels.h"

#include <algorithm>
#include <cstdlib>

#include "process/pixels/color_model.h"

namespace pixtola {

namespace {

std::uint8_t ClampToByte(int value) { return static_cast<std::uint8_t>(std::clamp(value, 0, 255)); }

Hsv HsvOfPixel(const std::uint8_t* pixel) { return HsvFromRgb({pixel[2], pixel[1], pixel[0]}); }

void StoreColor(Hsv color, std::uint8_t* pixel) {
  const Rgb rgb = RgbFromHsv(color);
  pixel[0] = rgb.blue;
  pixel[1] = rgb.green;
  pixel[2] = rgb.red;
}

Hsv Moved(const Recoloring& recoloring, Hsv color) {
  return {ClampToByte(recoloring.replacement_hue + (color.hue - recoloring.find_hue)),
          ClampToByte(color.saturation + recoloring.saturation_difference),
          ClampToByte(color.value + recoloring.value_difference)};
}

void RecolorRow(const Recoloring& recoloring, std::uint8_t* pixels, std::uint32_t count) {
  for (std::uint32_t x = 0; x < count; ++x, pixels += 4) {
    if (pixels[3] == 0) continue;
    const Hsv color = HsvOfPixel(pixels);
    if (std::abs(color.hue - recoloring.find_hue) > recoloring.tolerance) continue;
    StoreColor(Moved(recoloring, color), pixels);
  }
}

void RecolorPixelRows(const Recoloring& recoloring, const MutableImageView& pixels) {
  for (std::uint32_t y = 0; y < pixels.height; ++y) {
    RecolorRow(recoloring, pixels.Row(y), pixels.width);
  }
}

void HsvFromPixels(const std::uint8_t* pixels, std::uint32_t count, std::uint8_t* hsv) {
  for (std::uint32_t x = 0; x < count; ++x, pixels += 4, hsv += 4) {
    const Hsv color = HsvOfPixel(pixels);
    const std::uint8_t alpha = pixels[3];
    hsv[0] = color.hue;
    hsv[1] = color.saturation;
    hsv[2] = color.value;
    hsv[3] = alpha;
  }
}

void PixelsFromHsv(const std::uint8_t* hsv, std::uint32_t count, std::uint8_t* pixels) {
  for (std::uint32_t x = 0; x < count; ++x, hsv += 4, pixels += 4) {
    const std::uint8_t alpha = hsv[3];
    StoreColor({hsv[0], hsv[1], hsv[2]}, pixels);
    pixels[3] = alpha;
  }
}

}  // namespace

constexpr RecolorKernels kPlainRecolorKernels{
    .target = "plain",
    .rows = RecolorPixelRows,
    .hsv_from_pixels = HsvFromPixels,
    .pixels_from_hsv = PixelsFromHsv,
};

#if !PIXTOLA_WITH_HIGHWAY
const RecolorKernels& BestRecolorKernels() { return kPlainRecolorKernels; }
#endif

}  // namespace pixtola
