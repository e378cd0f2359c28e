// Device-independent bitmaps: creation from a header, their description, deletion.

#include "system/dib_section.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <optional>

#include "base/handle_table.h"

namespace pixtola::portable {

namespace {

using DibTable = HandleTable<DibSection, HBITMAP>;

using Masks = std::array<DWORD, 3>;  ///< red, green, blue

constexpr Masks kMasks555 = {0x7C00, 0x03E0, 0x001F};
constexpr Masks kMasks565 = {0xF800, 0x07E0, 0x001F};
constexpr Masks kMasksBgr = {0x00FF0000, 0x0000FF00, 0x000000FF};

/// The masks after a header, which are part of it in its longer versions.
Masks ReadMasks(const BITMAPINFO& info) {
  Masks masks{};
  std::memcpy(masks.data(), reinterpret_cast<const BYTE*>(&info) + sizeof(BITMAPINFOHEADER),
              sizeof(masks));
  return masks;
}

std::optional<DibLayout> LayoutOf(const BITMAPINFO& info) {
  const BITMAPINFOHEADER& header = info.bmiHeader;
  if (header.biCompression == BI_BITFIELDS) {
    const Masks masks = ReadMasks(info);
    if (header.biBitCount == 16 && masks == kMasks555) return DibLayout::k555;
    if (header.biBitCount == 16 && masks == kMasks565) return DibLayout::k565;
    if (header.biBitCount == 32 && masks == kMasksBgr) return DibLayout::kBgrx;
    return std::nullopt;
  }
  if (header.biCompression != BI_RGB) return std::nullopt;
  switch (header.biBitCount) {
    case 1:
    case 4:
    case 8:
      return DibLayout::kIndexed;
    case 16:
      return DibLayout::k555;
    case 24:
      return DibLayout::kBgr;
    case 32:
      return DibLayout::kBgrx;
    default:
      return std::nullopt;
  }
}

/// The colour table follows the header. Entries beyond the header's count are black.
void ReadColors(const BITMAPINFO& info, DibSection& section) {
  const std::uint32_t most = 1U << section.bits_per_pixel;
  const std::uint32_t used = info.bmiHeader.biClrUsed;
  const std::uint32_t given = used == 0 ? most : std::min<std::uint32_t>(used, most);
  section.color_count = most;
  std::memcpy(section.colors.data(), reinterpret_cast<const BYTE*>(&info) + info.bmiHeader.biSize,
              given * sizeof(RGBQUAD));
}

/// Null for headers of what is not supplied, and when out of memory.
std::unique_ptr<DibSection> MakeSection(const BITMAPINFO& info) {
  const BITMAPINFOHEADER& header = info.bmiHeader;
  constexpr LONG kLowest = std::numeric_limits<LONG>::min();
  const std::optional<DibLayout> layout =
      header.biSize >= sizeof(BITMAPINFOHEADER) ? LayoutOf(info) : std::nullopt;
  if (!layout.has_value() || header.biPlanes != 1 || header.biWidth <= 0 || header.biHeight == 0 ||
      header.biHeight == kLowest) {
    return nullptr;
  }
  const auto width = static_cast<std::uint64_t>(header.biWidth);
  const std::uint64_t stride = (width * header.biBitCount + 31) / 32 * 4;
  if (stride > std::numeric_limits<LONG>::max()) return nullptr;
  std::unique_ptr<DibSection> section(new (std::nothrow) DibSection{});
  if (section == nullptr) return nullptr;
  section->width = static_cast<std::uint32_t>(width);
  section->height = static_cast<std::uint32_t>(std::abs(header.biHeight));
  section->bits_per_pixel = header.biBitCount;
  section->layout = *layout;
  section->is_top_down = header.biHeight < 0;
  section->has_masks = header.biCompression == BI_BITFIELDS;
  section->stride = static_cast<std::uint32_t>(stride);
  section->rows = AllocateZeroedBytes(stride * section->height);
  if (section->rows == nullptr) return nullptr;
  if (*layout == DibLayout::kIndexed) ReadColors(info, *section);
  return section;
}

BITMAP Describe(const DibSection& section) {
  BITMAP bitmap{};
  bitmap.bmWidth = static_cast<LONG>(section.width);
  bitmap.bmHeight = static_cast<LONG>(section.height);
  bitmap.bmWidthBytes = static_cast<LONG>(section.stride);
  bitmap.bmPlanes = 1;
  bitmap.bmBitsPixel = section.bits_per_pixel;
  bitmap.bmBits = section.rows.get();
  return bitmap;
}

DIBSECTION DescribeInFull(const DibSection& section) {
  DIBSECTION full{};
  full.dsBm = Describe(section);
  BITMAPINFOHEADER& header = full.dsBmih;
  header.biSize = sizeof(BITMAPINFOHEADER);
  header.biWidth = full.dsBm.bmWidth;
  header.biHeight = full.dsBm.bmHeight;
  header.biPlanes = 1;
  header.biBitCount = section.bits_per_pixel;
  header.biCompression = section.has_masks ? BI_BITFIELDS : BI_RGB;
  header.biSizeImage = static_cast<DWORD>(std::uint64_t{section.stride} * section.height);
  header.biClrUsed = section.color_count;
  if (section.has_masks) {
    const Masks& masks = section.layout == DibLayout::k555   ? kMasks555
                         : section.layout == DibLayout::k565 ? kMasks565
                                                             : kMasksBgr;
    std::copy(masks.begin(), masks.end(), full.dsBitfields);
  }
  return full;
}

}  // namespace

const DibSection* FindDibSection(HBITMAP bitmap) { return DibTable::Instance().Find(bitmap); }

}  // namespace pixtola::portable

using pixtola::portable::DibSection;
using pixtola::portable::DibTable;

extern "C" {

HBITMAP WINAPI CreateDIBSection(HDC /*device*/, const BITMAPINFO* info, UINT usage, void** bits,
                                HANDLE section, DWORD /*offset*/) {
  if (bits != nullptr) *bits = nullptr;
  if (info == nullptr || usage != DIB_RGB_COLORS || section != nullptr) return nullptr;
  std::unique_ptr<DibSection> made = pixtola::portable::MakeSection(*info);
  if (made == nullptr) return nullptr;
  void* rows = made->rows.get();
  const HBITMAP bitmap = DibTable::Instance().Open(std::move(made));
  if (bitmap != nullptr && bits != nullptr) *bits = rows;
  return bitmap;
}

int WINAPI GetObjectW(HANDLE handle, int size, LPVOID object) {
  const DibSection* section = pixtola::portable::FindDibSection(static_cast<HBITMAP>(handle));
  if (section == nullptr) return 0;
  if (object == nullptr) return sizeof(BITMAP);
  if (size >= static_cast<int>(sizeof(DIBSECTION))) {
    const DIBSECTION full = pixtola::portable::DescribeInFull(*section);
    std::memcpy(object, &full, sizeof(full));
    return sizeof(full);
  }
  if (size < static_cast<int>(sizeof(BITMAP))) return 0;
  const BITMAP bitmap = pixtola::portable::Describe(*section);
  std::memcpy(object, &bitmap, sizeof(bitmap));
  return sizeof(bitmap);
}

BOOL WINAPI DeleteObject(HGDIOBJ object) {
  return DibTable::Instance().Close(object) ? TRUE : FALSE;
}

}  // extern "C"
