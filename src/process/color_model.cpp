// The exported functions on single colours.
#include "process/pixels/color_model.h"

#include "Pixtola.h"
#include "format/gray_weights.h"

uint32_t PxtGetGrayValue(uint8_t red, uint8_t blue, uint8_t green) {
  // Kept on purpose: the second argument takes the weight of blue and the third that of green.
  return pixtola::GrayValue(red, green, blue);
}

void PxtRGBtoHSV(uint8_t red, uint8_t green, uint8_t blue, uint8_t* hue, uint8_t* saturation,
                 uint8_t* value) {
  const pixtola::Hsv color = pixtola::HsvFromRgb({red, green, blue});
  *hue = color.hue;
  *saturation = color.saturation;
  *value = color.value;
}

void PxtHSVtoRGB(uint8_t hue, uint8_t saturation, uint8_t value, uint8_t* red, uint8_t* green,
                 uint8_t* blue) {
  const pixtola::Rgb color = pixtola::RgbFromHsv({hue, saturation, value});
  *red = color.red;
  *green = color.green;
  *blue = color.blue;
}
