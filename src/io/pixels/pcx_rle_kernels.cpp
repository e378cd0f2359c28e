#include "io/pixels/pcx_rle_kernels.h"

namespace pixtola {

namespace {

PcxProgress Decode(PcxRun& run, const std::uint8_t* input, std::size_t input_size,
                   std::uint8_t* output, std::size_t output_size) {
  PcxProgress progress;
  while (progress.produced < output_size) {
    if (run.count != 0 && !run.is_value_due) {
      output[progress.produced++] = run.value;
      --run.count;
      continue;
    }
    if (progress.consumed == input_size) break;
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

std::size_t Encode(const std::uint8_t* line, std::size_t size, std::uint8_t* code) {
  if (size == 0) return 0;
  std::uint8_t* end = code;
  std::uint8_t value = line[0];
  std::size_t count = 1;
  for (std::size_t i = 1; i < size; ++i) {
    if (line[i] == value) {
      if (++count == kPcxLongestRun) {
        end = EmitPcxRun(value, count, end);
        count = 0;
      }
    } else {
      end = EmitPcxRun(value, count, end);
      value = line[i];
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
