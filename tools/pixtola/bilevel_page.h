// Black-and-white pages whose palette differs from what the conversions assume.
#ifndef PIXTOLA_TOOL_BILEVEL_PAGE_H_
#define PIXTOLA_TOOL_BILEVEL_PAGE_H_

#include <memory>

#include "Pixtola.h"

namespace pixtola::tool {

/// What the two indexes of a 1-bit page show.
enum class BilevelPalette { kBlackFirst, kWhiteFirst, kOther };

BilevelPalette BilevelPaletteOf(Gdiplus::Bitmap& page);

/// Whether two 1-bit pages in black and white, whichever comes first, have the same size and look
/// the same.
bool ShowTheSame(Gdiplus::Bitmap& first, Gdiplus::Bitmap& second);

/// The page in 24-bit colour; null when it is too large.
std::unique_ptr<Gdiplus::Bitmap> WithTrueColours(Gdiplus::Bitmap& page);

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_BILEVEL_PAGE_H_
