// Lets the platform decode an image file and encode it again, for scripts that look at the result
// with other programs: encode_file INPUT OUTPUT TYPE [VALUE].
//
// TYPE is a MIME type; VALUE is the quality of a JPEG or the compression of a TIFF, by the numbers
// of the API. Status 1: the input was not decoded; 2: the output was not encoded, or wrong usage.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "pixtola/portable/gdiplus.h"

namespace {

bool FindEncoder(const std::wstring& type, CLSID& encoder) {
  UINT count = 0;
  UINT size = 0;
  if (Gdiplus::GetImageEncodersSize(&count, &size) != Gdiplus::Ok) return false;
  std::vector<BYTE> block(size);
  auto* infos = reinterpret_cast<Gdiplus::ImageCodecInfo*>(block.data());
  if (Gdiplus::GetImageEncoders(count, size, infos) != Gdiplus::Ok) return false;
  for (UINT i = 0; i < count; ++i) {
    if (type != infos[i].MimeType) continue;
    encoder = infos[i].Clsid;
    return true;
  }
  return false;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 4) return 2;
  Gdiplus::Bitmap bitmap(std::filesystem::path(arguments[1]).wstring().c_str());
  if (bitmap.GetLastStatus() != Gdiplus::Ok) return 1;
  const std::wstring type = std::filesystem::path(arguments[3]).wstring();
  CLSID encoder{};
  if (!FindEncoder(type, encoder)) return 2;
  ULONG value = count > 4 ? static_cast<ULONG>(std::strtoul(arguments[4], nullptr, 10)) : 0;
  const Gdiplus::EncoderParameters parameters{
      1,
      {{type == L"image/jpeg" ? Gdiplus::EncoderQuality : Gdiplus::EncoderCompression, 1,
        Gdiplus::EncoderParameterValueTypeLong, &value}}};
  const Gdiplus::Status status = bitmap.Save(std::filesystem::path(arguments[2]).wstring().c_str(),
                                             &encoder, count > 4 ? &parameters : nullptr);
  return status == Gdiplus::Ok ? 0 : 2;
}
