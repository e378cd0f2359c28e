// The library's rotations and flips, for each pixel size.
#include <array>
#include <memory>

#include "Pixtola.h"
#include "job.h"

namespace pixtola::bench {

namespace {

struct Transform {
  const char* name;
  const char* title;
  PxtRotateFlipOperation operation;
};

constexpr Transform kTransforms[] = {
    {"right-turn", "quarter turn clockwise", PxtRotateClockwise},
    {"left-turn", "quarter turn counter-clockwise", PxtRotateCounterClockwise},
    {"half-turn", "half turn", PxtRotate180},
    {"mirror", "horizontal flip", PxtFlipHorizontal},
};

constexpr std::array<Gdiplus::PixelFormat, 4> kFormats = {
    PixelFormat8bppIndexed, PixelFormat16bppRGB565, PixelFormat24bppRGB, PixelFormat32bppARGB};

bool IsQuarterTurn(PxtRotateFlipOperation operation) {
  return operation == PxtRotateClockwise || operation == PxtRotateCounterClockwise;
}

Image ResultOf(PxtRotateFlipOperation operation, const Image& source) {
  if (IsQuarterTurn(operation)) return {source.height, source.width, source.bytes_per_pixel};
  return {source.width, source.height, source.bytes_per_pixel};
}

Gdiplus::BitmapData Describe(const Image& image, const std::uint8_t* bytes) {
  Gdiplus::BitmapData data{};
  data.Width = image.width;
  data.Height = image.height;
  data.Stride = static_cast<INT>(image.stride());
  data.PixelFormat = kFormats[image.bytes_per_pixel - 1];
  // The structure has no form for pixels that are only read.
  data.Scan0 = const_cast<std::uint8_t*>(bytes);
  return data;
}

MakeWork Transforming(PxtRotateFlipOperation operation) {
  return [operation](const Image& source) {
    const auto result = std::make_shared<Image>(ResultOf(operation, source));
    const auto run = [operation, &source, result] {
      const Gdiplus::BitmapData from = Describe(source, source.bytes.data());
      Gdiplus::BitmapData to = Describe(*result, result->bytes.data());
      Require(PxtRotateFlip(&from, &to, operation) != 0, "PxtRotateFlip");
    };
    return Work{.run = run, .result = [result] { return *result; }};
  };
}

}  // namespace

std::vector<Job> TransformJobs() {
  std::vector<Job> jobs;
  for (const Transform& transform : kTransforms) {
    for (std::uint32_t bytes = 1; bytes <= kFormats.size(); ++bytes) {
      const std::string bits = std::to_string(bytes * 8);
      jobs.push_back({std::string(transform.name) + "-" + bits, bits + "-bit " + transform.title,
                      bytes, Transforming(transform.operation)});
    }
  }
  return jobs;
}

}  // namespace pixtola::bench
