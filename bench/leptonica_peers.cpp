// Leptonica keeps pixels in 32-bit words, the leftmost in the highest bits, so pages are brought
// into its layout before the time is taken, and out of it afterwards. It allocates each result
// itself, which is timed; freeing the results is not.
#include "leptonica_peers.h"

#include <leptonica/allheaders.h>

#include <bit>
#include <cstring>
#include <memory>

namespace pixtola::bench {

namespace {

static_assert(std::endian::native == std::endian::little);

struct DestroyPix {
  void operator()(Pix* pix) const { pixDestroy(&pix); }
};
using OwnedPix = std::unique_ptr<Pix, DestroyPix>;

/// Exchanges a page between the order of its bytes in memory and Leptonica's. Colours become red,
/// green, blue, alpha from the highest byte down; smaller pixels are reversed within their words.
void ExchangeWords(std::uint32_t* words, std::size_t count, int depth, bool to_leptonica) {
  for (std::size_t i = 0; i < count; ++i) {
    if (depth == 32) {
      words[i] = std::rotl(words[i], to_leptonica ? 8 : -8);
    } else if (depth == 16) {
      words[i] = std::rotl(words[i], 16);
    } else {
      words[i] = __builtin_bswap32(words[i]);
    }
  }
}

std::size_t CountWords(Pix* pix) {
  return static_cast<std::size_t>(pixGetWpl(pix)) * static_cast<std::size_t>(pixGetHeight(pix));
}

OwnedPix PixOf(const Image& image) {
  const int depth = static_cast<int>(image.bytes_per_pixel) * 8;
  OwnedPix pix(pixCreate(static_cast<int>(image.width), static_cast<int>(image.height), depth));
  Require(pix != nullptr && CountWords(pix.get()) * 4 == image.bytes.size(), "pixCreate");
  std::memcpy(pixGetData(pix.get()), image.bytes.data(), image.bytes.size());
  ExchangeWords(pixGetData(pix.get()), CountWords(pix.get()), depth, true);
  return pix;
}

/// A set bit is black there.
Image ImageOfBits(Pix* pix) {
  std::vector<std::uint8_t> bits(CountWords(pix) * 4);
  const std::uint32_t* const words = pixGetData(pix);
  for (std::size_t i = 0; i < CountWords(pix); ++i) {
    const std::uint32_t inverted = __builtin_bswap32(~words[i]);
    std::memcpy(bits.data() + i * 4, &inverted, 4);
  }
  return UnpackBits(bits, static_cast<std::uint32_t>(pixGetWpl(pix)) * 4,
                    static_cast<std::uint32_t>(pixGetWidth(pix)),
                    static_cast<std::uint32_t>(pixGetHeight(pix)));
}

Image ImageOf(Pix* pix) {
  const int depth = pixGetDepth(pix);
  if (depth == 1) return ImageOfBits(pix);
  Image image(static_cast<std::uint32_t>(pixGetWidth(pix)),
              static_cast<std::uint32_t>(pixGetHeight(pix)), static_cast<std::uint32_t>(depth) / 8);
  Require(CountWords(pix) * 4 == image.bytes.size(), "Leptonica's result has padding");
  std::vector<std::uint32_t> words(pixGetData(pix), pixGetData(pix) + CountWords(pix));
  ExchangeWords(words.data(), words.size(), depth, false);
  std::memcpy(image.bytes.data(), words.data(), image.bytes.size());
  return image;
}

using PixFunction = std::function<Pix*(Pix* source)>;

struct SourceAndResult {
  OwnedPix source;
  OwnedPix result;
};

MakeWork Making(const PixFunction& function) {
  return [function](const Image& source) {
    const auto pixes = std::make_shared<SourceAndResult>(SourceAndResult{PixOf(source), nullptr});
    const auto run = [function, pixes] {
      pixes->result.reset(function(pixes->source.get()));
      Require(pixes->result != nullptr, "Leptonica gave no result");
    };
    return Work{.run = run,
                .result = [pixes] { return ImageOf(pixes->result.get()); },
                .prepare = [pixes] { pixes->result.reset(); }};
  };
}

// ------------------------------------------------------------------------------------------- jobs

/// With one tile, as large as the page.
Pix* Otsu(Pix* source) {
  Pix* result = nullptr;
  pixOtsuAdaptiveThreshold(source, pixGetWidth(source), pixGetHeight(source), 0, 0, 0, nullptr,
                           &result);
  return result;
}

Pix* Sauvola(Pix* source) {
  constexpr int kHalfWindow = 8;
  constexpr float kFactor = 0.35F;
  Pix* result = nullptr;
  pixSauvolaBinarize(source, kHalfWindow, kFactor, 1, nullptr, nullptr, nullptr, &result);
  return result;
}

Pix* ToGray(Pix* source) { return pixConvertRGBToGray(source, 0.30F, 0.59F, 0.11F); }
Pix* TurnRight(Pix* source) { return pixRotate90(source, 1); }
Pix* TurnLeft(Pix* source) { return pixRotate90(source, -1); }
Pix* TurnHalf(Pix* source) { return pixRotate180(nullptr, source); }
Pix* Mirror(Pix* source) { return pixFlipLR(nullptr, source); }

}  // namespace

std::vector<Peer> LeptonicaPeers() {
  std::vector<Peer> peers = {
      {"gray-32", "Leptonica", "rounds", Agreement::kCloseValues, Making(ToGray)},
      {"otsu-8", "Leptonica", "criterion of its own", Agreement::kCloseValues, Making(Otsu)},
      {"adaptive-8", "Leptonica", "Sauvola's rule", Agreement::kSameBrightness, Making(Sauvola)},
      {"diffusion-8", "Leptonica", "Floyd-Steinberg", Agreement::kSameBrightness,
       Making(pixDitherToBinary)},
  };
  for (const char* bits : {"8", "16", "32"}) {
    const auto add = [&](const char* job, const PixFunction& function) {
      peers.push_back({std::string(job) + "-" + bits, "Leptonica", "", Agreement::kSameBytes,
                       Making(function)});
    };
    add("right-turn", TurnRight);
    add("left-turn", TurnLeft);
    add("half-turn", TurnHalf);
    add("mirror", Mirror);
  }
  return peers;
}

std::string LeptonicaVersion() {
  char* const version = getLeptonicaVersion();
  std::string text = version;
  lept_free(version);
  return text;
}

}  // namespace pixtola::bench
