// The stand-in's resampling of pages, and of pages whose alpha is not opaque.
#include "resample_jobs.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "drawing/pixels/resampler.h"

namespace pixtola::bench {

namespace {

using portable::ResampleFilter;

struct Layout {
  const char* name;
  const char* title;
  std::uint32_t bytes_per_pixel;
  bool is_translucent;
};

constexpr Layout kLayouts[] = {
    {"8", "8-bit gray", 1, false},
    {"24", "24-bit", 3, false},
    {"32", "32-bit opaque", 4, false},
    {"32-alpha", "32-bit translucent", 4, true},
};

class PageSource final : public portable::ResampleSource {
 public:
  explicit PageSource(const Image& page) : page_(page) {}

  const std::uint8_t* Row(std::uint32_t y, std::uint32_t first, std::uint32_t,
                          std::uint8_t*) override {
    return page_.bytes.data() + std::size_t{y} * page_.stride() +
           std::size_t{first} * page_.bytes_per_pixel;
  }

 private:
  const Image& page_;
};

portable::ResampleGeometry Stretching(std::uint32_t from, std::uint32_t to) {
  const auto size = static_cast<std::int32_t>(from);
  return {0, size, size, static_cast<std::int32_t>(to)};
}

void Resample(const Image& page, Image& result) {
  PageSource source(page);
  portable::Resampler resampler;
  Require(resampler.Start({Stretching(page.width, result.width),
                           Stretching(page.height, result.height),
                           ResampleFilter::kBicubic,
                           page.bytes_per_pixel,
                           {0, result.width},
                           {0, result.height}},
                          source),
          "Resampler::Start");
  for (std::uint32_t y = 0; y < result.height; ++y) {
    const std::uint8_t* const row = resampler.NextRow();
    Require(row != nullptr, "Resampler::NextRow");
    std::memcpy(result.bytes.data() + std::size_t{y} * result.stride(), row, result.stride());
  }
}

MakeWork Resampling(const Resizing& resizing, bool is_translucent) {
  return [resizing, is_translucent](const Image& source) {
    const auto page = std::make_shared<Image>(is_translucent ? Translucent(source) : source);
    const auto result = std::make_shared<Image>(ResizedImage(resizing, source));
    const auto run = [page, result] { Resample(*page, *result); };
    return Work{.run = run, .result = [result] { return *result; }};
  };
}

}  // namespace

const std::vector<Resizing>& Resizings() {
  static const std::vector<Resizing> resizings = {
      {"half", "resampled to half the size",
       [](std::uint32_t size, std::uint32_t) { return size / 2; }},
      {"thumbnail", "resampled to 200 pixels wide",
       [](std::uint32_t size, std::uint32_t width) { return size * 200 / width; }},
      {"larger", "resampled to 1.5 times the size",
       [](std::uint32_t size, std::uint32_t) { return size / 2 * 3; }},
  };
  return resizings;
}

Image ResizedImage(const Resizing& resizing, const Image& page) {
  return {resizing.size(page.width, page.width), resizing.size(page.height, page.width),
          page.bytes_per_pixel};
}

Image Translucent(const Image& page) {
  Image translucent = page;
  for (std::size_t i = 0; i < page.bytes.size(); i += 4) {
    // From the colours, so that it varies as they do; never the same in a whole row.
    translucent.bytes[i + 3] = static_cast<std::uint8_t>(page.bytes[i] / 2 + i / 4 % 101);
  }
  return translucent;
}

std::vector<Job> ResampleJobs() {
  std::vector<Job> jobs;
  for (const Resizing& resizing : Resizings()) {
    for (const Layout& layout : kLayouts) {
      jobs.push_back({std::string("resample-") + resizing.name + "-" + layout.name,
                      std::string(layout.title) + ", " + resizing.title, layout.bytes_per_pixel,
                      Resampling(resizing, layout.is_translucent)});
    }
  }
  return jobs;
}

}  // namespace pixtola::bench
