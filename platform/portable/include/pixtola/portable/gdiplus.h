// Pixtola's stand-in for GDI+ on systems without it: the same names, the same answers.
//
// Only what Pixtola and its callers need is here. Write calling code against the real API's
// documentation; it compiles unchanged on both. This header is the one to include; each of those in
// the folder gdiplus has one family of names.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_H_
#define PIXTOLA_PORTABLE_GDIPLUS_H_

#include "pixtola/portable/gdiplus/base_class.h"
#include "pixtola/portable/gdiplus/codec_types.h"
#include "pixtola/portable/gdiplus/colors.h"
#include "pixtola/portable/gdiplus/flat_codecs.h"
#include "pixtola/portable/gdiplus/flat_image.h"
#include "pixtola/portable/gdiplus/flat_memory.h"
#include "pixtola/portable/gdiplus/flat_palette.h"
#include "pixtola/portable/gdiplus/geometry.h"
#include "pixtola/portable/gdiplus/image_classes.h"
#include "pixtola/portable/gdiplus/image_types.h"
#include "pixtola/portable/gdiplus/pixel_formats.h"
#include "pixtola/portable/gdiplus/startup.h"
#include "pixtola/portable/gdiplus/status.h"
#include "pixtola/portable/win32.h"

#endif  // PIXTOLA_PORTABLE_GDIPLUS_H_
