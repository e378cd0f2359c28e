// The test images cut short and with changed bytes: a decoder may refuse them or show anything, but
// it ends, soon, and touches no memory that is not its own. Address sanitizers see the latter.
//
// The images are those of tests/data/images; PIXTOLA_HOSTILE_IMAGES names another folder, such as
// the one that scripts/corpora prints, and PIXTOLA_HOSTILE_CHANGES how often each file is changed.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "codecs/codec.h"
#include "support/bytes.h"
#include "support/decode_limit_guard.h"
#include "support/temporary_folder.h"
#include "support/test_images.h"

namespace pixtola::portable {
namespace {

using test::Bytes;

/// Longer files are changed, but not cut at every byte: their time grows with the square.
constexpr std::size_t kMaxCutSize = 4096;
constexpr std::size_t kMaxSize = 64 << 10;
constexpr std::size_t kCutsOfLongFiles = 200;
constexpr int kDefaultChanges = 2000;

/// More than the images have, so that they are decoded before they are damaged.
constexpr platform::DecodeLimit kLimit = {.pixels = 1 << 19, .bytes = 1 << 23};

/// For one file, with an address checker, on a busy machine. Time that grows with what a file
/// claims is longer by far.
constexpr std::chrono::seconds kMaxTime{5};
constexpr UINT kMaxFrames = 8;

std::filesystem::path ImageFolder() {
  const char* folder = std::getenv("PIXTOLA_HOSTILE_IMAGES");
  return folder != nullptr ? folder : test::TestImages();
}

int Changes() {
  const char* changes = std::getenv("PIXTOLA_HOSTILE_CHANGES");
  return changes != nullptr ? std::atoi(changes) : kDefaultChanges;
}

std::vector<std::filesystem::path> ImageFiles() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(ImageFolder())) {
    const bool is_image = entry.is_regular_file() && entry.path().extension() != ".md";
    if (is_image && entry.file_size() <= kMaxSize) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// Decodes every frame, as the flat API does it. Whether there is one.
bool DecodeAll(EncodedBytes bytes) {
  for (const Codec& codec : Codecs()) {
    if (!codec.recognizes(bytes)) continue;
    std::unique_ptr<BitmapObject> bitmap;
    const Gdiplus::Status status = codec.decode(bytes, bitmap);
    EXPECT_EQ(status == Gdiplus::Ok, bitmap != nullptr);
    if (bitmap == nullptr || codec.frames == nullptr) return bitmap != nullptr;
    const UINT count = std::min(codec.frames->count(bytes), kMaxFrames);
    for (UINT i = 1; i < count; ++i) codec.frames->decode(bytes, i, bitmap);
    return true;
  }
  return false;
}

/// The first `size` bytes, in a block of this size: one byte more is outside.
bool DecodeExactly(const Bytes& bytes, std::size_t size) {
  const HeapBytes exact = AllocateBytes(size);
  if (exact == nullptr) return false;
  std::copy_n(bytes.begin(), size, exact.get());
  const auto start = std::chrono::steady_clock::now();
  const bool is_decoded = DecodeAll({exact.get(), size});
  EXPECT_LT(std::chrono::steady_clock::now() - start, kMaxTime);
  return is_decoded;
}

class HostileImages : public testing::Test {
 protected:
  /// Calls `attack` with each file's content. The names tell where a crash came from.
  template <typename Attack>
  void ForEachFile(Attack attack) {
    const test::DecodeLimitGuard limit(kLimit);
    const auto files = ImageFiles();
    ASSERT_FALSE(files.empty());
    for (const auto& path : files) {
      std::cout << path.lexically_relative(ImageFolder()).generic_string() << std::endl;
      SCOPED_TRACE(path.string());
      attack(test::ReadWholeFile(path));
      if (HasFailure()) return;
    }
  }
};

TEST_F(HostileImages, AreDecodedAsTheyAre) {
  std::size_t decoded = 0;
  ForEachFile([&](const Bytes& bytes) {
    if (DecodeExactly(bytes, bytes.size())) ++decoded;
  });
  // Otherwise the other tests damage what is refused anyway.
  EXPECT_GE(decoded * 2, ImageFiles().size());
}

TEST_F(HostileImages, MayBeCutShort) {
  ForEachFile([](const Bytes& bytes) {
    const std::size_t step =
        bytes.size() <= kMaxCutSize ? 1 : (bytes.size() + kCutsOfLongFiles - 1) / kCutsOfLongFiles;
    for (std::size_t size = 0; size < bytes.size(); size += step) DecodeExactly(bytes, size);
  });
}

TEST_F(HostileImages, MayHaveChangedBytes) {
  unsigned file = 0;
  ForEachFile([&](const Bytes& bytes) {
    std::mt19937 random(++file);
    for (int round = Changes(); round > 0; --round) {
      SCOPED_TRACE("round " + std::to_string(round) + " from the end");
      Bytes changed = bytes;
      for (auto changes = 1 + random() % 4; changes > 0; --changes) {
        // Half of them at the start, where headers are.
        const std::size_t range =
            random() % 2 == 0 ? changed.size() : std::min<std::size_t>(changed.size(), 200);
        changed[random() % range] = static_cast<std::uint8_t>(random());
      }
      DecodeExactly(changed, changed.size());
      if (HasFailure()) return;
    }
  });
}

}  // namespace
}  // namespace pixtola::portable
