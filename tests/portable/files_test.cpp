// Files of the stand-in: names, what is refused, what remains after a failure.

#include "base/files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "base/utf8.h"
#include "shared/decode_limit.h"
#include "support/decode_limit_guard.h"
#include "support/temporary_folder.h"
#include "support/test_bitmap.h"
#include "system/file_sink.h"

namespace pixtola::portable {
namespace {

using test::TemporaryFolder;

TEST(Utf8Path, EncodesEveryLength) {
  const Utf8Path path(L"a\u00E4\u20AC\U0001F600");
  EXPECT_TRUE(path.is_valid());
  EXPECT_STREQ(path.c_str(), "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
  const Utf8Path nothing(L"");
  EXPECT_TRUE(nothing.is_valid());
  EXPECT_STREQ(nothing.c_str(), "");
}

TEST(Utf8Path, RefusesWhatIsNoCharacter) {
  const wchar_t surrogate[] = {static_cast<wchar_t>(0xD800), 0};
  const wchar_t beyond[] = {static_cast<wchar_t>(0x110000), 0};
  const wchar_t negative[] = {static_cast<wchar_t>(-1), 0};
  EXPECT_FALSE(Utf8Path(surrogate).is_valid());
  EXPECT_FALSE(Utf8Path(beyond).is_valid());
  EXPECT_FALSE(Utf8Path(negative).is_valid());
}

TEST(Utf8Path, IsNoLongerThanTheSystemTakes) {
  const std::wstring three_bytes(1365, L'\u20AC');  // 4095 bytes and the closing zero
  EXPECT_TRUE(Utf8Path(three_bytes.c_str()).is_valid());
  EXPECT_FALSE(Utf8Path((three_bytes + L"a").c_str()).is_valid());
  EXPECT_FALSE(Utf8Path(nullptr).is_valid());
}

TEST(ReadFile, ReadsRegularFilesOnly) {
  const TemporaryFolder folder;
  test::WriteWholeFile(folder / "file", {1, 2, 3});
  FileBytes file;
  ASSERT_EQ(ReadFile((folder / "file").c_str(), file), Gdiplus::Ok);
  ASSERT_EQ(file.size, 3U);
  EXPECT_EQ(file.bytes[2], 3);
  EXPECT_EQ(ReadFile((folder / ".").c_str(), file), Gdiplus::InvalidParameter);
  EXPECT_EQ(ReadFile((folder / "missing").c_str(), file), Gdiplus::InvalidParameter);
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(ReadFile((folder / "pipe").c_str(), file), Gdiplus::InvalidParameter);
}

TEST(ReadFile, RefusesFilesBeyondTheDecodeLimit) {
  const TemporaryFolder folder;
  test::WriteWholeFile(folder / "file", {1, 2, 3});
  const test::DecodeLimitGuard limit({100, 2});
  FileBytes file;
  EXPECT_EQ(ReadFile((folder / "file").c_str(), file), Gdiplus::OutOfMemory);
}

TEST(DecodeLimit, MultipliesWithoutOverflow) {
  EXPECT_TRUE(platform::IsDecodeAllowed(1 << 15, 1 << 14, 0));
  EXPECT_FALSE(platform::IsDecodeAllowed((1 << 15) + 1, 1 << 14, 0));
  EXPECT_FALSE(platform::IsDecodeAllowed(1ULL << 33, 1ULL << 33, 0));
  EXPECT_FALSE(platform::IsDecodeAllowed(1, 1, (1ULL << 32) + 1));
  EXPECT_TRUE(platform::IsDecodeAllowed(0, ~0ULL, 0));
}

TEST(FileSink, GivesUpWhatWasThereWithTheFirstWriteOnly) {
  const TemporaryFolder folder;
  test::WriteWholeFile(folder / "file", {1, 2, 3});
  {
    FileSink sink((folder / "file").c_str());
    ASSERT_TRUE(sink.is_open());
    sink.Discard();
  }
  EXPECT_EQ(test::ReadWholeFile(folder / "file").size(), 3U);
  {
    FileSink sink((folder / "file").c_str());
    ASSERT_TRUE(sink.Write("x", 1));
    ASSERT_TRUE(sink.Close());
  }
  EXPECT_EQ(test::ReadWholeFile(folder / "file").size(), 1U);
}

TEST(FileSink, LeavesNothingHalfWritten) {
  const TemporaryFolder folder;
  test::WriteWholeFile(folder / "old", {1, 2, 3});
  std::filesystem::create_symlink("old", folder / "link");
  for (const char* name : {"new", "link"}) {
    FileSink sink((folder / name).c_str());
    ASSERT_TRUE(sink.Write("x", 1));
    sink.Discard();
  }
  EXPECT_FALSE(std::filesystem::exists(folder / "new"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
  EXPECT_EQ(test::ReadWholeFile(folder / "old").size(), 0U);
}

TEST(FileSink, RefusesWhatIsNoRegularFile) {
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(FileSink((folder / "pipe").c_str()).is_open());
  EXPECT_FALSE(FileSink((folder / ".").c_str()).is_open());
  EXPECT_FALSE(ReplaceRegularFile((folder / "pipe").c_str()).is_open());
}

TEST(GdipSaveImageToFile, LeavesNoPartialFile) {
  const TemporaryFolder folder;
  const auto bitmap = test::MakeBitmap(1, 1, PixelFormat24bppRGB, {1, 2, 3});
  UINT count = 0;
  UINT size = 0;
  Gdiplus::GetImageEncodersSize(&count, &size);
  std::vector<Gdiplus::ImageCodecInfo> encoders(count);
  ASSERT_EQ(Gdiplus::GetImageEncoders(count, size, encoders.data()), Gdiplus::Ok);
  const CLSID* tiff = nullptr;
  for (const auto& encoder : encoders) {
    if (std::wstring(encoder.FilenameExtension) == L"*.TIF;*.TIFF") tiff = &encoder.Clsid;
  }
  ASSERT_NE(tiff, nullptr);
  // A parameter that the encoder does not take.
  ULONG value = 9999;
  const Gdiplus::EncoderParameters parameters{
      1,
      {{{0xE09D739D, 0xCCD4, 0x44EE, {0x8E, 0xBA, 0x3F, 0xBF, 0x8B, 0xE4, 0xFC, 0x58}},
        1,
        Gdiplus::EncoderParameterValueTypeLong,
        &value}}};
  EXPECT_EQ(bitmap->Save((folder / "out.tif").wstring().c_str(), tiff, &parameters),
            Gdiplus::InvalidParameter);
  EXPECT_TRUE(folder.is_empty());
}

TEST(GdipSaveImageToFile, RefusesPixelsThatConvertToNothing) {
  const TemporaryFolder folder;
  Gdiplus::Bitmap bitmap(3, 2, PixelFormat16bppGrayScale);
  UINT count = 0;
  UINT size = 0;
  Gdiplus::GetImageEncodersSize(&count, &size);
  std::vector<Gdiplus::ImageCodecInfo> encoders(count);
  ASSERT_EQ(Gdiplus::GetImageEncoders(count, size, encoders.data()), Gdiplus::Ok);
  for (const auto& encoder : encoders) {
    EXPECT_EQ(bitmap.Save((folder / "out").wstring().c_str(), &encoder.Clsid),
              Gdiplus::InvalidParameter);
  }
  EXPECT_TRUE(folder.is_empty());
}

}  // namespace
}  // namespace pixtola::portable
