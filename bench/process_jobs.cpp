// The library's white balance, sharpening and recolouring.
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "Pixtola.h"
#include "format/image_view.h"
#include "job.h"
#include "process/pixels/convolution.h"
#include "process/pixels/recolor.h"
#include "recolor_colors.h"

namespace pixtola::bench {

namespace {

constexpr float kClipFraction = 0.01F;

Work Balancing(const Image& source) {
  const auto result = std::make_shared<Image>(source.width, source.height, source.bytes_per_pixel);
  const auto run = [&source, result] {
    // The argument is for reading and writing; a separate destination leaves the source alone.
    auto* const pixels = const_cast<std::uint8_t*>(source.bytes.data());
    const auto pixel_size = static_cast<PxtPixelSize>(source.bytes_per_pixel * 8);
    Require(PxtWhiteBalance(pixels, result->bytes.data(),
                            static_cast<unsigned long>(source.bytes.size()), pixel_size,
                            kClipFraction) != 0,
            "PxtWhiteBalance");
  };
  return {.run = run, .result = [result] { return *result; }};
}

ImageView ViewOf(const Image& image) {
  return {image.bytes.data(), image.width, image.height, image.stride(), image.bytes_per_pixel * 8};
}

MutableImageView ViewOf(Image& image) {
  return {image.bytes.data(), image.width, image.height, image.stride(), image.bytes_per_pixel * 8};
}

Work Sharpening(const Image& source) {
  const auto result = std::make_shared<Image>(source.width, source.height, source.bytes_per_pixel);
  const auto run = [&source, result] {
    Require(ConvolvePixels(ViewOf(source), ViewOf(*result), kSharpening) != 0, "ConvolvePixels");
  };
  return {.run = run, .result = [result] { return *result; }};
}

int PercentOfPixelsThatDiffer(const Image& a, const Image& b) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < a.bytes.size(); i += 4) {
    if (std::memcmp(a.bytes.data() + i, b.bytes.data() + i, 4) != 0) ++count;
  }
  return static_cast<int>(count * 100 / (a.bytes.size() / 4));
}

/// Recolours in place, each time a fresh copy of the source.
MakeWork RecoloringBy(const RecolorColors& colors) {
  return [colors](const Image& source) {
    const auto page = std::make_shared<Image>(source.width, source.height, source.bytes_per_pixel);
    const auto recoloring = MakeRecoloring(colors.find, colors.replacement, colors.tolerance);
    const auto run = [recoloring, page] { RecolorRows(recoloring, ViewOf(*page)); };
    const auto prepare = [&source, page] {
      std::memcpy(page->bytes.data(), source.bytes.data(), source.bytes.size());
    };
    prepare();
    run();
    Require(std::abs(PercentOfPixelsThatDiffer(source, *page) - colors.matches) <= 2,
            "the recolouring does not match as many pixels as it claims");
    return Work{.run = run, .result = [page] { return *page; }, .prepare = prepare};
  };
}

}  // namespace

std::vector<Job> ProcessJobs() {
  return {
      {"balance-8", "8-bit white balance", 1, Balancing},
      {"balance-24", "24-bit white balance", 3, Balancing},
      {"balance-32", "32-bit white balance", 4, Balancing},
      {"sharpen-8", "8-bit sharpening", 1, Sharpening},
      {"sharpen-24", "24-bit sharpening", 3, Sharpening},
      {"recolor-few", "32-bit recolouring, 3 % match", 4, RecoloringBy(kFewMatches)},
      {"recolor-many", "32-bit recolouring, 60 % match", 4, RecoloringBy(kManyMatches)},
  };
}

}  // namespace pixtola::bench
