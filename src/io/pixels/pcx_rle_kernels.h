// The run lengths of PCX: a byte whose two top bits are set counts, in the other six, how often the
// byte after it is repeated; any other byte stands for itself.
#ifndef PIXTOLA_IO_PIXELS_PCX_RLE_KERNELS_H_
#define PIXTOLA_IO_PIXELS_PCX_RLE_KERNELS_H_

#include <cstddef>
#include <cstdint>

namespace pixtola {

inline constexpr std::uint8_t kPcxCountBits = 0xC0;
inline constexpr std::uint8_t kPcxLongestRun = 63;  ///< all of a count's other bits

/// The state of a decoder between two calls. Runs may cross the ends of lines.
struct PcxRun {
  std::uint8_t value = 0;
  std::uint8_t count = 0;     ///< how often `value` is still to be repeated
  bool is_value_due = false;  ///< the count was read, its value was not
};

struct PcxProgress {
  std::size_t consumed = 0;
  std::size_t produced = 0;
};

/// The most room that the code of a line of `size` bytes takes.
constexpr std::size_t PcxCodeCapacity(std::size_t size) { return 2 * size; }

/// Writes `count`, at most 63, times `value` and returns the end.
inline std::uint8_t* EmitPcxRun(std::uint8_t value, std::size_t count, std::uint8_t* code) {
  if (count == 0) return code;
  if (count > 1 || value >= kPcxCountBits) {
    *code++ = static_cast<std::uint8_t>(kPcxCountBits | count);
  }
  *code++ = value;
  return code;
}

struct PcxRleKernels {
  const char* target;  ///< the instruction set; "plain" for the definition

  /// Decodes until the output is full or the input is used up; takes no more of the input than it
  /// must. Output past what was produced may be written to as well.
  PcxProgress (*decode)(PcxRun& run, const std::uint8_t* input, std::size_t input_size,
                        std::uint8_t* output, std::size_t output_size);

  /// Encodes a line and returns the bytes written to `code`, which has room for
  /// PcxCodeCapacity(size).
  std::size_t (*encode)(const std::uint8_t* line, std::size_t size, std::uint8_t* code);
};

/// The definition.
extern const PcxRleKernels kPlainPcxRleKernels;

/// Those for the best instruction set of the processor. They give the same bytes.
const PcxRleKernels& BestPcxRleKernels();

}  // namespace pixtola

#endif  // PIXTOLA_IO_PIXELS_PCX_RLE_KERNELS_H_
