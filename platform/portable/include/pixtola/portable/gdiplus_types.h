// GDI+'s enumerations and plain structures: the names, values and layouts of the real API.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_TYPES_H_
#define PIXTOLA_PORTABLE_GDIPLUS_TYPES_H_

#include "pixtola/portable/win32.h"

// In the real API these are macros, so calling code writes them without a namespace; they are plain
// constants here.
constexpr INT PixelFormatIndexed = 0x00010000;
constexpr INT PixelFormatGDI = 0x00020000;
constexpr INT PixelFormatAlpha = 0x00040000;
constexpr INT PixelFormatPAlpha = 0x00080000;
constexpr INT PixelFormatExtended = 0x00100000;
constexpr INT PixelFormatCanonical = 0x00200000;
constexpr INT PixelFormatUndefined = 0;
constexpr INT PixelFormatDontCare = 0;
constexpr INT PixelFormat1bppIndexed = 0x00030101;
constexpr INT PixelFormat4bppIndexed = 0x00030402;
constexpr INT PixelFormat8bppIndexed = 0x00030803;
constexpr INT PixelFormat16bppGrayScale = 0x00101004;
constexpr INT PixelFormat16bppRGB555 = 0x00021005;
constexpr INT PixelFormat16bppRGB565 = 0x00021006;
constexpr INT PixelFormat16bppARGB1555 = 0x00061007;
constexpr INT PixelFormat24bppRGB = 0x00021808;
constexpr INT PixelFormat32bppRGB = 0x00022009;
constexpr INT PixelFormat32bppARGB = 0x0026200A;
constexpr INT PixelFormat32bppPARGB = 0x000E200B;
constexpr INT PixelFormat48bppRGB = 0x0010300C;
constexpr INT PixelFormat64bppARGB = 0x0034400D;
constexpr INT PixelFormat64bppPARGB = 0x001C400E;

namespace Gdiplus {

using REAL = float;
using PixelFormat = INT;
using ARGB = DWORD;

enum Status {
  Ok = 0,
  GenericError = 1,
  InvalidParameter = 2,
  OutOfMemory = 3,
  ObjectBusy = 4,
  InsufficientBuffer = 5,
  NotImplemented = 6,
  Win32Error = 7,
  WrongState = 8,
  Aborted = 9,
  FileNotFound = 10,
  ValueOverflow = 11,
  AccessDenied = 12,
  UnknownImageFormat = 13,
  FontFamilyNotFound = 14,
  FontStyleNotFound = 15,
  NotTrueTypeFont = 16,
  UnsupportedGdiplusVersion = 17,
  GdiplusNotInitialized = 18,
  PropertyNotFound = 19,
  PropertyNotSupported = 20
};
using GpStatus = Status;

enum ImageLockMode { ImageLockModeRead = 1, ImageLockModeWrite = 2, ImageLockModeUserInputBuf = 4 };

enum PaletteFlags { PaletteFlagsHasAlpha = 1, PaletteFlagsGrayScale = 2, PaletteFlagsHalftone = 4 };

struct ColorPalette {
  UINT Flags;
  UINT Count;
  ARGB Entries[1];  ///< Count entries follow one another
};

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

struct BitmapData {
  UINT Width;   ///< pixels
  UINT Height;  ///< rows
  INT Stride;   ///< bytes from one row to the next, negative when rows run upwards
  INT PixelFormat;
  VOID* Scan0;  ///< the top row
  UINT_PTR Reserved;
};

constexpr GUID ImageFormatBMP = {
    0xB96B3CAB, 0x0728, 0x11D3, {0x9D, 0x7B, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
constexpr GUID ImageFormatJPEG = {
    0xB96B3CAE, 0x0728, 0x11D3, {0x9D, 0x7B, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
constexpr GUID ImageFormatPNG = {
    0xB96B3CAF, 0x0728, 0x11D3, {0x9D, 0x7B, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
constexpr GUID ImageFormatGIF = {
    0xB96B3CB0, 0x0728, 0x11D3, {0x9D, 0x7B, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
constexpr GUID ImageFormatTIFF = {
    0xB96B3CB1, 0x0728, 0x11D3, {0x9D, 0x7B, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

constexpr GUID FrameDimensionTime = {
    0x6AEDBD6D, 0x3FB5, 0x418A, {0x83, 0xA6, 0x7F, 0x45, 0x22, 0x9D, 0xC8, 0x72}};
constexpr GUID FrameDimensionPage = {
    0x7462DC86, 0x6180, 0x4C7E, {0x8E, 0x3F, 0xEE, 0x73, 0x33, 0xA7, 0xA4, 0x83}};

constexpr GUID EncoderQuality = {
    0x1D5BE4B5, 0xFA4A, 0x452D, {0x9C, 0xDD, 0x5D, 0xB3, 0x51, 0x05, 0xE7, 0xEB}};
constexpr GUID EncoderCompression = {
    0xE09D739D, 0xCCD4, 0x44EE, {0x8E, 0xBA, 0x3F, 0xBF, 0x8B, 0xE4, 0xFC, 0x58}};

enum EncoderValue {
  EncoderValueCompressionLZW = 2,
  EncoderValueCompressionCCITT3 = 3,
  EncoderValueCompressionCCITT4 = 4,
  EncoderValueCompressionRle = 5,
  EncoderValueCompressionNone = 6
};

enum EncoderParameterValueType { EncoderParameterValueTypeLong = 4 };

struct EncoderParameter {
  GUID Guid;
  ULONG NumberOfValues;
  ULONG Type;
  VOID* Value;
};

struct EncoderParameters {
  UINT Count;
  EncoderParameter Parameter[1];
};

struct ImageCodecInfo {
  CLSID Clsid;
  GUID FormatID;
  const WCHAR* CodecName;
  const WCHAR* DllName;
  const WCHAR* FormatDescription;
  const WCHAR* FilenameExtension;  ///< such as "*.TIF;*.TIFF"
  const WCHAR* MimeType;
  DWORD Flags;
  DWORD Version;
  DWORD SigCount;
  DWORD SigSize;
  const BYTE* SigPattern;
  const BYTE* SigMask;
};

struct GdiplusStartupInput {
  GdiplusStartupInput(void* debug_event_callback = nullptr, BOOL suppress_background_thread = FALSE,
                      BOOL suppress_external_codecs = FALSE)
      : GdiplusVersion(1),
        DebugEventCallback(debug_event_callback),
        SuppressBackgroundThread(suppress_background_thread),
        SuppressExternalCodecs(suppress_external_codecs) {}

  UINT GdiplusVersion;
  void* DebugEventCallback;
  BOOL SuppressBackgroundThread;
  BOOL SuppressExternalCodecs;
};

struct GdiplusStartupOutput {
  void* NotificationHook;
  void* NotificationUnhook;
};

/// What the native handles point to; only the platform sees inside.
class GpImage {
 protected:
  GpImage() = default;
  ~GpImage() = default;
};
class GpBitmap : public GpImage {
 protected:
  GpBitmap() = default;
  ~GpBitmap() = default;
};

}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_TYPES_H_
