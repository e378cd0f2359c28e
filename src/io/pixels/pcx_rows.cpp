#include "io/pixels/pcx_rows.h"

#include <algorithm>
#include <array>

namespace pixtola {

namespace {

/// The bytes that one byte of each plane becomes. Sums are truncated to eight bits, too.
template <typename... Values>
constexpr auto Group(Values... values) {
  return std::array<std::uint8_t, sizeof...(Values)>{static_cast<std::uint8_t>(values)...};
}

/// Fills the row with what `make_group` makes of the bytes at positions 0, 1, 2 ...
template <typename MakeGroup>
void FillWithGroups(std::span<std::uint8_t> row, const MakeGroup& make_group) {
  for (std::size_t position = 0; !row.empty(); ++position) {
    const auto group = make_group(position);
    const std::size_t count = std::min(group.size(), row.size());
    std::copy_n(group.begin(), count, row.begin());
    row = row.subspan(count);
  }
}

/// A bit of each plane's byte as an index, plane 0's bit first.
template <typename... Bytes>
constexpr unsigned IndexOfBits(unsigned bit, Bytes... bytes) {
  unsigned index = 0;
  ((index = index << 1 | (unsigned{bytes} >> bit & 1)), ...);
  return index;
}

/// Eight pixels of one bit per plane, as four bytes of two pixels each.
template <typename... Bytes>
constexpr std::array<std::uint8_t, 4> GroupOfBits(Bytes... bytes) {
  const auto pair = [&](unsigned bit) {
    return IndexOfBits(bit, bytes...) << 4 | IndexOfBits(bit - 1, bytes...);
  };
  return Group(pair(7), pair(5), pair(3), pair(1));
}

}  // namespace

void CopyPcxRow(const PcxPlaneKernels& /*kernels*/, const PcxLine& line,
                std::span<std::uint8_t> row) {
  std::copy_n(line.bytes, row.size(), row.begin());
}

void InterleavePcxRgb(const PcxPlaneKernels& kernels, const PcxLine& line,
                      std::span<std::uint8_t> row) {
  const std::size_t whole = row.size() / 3;
  kernels.interleave_rgb(line.plane(0), line.plane(1), line.plane(2), whole, row.data());
}

void InterleavePcxRgba(const PcxPlaneKernels& kernels, const PcxLine& line,
                       std::span<std::uint8_t> row) {
  const std::size_t whole = row.size() / 4;
  kernels.interleave_rgba(line.plane(0), line.plane(1), line.plane(2), line.plane(3), whole,
                          row.data());
}

void WidenPcx2To4(const PcxPlaneKernels& /*kernels*/, const PcxLine& line,
                  std::span<std::uint8_t> row) {
  FillWithGroups(row, [&](std::size_t position) {
    const unsigned byte = line.plane(0)[position];
    return Group((byte >> 2 & 0x30) + (byte >> 4 & 0x03), ((byte & 0x0C) << 2) + (byte & 0x03));
  });
}

void MergePcx1x2(const PcxPlaneKernels& /*kernels*/, const PcxLine& line,
                 std::span<std::uint8_t> row) {
  FillWithGroups(row, [&](std::size_t position) {
    return GroupOfBits(line.plane(0)[position], line.plane(1)[position]);
  });
}

void MergePcx1x3(const PcxPlaneKernels& /*kernels*/, const PcxLine& line,
                 std::span<std::uint8_t> row) {
  // Kept on purpose: every group is made of the planes' first bytes.
  const auto group = GroupOfBits(*line.plane(0), *line.plane(1), *line.plane(2));
  FillWithGroups(row, [&](std::size_t /*position*/) { return group; });
}

void MergePcx1x4(const PcxPlaneKernels& /*kernels*/, const PcxLine& line,
                 std::span<std::uint8_t> row) {
  const unsigned p0 = *line.plane(0);
  const unsigned p1 = *line.plane(1);
  const unsigned p2 = *line.plane(2);
  const unsigned p3 = *line.plane(3);
  // Kept on purpose, as in MergePcx1x3; and the first two pixels' bits go to places of their own,
  // where two of them meet and carry.
  auto group = GroupOfBits(*line.plane(0), *line.plane(1), *line.plane(2), *line.plane(3));
  group[0] = static_cast<std::uint8_t>((p0 & 0x80) + (p0 >> 2 & 0x10) + (p1 >> 1 & 0x40) +
                                       (p1 >> 4 & 0x04) + (p2 >> 2 & 0x20) + (p2 >> 5 & 0x02) +
                                       (p3 >> 3 & 0x10) + (p3 >> 6 & 0x01));
  FillWithGroups(row, [&](std::size_t /*position*/) { return group; });
}

void MergePcx2x2(const PcxPlaneKernels& /*kernels*/, const PcxLine& line,
                 std::span<std::uint8_t> row) {
  FillWithGroups(row, [&](std::size_t position) {
    const unsigned p0 = line.plane(0)[position];
    const unsigned p1 = line.plane(1)[position];
    return Group((p0 & 0xC0) + (p1 >> 2 & 0x30) + (p0 >> 2 & 0x0C) + (p1 >> 4 & 0x03),
                 ((p0 & 0x0C) << 4) + ((p1 & 0x0C) << 2) + ((p0 & 0x03) << 2) + (p1 & 0x03));
  });
}

void MergePcx2x3(const PcxPlaneKernels& /*kernels*/, const PcxLine& line,
                 std::span<std::uint8_t> row) {
  FillWithGroups(row, [&](std::size_t position) {
    const unsigned p0 = line.plane(0)[position];
    const unsigned p1 = line.plane(1)[position];
    const unsigned p2 = line.plane(2)[position];
    // Kept on purpose: only the first of the four pixels is whole.
    return Group((p0 >> 2 & 0x30) + (p1 >> 4 & 0x0C) + (p2 >> 6),
                 (p0 >> 2 & 0x0C) + (p1 >> 4 & 0x03), p0 >> 2 & 0x03, 0U);
  });
}

void MergePcx2x4(const PcxPlaneKernels& /*kernels*/, const PcxLine& line,
                 std::span<std::uint8_t> row) {
  FillWithGroups(row, [&](std::size_t position) {
    const unsigned p0 = line.plane(0)[position];
    const unsigned p1 = line.plane(1)[position];
    const unsigned p2 = line.plane(2)[position];
    const unsigned p3 = line.plane(3)[position];
    // Kept on purpose, as in MergePcx2x3.
    return Group((p0 & 0xC0) + (p1 >> 2 & 0x30) + (p2 >> 4 & 0x0C) + (p3 >> 6),
                 (p0 & 0x30) + (p1 >> 2 & 0x0C) + (p2 >> 4 & 0x03), (p0 & 0x0C) + (p1 >> 2 & 0x03),
                 p0 & 0x03);
  });
}

void MergePcx4x2(const PcxPlaneKernels& /*kernels*/, const PcxLine& line,
                 std::span<std::uint8_t> row) {
  FillWithGroups(row, [&](std::size_t position) {
    const unsigned p0 = line.plane(0)[position];
    const unsigned p1 = line.plane(1)[position];
    return Group((p0 & 0xF0) + (p1 >> 4), (p0 << 4 & 0xFF) + (p1 & 0x0F));
  });
}

}  // namespace pixtola
