// What the platform promises about files, their names and their parts. Written against the API
// alone: the same tests run on Windows and on the stand-in.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "platform.h"
#include "support/temporary_folder.h"

namespace pixtola::test {
namespace {

using FileBytes = std::vector<std::uint8_t>;

struct CloseFile {
  void operator()(FILE* file) const { fclose(file); }
};
using FilePointer = std::unique_ptr<FILE, CloseFile>;

FilePointer Open(const std::wstring& path, const wchar_t* mode, int sharing) {
  return FilePointer(_wfsopen(path.c_str(), mode, sharing));
}

FilePointer Open(const std::filesystem::path& path, const wchar_t* mode, int sharing) {
  return Open(path.wstring(), mode, sharing);
}

std::string ReadText(FILE* file) {
  char buffer[100];
  return {buffer, fread(buffer, 1, sizeof buffer, file)};
}

class SharedFile : public testing::Test {
 protected:
  void SetUp() override { WriteWholeFile(path_, content_); }

  TemporaryFolder folder_;
  const std::filesystem::path path_ = folder_ / "file.bin";
  const FileBytes content_ = {'c', 'o', 'n', 't', 'e', 'n', 't'};
};

TEST_F(SharedFile, IsReadBytewise) {
  WriteWholeFile(path_, {0, '\r', '\n', 26, 255});
  const FilePointer file = Open(path_, L"rb", _SH_DENYWR);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(ReadText(file.get()), std::string("\0\r\n\x1A\xFF", 5));
}

TEST_F(SharedFile, IsReplacedBytewiseWhenWritten) {
  FilePointer file = Open(path_, L"wb", _SH_DENYRW);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(std::filesystem::file_size(path_), 0U);
  EXPECT_EQ(fwrite("a\n\0b", 1, 4, file.get()), 4U);
  file.reset();
  EXPECT_EQ(ReadWholeFile(path_), (FileBytes{'a', '\n', 0, 'b'}));
}

TEST_F(SharedFile, MayHaveManyReaders) {
  const FilePointer first = Open(path_, L"rb", _SH_DENYWR);
  const FilePointer second = Open(path_, L"rb", _SH_DENYWR);
  const FilePointer third = Open(path_, L"rb", _SH_DENYNO);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  ASSERT_NE(third, nullptr);
  EXPECT_EQ(ReadText(first.get()), "content");
  EXPECT_EQ(ReadText(second.get()), "content");
  EXPECT_EQ(ReadText(third.get()), "content");
}

TEST_F(SharedFile, IsNotWrittenWhileAReaderDeniesIt) {
  const FilePointer reader = Open(path_, L"rb", _SH_DENYWR);
  ASSERT_NE(reader, nullptr);
  for (const int sharing : {_SH_DENYRW, _SH_DENYWR, _SH_DENYNO}) {
    EXPECT_EQ(Open(path_, L"wb", sharing), nullptr) << sharing;
  }
  EXPECT_EQ(ReadText(reader.get()), "content");
  EXPECT_EQ(ReadWholeFile(path_), content_);
}

TEST_F(SharedFile, IsNotWrittenAloneWhileItHasAnyReader) {
  const FilePointer reader = Open(path_, L"rb", _SH_DENYNO);
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(Open(path_, L"wb", _SH_DENYRW), nullptr);
  EXPECT_EQ(ReadWholeFile(path_), content_);
}

TEST_F(SharedFile, IsNotReadWhileAWriterDeniesIt) {
  const FilePointer writer = Open(path_, L"wb", _SH_DENYRW);
  ASSERT_NE(writer, nullptr);
  for (const int sharing : {_SH_DENYRW, _SH_DENYWR, _SH_DENYNO}) {
    EXPECT_EQ(Open(path_, L"rb", sharing), nullptr) << sharing;
  }
}

TEST_F(SharedFile, IsNotReadByWhoDeniesWritingWhileItIsWritten) {
  const FilePointer writer = Open(path_, L"wb", _SH_DENYNO);
  ASSERT_NE(writer, nullptr);
  EXPECT_EQ(Open(path_, L"rb", _SH_DENYWR), nullptr);
}

TEST_F(SharedFile, HasOneWriterUnlessAllDenyNothing) {
  FilePointer writer = Open(path_, L"wb", _SH_DENYWR);
  ASSERT_NE(writer, nullptr);
  EXPECT_EQ(Open(path_, L"wb", _SH_DENYNO), nullptr);
  writer.reset();
  writer = Open(path_, L"wb", _SH_DENYNO);
  ASSERT_NE(writer, nullptr);
  EXPECT_EQ(Open(path_, L"wb", _SH_DENYWR), nullptr);
  EXPECT_NE(Open(path_, L"wb", _SH_DENYNO), nullptr);
}

TEST_F(SharedFile, IsReadWhileItIsWrittenWhenNobodyDeniesIt) {
  for (const int sharing : {_SH_DENYWR, _SH_DENYNO}) {
    const FilePointer writer = Open(path_, L"wb", sharing);
    ASSERT_NE(writer, nullptr);
    fputs("new", writer.get());
    fflush(writer.get());
    const FilePointer reader = Open(path_, L"rb", _SH_DENYNO);
    ASSERT_NE(reader, nullptr) << sharing;
    EXPECT_EQ(ReadText(reader.get()), "new");
  }
}

TEST_F(SharedFile, IsFreeAgainWhenClosed) {
  FilePointer file = Open(path_, L"rb", _SH_DENYWR);
  ASSERT_NE(file, nullptr);
  file.reset();
  file = Open(path_, L"wb", _SH_DENYRW);
  ASSERT_NE(file, nullptr);
  file.reset();
  file = Open(path_, L"rb", _SH_DENYWR);
  ASSERT_NE(file, nullptr);
  file.reset();
  EXPECT_TRUE(DeleteFileW(path_.wstring().c_str()));
}

TEST_F(SharedFile, IsFreedByEachReaderForItself) {
  FilePointer first = Open(path_, L"rb", _SH_DENYWR);
  FilePointer second = Open(path_, L"rb", _SH_DENYWR);
  first.reset();
  EXPECT_EQ(Open(path_, L"wb", _SH_DENYRW), nullptr);
  second.reset();
  EXPECT_NE(Open(path_, L"wb", _SH_DENYRW), nullptr);
}

TEST_F(SharedFile, IsNotHeldByAnOpenThatFailed) {
  FilePointer reader = Open(path_, L"rb", _SH_DENYNO);
  EXPECT_EQ(Open(path_, L"wb", _SH_DENYRW), nullptr);
  reader.reset();
  EXPECT_NE(Open(path_, L"rb", _SH_DENYWR), nullptr);
}

TEST(OpenedFiles, DoNotHinderOneAnother) {
  const TemporaryFolder folder;
  const FilePointer first = Open(folder / "first", L"wb", _SH_DENYRW);
  const FilePointer second = Open(folder / "second", L"wb", _SH_DENYRW);
  EXPECT_NE(first, nullptr);
  EXPECT_NE(second, nullptr);
}

TEST(OpenedFiles, MustExistToBeRead) {
  const TemporaryFolder folder;
  EXPECT_EQ(Open(folder / "missing", L"rb", _SH_DENYWR), nullptr);
  EXPECT_EQ(Open(folder / "missing/file", L"wb", _SH_DENYRW), nullptr);
  EXPECT_TRUE(folder.is_empty());
}

TEST(OpenedFiles, MayHaveNamesInAnyScript) {
  const TemporaryFolder folder;
  // Written out twice: how the test itself would convert it depends on the locale.
  const std::wstring name = (folder / "").wstring() + L"\u00E4\u6F22 1.bin";
  const std::filesystem::path path = (folder / "").parent_path() / u8"\u00E4\u6F22 1.bin";
  FilePointer file = Open(name, L"wb", _SH_DENYRW);
  ASSERT_NE(file, nullptr);
  fputs("x", file.get());
  file.reset();
  EXPECT_EQ(ReadWholeFile(path), FileBytes{'x'});
  file = Open(name, L"rb", _SH_DENYWR);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(ReadText(file.get()), "x");
  file.reset();
  EXPECT_TRUE(DeleteFileW(name.c_str()));
  EXPECT_TRUE(folder.is_empty());
}

TEST(DeleteFile, RemovesAFile) {
  const TemporaryFolder folder;
  const std::filesystem::path path = folder / "file";
  WriteWholeFile(path, {1});
  EXPECT_TRUE(DeleteFileW(path.wstring().c_str()));
  EXPECT_TRUE(folder.is_empty());
  EXPECT_FALSE(DeleteFileW(path.wstring().c_str()));
}

TEST(DeleteFile, RefusesFolders) {
  const TemporaryFolder folder;
  const std::filesystem::path path = folder / "inner";
  std::filesystem::create_directory(path);
  EXPECT_FALSE(DeleteFileW(path.wstring().c_str()));
  EXPECT_TRUE(std::filesystem::is_directory(path));
}

/// The parts of a path, each in a buffer of its own.
struct Parts {
  explicit Parts(const wchar_t* path)
      : result(_wsplitpath_s(path, drive, std::size(drive), folder, std::size(folder), name,
                             std::size(name), extension, std::size(extension))) {}

  wchar_t drive[3] = L"?";
  wchar_t folder[100] = L"?";
  wchar_t name[100] = L"?";
  wchar_t extension[100] = L"?";
  errno_t result;
};

TEST(SplitPath, GivesFolderNameAndExtension) {
  struct Case {
    const wchar_t* path;
    const wchar_t* folder;
    const wchar_t* name;
    const wchar_t* extension;
  };
  for (const Case& expected : {
           Case{L"/home/user/scan.pcx", L"/home/user/", L"scan", L".pcx"},
           Case{L"folder/scan.PCX", L"folder/", L"scan", L".PCX"},
           Case{L"scan.pcx", L"", L"scan", L".pcx"},
           Case{L"scan", L"", L"scan", L""},
           Case{L"/scan", L"/", L"scan", L""},
           Case{L"/a.b/scan", L"/a.b/", L"scan", L""},
           Case{L"a.b/", L"a.b/", L"", L""},
           Case{L"page.1.of.2.tif", L"", L"page.1.of.2", L".tif"},
           Case{L"a..tif", L"", L"a.", L".tif"},
           Case{L"folder/.profile", L"folder/", L"", L".profile"},
           Case{L".profile", L"", L"", L".profile"},
           Case{L"folder/.x.pcx", L"folder/", L".x", L".pcx"},
           Case{L"scan.", L"", L"scan", L"."},
           Case{L"\u00E4\u6F22/\u6F22.\u00E4", L"\u00E4\u6F22/", L"\u6F22", L".\u00E4"},
           Case{L"", L"", L"", L""},
       }) {
    const Parts parts(expected.path);
    const std::wstring path = expected.path;
    EXPECT_EQ(parts.result, 0) << testing::PrintToString(path);
    EXPECT_STREQ(parts.drive, L"") << testing::PrintToString(path);
    EXPECT_STREQ(parts.folder, expected.folder) << testing::PrintToString(path);
    EXPECT_STREQ(parts.name, expected.name) << testing::PrintToString(path);
    EXPECT_STREQ(parts.extension, expected.extension) << testing::PrintToString(path);
  }
}

TEST(SplitPath, LeavesOutPartsWithoutABuffer) {
  const wchar_t* const path = L"/folder/scan.pcx";
  wchar_t part[20] = L"?";
  EXPECT_EQ(_wsplitpath_s(path, nullptr, 0, nullptr, 0, nullptr, 0, part, 20), 0);
  EXPECT_STREQ(part, L".pcx");
  EXPECT_EQ(_wsplitpath_s(path, nullptr, 0, nullptr, 0, part, 20, nullptr, 0), 0);
  EXPECT_STREQ(part, L"scan");
  EXPECT_EQ(_wsplitpath_s(path, nullptr, 0, part, 20, nullptr, 0, nullptr, 0), 0);
  EXPECT_STREQ(part, L"/folder/");
  EXPECT_EQ(_wsplitpath_s(path, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0), 0);
}

TEST(SplitPath, FillsBuffersThatAreJustLongEnough) {
  wchar_t name[5] = L"";
  wchar_t extension[5] = L"";
  EXPECT_EQ(_wsplitpath_s(L"scan.pcx", nullptr, 0, nullptr, 0, name, 5, extension, 5), 0);
  EXPECT_STREQ(name, L"scan");
  EXPECT_STREQ(extension, L".pcx");
}

TEST(SplitPath, EmptiesAllPartsWhenABufferIsTooSmall) {
  const wchar_t* const path = L"/f/scan.pcx";
  for (int small = 0; small < 3; ++small) {
    wchar_t folder[4] = L"?";
    wchar_t name[5] = L"?";
    wchar_t extension[5] = L"?";
    EXPECT_EQ(_wsplitpath_s(path, nullptr, 0, folder, small == 0 ? 3 : 4, name, small == 1 ? 4 : 5,
                            extension, small == 2 ? 4 : 5),
              ERANGE)
        << small;
    EXPECT_STREQ(folder, L"") << small;
    EXPECT_STREQ(name, L"") << small;
    EXPECT_STREQ(extension, L"") << small;
  }
}

TEST(SplitPath, RefusesANullPath) { EXPECT_EQ(Parts(nullptr).result, EINVAL); }

int Sign(int value) { return (value > 0) - (value < 0); }

TEST(CompareWithoutCase, OrdersAsciiAsLowerCase) {
  const auto lower = [](int c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; };
  for (int first = 1; first < 128; ++first) {
    for (int second = 1; second < 128; ++second) {
      // Where the letters are equal, what follows them decides.
      const wchar_t first_text[] = {'x', static_cast<wchar_t>(first), 'y', 0};
      const wchar_t second_text[] = {'X', static_cast<wchar_t>(second), 'z', 0};
      const int expected = lower(first) == lower(second) ? -1 : lower(first) - lower(second);
      EXPECT_EQ(Sign(_wcsicmp(first_text, second_text)), Sign(expected)) << first << ' ' << second;
    }
  }
}

TEST(CompareWithoutCase, FindsEqualTexts) {
  EXPECT_EQ(_wcsicmp(L"", L""), 0);
  EXPECT_EQ(_wcsicmp(L".PCX", L".pcx"), 0);
  EXPECT_EQ(_wcsicmp(L".pCx", L".PcX"), 0);
  EXPECT_EQ(_wcsicmp(L"a_[1]", L"A_[1]"), 0);
}

TEST(CompareWithoutCase, PutsTheShorterFirst) {
  EXPECT_LT(_wcsicmp(L"tif", L"TIFF"), 0);
  EXPECT_GT(_wcsicmp(L"TIFF", L"tif"), 0);
  EXPECT_LT(_wcsicmp(L"", L"a"), 0);
  EXPECT_GT(_wcsicmp(L"a", L""), 0);
}

TEST(CompareWithoutCase, FindsTheExtensionOfAPath) {
  for (const wchar_t* const path : {L"/home/scan.PCX", L"/home/scan.pcx", L"scan.Pcx"}) {
    EXPECT_EQ(_wcsicmp(Parts(path).extension, L".pcx"), 0);
  }
  EXPECT_NE(_wcsicmp(Parts(L"scan.pcx.tif").extension, L".pcx"), 0);
}

}  // namespace
}  // namespace pixtola::test
