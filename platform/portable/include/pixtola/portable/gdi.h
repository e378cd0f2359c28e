// GDI's calls: handles of device-independent bitmaps, and the device contexts that measuring asks
// for.
#ifndef PIXTOLA_PORTABLE_GDI_H_
#define PIXTOLA_PORTABLE_GDI_H_

#include "pixtola/portable/windows_types.h"

struct HBITMAP__;
using HBITMAP = HBITMAP__*;
struct HPALETTE__;
using HPALETTE = HPALETTE__*;
struct HDC__;
using HDC = HDC__*;
struct HWND__;
using HWND = HWND__*;
using HGDIOBJ = void*;

constexpr UINT DIB_RGB_COLORS = 0;
constexpr DWORD BI_RGB = 0;
constexpr DWORD BI_BITFIELDS = 3;

struct RGBQUAD {
  BYTE rgbBlue;
  BYTE rgbGreen;
  BYTE rgbRed;
  BYTE rgbReserved;
};

struct BITMAPINFOHEADER {
  DWORD biSize;  ///< bytes of the header, at least 40; the colour table follows them
  LONG biWidth;
  LONG biHeight;  ///< negative: top-down
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
};

struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
};

struct BITMAP {
  LONG bmType;
  LONG bmWidth;
  LONG bmHeight;
  LONG bmWidthBytes;  ///< bytes from one row to the next, a multiple of 4
  WORD bmPlanes;
  WORD bmBitsPixel;
  LPVOID bmBits;
};

struct DIBSECTION {
  BITMAP dsBm;
  BITMAPINFOHEADER dsBmih;  ///< biSize 40, biHeight positive however the rows run
  DWORD dsBitfields[3];
  HANDLE dshSection;
  DWORD dsOffset;
};

extern "C" {

/// A bitmap of 1, 4, 8, 16, 24 or 32 bits per pixel whose rows the caller may write at `bits`, all
/// zero at first. `usage` is DIB_RGB_COLORS and `section` null: colours by index into a device's
/// palette and rows in mapped files are not supplied. With BI_BITFIELDS 16-bit pixels may be 555 or
/// 565, 32-bit ones blue, green, red. Null, with `bits` null, for anything else. The caller frees
/// it with DeleteObject.
PIXTOLA_PLATFORM_API HBITMAP WINAPI CreateDIBSection(HDC device, const BITMAPINFO* info, UINT usage,
                                                     void** bits, HANDLE section, DWORD offset);
/// Fills a BITMAP or, when `size` has room for it, a DIBSECTION. Returns the bytes written, with
/// `object` null those of a BITMAP, 0 for what is not a bitmap.
PIXTOLA_PLATFORM_API int WINAPI GetObjectW(HANDLE handle, int size, LPVOID object);
/// FALSE for what is not a bitmap, or no longer one.
PIXTOLA_PLATFORM_API BOOL WINAPI DeleteObject(HGDIOBJ object);

/// The screen's device context; there are no windows, so `window` does not matter.
PIXTOLA_PLATFORM_API HDC WINAPI GetDC(HWND window);
/// 1, or 0 for what is not a device context of GetDC.
PIXTOLA_PLATFORM_API int WINAPI ReleaseDC(HWND window, HDC device);
/// A device context to measure text on, 96 dots per inch. `device` may be null. Null when out of
/// memory or when `device` is not a device context. The caller frees it with DeleteDC.
PIXTOLA_PLATFORM_API HDC WINAPI CreateCompatibleDC(HDC device);
/// FALSE for what is not a device context of CreateCompatibleDC, or no longer one.
PIXTOLA_PLATFORM_API BOOL WINAPI DeleteDC(HDC device);

}  // extern "C"

#endif  // PIXTOLA_PORTABLE_GDI_H_
