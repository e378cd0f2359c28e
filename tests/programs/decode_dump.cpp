// Prints what the platform decodes from an image file, for scripts that compare it with what other
// programs decode: decode_dump FILE [FRAME], where FRAME is a number, "all", or "none" to open the
// file and print nothing.
//
// The output is a PAM image of straight RGBA, or several in a row. Comments in its header give the
// bitmap's pixel format, its dots per inch and the number of pages or frames. Status 1: it was not
// decoded; frames before the first that was not are printed.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "pixtola/portable/gdiplus.h"

namespace {

const char* NameOf(Gdiplus::PixelFormat format) {
  switch (format) {
    case PixelFormat1bppIndexed:
      return "1bppIndexed";
    case PixelFormat4bppIndexed:
      return "4bppIndexed";
    case PixelFormat8bppIndexed:
      return "8bppIndexed";
    case PixelFormat24bppRGB:
      return "24bppRGB";
    case PixelFormat32bppRGB:
      return "32bppRGB";
    case PixelFormat32bppARGB:
      return "32bppARGB";
    default:
      return "other";
  }
}

void PrintRow(const BYTE* bgra, std::vector<BYTE>& rgba) {
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    rgba[i] = bgra[i + 2];
    rgba[i + 1] = bgra[i + 1];
    rgba[i + 2] = bgra[i];
    rgba[i + 3] = bgra[i + 3];
  }
  std::fwrite(rgba.data(), 1, rgba.size(), stdout);
}

/// That of the image's frames; any for an image that has one.
const GUID& DimensionOf(Gdiplus::Bitmap& bitmap) {
  const bool is_in_time = bitmap.GetFrameCount(&Gdiplus::FrameDimensionTime) > 0;
  return is_in_time ? Gdiplus::FrameDimensionTime : Gdiplus::FrameDimensionPage;
}

bool DumpFrame(Gdiplus::Bitmap& bitmap, UINT frame) {
  const GUID& dimension = DimensionOf(bitmap);
  if (frame != 0 && bitmap.SelectActiveFrame(&dimension, frame) != Gdiplus::Ok) return false;
  const Gdiplus::Rect all(0, 0, static_cast<INT>(bitmap.GetWidth()),
                          static_cast<INT>(bitmap.GetHeight()));
  Gdiplus::BitmapData data{};
  if (bitmap.LockBits(&all, Gdiplus::ImageLockModeRead, PixelFormat32bppARGB, &data) !=
      Gdiplus::Ok) {
    return false;
  }
  std::printf("P7\n# format %s\n# dpi %.4f %.4f\n# pages %u\n", NameOf(bitmap.GetPixelFormat()),
              double{bitmap.GetHorizontalResolution()}, double{bitmap.GetVerticalResolution()},
              bitmap.GetFrameCount(&dimension));
  std::printf("WIDTH %u\nHEIGHT %u\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n", data.Width,
              data.Height);
  std::vector<BYTE> rgba(std::size_t{data.Width} * 4);
  const auto* row = static_cast<const BYTE*>(data.Scan0);
  for (UINT y = 0; y < data.Height; ++y, row += data.Stride) PrintRow(row, rgba);
  return bitmap.UnlockBits(&data) == Gdiplus::Ok;
}

bool Dump(Gdiplus::Bitmap& bitmap, const char* frame) {
  if (bitmap.GetLastStatus() != Gdiplus::Ok) return false;
  if (std::strcmp(frame, "none") == 0) return true;
  if (std::strcmp(frame, "all") != 0) {
    return DumpFrame(bitmap, static_cast<UINT>(std::strtoul(frame, nullptr, 10)));
  }
  const UINT count = bitmap.GetFrameCount(&DimensionOf(bitmap));
  for (UINT i = 0; i < count; ++i) {
    if (!DumpFrame(bitmap, i)) return false;
  }
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) return 2;
  Gdiplus::Bitmap bitmap(std::filesystem::path(arguments[1]).wstring().c_str());
  return Dump(bitmap, count > 2 ? arguments[2] : "0") ? 0 : 1;
}
