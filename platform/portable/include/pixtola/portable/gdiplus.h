// Pixtola's stand-in for GDI+ on systems without it: the same names, the same answers.
//
// Only what Pixtola and its callers need is here. Write calling code against the real API's
// documentation; it compiles unchanged on both.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_H_
#define PIXTOLA_PORTABLE_GDIPLUS_H_

#include "pixtola/portable/gdiplus_classes.h"
#include "pixtola/portable/gdiplus_flat.h"
#include "pixtola/portable/gdiplus_types.h"
#include "pixtola/portable/win32.h"

#endif  // PIXTOLA_PORTABLE_GDIPLUS_H_
