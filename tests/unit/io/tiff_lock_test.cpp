// TIFF files from several threads at once, which share libtiff's one set of handlers.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "io/tiff_reader.h"
#include "io/tiff_writer.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"

namespace pixtola::test {
namespace {

TEST(TiffLock, ServesSeveralThreads) {
  const TemporaryFolder folder;
  std::atomic<int> right{0};
  const auto work = [&](std::uint8_t thread) {
    const std::wstring path = (folder / (std::to_string(thread) + ".tif")).wstring();
    for (std::uint8_t i = 0; i < 25; ++i) {
      const Bytes rows(32 * 4, static_cast<std::uint8_t>(thread * 50 + i));
      const auto page = MakeBitmap(32, 32, PixelFormat1bppIndexed, rows);
      WriteTiffFile(page.get(), PxtFileTypeTiffGroup4, path.c_str());
      const BitmapPointer read = ReadTiffFile(path.c_str(), 0);
      right += read != nullptr && PixelsOf(*read) == rows ? 1 : 0;
    }
  };
  std::vector<std::thread> threads;
  for (std::uint8_t thread = 0; thread < 4; ++thread) threads.emplace_back(work, thread);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 100);
}

}  // namespace
}  // namespace pixtola::test
