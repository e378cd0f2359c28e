// Bytes for tests, in order and at random.
#ifndef PIXTOLA_TESTS_SUPPORT_BYTES_H_
#define PIXTOLA_TESTS_SUPPORT_BYTES_H_

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace pixtola::test {

using Bytes = std::vector<std::uint8_t>;

/// The lowest eight bits.
inline std::uint8_t Byte(std::uint64_t value) { return static_cast<std::uint8_t>(value & 0xFF); }

void Append(Bytes& bytes, const Bytes& more);

Bytes RandomBytes(std::size_t size, std::mt19937& random);
Bytes RandomBytes(std::size_t size, unsigned seed);
/// The same bytes for the same size.
Bytes RandomBytes(std::size_t size);

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_BYTES_H_
