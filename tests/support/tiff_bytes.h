// TIFF files in memory: written and read by libtiff itself, and taken apart or assembled byte by
// byte for what libtiff would not write.
#ifndef PIXTOLA_TESTS_SUPPORT_TIFF_BYTES_H_
#define PIXTOLA_TESTS_SUPPORT_TIFF_BYTES_H_

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "support/test_bitmap.h"
#include "support/tiff_file.h"

namespace pixtola::test {

/// Bytes that libtiff reads and writes as if they were a file.
class TiffMemory {
 public:
  explicit TiffMemory(Bytes content = {}) : bytes(std::move(content)) {}
  TiffMemory(const TiffMemory&) = delete;
  TiffMemory& operator=(const TiffMemory&) = delete;

  /// Null when it cannot be opened. This must outlive the result.
  TiffPointer Open(const char* mode);

  Bytes bytes;

 private:
  static TiffMemory& Of(thandle_t handle) { return *static_cast<TiffMemory*>(handle); }

  static tmsize_t Read(thandle_t handle, void* to, tmsize_t size);
  static tmsize_t Write(thandle_t handle, void* from, tmsize_t size);
  static toff_t Seek(thandle_t handle, toff_t offset, int origin);
  static int Close(thandle_t) { return 0; }
  static toff_t Size(thandle_t handle) { return Of(handle).bytes.size(); }

  std::size_t position_ = 0;
};

/// A file of these pages, as WriteTiff writes it.
Bytes TiffBytes(const std::vector<TiffPage>& pages);

// Byte by byte.

enum TiffFieldType : std::uint16_t {
  kByteField = 1,
  kShortField = 3,
  kLongField = 4,
  kRationalField = 5
};

/// A field of a directory. For rationals, numerators and denominators alternate.
struct TiffField {
  std::uint16_t type = kShortField;
  std::vector<std::uint32_t> values;

  friend bool operator==(const TiffField&, const TiffField&) = default;
};

using TiffFields = std::map<std::uint16_t, TiffField>;

TiffField Short(std::uint32_t value);
TiffField Shorts(std::vector<std::uint32_t> values);
TiffField Long(std::uint32_t value);
TiffField Rational(std::uint32_t numerator, std::uint32_t denominator = 1);

std::size_t SizeOfField(const TiffField& field);

enum class ByteOrder { kLittleEndian, kBigEndian };

/// Assembles a file.
class PlainTiff {
 public:
  explicit PlainTiff(ByteOrder order = ByteOrder::kLittleEndian) : order_(order) {
    bytes_ = order == ByteOrder::kLittleEndian ? Bytes{'I', 'I'} : Bytes{'M', 'M'};
    Add(42, 2);
    Add(0, 4);
  }

  /// A page whose only strip is `strip`, unless the fields describe strips themselves.
  PlainTiff& AddPage(TiffFields fields, const Bytes& strip);

  /// Makes the page at this offset of `bytes()` the one after the last page.
  PlainTiff& LinkLastPageTo(std::uint32_t place);

  const Bytes& bytes() const { return bytes_; }

 private:
  void Add(std::uint32_t value, std::size_t size);
  void Put(std::size_t at, std::uint32_t value, std::size_t size);
  void AddValues(const TiffField& field);

  ByteOrder order_;
  Bytes bytes_;
  std::size_t link_ = 4;  ///< where the offset of the next page goes
};

/// A number in a little-endian file.
std::uint32_t NumberAt(const Bytes& file, std::size_t at, std::size_t size);

/// The fields of the first page of a little-endian file; throws std::out_of_range for what lies
/// outside it.
TiffFields FieldsOf(const Bytes& file);

/// Where the value of a field, of at most four bytes, is in a little-endian file.
std::size_t PlaceOfField(const Bytes& file, std::uint32_t tag);

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_TIFF_BYTES_H_
