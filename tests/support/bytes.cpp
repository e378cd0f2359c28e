#include "support/bytes.h"

namespace pixtola::test {

void Append(Bytes& bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

Bytes RandomBytes(std::size_t size, std::mt19937& random) {
  Bytes bytes(size);
  for (std::uint8_t& byte : bytes) byte = Byte(random());
  return bytes;
}

Bytes RandomBytes(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  return RandomBytes(size, random);
}

Bytes RandomBytes(std::size_t size) { return RandomBytes(size, static_cast<unsigned>(size)); }

}  // namespace pixtola::test
