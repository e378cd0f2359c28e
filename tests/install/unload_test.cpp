// The shared library, loaded while a program runs, used and unloaded again: it is gone then and
// leaves nothing behind. The program is not linked to it.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "Pixtola.h"
#include "support/loaded_library.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace pixtola::test {
namespace {

/// Bytes that are allocated in the process, where the system tells.
std::optional<std::size_t> HeapInUse() {
#if defined(__GLIBC__)
#if __GLIBC_PREREQ(2, 33)
  const struct mallinfo2 info = mallinfo2();
  const std::size_t bytes = info.uordblks + info.hblkhd;
  if (bytes != 0) return bytes;  // other allocators, as of sanitizers, tell nothing
#endif
#endif
  return std::nullopt;
}

/// Whether blocks that were freed are not counted: those that each thread keeps for itself are
/// otherwise. CTest sets this.
bool IsHeapExact() {
  const char* const tunables = std::getenv("GLIBC_TUNABLES");
  return tunables != nullptr && std::strstr(tunables, "glibc.malloc.tcache_count=0") != nullptr;
}

class UnloadTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_FALSE(LoadedLibrary::IsInProcess(PIXTOLA_LIBRARY)); }

  std::wstring Path(const char* name) const { return (folder_ / name).wstring(); }

  /// Loads the library, builds the list of extensions, saves a page to a file and a stream, opens
  /// it, and unloads the library.
  void UseOnce(bool clears_the_list) const {
    const LoadedLibrary library(PIXTOLA_LIBRARY);
    ASSERT_TRUE(library.is_loaded());
    EXPECT_TRUE(LoadedLibrary::IsInProcess(PIXTOLA_LIBRARY));

    const auto is_supported =
        library.Find<decltype(&PxtIsSupportedBitmapType)>("PxtIsSupportedBitmapType");
    ASSERT_NE(is_supported, nullptr);
    EXPECT_EQ(is_supported(L"page.tif"), 1);
    EXPECT_EQ(is_supported(L"page.txt"), 0);

    const auto save = library.Find<decltype(&PxtSaveBitmapToFile)>("PxtSaveBitmapToFile");
    const auto open = library.Find<decltype(&PxtOpenImageFilePage)>("PxtOpenImageFilePage");
    const auto save_to_stream =
        library.Find<decltype(&PxtSaveBitmapToStream)>("PxtSaveBitmapToStream");
    const auto extract = library.Find<decltype(&PxtExtractBitmap)>("PxtExtractBitmap");
    ASSERT_TRUE(save != nullptr && open != nullptr && save_to_stream != nullptr &&
                extract != nullptr);
    const Bytes rows(8 * 64, 0x5A);
    const BitmapPointer page = MakeBitmap(64, 64, PixelFormat1bppIndexed, rows);
    for (const PxtFileType type : {PxtFileTypeTiffGroup4, PxtFileTypePcx, PxtFileTypePng}) {
      EXPECT_EQ(save(page.get(), type, Path("page").c_str()), 1);
      BitmapPointer opened;
      EXPECT_EQ(open(Path("page").c_str(), 0, Receive(opened)), 1);
      ASSERT_NE(opened, nullptr);
      EXPECT_EQ(PixelsOf(*opened), rows);
    }
    IStream* stream = nullptr;
    ASSERT_EQ(save_to_stream(page.get(), &stream, PxtFileTypeTiffLzw), 1);
    BitmapPointer extracted;
    EXPECT_EQ(extract(stream, Receive(extracted)), 1);
    stream->Release();
    extracted.reset();

    if (clears_the_list) library.Find<decltype(&PxtClear)>("PxtClear")();
  }

  TemporaryFolder folder_;
};

TEST_F(UnloadTest, TakesTheLibraryOutOfTheProcess) {
  ASSERT_FALSE(LoadedLibrary::IsInProcess(PIXTOLA_LIBRARY));
  UseOnce(true);
  EXPECT_FALSE(LoadedLibrary::IsInProcess(PIXTOLA_LIBRARY));
  UseOnce(false);  // the list is still full
}

TEST_F(UnloadTest, WorksWithoutAnyUse) {
  for (int i = 0; i < 10; ++i) {
    const LoadedLibrary library(PIXTOLA_LIBRARY);
    EXPECT_TRUE(library.is_loaded());
  }
}

TEST_F(UnloadTest, WorksAsOftenAsItIsDone) {
  for (int i = 0; i < 50; ++i) {
    UseOnce(i % 2 == 0);
    ASSERT_FALSE(LoadedLibrary::IsInProcess(PIXTOLA_LIBRARY)) << i;
  }
}

TEST_F(UnloadTest, LeavesNothingOnTheHeap) {
  for (int i = 0; i < 5; ++i) UseOnce(i % 2 == 0);  // what the system keeps for later
  const std::optional<std::size_t> before = HeapInUse();
  if (!before.has_value()) GTEST_SKIP() << "the system does not tell how much is allocated";
  for (int i = 0; i < 50; ++i) UseOnce(i % 2 == 0);
  EXPECT_LE(*HeapInUse(), *before + (IsHeapExact() ? 0 : 50 * 256));
}

}  // namespace
}  // namespace pixtola::test
