#include "format/file_types.h"

#include <gtest/gtest.h>
#include <tiffio.h>

namespace pixtola::test {
namespace {

constexpr int kCodes = PxtFileTypeJpegHigh + 1;

TEST(FileTypes, HaveOneEntryForEachCode) {
  const auto types = AllFileTypes();
  ASSERT_EQ(types.size(), std::size_t{kCodes});
  for (int code = 0; code < kCodes; ++code) {
    EXPECT_EQ(types[static_cast<std::size_t>(code)].code, code);
    EXPECT_EQ(FindFileType(static_cast<PxtFileType>(code)), &types[static_cast<std::size_t>(code)]);
  }
}

TEST(FileTypes, AreNotFoundForOtherNumbers) {
  for (const int code : {-1, kCodes, 1000}) {
    EXPECT_EQ(FindFileType(static_cast<PxtFileType>(code)), nullptr) << code;
  }
}

TEST(FileTypes, HaveAnEncoderExceptPcx) {
  for (const FileType& type : AllFileTypes()) {
    EXPECT_EQ(type.container == nullptr, type.code == PxtFileTypePcx) << type.code;
  }
}

TEST(FileTypes, HaveLibtiffsCompressionWhereTheyAreTiff) {
  for (const FileType& type : AllFileTypes()) {
    const bool is_tiff = type.container != nullptr && *type.container == Gdiplus::ImageFormatTIFF;
    EXPECT_EQ(type.tiff_compression != 0, is_tiff) << type.code;
  }
  EXPECT_EQ(FindFileType(PxtFileTypeTiffGroup3)->tiff_compression, COMPRESSION_CCITTFAX3);
  EXPECT_EQ(FindFileType(PxtFileTypeTiffGroup4)->tiff_compression, COMPRESSION_CCITTFAX4);
  EXPECT_EQ(FindFileType(PxtFileTypeTiffLzw)->tiff_compression, COMPRESSION_LZW);
  EXPECT_EQ(FindFileType(PxtFileTypeTiffRunLength)->tiff_compression, COMPRESSION_PACKBITS);
  EXPECT_EQ(FindFileType(PxtFileTypeTiffNone)->tiff_compression, COMPRESSION_NONE);
}

TEST(FileTypes, AskForBilevelImagesWhereTheCompressionTakesNoOther) {
  for (const FileType& type : AllFileTypes()) {
    const bool is_fax = type.code == PxtFileTypeTiffGroup3 || type.code == PxtFileTypeTiffGroup4;
    const bool is_run_length = type.code == PxtFileTypeTiffRunLength;
    EXPECT_EQ(type.to_bilevel.has_value(), is_fax || is_run_length) << type.code;
    if (is_fax) {
      EXPECT_EQ(*type.to_bilevel, MethodBilevelDiffusion);
    } else if (is_run_length) {
      EXPECT_EQ(*type.to_bilevel, MethodBilevelOtsu);
    }
  }
}

}  // namespace
}  // namespace pixtola::test
