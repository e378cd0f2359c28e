// The flat API: palettes.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_FLAT_PALETTE_H_
#define PIXTOLA_PORTABLE_GDIPLUS_FLAT_PALETTE_H_

#include "pixtola/portable/gdiplus/colors.h"
#include "pixtola/portable/gdiplus/image_types.h"
#include "pixtola/portable/gdiplus/status.h"
#include "pixtola/portable/windows_types.h"

namespace Gdiplus {
namespace DllExports {
extern "C" {

PIXTOLA_PLATFORM_API GpStatus GdipGetImagePaletteSize(GpImage* image, INT* size);
PIXTOLA_PLATFORM_API GpStatus GdipGetImagePalette(GpImage* image, ColorPalette* palette, INT size);
PIXTOLA_PLATFORM_API GpStatus GdipSetImagePalette(GpImage* image, const ColorPalette* palette);

}  // extern "C"
}  // namespace DllExports
}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_FLAT_PALETTE_H_
