#include "format/pixel_format.h"

#include "format/stride.h"

uint32_t PxtCalcStride(uint32_t width, Gdiplus::PixelFormat format) {
  return pixtola::CalcStrideFromBits(pixtola::BitsPerPixel(format), width);
}
