#include "text.h"

#include <cstdint>

namespace pixtola::tool {

namespace {

/// How many bytes follow a first byte, and the smallest code that needs that many.
struct Sequence {
  unsigned tail_bytes;
  std::uint32_t first_bits;
  std::uint32_t smallest_code;
};

std::optional<Sequence> SequenceOf(unsigned char first) {
  if (first < 0x80) return Sequence{0, first, 0};
  if (first >= 0xC0 && first < 0xE0) return Sequence{1, first & 0x1FU, 0x80};
  if (first >= 0xE0 && first < 0xF0) return Sequence{2, first & 0x0FU, 0x800};
  if (first >= 0xF0 && first < 0xF8) return Sequence{3, first & 0x07U, 0x10000};
  return std::nullopt;
}

}  // namespace

std::optional<std::wstring> WideFromUtf8(std::string_view utf8) {
  std::wstring wide;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto sequence = SequenceOf(static_cast<unsigned char>(utf8[i++]));
    if (!sequence.has_value() || utf8.size() - i < sequence->tail_bytes) return std::nullopt;
    std::uint32_t code = sequence->first_bits;
    for (unsigned tail = 0; tail < sequence->tail_bytes; ++tail) {
      const auto byte = static_cast<unsigned char>(utf8[i++]);
      if ((byte & 0xC0) != 0x80) return std::nullopt;
      code = code << 6 | (byte & 0x3FU);
    }
    const bool is_surrogate = code >= 0xD800 && code < 0xE000;
    if (code < sequence->smallest_code || code > 0x10FFFF || is_surrogate) return std::nullopt;
    wide.push_back(static_cast<wchar_t>(code));
  }
  return wide;
}

std::string Quoted(std::string_view name) {
  std::string quoted = "'";
  for (const char character : name) {
    const auto byte = static_cast<unsigned char>(character);
    quoted.push_back(byte < 0x20 || byte == 0x7F ? '?' : character);
  }
  return quoted + "'";
}

}  // namespace pixtola::tool
