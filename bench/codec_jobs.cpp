#include "codec_jobs.h"

#include <cstring>
#include <memory>
#include <string_view>

#include "Pixtola.h"
#include "format/palettes.h"

namespace pixtola::bench {

namespace {

struct ReleaseStream {
  void operator()(IStream* stream) const { stream->Release(); }
};
using StreamPointer = std::unique_ptr<IStream, ReleaseStream>;

StreamPointer NewStream() {
  IStream* stream = nullptr;
  Require(CreateStreamOnHGlobal(nullptr, TRUE, &stream) == S_OK, "CreateStreamOnHGlobal");
  return StreamPointer(stream);
}

std::vector<std::uint8_t> BytesOf(IStream& stream) {
  HGLOBAL memory = nullptr;
  Require(GetHGlobalFromStream(&stream, &memory) == S_OK, "GetHGlobalFromStream");
  const auto* bytes = static_cast<const std::uint8_t*>(GlobalLock(memory));
  std::vector<std::uint8_t> copy(bytes, bytes + GlobalSize(memory));
  GlobalUnlock(memory);
  return copy;
}

/// The encoder that lists the extension.
CLSID FindEncoder(std::wstring_view extension) {
  UINT count = 0;
  UINT size = 0;
  Gdiplus::GetImageEncodersSize(&count, &size);
  std::vector<Gdiplus::ImageCodecInfo> encoders(count);
  Gdiplus::GetImageEncoders(count, size, encoders.data());
  for (const Gdiplus::ImageCodecInfo& encoder : encoders) {
    const std::wstring_view extensions = encoder.FilenameExtension;
    if (extensions.find(extension) != std::wstring_view::npos) return encoder.Clsid;
  }
  throw std::runtime_error("there is no such encoder");
}

StreamPointer Encode(Gdiplus::Bitmap& bitmap, const CLSID& encoder) {
  StreamPointer stream = NewStream();
  Require(bitmap.Save(stream.get(), &encoder) == Gdiplus::Ok, "Save");
  return stream;
}

MakeWork Encoding(const PageFormat& format) {
  return [format](const Image& page) {
    const auto bitmap = BitmapOver(page);
    const auto encoded = std::make_shared<StreamPointer>();
    const auto run = [bitmap, encoded, encoder = FindEncoder(format.extension)] {
      encoded->reset();  // one result at a time, as when Pillow is timed
      *encoded = Encode(*bitmap, encoder);
    };
    const auto result = [encoded] {
      Image bytes;
      bytes.bytes = BytesOf(**encoded);
      return bytes;
    };
    return Work{.run = run, .result = result};
  };
}

MakeWork Decoding(const PageFormat& format) {
  return [format](const Image& page) {
    const std::shared_ptr<IStream> stream(
        Encode(*BitmapOver(page), FindEncoder(format.extension)).release(), ReleaseStream());
    const auto decoded = std::make_shared<std::unique_ptr<Gdiplus::Bitmap>>();
    const auto run = [stream, decoded] {
      decoded->reset();
      *decoded = std::make_unique<Gdiplus::Bitmap>(stream.get());
      Require((*decoded)->GetLastStatus() == Gdiplus::Ok, "decoding");
    };
    const auto result = [decoded, bytes = format.bytes_per_pixel] {
      return PixelsOf(**decoded, bytes);
    };
    return Work{.run = run, .result = result};
  };
}

}  // namespace

std::shared_ptr<Gdiplus::Bitmap> BitmapOver(const Image& page) {
  const Gdiplus::PixelFormat format =
      page.bytes_per_pixel == 1 ? PixelFormat8bppIndexed : PixelFormat24bppRGB;
  auto bitmap = std::make_shared<Gdiplus::Bitmap>(
      static_cast<INT>(page.width), static_cast<INT>(page.height), static_cast<INT>(page.stride()),
      format, const_cast<std::uint8_t*>(page.bytes.data()));
  if (page.bytes_per_pixel == 1) bitmap->SetPalette(GetDefaultGrayPalette());
  return bitmap;
}

Image PixelsOf(Gdiplus::Bitmap& bitmap, std::uint32_t bytes_per_pixel) {
  Image image(bitmap.GetWidth(), bitmap.GetHeight(), bytes_per_pixel);
  Gdiplus::BitmapData data{};
  data.Scan0 = image.bytes.data();
  data.Stride = static_cast<INT>(image.stride());
  constexpr UINT kFlags = Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeUserInputBuf;
  Require(bitmap.LockBits(nullptr, kFlags, bitmap.GetPixelFormat(), &data) == Gdiplus::Ok,
          "LockBits");
  bitmap.UnlockBits(&data);
  return image;
}

const std::vector<PageFormat>& PageFormats() {
  static const std::vector<PageFormat> formats = {
      {"bmp-24", "BMP, 24 bits", 3, L"*.BMP", true},
      {"png-8", "PNG, 8 bits", 1, L"*.PNG", true},
      {"png-24", "PNG, 24 bits", 3, L"*.PNG", true},
      {"tiff-24", "TIFF, LZW, 24 bits", 3, L"*.TIF", true},
      {"jpeg-24", "JPEG, 24 bits", 3, L"*.JPG", false},
      {"gif-8", "GIF, 8 bits", 1, L"*.GIF", true},
  };
  return formats;
}

std::vector<std::uint8_t> EncodePage(const PageFormat& format, const Image& page) {
  return BytesOf(*Encode(*BitmapOver(page), FindEncoder(format.extension)));
}

std::vector<Job> CodecJobs() {
  std::vector<Job> jobs;
  for (const PageFormat& format : PageFormats()) {
    const std::string name = format.name;
    const std::string title = format.title;
    jobs.push_back(
        {"encode-" + name, title + ", written", format.bytes_per_pixel, Encoding(format), false});
    jobs.push_back({"decode-" + name, title + ", read", format.bytes_per_pixel, Decoding(format),
                    false, format.is_lossless});
  }
  return jobs;
}

}  // namespace pixtola::bench
