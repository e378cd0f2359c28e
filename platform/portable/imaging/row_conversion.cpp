#include "imaging/row_conversion.h"

#include <algorithm>

#include "imaging/color_rows.h"
#include "imaging/indexed_rows.h"
#include "imaging/pixel_format.h"

namespace pixtola::portable {

namespace {

/// Pixels that are converted at a time: their colours stay in the first-level cache, and no memory
/// has to be allocated.
constexpr std::uint32_t kPieceWidth = 512;

/// Calls `convert(source, destination, width)` for pieces of a row.
template <typename Convert>
void ForEachPiece(ConstRowPosition source, RowPosition destination, std::uint32_t width,
                  Convert convert) {
  for (std::uint32_t done = 0; done < width; done += kPieceWidth) {
    convert(ConstRowPosition{source.row, source.x + done},
            RowPosition{destination.row, destination.x + done},
            std::min(kPieceWidth, width - done));
  }
}

}  // namespace

bool RowConversion::IsPossible(Gdiplus::PixelFormat from, Gdiplus::PixelFormat to) {
  if (!IsBitmapFormat(from) || !IsBitmapFormat(to)) return false;
  return from == to || (from != PixelFormat16bppGrayScale && to != PixelFormat16bppGrayScale);
}

RowConversion::RowConversion(Gdiplus::PixelFormat from, const Palette& from_palette,
                             Gdiplus::PixelFormat to, const Palette& to_palette)
    : from_(from),
      to_(to),
      from_palette_(from_palette),
      direct_(FindDirectRow(from, to)),
      way_(ChooseWay()) {
  if (way_ == Way::kTable24 || way_ == Way::kTable32) FillTable(from_palette);
  if (way_ != Way::kCopy && IsIndexed(to)) nearest_.emplace(to_palette, 1U << BitsPerPixel(to));
}

RowConversion::Way RowConversion::ChooseWay() const {
  if (from_ == to_) return Way::kCopy;
  if (direct_ != nullptr) return Way::kDirect;
  if (IsLinear(from_) && IsLinear(to_)) return Way::kLinear;
  if (from_ == PixelFormat8bppIndexed && BitsPerPixel(to_) == 24) return Way::kTable24;
  if (from_ == PixelFormat8bppIndexed && BitsPerPixel(to_) == 32) return Way::kTable32;
  return Way::kColors;
}

void RowConversion::FillTable(const Palette& palette) {
  for (unsigned i = 0; i < table_.size(); ++i) {
    const Gdiplus::ARGB color = palette.ColorOf(i);
    BYTE* entry = reinterpret_cast<BYTE*>(&table_[i]);
    table_[i] = color;  // all of it even where 24 bits are stored
    if (BitsPerPixel(to_) == 32) ArgbToRow(&color, 1, to_, entry, 0);
  }
}

void RowConversion::Convert(ConstRowPosition source, RowPosition destination, std::uint32_t width) {
  const BYTE* pixels = source.row + std::size_t{source.x} * BitsPerPixel(from_) / 8;
  BYTE* converted = destination.row + std::size_t{destination.x} * BitsPerPixel(to_) / 8;
  switch (way_) {
    case Way::kCopy:
      CopyPixels(source.row, source.x, destination.row, destination.x, width, BitsPerPixel(to_));
      break;
    case Way::kDirect:
      direct_(pixels, converted, width);
      break;
    case Way::kTable24:
      LookUp24(pixels, converted, width, table_);
      break;
    case Way::kTable32:
      LookUp32(pixels, converted, width, table_);
      break;
    case Way::kLinear:
      ConvertByLinear(source, destination, width);
      break;
    case Way::kColors:
      ConvertByColors(source, destination, width);
      break;
  }
}

void RowConversion::ConvertByColors(ConstRowPosition source, RowPosition destination,
                                    std::uint32_t width) {
  Gdiplus::ARGB colors[kPieceWidth];
  ForEachPiece(source, destination, width,
               [&](ConstRowPosition from, RowPosition to, std::uint32_t count) {
                 RowToArgb(from.row, from.x, count, from_, from_palette_, colors);
                 if (nearest_.has_value()) {
                   ArgbToIndexes(colors, count, BitsPerPixel(to_), *nearest_, to.row, to.x);
                 } else {
                   ArgbToRow(colors, count, to_, to.row, to.x);
                 }
               });
}

void RowConversion::ConvertByLinear(ConstRowPosition source, RowPosition destination,
                                    std::uint32_t width) {
  LinearColor colors[kPieceWidth];
  ForEachPiece(source, destination, width,
               [&](ConstRowPosition from, RowPosition to, std::uint32_t count) {
                 RowToLinear(from.row, from.x, count, from_, colors);
                 LinearToRow(colors, count, to_, to.row, to.x);
               });
}

}  // namespace pixtola::portable
