// How much the directories of a TIFF file make libtiff read: it keeps the values of every tag, even
// of unknown ones, and any number of tags can have their values in the same place.

#include <tiffio.h>

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "shared/tiff_data.h"
#include "shared/tiff_files.h"

namespace pixtola::platform {

namespace {

/// The sizes of numbers in the two kinds of files.
struct Form {
  std::uint64_t first_offset_at;
  std::size_t entry_count_size;
  std::size_t value_size;  ///< of counts of values, and of offsets
  constexpr std::size_t entry_size() const { return 4 + 2 * value_size; }
};
constexpr Form kClassic = {4, 2, 4};
constexpr Form kBig = {8, 8, 8};

/// libtiff takes a directory with more for damaged.
constexpr std::uint64_t kMostEntries = 4096;

/// 0 for types that libtiff does not know: it reads no values of them.
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
    case TIFF_RATIONAL:
    case TIFF_SRATIONAL:
    case TIFF_DOUBLE:
    case TIFF_LONG8:
    case TIFF_SLONG8:
    case TIFF_IFD8:
      return 8;
    default:
      return 0;
  }
}

class Walker {
 public:
  explicit Walker(TIFF* tiff)
      : bytes_(tiff),
        form_(TIFFIsBigTIFF(tiff) != 0 ? kBig : kClassic),
        file_size_(bytes_.file_size()),
        next_offset_(NumberAt(form_.first_offset_at, form_.value_size).value_or(0)) {}

  std::uint64_t file_size() const { return file_size_; }

  /// Goes to the next directory and adds up its own bytes and those of its tags' values, as far as
  /// the file has them. Nothing after the last one, or where libtiff can read none.
  std::optional<std::uint64_t> Next() {
    if (next_offset_ == 0) return std::nullopt;
    const auto entries = NumberAt(next_offset_, form_.entry_count_size);
    if (!entries.has_value() || *entries > kMostEntries) return std::nullopt;
    const auto all = std::span(buffer_).first(*entries * form_.entry_size());
    const std::uint64_t entries_at = next_offset_ + form_.entry_count_size;
    if (bytes_.Read(entries_at, all) < all.size()) return std::nullopt;
    std::uint64_t size = form_.entry_count_size + all.size();
    for (std::size_t at = 0; at < all.size(); at += form_.entry_size()) {
      size += SizeOfValues(all.subspan(at, form_.entry_size()));
    }
    // libtiff takes the end of the file for the end of the directories.
    next_offset_ = NumberAt(entries_at + all.size(), form_.value_size).value_or(0);
    return size;
  }

 private:
  std::optional<std::uint64_t> NumberAt(std::uint64_t offset, std::size_t size) const {
    std::array<std::uint8_t, 8> bytes{};
    const auto number = std::span(bytes).first(size);
    if (bytes_.Read(offset, number) < size) return std::nullopt;
    return bytes_.Number(number);
  }

  std::uint64_t SizeOfValues(std::span<const std::uint8_t> entry) const {
    constexpr std::uint64_t kTooMany = std::uint64_t{1} << 48;
    const std::uint64_t count = bytes_.Number(entry.subspan(4, form_.value_size));
    const std::uint64_t size =
        std::min(count, kTooMany) * SizeOfType(bytes_.Number(entry.subspan(2, 2)));
    if (size <= form_.value_size) return 0;  // in the entry itself
    const std::uint64_t offset = bytes_.Number(entry.last(form_.value_size));
    return std::min(size, file_size_ - std::min(offset, file_size_));
  }

  TiffBytes bytes_;
  const Form& form_;
  std::uint64_t file_size_;
  std::uint64_t next_offset_;
  std::array<std::uint8_t, kMostEntries * kBig.entry_size()> buffer_;
};

}  // namespace

bool AreTiffDirectoriesAllowed(TIFF* tiff, std::uint32_t last_page) {
  constexpr std::uint64_t kQuick = std::uint64_t{1} << 24;
  constexpr std::uint64_t kQuickTogether = std::uint64_t{1} << 30;
  constexpr std::uint64_t kLeastCost = 4096;  // of a step, so that cycles come to an end
  Walker walker(tiff);
  const std::uint64_t most = walker.file_size() + kQuick;
  std::uint64_t left = walker.file_size() + kQuickTogether;
  for (std::uint64_t page = 0; page <= last_page; ++page) {
    const std::optional<std::uint64_t> size = walker.Next();
    if (!size.has_value()) return true;  // libtiff will find out
    const std::uint64_t cost = std::max(*size, kLeastCost);
    if (*size > most || cost > left) return false;
    left -= cost;
  }
  return true;
}

}  // namespace pixtola::platform
