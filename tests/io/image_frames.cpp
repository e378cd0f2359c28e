// Shows other programs what the platform makes of image files, through its flat API alone.
//
//   image_frames show FILE      the number of frames, width and height as a line of text, then the
//                               frames as rows of red, green, blue and alpha
//   image_frames save FILE OUT  the image in the format of the MIME type image/gif
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "pixtola/portable/gdiplus.h"

namespace {

namespace Flat = Gdiplus::DllExports;

std::wstring Wide(const char* text) {
  // The tests' names are ASCII.
  return {text, text + std::strlen(text)};
}

bool ShowFrame(Gdiplus::GpBitmap* bitmap, UINT width, UINT height) {
  const Gdiplus::GpRect whole(0, 0, static_cast<INT>(width), static_cast<INT>(height));
  Gdiplus::BitmapData data{};
  if (Flat::GdipBitmapLockBits(bitmap, &whole, Gdiplus::ImageLockModeRead, PixelFormat32bppARGB,
                               &data) != Gdiplus::Ok) {
    return false;
  }
  std::vector<BYTE> row(std::size_t{width} * 4);
  for (UINT y = 0; y < height; ++y) {
    const BYTE* bgra = static_cast<const BYTE*>(data.Scan0) + std::ptrdiff_t{data.Stride} * y;
    for (std::size_t i = 0; i < row.size(); i += 4) {
      row[i] = bgra[i + 2];
      row[i + 1] = bgra[i + 1];
      row[i + 2] = bgra[i];
      row[i + 3] = bgra[i + 3];
    }
    std::fwrite(row.data(), 1, row.size(), stdout);
  }
  return Flat::GdipBitmapUnlockBits(bitmap, &data) == Gdiplus::Ok;
}

bool Show(Gdiplus::GpBitmap* bitmap) {
  UINT frames = 0;
  UINT width = 0;
  UINT height = 0;
  const GUID* const dimension = &Gdiplus::FrameDimensionTime;
  if (Flat::GdipImageGetFrameCount(bitmap, dimension, &frames) != Gdiplus::Ok ||
      Flat::GdipGetImageWidth(bitmap, &width) != Gdiplus::Ok ||
      Flat::GdipGetImageHeight(bitmap, &height) != Gdiplus::Ok) {
    return false;
  }
  std::printf("%u %u %u\n", frames, width, height);
  for (UINT i = 0; i < frames; ++i) {
    if (Flat::GdipImageSelectActiveFrame(bitmap, dimension, i) != Gdiplus::Ok ||
        !ShowFrame(bitmap, width, height)) {
      return false;
    }
  }
  return true;
}

bool Save(Gdiplus::GpBitmap* bitmap, const char* path) {
  UINT count = 0;
  UINT size = 0;
  if (Flat::GdipGetImageEncodersSize(&count, &size) != Gdiplus::Ok) return false;
  std::vector<Gdiplus::ImageCodecInfo> encoders(count);
  if (Flat::GdipGetImageEncoders(count, size, encoders.data()) != Gdiplus::Ok) return false;
  for (const Gdiplus::ImageCodecInfo& encoder : encoders) {
    if (std::wstring(encoder.MimeType) != L"image/gif") continue;
    return Flat::GdipSaveImageToFile(bitmap, Wide(path).c_str(), &encoder.Clsid, nullptr) ==
           Gdiplus::Ok;
  }
  return false;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string action = count > 1 ? arguments[1] : "";
  if (!(action == "show" && count == 3) && !(action == "save" && count == 4)) return 2;
  Gdiplus::GpBitmap* bitmap = nullptr;
  if (Flat::GdipCreateBitmapFromFile(Wide(arguments[2]).c_str(), &bitmap) != Gdiplus::Ok) return 1;
  const bool done = action == "show" ? Show(bitmap) : Save(bitmap, arguments[3]);
  Flat::GdipDisposeImage(bitmap);
  return done ? 0 : 1;
}
