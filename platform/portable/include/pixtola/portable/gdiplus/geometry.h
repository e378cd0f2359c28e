// Real numbers and rectangles.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_GEOMETRY_H_
#define PIXTOLA_PORTABLE_GDIPLUS_GEOMETRY_H_

#include "pixtola/portable/windows_types.h"

namespace Gdiplus {

using REAL = float;

class Rect {
 public:
  Rect() : X(0), Y(0), Width(0), Height(0) {}
  Rect(INT x, INT y, INT width, INT height) : X(x), Y(y), Width(width), Height(height) {}

  INT X;
  INT Y;
  INT Width;
  INT Height;
};
using GpRect = Rect;

}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_GEOMETRY_H_
