// OpenCV works on the job's own pixels: a cv::Mat describes memory as the library does.
#include "opencv_peers.h"

#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/core/ocl.hpp>
#include <opencv2/imgproc.hpp>

#include "recolor_colors.h"
#include "resample_jobs.h"

namespace pixtola::bench {

namespace {

/// A cv::Mat that only reads the pixels, though its type does not say so.
cv::Mat View(const Image& image) {
  return {static_cast<int>(image.height), static_cast<int>(image.width),
          CV_MAKETYPE(CV_8U, static_cast<int>(image.bytes_per_pixel)),
          const_cast<std::uint8_t*>(image.bytes.data())};
}

Image ImageOf(const cv::Mat& mat) {
  Image image(static_cast<std::uint32_t>(mat.cols), static_cast<std::uint32_t>(mat.rows),
              static_cast<std::uint32_t>(mat.channels()));
  cv::Mat pixels = View(image);
  mat.copyTo(pixels);
  return image;
}

/// Work that makes one matrix from another. It is done once at the start, so that the result's
/// memory is there when the time is taken.
using MatFunction = std::function<void(const cv::Mat& from, cv::Mat& to)>;

MakeWork Making(const MatFunction& function) {
  return [function](const Image& source) {
    const auto result = std::make_shared<cv::Mat>();
    const auto run = [function, from = View(source), result] { function(from, *result); };
    run();
    return Work{.run = run, .result = [result] { return ImageOf(*result); }};
  };
}

// ------------------------------------------------------------------------------------ conversions

MatFunction ConvertingColor(int code) {
  return [code](const cv::Mat& from, cv::Mat& to) { cv::cvtColor(from, to, code); };
}

void Otsu(const cv::Mat& from, cv::Mat& to) {
  cv::threshold(from, to, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
}

MatFunction OtsuOfColor() {
  return [gray = cv::Mat()](const cv::Mat& from, cv::Mat& to) mutable {
    cv::cvtColor(from, gray, cv::COLOR_BGR2GRAY);
    Otsu(gray, to);
  };
}

void Adaptive(const cv::Mat& from, cv::Mat& to) {
  constexpr int kBlock = 17;
  constexpr double kBelowMean = 10;
  cv::adaptiveThreshold(from, to, 255, cv::ADAPTIVE_THRESH_MEAN_C, cv::THRESH_BINARY, kBlock,
                        kBelowMean);
}

// --------------------------------------------------------------------------------------- the rest

MatFunction Rotating(int code) {
  return [code](const cv::Mat& from, cv::Mat& to) { cv::rotate(from, to, code); };
}

void Mirror(const cv::Mat& from, cv::Mat& to) { cv::flip(from, to, 1); }

void Sharpen(const cv::Mat& from, cv::Mat& to) {
  static const cv::Matx33f kernel(0, -0.2F, 0, -0.2F, 1.8F, -0.2F, 0, -0.2F, 0);
  cv::filter2D(from, to, -1, kernel, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
}

/// Hue, saturation and value of a colour given as 0x00BBGGRR.
cv::Vec3b HsvOf(std::uint32_t color) {
  const cv::Mat bgr(1, 1, CV_8UC3,
                    cv::Scalar((color >> 16) & 255, (color >> 8) & 255, color & 255));
  cv::Mat hsv;
  cv::cvtColor(bgr, hsv, cv::COLOR_BGR2HSV_FULL);
  return hsv.at<cv::Vec3b>(0, 0);
}

/// The same steps as the library's, each for the whole page: pixels of a near hue are moved by the
/// difference between two colours.
MatFunction Recoloring(const RecolorColors& colors) {
  const cv::Vec3b find = HsvOf(colors.find);
  const cv::Vec3b replacement = HsvOf(colors.replacement);
  const cv::Scalar low(find[0] - colors.tolerance, 0, 0);
  const cv::Scalar high(find[0] + colors.tolerance, 255, 255);
  const cv::Scalar move(replacement[0] - find[0], replacement[1] - find[1],
                        replacement[2] - find[2]);
  return [=, hsv = cv::Mat(), mask = cv::Mat()](const cv::Mat& from, cv::Mat& to) mutable {
    cv::cvtColor(from, hsv, cv::COLOR_BGR2HSV_FULL);
    cv::inRange(hsv, low, high, mask);
    cv::add(hsv, move, hsv, mask);
    cv::cvtColor(hsv, to, cv::COLOR_HSV2BGR_FULL, 4);
  };
}

std::vector<Peer> ConversionPeers() {
  const std::string weights = "other weights";
  const std::string unpacked = "8 bits a pixel out";
  return {
      {"gray-24", "OpenCV", weights, Agreement::kCloseValues,
       Making(ConvertingColor(cv::COLOR_BGR2GRAY))},
      {"gray-32", "OpenCV", weights, Agreement::kCloseValues,
       Making(ConvertingColor(cv::COLOR_BGRA2GRAY))},
      {"otsu-8", "OpenCV", unpacked, Agreement::kCloseValues, Making(Otsu)},
      {"otsu-24", "OpenCV", unpacked, Agreement::kCloseValues, Making(OtsuOfColor())},
      {"adaptive-8", "OpenCV", "mean of 17 x 17; " + unpacked, Agreement::kSameBrightness,
       Making(Adaptive)},
  };
}

std::vector<Peer> ProcessPeers() {
  const std::string rounded = "rounds all pixels through HSV";
  return {
      {"sharpen-8", "OpenCV", "rounds, other borders", Agreement::kCloseValues, Making(Sharpen)},
      {"sharpen-24", "OpenCV", "rounds, other borders", Agreement::kCloseValues, Making(Sharpen)},
      {"recolor-few", "OpenCV", rounded, Agreement::kCloseValues, Making(Recoloring(kFewMatches))},
      {"recolor-many", "OpenCV", rounded, Agreement::kCloseValues,
       Making(Recoloring(kManyMatches))},
  };
}

std::vector<Peer> TransformPeers() {
  std::vector<Peer> peers;
  for (const char* bits : {"8", "16", "24", "32"}) {
    const auto add = [&](const char* job, const MatFunction& function) {
      peers.push_back(
          {std::string(job) + "-" + bits, "OpenCV", "", Agreement::kSameBytes, Making(function)});
    };
    add("right-turn", Rotating(cv::ROTATE_90_CLOCKWISE));
    add("left-turn", Rotating(cv::ROTATE_90_COUNTERCLOCKWISE));
    add("half-turn", Rotating(cv::ROTATE_180));
    add("mirror", Mirror);
  }
  return peers;
}

/// Areas where it shrinks, the same filter where it grows. Alpha is a channel like others to it.
MakeWork ResizingTo(const Resizing& resizing) {
  return [resizing](const Image& source) {
    const Image size = ResizedImage(resizing, source);
    const bool shrinks = size.width < source.width;
    return Making([=](const cv::Mat& from, cv::Mat& to) {
      cv::resize(from, to, cv::Size(static_cast<int>(size.width), static_cast<int>(size.height)), 0,
                 0, shrinks ? cv::INTER_AREA : cv::INTER_CUBIC);
    })(source);
  };
}

std::vector<Peer> ResamplePeers() {
  std::vector<Peer> peers;
  for (const Resizing& resizing : Resizings()) {
    for (const char* bits : {"8", "24", "32"}) {
      const bool grows = std::string(resizing.name) == "larger";
      peers.push_back({std::string("resample-") + resizing.name + "-" + bits, "OpenCV",
                       grows ? "a = -0.75, coefficients of 11 bits" : "means of areas",
                       Agreement::kCloseValues, ResizingTo(resizing)});
    }
  }
  return peers;
}

}  // namespace

std::vector<Peer> OpenCvPeers() {
  cv::setNumThreads(1);
  cv::ocl::setUseOpenCL(false);
  std::vector<Peer> peers = ConversionPeers();
  for (const auto& more : {ProcessPeers(), TransformPeers(), ResamplePeers()}) {
    peers.insert(peers.end(), more.begin(), more.end());
  }
  return peers;
}

std::string OpenCvVersion() { return std::string("OpenCV ") + CV_VERSION; }

}  // namespace pixtola::bench
