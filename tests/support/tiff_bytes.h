// TIFF files in memory: written and read by libtiff itself, and taken apart or put together byte by
// byte for what libtiff would not write.
#ifndef PIXTOLA_TESTS_SUPPORT_TIFF_BYTES_H_
#define PIXTOLA_TESTS_SUPPORT_TIFF_BYTES_H_

#include <algorithm>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "support/test_bitmap.h"
#include "support/tiff_file.h"

namespace test_support {

/// Bytes that libtiff reads and writes as if they were a file.
class TiffMemory {
 public:
  explicit TiffMemory(Bytes content = {}) : bytes(std::move(content)) {}
  TiffMemory(const TiffMemory&) = delete;
  TiffMemory& operator=(const TiffMemory&) = delete;

  /// Null when it cannot be opened. This must outlive the result.
  TiffPointer Open(const char* mode) {
    return TiffPointer(
        TIFFClientOpen("memory", mode, this, Read, Write, Seek, Close, Size, nullptr, nullptr));
  }

  Bytes bytes;

 private:
  static TiffMemory& Of(thandle_t handle) { return *static_cast<TiffMemory*>(handle); }

  static tmsize_t Read(thandle_t handle, void* to, tmsize_t size) {
    TiffMemory& file = Of(handle);
    const std::size_t begin = std::min(file.position_, file.bytes.size());
    const std::size_t count = std::min(static_cast<std::size_t>(size), file.bytes.size() - begin);
    std::copy_n(file.bytes.data() + begin, count, static_cast<std::uint8_t*>(to));
    file.position_ += count;
    return static_cast<tmsize_t>(count);
  }
  static tmsize_t Write(thandle_t handle, void* from, tmsize_t size) {
    TiffMemory& file = Of(handle);
    const auto count = static_cast<std::size_t>(size);
    file.bytes.resize(std::max(file.bytes.size(), file.position_ + count));
    std::copy_n(static_cast<const std::uint8_t*>(from), count, file.bytes.data() + file.position_);
    file.position_ += count;
    return size;
  }
  static toff_t Seek(thandle_t handle, toff_t offset, int origin) {
    TiffMemory& file = Of(handle);
    const std::size_t from = origin == SEEK_SET   ? 0
                             : origin == SEEK_CUR ? file.position_
                                                  : file.bytes.size();
    file.position_ = from + static_cast<std::size_t>(offset);
    return file.position_;
  }
  static int Close(thandle_t) { return 0; }
  static toff_t Size(thandle_t handle) { return Of(handle).bytes.size(); }

  std::size_t position_ = 0;
};

/// A file of these pages, as WriteTiff writes it.
inline Bytes TiffBytes(const std::vector<TiffPage>& pages) {
  TiffMemory memory;
  {
    const TiffPointer tiff = memory.Open("w");
    WritePages(tiff.get(), pages);
  }
  return memory.bytes;
}

// Byte by byte.

enum TiffFieldType : std::uint16_t {
  kByteField = 1,
  kShortField = 3,
  kLongField = 4,
  kRationalField = 5
};

/// A field of a directory. Of rationals, numerators and denominators take turns.
struct TiffField {
  std::uint16_t type = kShortField;
  std::vector<std::uint32_t> values;

  friend bool operator==(const TiffField&, const TiffField&) = default;
};

using TiffFields = std::map<std::uint16_t, TiffField>;

inline TiffField Short(std::uint32_t value) { return {kShortField, {value}}; }
inline TiffField Shorts(std::vector<std::uint32_t> values) {
  return {kShortField, std::move(values)};
}
inline TiffField Long(std::uint32_t value) { return {kLongField, {value}}; }
inline TiffField Rational(std::uint32_t numerator, std::uint32_t denominator = 1) {
  return {kRationalField, {numerator, denominator}};
}

inline std::size_t SizeOfField(const TiffField& field) {
  return field.values.size() * (field.type == kByteField    ? 1U
                                : field.type == kShortField ? 2U
                                                            : 4U);
}

enum class ByteOrder { kLittleEndian, kBigEndian };

/// Puts a file together.
class PlainTiff {
 public:
  explicit PlainTiff(ByteOrder order = ByteOrder::kLittleEndian) : order_(order) {
    bytes_ = order == ByteOrder::kLittleEndian ? Bytes{'I', 'I'} : Bytes{'M', 'M'};
    Add(42, 2);
    Add(0, 4);
  }

  /// A page whose one strip is `strip`, unless the fields tell of strips themselves.
  PlainTiff& AddPage(TiffFields fields, const Bytes& strip) {
    fields.try_emplace(TIFFTAG_STRIPOFFSETS, Long(static_cast<std::uint32_t>(bytes_.size())));
    fields.try_emplace(TIFFTAG_STRIPBYTECOUNTS, Long(static_cast<std::uint32_t>(strip.size())));
    bytes_.insert(bytes_.end(), strip.begin(), strip.end());
    if (bytes_.size() % 2 != 0) bytes_.push_back(0);
    std::map<std::uint16_t, std::uint32_t> places;
    for (const auto& [tag, field] : fields) {
      if (SizeOfField(field) <= 4) continue;
      places[tag] = static_cast<std::uint32_t>(bytes_.size());
      AddValues(field);
      if (bytes_.size() % 2 != 0) bytes_.push_back(0);
    }
    Put(link_, static_cast<std::uint32_t>(bytes_.size()), 4);
    Add(static_cast<std::uint32_t>(fields.size()), 2);
    for (const auto& [tag, field] : fields) {
      Add(tag, 2);
      Add(field.type, 2);
      Add(static_cast<std::uint32_t>(field.values.size() / (field.type == kRationalField ? 2 : 1)),
          4);
      const std::size_t end = bytes_.size() + 4;
      if (SizeOfField(field) > 4) {
        Add(places[tag], 4);
      } else {
        AddValues(field);
      }
      bytes_.resize(end);
    }
    link_ = bytes_.size();
    Add(0, 4);
    return *this;
  }

  /// Lets the last page be followed by the one that `bytes()` has at this place.
  PlainTiff& LinkLastPageTo(std::uint32_t place) {
    Put(link_, place, 4);
    return *this;
  }

  const Bytes& bytes() const { return bytes_; }

 private:
  void Add(std::uint32_t value, std::size_t size) {
    bytes_.resize(bytes_.size() + size);
    Put(bytes_.size() - size, value, size);
  }
  void Put(std::size_t at, std::uint32_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
      const std::size_t shift = order_ == ByteOrder::kLittleEndian ? i : size - 1 - i;
      bytes_[at + i] = static_cast<std::uint8_t>(value >> (8 * shift));
    }
  }
  void AddValues(const TiffField& field) {
    for (const std::uint32_t value : field.values) {
      Add(value, field.type == kByteField ? 1 : field.type == kShortField ? 2 : 4);
    }
  }

  ByteOrder order_;
  Bytes bytes_;
  std::size_t link_ = 4;  ///< where the place of the next page belongs
};

/// A number of a little-endian file.
inline std::uint32_t NumberAt(const Bytes& file, std::size_t at, std::size_t size) {
  std::uint32_t number = 0;
  for (std::size_t i = size; i-- > 0;) number = number << 8 | file.at(at + i);
  return number;
}

/// The fields of the first page of a little-endian file; throws std::out_of_range for what lies
/// outside of it.
inline TiffFields FieldsOf(const Bytes& file) {
  TiffFields fields;
  const std::size_t directory = NumberAt(file, 4, 4);
  for (std::size_t i = 0; i < NumberAt(file, directory, 2); ++i) {
    const std::size_t entry = directory + 2 + 12 * i;
    TiffField field{static_cast<std::uint16_t>(NumberAt(file, entry + 2, 2)), {}};
    const bool is_rational = field.type == kRationalField;
    field.values.resize(NumberAt(file, entry + 4, 4) * (is_rational ? 2U : 1U));
    const std::size_t at = SizeOfField(field) <= 4 ? entry + 8 : NumberAt(file, entry + 8, 4);
    const std::size_t size = SizeOfField(field) / field.values.size();
    for (std::size_t j = 0; j < field.values.size(); ++j) {
      field.values[j] = NumberAt(file, at + j * size, size);
    }
    fields[static_cast<std::uint16_t>(NumberAt(file, entry, 2))] = std::move(field);
  }
  return fields;
}

/// Where the value of a field, of at most four bytes, stands in a little-endian file.
inline std::size_t PlaceOfField(const Bytes& file, std::uint32_t tag) {
  const std::size_t directory = NumberAt(file, 4, 4);
  for (std::size_t i = 0; i < NumberAt(file, directory, 2); ++i) {
    const std::size_t entry = directory + 2 + 12 * i;
    if (NumberAt(file, entry, 2) == tag) return entry + 8;
  }
  return file.size();
}

}  // namespace test_support

#endif  // PIXTOLA_TESTS_SUPPORT_TIFF_BYTES_H_
