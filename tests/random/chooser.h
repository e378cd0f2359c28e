// Random choices that are the same on every platform.
#ifndef PIXTOLA_TESTS_RANDOM_CHOOSER_H_
#define PIXTOLA_TESTS_RANDOM_CHOOSER_H_

#include <cstdint>
#include <initializer_list>
#include <random>

namespace pixtola::test {

// Uniform choices that are the same on every platform, unlike those of <random>.
class Chooser {
 public:
  Chooser(std::uint64_t seed, std::uint64_t number)
      : generator_(seed * 0x9E3779B97F4A7C15u + number * 0xD1B54A32D192ED03u) {}

  std::uint32_t Below(std::uint32_t count) {
    return static_cast<std::uint32_t>((generator_() >> 32) * count >> 32);
  }
  std::uint32_t Between(std::uint32_t first, std::uint32_t last) {
    return first + Below(last - first + 1);
  }
  std::int32_t SignedBetween(std::int32_t first, std::int32_t last) {
    return first + static_cast<std::int32_t>(Below(static_cast<std::uint32_t>(last - first + 1)));
  }
  bool OneIn(std::uint32_t count) { return Below(count) == 0; }
  std::uint8_t Byte() { return static_cast<std::uint8_t>(Below(256)); }
  std::uint32_t Word() { return static_cast<std::uint32_t>(generator_()); }
  template <typename T>
  T OneOf(std::initializer_list<T> values) {
    return values.begin()[Below(static_cast<std::uint32_t>(values.size()))];
  }

 private:
  std::mt19937_64 generator_;
};

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_RANDOM_CHOOSER_H_
