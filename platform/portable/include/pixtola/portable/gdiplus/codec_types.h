// Image formats, codecs, and the parameters of encoders.
#ifndef PIXTOLA_PORTABLE_GDIPLUS_CODEC_TYPES_H_
#define PIXTOLA_PORTABLE_GDIPLUS_CODEC_TYPES_H_

#include "pixtola/portable/windows_types.h"

namespace Gdiplus {

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

}  // namespace Gdiplus

#endif  // PIXTOLA_PORTABLE_GDIPLUS_CODEC_TYPES_H_
