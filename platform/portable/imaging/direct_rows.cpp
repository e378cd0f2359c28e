#include "imaging/direct_rows.h"

#include "imaging/argb.h"
#include "imaging/words.h"

namespace pixtola::portable {

namespace {

using Gdiplus::ARGB;

ARGB Load24(const BYTE* at) { return at[0] | ARGB{at[1]} << 8 | ARGB{at[2]} << 16; }

void Store24(BYTE* at, ARGB color) {
  at[0] = static_cast<BYTE>(color);
  at[1] = static_cast<BYTE>(color >> 8);
  at[2] = static_cast<BYTE>(color >> 16);
}

/// Four 24-bit pixels are three words, whose bytes are b0 g0 r0 b1, g1 r1 b2 g2, r2 b3 g3 r3.
void StoreFour24(BYTE* at, ARGB c0, ARGB c1, ARGB c2, ARGB c3) {
  StoreWord(at, (c0 & 0xFFFFFF) | c1 << 24);
  StoreWord(at + 4, (c1 >> 8 & 0xFFFF) | c2 << 16);
  StoreWord(at + 8, (c2 >> 16 & 0xFF) | c3 << 8);
}

void Widen(const BYTE* source, BYTE* destination, std::size_t width) {
  std::size_t x = 0;
  for (; x + 4 <= width; x += 4, source += 12, destination += 16) {
    const ARGB w0 = LoadWord(source);
    const ARGB w1 = LoadWord(source + 4);
    const ARGB w2 = LoadWord(source + 8);
    StoreWord(destination, Opaque(w0));
    StoreWord(destination + 4, Opaque(w0 >> 24 | w1 << 8));
    StoreWord(destination + 8, Opaque(w1 >> 16 | w2 << 16));
    StoreWord(destination + 12, Opaque(w2 >> 8));
  }
  for (; x < width; ++x, source += 3, destination += 4) {
    StoreWord(destination, Opaque(Load24(source)));
  }
}

void DropFourth(const BYTE* source, BYTE* destination, std::size_t width) {
  std::size_t x = 0;
  for (; x + 4 <= width; x += 4, source += 16, destination += 12) {
    StoreFour24(destination, LoadWord(source), LoadWord(source + 4), LoadWord(source + 8),
                LoadWord(source + 12));
  }
  for (; x < width; ++x, source += 4, destination += 3) Store24(destination, LoadWord(source));
}

/// Applies a function of one colour to each pixel of 32 bits.
template <ARGB (*kChange)(ARGB)>
void Change32(const BYTE* source, BYTE* destination, std::size_t width) {
  for (std::size_t x = 0; x < width; ++x, source += 4, destination += 4) {
    StoreWord(destination, kChange(LoadWord(source)));
  }
}

ARGB OpaqueUnpremultiplied(ARGB color) { return Opaque(Unpremultiply(color)); }

void UnpremultiplyTo24(const BYTE* source, BYTE* destination, std::size_t width) {
  for (std::size_t x = 0; x < width; ++x, source += 4, destination += 3) {
    Store24(destination, Unpremultiply(LoadWord(source)));
  }
}

}  // namespace

DirectRow FindDirectRow(Gdiplus::PixelFormat from, Gdiplus::PixelFormat to) {
  const bool to_32 =
      to == PixelFormat32bppRGB || to == PixelFormat32bppARGB || to == PixelFormat32bppPARGB;
  switch (from) {
    case PixelFormat24bppRGB:
      return to_32 ? Widen : nullptr;
    case PixelFormat32bppRGB:
      if (to == PixelFormat24bppRGB) return DropFourth;
      return to_32 ? Change32<Opaque> : nullptr;
    case PixelFormat32bppARGB:
      if (to == PixelFormat24bppRGB) return DropFourth;
      if (to == PixelFormat32bppRGB) return Change32<Opaque>;
      return to == PixelFormat32bppPARGB ? Change32<Premultiply> : nullptr;
    case PixelFormat32bppPARGB:
      if (to == PixelFormat24bppRGB) return UnpremultiplyTo24;
      if (to == PixelFormat32bppRGB) return Change32<OpaqueUnpremultiplied>;
      return to == PixelFormat32bppARGB ? Change32<Unpremultiply> : nullptr;
    default:
      return nullptr;
  }
}

void LookUp24(const BYTE* source, BYTE* destination, std::size_t width, const ColorTable& table) {
  std::size_t x = 0;
  for (; x + 4 <= width; x += 4, destination += 12) {
    StoreFour24(destination, table[source[x]], table[source[x + 1]], table[source[x + 2]],
                table[source[x + 3]]);
  }
  for (; x < width; ++x, destination += 3) Store24(destination, table[source[x]]);
}

void LookUp32(const BYTE* source, BYTE* destination, std::size_t width, const ColorTable& table) {
  for (std::size_t x = 0; x < width; ++x) StoreWord(destination + 4 * x, table[source[x]]);
}

}  // namespace pixtola::portable
