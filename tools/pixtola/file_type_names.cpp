#include "file_type_names.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <sstream>

namespace pixtola::tool {

namespace {

/// By extension where it is not TIFF; TIFF as group 4 for 1-bit pages and as LZW for others.
constexpr FileTypeName kNames[] = {
    {PxtFileTypeBmp, "bmp", ".bmp"},
    {PxtFileTypeGif, nullptr, ""},
    {PxtFileTypeJpeg, nullptr, ""},
    {PxtFileTypePcx, nullptr, ""},
    {PxtFileTypePng, "png", ".png"},
    {PxtFileTypeTiffGroup3, "tiff-g3", ""},
    {PxtFileTypeTiffGroup4, "tiff-g4", ".tif .tiff"},
    {PxtFileTypeTiffLzw, "tiff-lzw", ".tif .tiff"},
    {PxtFileTypeTiffRunLength, "tiff-packbits", ""},
    {PxtFileTypeTiffNone, "tiff-none", ""},
    {PxtFileTypeJpegLow, nullptr, ""},
    {PxtFileTypeJpegHigh, nullptr, ""},
};

std::string LowerCaseExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char character) { return std::tolower(character); });
  return extension;
}

bool HasExtension(const FileTypeName& type, const std::string& extension) {
  std::istringstream extensions(type.extensions);
  return std::find(std::istream_iterator<std::string>(extensions), {}, extension) !=
         std::istream_iterator<std::string>();
}

}  // namespace

std::span<const FileTypeName> FileTypeNames() { return kNames; }

std::optional<PxtFileType> TypeOfName(const std::string& path, bool is_bilevel) {
  const std::string extension = LowerCaseExtension(path);
  const PxtFileType other_tiff = is_bilevel ? PxtFileTypeTiffLzw : PxtFileTypeTiffGroup4;
  for (const FileTypeName& type : kNames) {
    if (type.code != other_tiff && HasExtension(type, extension)) return type.code;
  }
  return std::nullopt;
}

}  // namespace pixtola::tool
