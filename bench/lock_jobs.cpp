// The stand-in's conversions between pixel formats: locks of a page that copy it into the caller's
// rows in another format.
#include <cstddef>
#include <memory>

#include "Pixtola.h"
#include "job.h"

namespace pixtola::bench {

namespace {

struct Conversion {
  const char* name;
  const char* title;
  Gdiplus::PixelFormat from;
  Gdiplus::PixelFormat to;
};

constexpr Conversion kConversions[] = {
    {"lock-8-24", "lock of 8 bits as 24", PixelFormat8bppIndexed, PixelFormat24bppRGB},
    {"lock-8-32", "lock of 8 bits as 32", PixelFormat8bppIndexed, PixelFormat32bppARGB},
    {"lock-24-24", "lock of 24 bits, copied", PixelFormat24bppRGB, PixelFormat24bppRGB},
    {"lock-24-32", "lock of 24 bits as 32", PixelFormat24bppRGB, PixelFormat32bppARGB},
    {"lock-32-24", "lock of 32 bits as 24", PixelFormat32bppARGB, PixelFormat24bppRGB},
    {"lock-24-8", "lock of 24 bits as 8, nearest of 256 colours", PixelFormat24bppRGB,
     PixelFormat8bppIndexed},
};

std::uint32_t BytesPerPixel(Gdiplus::PixelFormat format) {
  return static_cast<std::uint32_t>(format) >> 11 & 0x1F;
}

MakeWork Locking(const Conversion& conversion) {
  return [conversion](const Image& source) {
    // A bitmap over the source's own rows, which are only read.
    const auto bitmap = std::make_shared<Gdiplus::Bitmap>(
        static_cast<INT>(source.width), static_cast<INT>(source.height),
        static_cast<INT>(source.stride()), conversion.from,
        const_cast<std::uint8_t*>(source.bytes.data()));
    const auto result =
        std::make_shared<Image>(source.width, source.height, BytesPerPixel(conversion.to));
    const auto run = [bitmap, result, format = conversion.to] {
      Gdiplus::BitmapData data{};
      data.Stride = static_cast<INT>(result->stride());
      data.Scan0 = result->bytes.data();
      constexpr UINT kFlags = Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeUserInputBuf;
      Require(bitmap->LockBits(nullptr, kFlags, format, &data) == Gdiplus::Ok, "LockBits");
      bitmap->UnlockBits(&data);
    };
    return Work{.run = run, .result = [result] { return *result; }};
  };
}

}  // namespace

std::vector<Job> LockJobs() {
  std::vector<Job> jobs;
  for (const Conversion& conversion : kConversions) {
    jobs.push_back({conversion.name, conversion.title, BytesPerPixel(conversion.from),
                    Locking(conversion), false, conversion.from == conversion.to});
  }
  return jobs;
}

}  // namespace pixtola::bench
