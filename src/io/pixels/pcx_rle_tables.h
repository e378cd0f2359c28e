// Orders in which bytes of a vector are gathered, for sets of eight bytes that are given as bits,
// the least significant one for the first byte. Rows are as long as vectors.
#ifndef PIXTOLA_IO_PIXELS_PCX_RLE_TABLES_H_
#define PIXTOLA_IO_PIXELS_PCX_RLE_TABLES_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace pixtola {

using PcxByteOrders = std::array<std::array<std::uint8_t, 16>, 256>;

/// Brings the bytes of the set to the front.
constexpr PcxByteOrders MakePcxKeepingOrders() {
  PcxByteOrders orders{};
  for (std::size_t set = 0; set < orders.size(); ++set) {
    std::size_t end = 0;
    for (std::uint8_t i = 0; i < 8; ++i) {
      if ((set >> i & 1) != 0) orders[set][end++] = i;
    }
  }
  return orders;
}
inline constexpr PcxByteOrders kPcxKeepingOrders = MakePcxKeepingOrders();

/// The entry of an order for a new byte, a count of 1. The lookup gives 0 for entries above 127;
/// subtracting 7, without going below 0, gives the new byte for this entry and 0 for all others.
inline constexpr std::uint8_t kPcxNewByte = 7 + 0xC1;

/// Puts a new byte before each of the set, and more of them past the end.
constexpr PcxByteOrders MakePcxInsertingOrders() {
  PcxByteOrders orders{};
  for (std::size_t set = 0; set < orders.size(); ++set) {
    std::size_t end = 0;
    for (std::uint8_t i = 0; i < 8; ++i) {
      if ((set >> i & 1) != 0) orders[set][end++] = kPcxNewByte;
      orders[set][end++] = i;
    }
    while (end < orders[set].size()) orders[set][end++] = kPcxNewByte;
  }
  return orders;
}
inline constexpr PcxByteOrders kPcxInsertingOrders = MakePcxInsertingOrders();

}  // namespace pixtola

#endif  // PIXTOLA_IO_PIXELS_PCX_RLE_TABLES_H_
