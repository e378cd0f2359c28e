// What the platform promises about resources, the files inside programs and shared libraries.
// Written against the API alone: the same tests run on Windows and on the stand-in. The resources
// are listed in tests/CMakeLists.txt, their files are in tests/data/resources.

#include <gtest/gtest.h>

#include <string>

#include "platform.h"
#include "support/resource_library.h"

namespace pixtola::test {
namespace {

const LPCWSTR kRawData = MAKEINTRESOURCEW(10);
const LPCWSTR kFirst = MAKEINTRESOURCEW(12);
const LPCWSTR kOfTheLibrary = MAKEINTRESOURCEW(21);

/// The library's module.
HMODULE Library() {
  EXPECT_NE(AddressInResourceLibrary(), nullptr);
  return GetModuleHandleW(L"pixtola_resource_library");
}

/// The bytes of a resource.
std::string BytesOf(HMODULE module, LPCWSTR name, LPCWSTR type) {
  const HRSRC resource = FindResourceW(module, name, type);
  if (resource == nullptr) return "(not found)";
  const HGLOBAL loaded = LoadResource(module, resource);
  if (loaded == nullptr) return "(not loaded)";
  const void* const bytes = LockResource(loaded);
  if (bytes == nullptr) return "(not locked)";
  return {static_cast<const char*>(bytes), SizeofResource(module, resource)};
}

TEST(Resources, AreFoundByIds) {
  EXPECT_EQ(BytesOf(nullptr, kFirst, kRawData), "A first text.\n");
  EXPECT_EQ(BytesOf(nullptr, MAKEINTRESOURCEW(65535), kRawData),
            "The second text, somewhat longer.\n");
}

TEST(Resources, AreFoundByNames) {
  EXPECT_EQ(BytesOf(nullptr, L"SECOND", L"TEXT"), "The second text, somewhat longer.\n");
}

TEST(Resources, AreFoundByNamesWhateverTheirCase) {
  for (const wchar_t* const name : {L"second", L"Second", L"sEcOnD"}) {
    for (const wchar_t* const type : {L"text", L"Text", L"TEXT"}) {
      EXPECT_EQ(BytesOf(nullptr, name, type), "The second text, somewhat longer.\n");
    }
  }
}

TEST(Resources, MayMixIdsAndNames) {
  EXPECT_EQ(BytesOf(nullptr, L"named", kRawData), "The second text, somewhat longer.\n");
  EXPECT_EQ(BytesOf(nullptr, kFirst, L"text"), "A first text.\n");
  EXPECT_EQ(BytesOf(nullptr, L"second", MAKEINTRESOURCEW(300)), "A first text.\n");
}

TEST(Resources, AreFoundByIdsWrittenAsText) {
  EXPECT_EQ(BytesOf(nullptr, L"#12", kRawData), "A first text.\n");
  EXPECT_EQ(BytesOf(nullptr, kFirst, L"#10"), "A first text.\n");
  EXPECT_EQ(BytesOf(nullptr, L"#65535", L"#10"), "The second text, somewhat longer.\n");
  EXPECT_EQ(BytesOf(nullptr, L"second", L"#300"), "A first text.\n");
}

TEST(Resources, HaveTheSizesOfTheirFiles) {
  const HRSRC resource = FindResourceW(nullptr, kFirst, kRawData);
  ASSERT_NE(resource, nullptr);
  EXPECT_EQ(SizeofResource(nullptr, resource), 14U);
}

TEST(Resources, MayHoldAnyBytes) {
  std::string expected;
  for (int byte = 0; byte < 256; ++byte) expected += static_cast<char>(byte);
  EXPECT_EQ(BytesOf(nullptr, L"all_bytes", kRawData), expected);
}

TEST(Resources, MayBeEmpty) {
  const HRSRC resource = FindResourceW(nullptr, L"empty", kRawData);
  ASSERT_NE(resource, nullptr);
  EXPECT_EQ(SizeofResource(nullptr, resource), 0U);
}

TEST(Resources, StayWhereTheyAre) {
  const HRSRC resource = FindResourceW(nullptr, kFirst, kRawData);
  ASSERT_NE(resource, nullptr);
  const void* const bytes = LockResource(LoadResource(nullptr, resource));
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(LockResource(LoadResource(nullptr, FindResourceW(nullptr, kFirst, kRawData))), bytes);
}

TEST(MissingResources, AreNull) {
  EXPECT_EQ(FindResourceW(nullptr, MAKEINTRESOURCEW(13), kRawData), nullptr);
  EXPECT_EQ(FindResourceW(nullptr, L"third", L"TEXT"), nullptr);
  EXPECT_EQ(FindResourceW(nullptr, L"secon", L"TEXT"), nullptr);
  EXPECT_EQ(FindResourceW(nullptr, L"second2", L"TEXT"), nullptr);
  EXPECT_EQ(FindResourceW(nullptr, L"12", kRawData), nullptr);  // a name, not an id
  EXPECT_EQ(FindResourceW(nullptr, L"#13", kRawData), nullptr);
}

TEST(MissingResources, MayLackTheirTypeOnly) {
  EXPECT_EQ(FindResourceW(nullptr, kFirst, MAKEINTRESOURCEW(11)), nullptr);
  EXPECT_EQ(FindResourceW(nullptr, kFirst, L"IMAGE"), nullptr);
  EXPECT_EQ(FindResourceW(nullptr, L"named", L"TEXT"), nullptr);
  EXPECT_EQ(FindResourceW(nullptr, L"second", kRawData), nullptr);
}

TEST(Modules, IncludeTheProgram) {
  const HMODULE program = GetModuleHandleW(nullptr);
  ASSERT_NE(program, nullptr);
  EXPECT_EQ(GetModuleHandleW(nullptr), program);
  EXPECT_EQ(BytesOf(program, kFirst, kRawData), "A first text.\n");
  EXPECT_EQ(BytesOf(program, L"second", L"text"), "The second text, somewhat longer.\n");
}

TEST(Modules, AreFoundByTheFileNamesOfLibraries) {
  const HMODULE library = Library();
  ASSERT_NE(library, nullptr);
  EXPECT_NE(library, GetModuleHandleW(nullptr));
  EXPECT_EQ(GetModuleHandleW(L"pixtola_resource_library.dll"), library);
  EXPECT_EQ(GetModuleHandleW(L"Pixtola_Resource_Library.DLL"), library);
  EXPECT_EQ(GetModuleHandleW(L"PIXTOLA_RESOURCE_LIBRARY"), library);
}

TEST(Modules, AreNullWhenNotLoaded) {
  EXPECT_EQ(GetModuleHandleW(L"pixtola_no_such_library"), nullptr);
  EXPECT_EQ(GetModuleHandleW(L"pixtola_resource_librar"), nullptr);
  EXPECT_EQ(GetModuleHandleW(L"pixtola_resource_library.dll.dll"), nullptr);
}

TEST(ResourcesOfLibraries, AreTheirOwn) {
  const HMODULE library = Library();
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(BytesOf(library, kOfTheLibrary, kRawData), "A text of the library.\n");
  EXPECT_EQ(FindResourceW(nullptr, kOfTheLibrary, kRawData), nullptr);
  EXPECT_EQ(FindResourceW(library, L"named", kRawData), nullptr);
  EXPECT_EQ(FindResourceW(library, L"second", L"text"), nullptr);
}

TEST(ResourcesOfLibraries, MayHaveTheNamesOfTheProgram) {
  const HMODULE library = Library();
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(BytesOf(library, kFirst, kRawData), "The second text, somewhat longer.\n");
  EXPECT_EQ(BytesOf(nullptr, kFirst, kRawData), "A first text.\n");
}

}  // namespace
}  // namespace pixtola::test
