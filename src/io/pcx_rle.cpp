#include "io/pcx_rle.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace pixtola {

namespace {

/// Writes `count` times `value` and returns the end.
std::uint8_t* EmitRun(std::uint8_t value, unsigned count, std::uint8_t* code) {
  if (count == 0) return code;
  if (count > 1 || value >= kPcxCountBits) {
    *code++ = static_cast<std::uint8_t>(kPcxCountBits | count);
  }
  *code++ = value;
  return code;
}

}  // namespace

PcxProgress DecodePcxRunsPlain(PcxRun& run, std::span<const std::uint8_t> input,
                               std::span<std::uint8_t> output) {
  PcxProgress progress;
  while (progress.produced < output.size()) {
    if (run.count != 0 && !run.is_value_due) {
      output[progress.produced++] = run.value;
      --run.count;
      continue;
    }
    if (progress.consumed == input.size()) break;
    const std::uint8_t byte = input[progress.consumed++];
    if (run.is_value_due) {
      run.value = byte;
      run.is_value_due = false;
    } else if (byte < kPcxCountBits) {
      output[progress.produced++] = byte;
    } else {
      run.count = byte & kPcxLongestRun;
      run.is_value_due = true;
    }
  }
  return progress;
}

std::size_t EncodePcxRunsPlain(std::span<const std::uint8_t> line, std::uint8_t* code) {
  if (line.empty()) return 0;
  std::uint8_t* end = code;
  std::uint8_t value = line[0];
  unsigned count = 1;
  for (const std::uint8_t byte : line.subspan(1)) {
    if (byte == value) {
      if (++count == kPcxLongestRun) {
        end = EmitRun(value, count, end);
        count = 0;
      }
    } else {
      end = EmitRun(value, count, end);
      value = byte;
      count = 1;
    }
  }
  return static_cast<std::size_t>(EmitRun(value, count, end) - code);
}

// What follows does the same with eight bytes at a time.

namespace {

using Word = std::uint64_t;
constexpr std::size_t kWordBytes = sizeof(Word);
constexpr Word kTopBits = 0x8080808080808080;

Word LoadWord(const std::uint8_t* bytes) {
  Word word;
  std::memcpy(&word, bytes, kWordBytes);
  return word;
}

void StoreWord(Word word, std::uint8_t* bytes) { std::memcpy(bytes, &word, kWordBytes); }

/// The top bit of each byte that is a count.
constexpr Word CountBytes(Word word) { return word & word << 1 & kTopBits; }

/// The top bit of each byte that is 0.
constexpr Word ZeroBytes(Word word) {
  return ~(((word & ~kTopBits) + ~kTopBits) | word) & kTopBits;
}

/// The bytes before the first marked one.
std::size_t BytesBefore(Word marks) {
  return static_cast<std::size_t>(std::endian::native == std::endian::little
                                      ? std::countr_zero(marks)
                                      : std::countl_zero(marks)) /
         8;
}

constexpr Word Repeat(std::uint8_t byte) { return byte * Word{0x0101010101010101}; }

/// How many bytes from `line` on are like the first one.
std::size_t RunLength(const std::uint8_t* line, const std::uint8_t* end) {
  const Word repeated = Repeat(*line);
  const std::uint8_t* at = line + 1;
  for (; static_cast<std::size_t>(end - at) >= kWordBytes; at += kWordBytes) {
    const Word difference = LoadWord(at) ^ repeated;
    if (difference != 0) {
      return static_cast<std::size_t>(at - line) + BytesBefore(~ZeroBytes(difference) & kTopBits);
    }
  }
  while (at != end && *at == *line) ++at;
  return static_cast<std::size_t>(at - line);
}

/// Writes bytes that differ from their neighbours.
std::uint8_t* EmitSingles(const std::uint8_t* bytes, std::size_t count, std::uint8_t* code) {
  for (std::size_t i = 0; i < count; ++i) {
    // Whether a count must come first is as good as random in noise: no branch.
    *code = kPcxCountBits | 1;
    code += bytes[i] >= kPcxCountBits ? 1 : 0;
    *code++ = bytes[i];
  }
  return code;
}

}  // namespace

PcxProgress DecodePcxRuns(PcxRun& run, std::span<const std::uint8_t> input,
                          std::span<std::uint8_t> output) {
  const std::uint8_t* in = input.data();
  const std::uint8_t* const in_end = in + input.size();
  std::uint8_t* out = output.data();
  std::uint8_t* const out_end = out + output.size();

  // What an earlier call left of a run.
  if (run.is_value_due && in != in_end && out != out_end) {
    run.value = *in++;
    run.is_value_due = false;
  }
  if (!run.is_value_due) {
    const std::size_t repeats = std::min<std::size_t>(run.count, output.size());
    out = std::fill_n(out, repeats, run.value);
    run.count = static_cast<std::uint8_t>(run.count - repeats);
  }

  constexpr std::size_t kRunRoom = 64;  // runs are stored in whole words
  while (run.count == 0 && static_cast<std::size_t>(in_end - in) >= 2 * kWordBytes &&
         static_cast<std::size_t>(out_end - out) >= kWordBytes + kRunRoom) {
    const Word word = LoadWord(in);
    StoreWord(word, out);
    const Word counts = CountBytes(word);
    const std::size_t singles = counts == 0 ? kWordBytes : BytesBefore(counts);
    in += singles;
    out += singles;
    if (counts == 0) continue;
    const std::size_t count = in[0] & kPcxLongestRun;
    run.value = in[1];
    for (std::size_t i = 0; i < kRunRoom; i += kWordBytes) StoreWord(Repeat(run.value), out + i);
    in += 2;
    out += count;
  }
  const PcxProgress rest = DecodePcxRunsPlain(run, {in, in_end}, {out, out_end});
  return {static_cast<std::size_t>(in - input.data()) + rest.consumed,
          static_cast<std::size_t>(out - output.data()) + rest.produced};
}

std::size_t EncodePcxRuns(std::span<const std::uint8_t> line, std::uint8_t* code) {
  const std::uint8_t* at = line.data();
  const std::uint8_t* const line_end = at + line.size();
  std::uint8_t* end = code;
  // One byte more than a word, to compare each of its bytes with the next.
  while (static_cast<std::size_t>(line_end - at) > kWordBytes) {
    const Word repeats = ZeroBytes(LoadWord(at) ^ LoadWord(at + 1));
    const std::size_t singles = repeats == 0 ? kWordBytes : BytesBefore(repeats);
    end = EmitSingles(at, singles, end);
    at += singles;
    if (repeats == 0) continue;
    std::size_t length = RunLength(at, line_end);
    const std::uint8_t value = *at;
    at += length;
    for (; length > kPcxLongestRun; length -= kPcxLongestRun) {
      end = EmitRun(value, kPcxLongestRun, end);
    }
    end = EmitRun(value, static_cast<unsigned>(length), end);
  }
  const auto rest = line.last(static_cast<std::size_t>(line_end - at));
  end += EncodePcxRunsPlain(rest, end);
  return static_cast<std::size_t>(end - code);
}

}  // namespace pixtola
