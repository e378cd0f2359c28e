#include "file_type_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "format/file_types.h"

namespace pixtola::tool {
namespace {

TEST(FileTypeNames, HaveOneEntryForEachOfTheLibrarysTypes) {
  std::multiset<PxtFileType> named;
  std::multiset<PxtFileType> known;
  for (const FileTypeName& type : FileTypeNames()) named.insert(type.code);
  for (const FileType& type : AllFileTypes()) known.insert(type.code);
  EXPECT_EQ(named, known);
}

TEST(FileTypeNames, AreDifferent) {
  std::set<std::string> names;
  for (const FileTypeName& type : FileTypeNames()) {
    if (type.name != nullptr) {
      EXPECT_TRUE(names.insert(type.name).second) << type.name;
    } else {
      EXPECT_EQ(std::string(type.extensions), "") << type.code;
    }
  }
}

TEST(TypeOfName, GoesByTheExtensionInAnyCase) {
  for (const bool is_bilevel : {false, true}) {
    const PxtFileType tiff = is_bilevel ? PxtFileTypeTiffGroup4 : PxtFileTypeTiffLzw;
    EXPECT_EQ(TypeOfName("page.tif", is_bilevel), tiff);
    EXPECT_EQ(TypeOfName("folder.png/page.TIFF", is_bilevel), tiff);
    EXPECT_EQ(TypeOfName("page.tif.png", is_bilevel), PxtFileTypePng);
    EXPECT_EQ(TypeOfName("page.Bmp", is_bilevel), PxtFileTypeBmp);
    for (const char* name :
         {"page", "page.", ".tif", "page.ti", "page.tif ", "page.jpg", ""}) {
      EXPECT_EQ(TypeOfName(name, is_bilevel), std::nullopt) << name;
    }
  }
}

}  // namespace
}  // namespace pixtola::tool
