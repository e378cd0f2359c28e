#include "support/tiff_bytes.h"

#include <algorithm>
#include <cstdio>

namespace pixtola::test {

Bytes TiffBytes(const std::vector<TiffPage>& pages) {
  TiffMemory memory;
  {
    const TiffPointer tiff = memory.Open("w");
    WritePages(tiff.get(), pages);
  }
  return memory.bytes;
}

TiffField Short(std::uint32_t value) { return {kShortField, {value}}; }

TiffField Shorts(std::vector<std::uint32_t> values) { return {kShortField, std::move(values)}; }

TiffField Long(std::uint32_t value) { return {kLongField, {value}}; }

TiffField Rational(std::uint32_t numerator, std::uint32_t denominator) {
  return {kRationalField, {numerator, denominator}};
}

std::size_t SizeOfField(const TiffField& field) {
  return field.values.size() * (field.type == kByteField    ? 1U
                                : field.type == kShortField ? 2U
                                                            : 4U);
}

std::uint32_t NumberAt(const Bytes& file, std::size_t at, std::size_t size) {
  std::uint32_t number = 0;
  for (std::size_t i = size; i-- > 0;) number = number << 8 | file.at(at + i);
  return number;
}

TiffFields FieldsOf(const Bytes& file) {
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

std::size_t PlaceOfField(const Bytes& file, std::uint32_t tag) {
  const std::size_t directory = NumberAt(file, 4, 4);
  for (std::size_t i = 0; i < NumberAt(file, directory, 2); ++i) {
    const std::size_t entry = directory + 2 + 12 * i;
    if (NumberAt(file, entry, 2) == tag) return entry + 8;
  }
  return file.size();
}

TiffPointer TiffMemory::Open(const char* mode) {
  return TiffPointer(
      TIFFClientOpen("memory", mode, this, Read, Write, Seek, Close, Size, nullptr, nullptr));
}

tmsize_t TiffMemory::Read(thandle_t handle, void* to, tmsize_t size) {
  TiffMemory& file = Of(handle);
  const std::size_t begin = std::min(file.position_, file.bytes.size());
  const std::size_t count = std::min(static_cast<std::size_t>(size), file.bytes.size() - begin);
  std::copy_n(file.bytes.data() + begin, count, static_cast<std::uint8_t*>(to));
  file.position_ += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t TiffMemory::Write(thandle_t handle, void* from, tmsize_t size) {
  TiffMemory& file = Of(handle);
  const auto count = static_cast<std::size_t>(size);
  file.bytes.resize(std::max(file.bytes.size(), file.position_ + count));
  std::copy_n(static_cast<const std::uint8_t*>(from), count, file.bytes.data() + file.position_);
  file.position_ += count;
  return size;
}

toff_t TiffMemory::Seek(thandle_t handle, toff_t offset, int origin) {
  TiffMemory& file = Of(handle);
  const std::size_t from = origin == SEEK_SET   ? 0
                           : origin == SEEK_CUR ? file.position_
                                                : file.bytes.size();
  file.position_ = from + static_cast<std::size_t>(offset);
  return file.position_;
}

PlainTiff& PlainTiff::AddPage(TiffFields fields, const Bytes& strip) {
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

PlainTiff& PlainTiff::LinkLastPageTo(std::uint32_t place) {
  Put(link_, place, 4);
  return *this;
}

void PlainTiff::Add(std::uint32_t value, std::size_t size) {
  bytes_.resize(bytes_.size() + size);
  Put(bytes_.size() - size, value, size);
}

void PlainTiff::Put(std::size_t at, std::uint32_t value, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    const std::size_t shift = order_ == ByteOrder::kLittleEndian ? i : size - 1 - i;
    bytes_[at + i] = static_cast<std::uint8_t>(value >> (8 * shift));
  }
}

void PlainTiff::AddValues(const TiffField& field) {
  for (const std::uint32_t value : field.values) {
    Add(value, field.type == kByteField ? 1 : field.type == kShortField ? 2 : 4);
  }
}

}  // namespace pixtola::test
