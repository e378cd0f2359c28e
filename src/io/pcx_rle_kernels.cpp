#include "io/pcx_rle_kernels.h"

namespace pixtola {

namespace {

PcxProgress Decode(PcxRun& run, std::span<const std::uint8_t> input,
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

std::size_t Encode(std::span<const std::uint8_t> line, std::uint8_t* code) {
  if (line.empty()) return 0;
  std::uint8_t* end = code;
  std::uint8_t value = line[0];
  std::size_t count = 1;
  for (const std::uint8_t byte : line.subspan(1)) {
    if (byte == value) {
      if (++count == kPcxLongestRun) {
        end = EmitPcxRun(value, count, end);
        count = 0;
      }
    } else {
      end = EmitPcxRun(value, count, end);
      value = byte;
      count = 1;
    }
  }
  return static_cast<std::size_t>(EmitPcxRun(value, count, end) - code);
}

}  // namespace

constexpr PcxRleKernels kPlainPcxRleKernels{.target = "plain", .decode = Decode, .encode = Encode};

#if !PIXTOLA_WITH_HIGHWAY
const PcxRleKernels& BestPcxRleKernels() { return kPlainPcxRleKernels; }
#endif

}  // namespace pixtola
