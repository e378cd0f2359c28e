// The library's conversions to gray and to black and white.
#include <cstddef>
#include <memory>

#include "Pixtola.h"
#include "format/palettes.h"
#include "job.h"

namespace pixtola::bench {

namespace {

Gdiplus::PixelFormat ResultFormat(PxtConversionMethod method) {
  return method == MethodGray8 ? PixelFormat8bppIndexed : PixelFormat1bppIndexed;
}

class Conversion {
 public:
  Conversion(PxtConversionMethod method, const Image& source)
      : method_(method),
        source_(source),
        stride_(PxtCalcStride(source.width, ResultFormat(method))),
        bytes_(std::size_t{source.height} * stride_) {}

  void Run() {
    auto size = static_cast<std::uint32_t>(bytes_.size());
    std::uint32_t stride = 0;
    const int done = PxtBytesToBytes(method_, source_.bytes.data(), source_.bytes_per_pixel * 8,
                                     source_.width, source_.height, source_.stride(), bytes_.data(),
                                     &size, &stride, GetDefaultGrayPalette());
    Require(done != 0 && stride == stride_, "PxtBytesToBytes");
  }

  Image Result() const {
    if (method_ != MethodGray8) {
      return UnpackBits(bytes_, stride_, source_.width, source_.height);
    }
    Image gray(source_.width, source_.height, 1);
    gray.bytes = bytes_;
    return gray;
  }

 private:
  PxtConversionMethod method_;
  const Image& source_;
  std::uint32_t stride_;
  std::vector<std::uint8_t> bytes_;
};

MakeWork Converting(PxtConversionMethod method) {
  return [method](const Image& source) {
    const auto conversion = std::make_shared<Conversion>(method, source);
    return Work{.run = [conversion] { conversion->Run(); },
                .result = [conversion] { return conversion->Result(); }};
  };
}

}  // namespace

std::vector<Job> ConvertJobs() {
  return {
      {"gray-24", "24-bit to gray", 3, Converting(MethodGray8)},
      {"gray-32", "32-bit to gray", 4, Converting(MethodGray8)},
      {"otsu-8", "8-bit to black and white, Otsu", 1, Converting(MethodBilevelOtsu)},
      {"otsu-24", "24-bit to black and white, Otsu", 3, Converting(MethodBilevelOtsu)},
      {"adaptive-8", "8-bit to black and white, adaptive", 1, Converting(MethodBilevelAdaptive)},
      {"diffusion-8", "8-bit to black and white, diffused", 1, Converting(MethodBilevelDiffusion)},
  };
}

}  // namespace pixtola::bench
