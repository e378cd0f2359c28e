// How much the directories of a TIFF file make libtiff read: it keeps the values of every tag, also
// of unknown ones, and any number of tags can have their values at one place.

#include <tiffio.h>

#include <algorithm>
#include <array>
#include <span>

#include "tiff_data.h"
#include "tiff_files.h"

namespace pixtola::platform {

namespace {

/// The sizes of numbers in the two kinds of files.
struct Form {
  std::uint64_t first_offset_at;
  std::size_t entry_count_size;
  std::size_t value_size;  ///< of counts of values, and of offsets
  std::size_t entry_size() const { return 4 + 2 * value_size; }
};
constexpr Form kClassic = {4, 2, 4};
constexpr Form kBig = {8, 8, 8};

/// libtiff takes a directory of more for damaged.
constexpr std::uint64_t kMostEntries = 4096;

std::uint64_t SizeOfType(std::uint64_t type) {
  switch (type) {
    case TIFF_BYTE:
    case TIFF_ASCII:
    case TIFF_SBYTE:
    case TIFF_UNDEFINED:
      return 1;
    case TIFF_SHORT:
    case TIFF_SSHORT:
      return 2;
    case TIFF_LONG:
    case TIFF_SLONG:
    case TIFF_FLOAT:
    case TIFF_IFD:
      return 4;
    default:
      return 8;
  }
}

struct Directory {
  std::uint64_t size = 0;  ///< of itself and of the values of its tags
  std::uint64_t next_offset = 0;
};

/// False when it cannot be read, which libtiff will find out.
bool ReadDirectory(const TiffBytes& bytes, const Form& form, std::uint64_t offset,
                   Directory& directory) {
  std::array<std::uint8_t, 8 + kMostEntries * 20 + 8> buffer{};
  const std::span<std::uint8_t> all(buffer);
  const auto count = all.first(form.entry_count_size);
  if (bytes.Read(offset, count) < count.size()) return false;
  const std::uint64_t entries = bytes.Number(count);
  if (entries > kMostEntries) return false;
  const auto rest = all.first(entries * form.entry_size() + form.value_size);
  if (bytes.Read(offset + count.size(), rest) < rest.size()) return false;
  directory.size = count.size() + rest.size();
  for (std::uint64_t i = 0; i < entries; ++i) {
    const auto entry = rest.subspan(i * form.entry_size(), form.entry_size());
    const std::uint64_t values = bytes.Number(entry.subspan(4, form.value_size));
    const std::uint64_t value_size = SizeOfType(bytes.Number(entry.subspan(2, 2)));
    constexpr std::uint64_t kTooMany = std::uint64_t{1} << 48;
    directory.size += std::min(values, kTooMany) * value_size;
  }
  directory.next_offset = bytes.Number(rest.last(form.value_size));
  return true;
}

}  // namespace

bool AreTiffDirectoriesAllowed(TIFF* tiff, std::uint32_t last_page) {
  constexpr std::uint64_t kAlwaysQuick = std::uint64_t{1} << 24;
  constexpr std::uint64_t kLeastCost = 64;  // of a step, so that circles come to an end
  const TiffBytes bytes(tiff);
  const Form& form = TIFFIsBigTIFF(tiff) != 0 ? kBig : kClassic;
  std::array<std::uint8_t, 8> first{};
  const auto first_offset = std::span(first).first(form.value_size);
  if (bytes.Read(form.first_offset_at, first_offset) < first_offset.size()) return true;
  Directory directory{.next_offset = bytes.Number(first_offset)};
  std::uint64_t left = bytes.file_size() + kAlwaysQuick;
  for (std::uint64_t page = 0; page <= last_page && directory.next_offset != 0; ++page) {
    if (!ReadDirectory(bytes, form, directory.next_offset, directory)) return true;
    const std::uint64_t cost = std::max(directory.size, kLeastCost);
    if (cost > left) return false;
    left -= cost;
  }
  return true;
}

}  // namespace pixtola::platform
