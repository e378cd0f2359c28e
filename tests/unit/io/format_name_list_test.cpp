// The extensions of files that can be opened: the list, and whether a name has one of them.
#include "io/format_name_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cwctype>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform.h"

namespace pixtola::test {
namespace {

/// What the platform's decoders say, one by one: "*.JPG" as ".jpg".
std::set<std::wstring> DecodersExtensions() {
  UINT count = 0;
  UINT size = 0;
  EXPECT_EQ(Gdiplus::GetImageDecodersSize(&count, &size), Gdiplus::Ok);
  std::vector<BYTE> block(size);
  auto* infos = reinterpret_cast<Gdiplus::ImageCodecInfo*>(block.data());
  EXPECT_EQ(Gdiplus::GetImageDecoders(count, size, infos), Gdiplus::Ok);
  std::set<std::wstring> extensions;
  for (UINT i = 0; i < count; ++i) {
    std::wstring extension;
    for (const wchar_t letter : std::wstring(infos[i].FilenameExtension) + L";") {
      if (letter == L';') {
        if (!extension.empty()) extensions.insert(extension);
        extension.clear();
      } else if (letter != L'*' && letter != L' ') {
        extension += static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(letter)));
      }
    }
  }
  return extensions;
}

std::vector<std::wstring> NamesOf(const CFormatNameList& list) {
  return {list.begin(), list.end()};
}

class FormatNameListTest : public testing::Test {
 protected:
  FormatNameListTest() { PxtClear(); }
  ~FormatNameListTest() override { PxtClear(); }
};

TEST_F(FormatNameListTest, IsEmptyAtFirst) {
  const CFormatNameList list;
  EXPECT_TRUE(list.IsEmpty());
  EXPECT_FALSE(list.Contains(L".pcx"));
  EXPECT_TRUE(NamesOf(list).empty());
}

TEST_F(FormatNameListTest, HasTheDecodersExtensionsAndPcx) {
  CFormatNameList list;
  list.Build();
  EXPECT_FALSE(list.IsEmpty());
  std::set<std::wstring> expected = DecodersExtensions();
  EXPECT_GE(expected.size(), 8U);
  expected.insert(L".pcx");
  const std::vector<std::wstring> names = NamesOf(list);
  EXPECT_EQ(std::set<std::wstring>(names.begin(), names.end()), expected);
  EXPECT_EQ(names.size(), expected.size());  // each once
  for (const wchar_t* name : {L".bmp", L".dib", L".rle", L".jpg", L".jpeg", L".jpe", L".jfif",
                              L".gif", L".tif", L".tiff", L".png", L".pcx"}) {
    EXPECT_TRUE(list.Contains(name)) << std::string(name, name + std::wstring(name).size());
  }
}

TEST_F(FormatNameListTest, IsLowerCaseAndInOrder) {
  CFormatNameList list;
  list.Build();
  const std::vector<std::wstring> names = NamesOf(list);
  for (const std::wstring& name : names) {
    ASSERT_GE(name.size(), 2U);
    EXPECT_EQ(name[0], L'.');
    for (const wchar_t letter : name) {
      EXPECT_FALSE(letter >= L'A' && letter <= L'Z');
      EXPECT_TRUE(letter != L'*' && letter != L' ' && letter != L';');
    }
  }
  for (std::size_t i = 1; i < names.size(); ++i) {
    EXPECT_LT(_wcsicmp(names[i - 1].c_str(), names[i].c_str()), 0);
  }
}

TEST_F(FormatNameListTest, TellsUpperFromLowerCaseNeverApart) {
  CFormatNameList list;
  list.Build();
  EXPECT_TRUE(list.Contains(L".PCX"));
  EXPECT_TRUE(list.Contains(L".pCx"));
  EXPECT_TRUE(list.Contains(L".JPeG"));
  EXPECT_FALSE(list.Contains(L"pcx"));
  EXPECT_FALSE(list.Contains(L""));
  EXPECT_FALSE(list.Contains(L"*.pcx"));
}

TEST_F(FormatNameListTest, IsBuiltAgainAfterItWasEmptied) {
  CFormatNameList list;
  list.Build();
  const std::vector<std::wstring> names = NamesOf(list);
  list.Clear();
  EXPECT_TRUE(list.IsEmpty());
  EXPECT_FALSE(list.Contains(L".pcx"));
  list.Build();
  EXPECT_EQ(NamesOf(list), names);
  list.Build();
  EXPECT_EQ(NamesOf(list), names);
}

TEST_F(FormatNameListTest, MayBeDeletedThroughItsBase) {
  class CountedList final : public CFormatNameList {
   public:
    explicit CountedList(int& ends) : ends_(ends) {}
    ~CountedList() override { ++ends_; }

   private:
    int& ends_;
  };
  int ends = 0;
  std::unique_ptr<CFormatNameList> list = std::make_unique<CountedList>(ends);
  list->Build();
  list.reset();
  EXPECT_EQ(ends, 1);
}

TEST_F(FormatNameListTest, OfTheProcessIsBuiltByTheFirstQuestion) {
  EXPECT_TRUE(FormatNameList.IsEmpty());
  EXPECT_EQ(PxtIsSupportedBitmapType(L"text.txt"), 0);
  EXPECT_FALSE(FormatNameList.IsEmpty());
  PxtClear();
  EXPECT_TRUE(FormatNameList.IsEmpty());
  EXPECT_EQ(PxtIsSupportedBitmapType(L"scan.pcx"), 1);
  EXPECT_FALSE(FormatNameList.IsEmpty());
  PxtClear();
  PxtClear();
  EXPECT_TRUE(FormatNameList.IsEmpty());
}

TEST_F(FormatNameListTest, IsAskedWithTheLastExtensionOfAName) {
  for (const wchar_t* name :
       {L"scan.pcx", L"scan.PCX", L"scan.Pcx", L".pcx", L"a b.pcx", L"archive.tar.gz.png",
        L"folder/scan.tif", L"folder.txt/scan.TIFF", L"/folder/.hidden.gif", L"..bmp",
        L"../folder/scan.jpeg", L"\u65E5\u672C.png"}) {
    EXPECT_EQ(PxtIsSupportedBitmapType(name), 1) << testing::PrintToString(std::wstring(name));
  }
  for (const wchar_t* name :
       {L"", L".", L"..", L"scan", L"scan.", L"pcx", L"archive.tar.gz", L"scan.pcx.txt",
        L"folder.pcx/scan", L"folder.pcx/", L"scan.pcx ", L"scan.pcx.", L"scan. pcx", L"scan.pc",
        L"scan.pcxx", L"scan.*", L"*.pcx;*.png;", L"scan.pcx\n", L"scan.\u65E5\u672C"}) {
    EXPECT_EQ(PxtIsSupportedBitmapType(name), 0) << testing::PrintToString(std::wstring(name));
  }
}

TEST_F(FormatNameListTest, HasEveryDecodersExtensionOfAName) {
  for (const std::wstring& extension : DecodersExtensions()) {
    std::wstring upper;
    for (const wchar_t letter : extension) {
      upper += static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(letter)));
    }
    EXPECT_EQ(PxtIsSupportedBitmapType((L"name" + extension).c_str()), 1);
    EXPECT_EQ(PxtIsSupportedBitmapType((L"name" + upper).c_str()), 1);
    EXPECT_EQ(PxtIsSupportedBitmapType((L"name" + extension + L"x").c_str()), 0);
  }
}

TEST_F(FormatNameListTest, IsNotConfusedByLongNames) {
  for (const std::size_t length : {200U, 254U, 255U, 256U, 257U, 300U, 1000U, 40000U}) {
    const std::wstring letters(length, L'p');
    EXPECT_EQ(PxtIsSupportedBitmapType((L"scan." + letters).c_str()), 0) << length;
    EXPECT_EQ(PxtIsSupportedBitmapType((L"scan.pcx" + letters).c_str()), 0) << length;
    EXPECT_EQ(PxtIsSupportedBitmapType((letters + L".pcx").c_str()), 1) << length;
    EXPECT_EQ(PxtIsSupportedBitmapType((letters + L"/scan.pcx").c_str()), 1) << length;
  }
}

TEST_F(FormatNameListTest, IsNotAskedWithoutAName) {
  EXPECT_EQ(PxtIsSupportedBitmapType(nullptr), 0);
}

}  // namespace
}  // namespace pixtola::test
