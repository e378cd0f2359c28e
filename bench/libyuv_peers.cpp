// libyuv's functions have one shape: two images with strides, the width and height of the source.
#include "libyuv_peers.h"

#include <libyuv/convert.h>
#include <libyuv/convert_from_argb.h>
#include <libyuv/planar_functions.h>
#include <libyuv/rotate.h>
#include <libyuv/rotate_argb.h>
#include <libyuv/version.h>

#include <memory>

namespace pixtola::bench {

namespace {

using PixelFunction =
    std::function<void(const std::uint8_t* source, int source_stride, std::uint8_t* result,
                       int result_stride, int width, int height)>;

/// Work whose result has `bytes` per pixel and, after a quarter rotation, width and height
/// exchanged.
MakeWork Making(const PixelFunction& function, std::uint32_t bytes, bool exchanges_sides = false) {
  return [=](const Image& source) {
    const auto result = exchanges_sides
                            ? std::make_shared<Image>(source.height, source.width, bytes)
                            : std::make_shared<Image>(source.width, source.height, bytes);
    const auto run = [function, &source, result] {
      function(source.bytes.data(), static_cast<int>(source.stride()), result->bytes.data(),
               static_cast<int>(result->stride()), static_cast<int>(source.width),
               static_cast<int>(source.height));
    };
    return Work{.run = run, .result = [result] { return *result; }};
  };
}

PixelFunction RotatingBytes(libyuv::RotationMode mode) {
  return [mode](const std::uint8_t* from, int from_stride, std::uint8_t* to, int to_stride,
                int width, int height) {
    libyuv::RotatePlane(from, from_stride, to, to_stride, width, height, mode);
  };
}

/// Strides of this function count pairs of bytes.
PixelFunction RotatingPairs(libyuv::RotationMode mode) {
  return [mode](const std::uint8_t* from, int from_stride, std::uint8_t* to, int to_stride,
                int width, int height) {
    libyuv::RotatePlane_16(reinterpret_cast<const std::uint16_t*>(from), from_stride / 2,
                           reinterpret_cast<std::uint16_t*>(to), to_stride / 2, width, height,
                           mode);
  };
}

PixelFunction RotatingFours(libyuv::RotationMode mode) {
  return [mode](const std::uint8_t* from, int from_stride, std::uint8_t* to, int to_stride,
                int width, int height) {
    libyuv::ARGBRotate(from, from_stride, to, to_stride, width, height, mode);
  };
}

struct Rotation {
  const char* job;
  libyuv::RotationMode mode;
};

constexpr Rotation kRotations[] = {{"right-turn", libyuv::kRotate90},
                                   {"left-turn", libyuv::kRotate270},
                                   {"half-turn", libyuv::kRotate180}};

Peer SameBytes(const std::string& job, const MakeWork& make) {
  return {job, "libyuv", "", Agreement::kSameBytes, make};
}

}  // namespace

std::vector<Peer> LibyuvPeers() {
  std::vector<Peer> peers = {
      {"gray-24", "libyuv", "other weights", Agreement::kCloseValues,
       Making(libyuv::RGB24ToJ400, 1)},
      {"gray-32", "libyuv", "other weights", Agreement::kCloseValues,
       Making(libyuv::ARGBToJ400, 1)},
      SameBytes("mirror-8", Making(libyuv::MirrorPlane, 1)),
      SameBytes("mirror-16", Making(libyuv::MirrorUVPlane, 2)),
      SameBytes("mirror-24", Making(libyuv::RGB24Mirror, 3)),
      SameBytes("mirror-32", Making(libyuv::ARGBMirror, 4)),
  };
  for (const Rotation& rotation : kRotations) {
    const std::string job = rotation.job;
    const bool exchanges_sides = rotation.mode != libyuv::kRotate180;
    peers.push_back(
        SameBytes(job + "-8", Making(RotatingBytes(rotation.mode), 1, exchanges_sides)));
    peers.push_back(
        SameBytes(job + "-16", Making(RotatingPairs(rotation.mode), 2, exchanges_sides)));
    peers.push_back(
        SameBytes(job + "-32", Making(RotatingFours(rotation.mode), 4, exchanges_sides)));
  }
  return peers;
}

std::string LibyuvVersion() { return "libyuv " + std::to_string(LIBYUV_VERSION); }

}  // namespace pixtola::bench
