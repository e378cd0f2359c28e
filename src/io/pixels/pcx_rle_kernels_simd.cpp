// Run lengths in vectors of 16 bytes, compiled once for each instruction set.
//
// Noise has hardly any runs, and most of its bytes have their two top bits set: paper is bright.
// The code of such bytes has a count of 1 before each. Counts of 1 and 2 are therefore done for a
// whole vector at once, by dropping or inserting bytes with the help of tables, and longer runs one
// by one.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "io/pixels/pcx_rle_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "io/pixels/pcx_rle_kernels.h"
#include "io/pixels/pcx_rle_tables.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const PcxRleKernels& Kernels() { return kPlainPcxRleKernels; }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::FixedTag<std::uint8_t, 16>;
using Vector = hn::Vec<Bytes>;
constexpr std::size_t kLanes = 16;

/// Sets of bytes have a bit for each byte, the least significant one for the first.
using Set = std::uint32_t;
constexpr Set kAll = 0xFFFF;  ///< of a vector

HWY_INLINE Set SetOf(hn::Mask<Bytes> mask) {
  std::uint8_t bits[8] = {};
  hn::StoreMaskBits(Bytes(), mask, bits);
  return Set{bits[0]} | Set{bits[1]} << 8;
}

HWY_INLINE hn::Mask<Bytes> MaskOf(Set set) {
  std::uint8_t bits[8] = {static_cast<std::uint8_t>(set & 0xFF),
                          static_cast<std::uint8_t>(set >> 8 & 0xFF)};
  return hn::LoadMaskBits(Bytes(), bits);
}

/// The bytes of the set among the first `count`, of 32 at most.
constexpr Set FirstOf(Set set, unsigned count) {
  return static_cast<Set>(set & ((std::uint64_t{1} << count) - 1));
}

HWY_INLINE unsigned SizeOf(Set set) { return static_cast<unsigned>(hwy::PopCount(set)); }

/// The index of the first byte of a set that is not empty.
HWY_INLINE unsigned FirstIn(Set set) {
  return static_cast<unsigned>(hwy::Num0BitsBelowLS1Bit_Nonzero32(set));
}

HWY_INLINE unsigned LastIn(Set set) {
  return 31 - static_cast<unsigned>(hwy::Num0BitsAboveMS1Bit_Nonzero32(set));
}

HWY_INLINE Vector OrderOf(const PcxByteOrders& orders, Set set) {
  return hn::LoadU(Bytes(), orders[set & 0xFF].data());
}

HWY_INLINE hn::Mask<Bytes> HaveCountBits(Vector bytes) {
  return hn::Eq(hn::Max(bytes, hn::Set(Bytes(), kPcxCountBits)), bytes);
}

HWY_INLINE hn::Mask<Bytes> AreCounts(Vector bytes, unsigned count) {
  return hn::Eq(bytes, hn::Set(Bytes(), static_cast<std::uint8_t>(kPcxCountBits | count)));
}

// ------------------------------------------------------------------------------------- decoding

/// Of 32 bytes those that have count bits and are counts: the first, the third and so on of each
/// succession, since the byte after a count is a value whatever its bits. The bytes begin with a
/// whole code.
constexpr Set CountsAmong(Set with_count_bits) {
  constexpr Set kEven = 0x55555555;
  const Set starts = with_count_bits & ~(with_count_bits << 1);
  // The carry runs through a succession and leaves others alone.
  const Set from_even = with_count_bits & ~(with_count_bits + (starts & kEven));
  return (from_even & kEven) | (with_count_bits & ~from_even & ~kEven);
}

/// Writes those of 16 bytes that are in the set, and something after them.
HWY_INLINE void StoreKept(Vector bytes, Set kept, std::uint8_t* output) {
  const Bytes d;
  hn::StoreU(hn::TableLookupBytes(bytes, OrderOf(kPcxKeepingOrders, kept)), d, output);
  hn::StoreU(
      hn::TableLookupBytes(hn::ShiftRightBytes<8>(d, bytes), OrderOf(kPcxKeepingOrders, kept >> 8)),
      d, output + SizeOf(kept & 0xFF));
}

/// Repeats a run's value as often as there is room and returns the end.
std::uint8_t* EmitRun(PcxRun& run, std::uint8_t* out, const std::uint8_t* out_end) {
  const Bytes d;
  const auto room = static_cast<std::size_t>(out_end - out);
  constexpr std::size_t kRunRoom = 64;  // the longest run in whole vectors
  if (room >= kRunRoom) {
    const Vector repeated = hn::Set(d, run.value);
    for (std::size_t i = 0; i < kRunRoom; i += kLanes) hn::StoreU(repeated, d, out + i);
    out += run.count;
    run.count = 0;
    return out;
  }
  for (; run.count != 0 && out != out_end; --run.count) *out++ = run.value;
  return out;
}

PcxProgress Decode(PcxRun& run, const std::uint8_t* input, std::size_t input_size,
                   std::uint8_t* output, std::size_t output_size) {
  const Bytes d;
  const std::uint8_t* in = input;
  const std::uint8_t* const in_end = input + input_size;
  std::uint8_t* out = output;
  const std::uint8_t* const out_end = output + output_size;

  // The rest of a run from an earlier call.
  if (run.is_value_due && in != in_end && out != out_end) {
    run.value = *in++;
    run.is_value_due = false;
  }
  if (!run.is_value_due) out = EmitRun(run, out, out_end);

  // Two vectors at a time: where the next ones begin is known only after a look at these.
  constexpr std::size_t kStep = 2 * kLanes;
  const std::uint8_t* last_count = nullptr;
  while (run.count == 0 && static_cast<std::size_t>(in_end - in) >= kStep + 2 &&
         static_cast<std::size_t>(out_end - out) >= kStep + kLanes / 2) {
    const Vector first = hn::LoadU(d, in);
    const Vector second = hn::LoadU(d, in + kLanes);
    const auto set_of = [&](const auto& is_in) {
      return SetOf(is_in(first)) | SetOf(is_in(second)) << kLanes;
    };
    const Set counts = CountsAmong(set_of([](Vector bytes) { return HaveCountBits(bytes); }));
    const Set ones = counts & set_of([](Vector bytes) { return AreCounts(bytes, 1); });
    const Set twos = counts & set_of([](Vector bytes) { return AreCounts(bytes, 2); });
    const Set others = counts & ~(ones | twos);
    // Up to a longer run, and without a count whose value comes after the two vectors.
    const unsigned length =
        others != 0 ? FirstIn(others) : static_cast<unsigned>(kStep) - (counts >> 31);

    // A count of 1 is dropped; a count of 2 gives its place to its value, which is then there
    // twice.
    const Set kept = FirstOf(~ones, length);
    StoreKept(hn::IfThenElse(MaskOf(twos), hn::LoadU(d, in + 1), first), kept & kAll, out);
    StoreKept(hn::IfThenElse(MaskOf(twos >> kLanes), hn::LoadU(d, in + kLanes + 1), second),
              kept >> kLanes, out + SizeOf(kept & kAll));
    out += SizeOf(kept);

    const Set done = FirstOf(counts, length);
    if (done != 0) last_count = in + LastIn(done);
    in += length;
    if (others != 0) {
      run = {.value = in[1], .count = static_cast<std::uint8_t>(in[0] & kPcxLongestRun)};
      out = EmitRun(run, out, out_end);
      last_count = in;
      in += 2;
    }
  }
  if (last_count != nullptr) run.value = last_count[1];

  const PcxProgress rest = kPlainPcxRleKernels.decode(
      run, in, static_cast<std::size_t>(in_end - in), out, static_cast<std::size_t>(out_end - out));
  return {static_cast<std::size_t>(in - input) + rest.consumed,
          static_cast<std::size_t>(out - output) + rest.produced};
}

// ------------------------------------------------------------------------------------- encoding

/// How many bytes from `line` on are like the first one.
std::size_t RunLength(const std::uint8_t* line, const std::uint8_t* end) {
  const Bytes d;
  const Vector first = hn::Set(d, *line);
  const std::uint8_t* at = line + 1;
  for (; static_cast<std::size_t>(end - at) >= kLanes; at += kLanes) {
    const Set same = SetOf(hn::Eq(hn::LoadU(d, at), first));
    if (same != kAll) return static_cast<std::size_t>(at - line) + FirstIn(~same);
  }
  while (at != end && *at == *line) ++at;
  return static_cast<std::size_t>(at - line);
}

/// Writes the first eight of `bytes` with a count of 1 before each of the set and returns the end.
HWY_INLINE std::uint8_t* StoreWithCounts(Vector bytes, Set set, std::uint8_t* code) {
  const Bytes d;
  const Vector order = OrderOf(kPcxInsertingOrders, set);
  // Places of new bytes come out of the lookup as 0.
  const Vector counts = hn::SaturatedSub(order, hn::Set(d, std::uint8_t{7}));
  hn::StoreU(hn::Or(hn::TableLookupBytesOr0(bytes, order), counts), d, code);
  return code + 8 + SizeOf(set & 0xFF);
}

std::size_t Encode(const std::uint8_t* line, std::size_t size, std::uint8_t* code) {
  const Bytes d;
  const std::uint8_t* at = line;
  const std::uint8_t* const line_end = line + size;
  std::uint8_t* end = code;
  // At the start of a run; one byte more than a vector, to compare each byte with the next.
  while (static_cast<std::size_t>(line_end - at) > kLanes) {
    const Vector bytes = hn::LoadU(d, at);
    const auto is_repeated = hn::Eq(bytes, hn::LoadU(d, at + 1));
    const Set repeated = SetOf(is_repeated);
    const Set longer = repeated & repeated >> 1;
    // Up to a run of three or more, and without a byte whose repetition is not in the vector any
    // more.
    const unsigned length =
        longer != 0 ? FirstIn(longer) : static_cast<unsigned>(kLanes) - (repeated >> 15);

    // The first of two equal bytes is replaced with their count.
    const Vector values =
        hn::IfThenElse(is_repeated, hn::Set(d, std::uint8_t{kPcxCountBits | 2}), bytes);
    const Set counted = SetOf(HaveCountBits(bytes)) & ~(repeated | repeated << 1);
    std::uint8_t* second_half = StoreWithCounts(values, counted, end);
    StoreWithCounts(hn::ShiftRightBytes<8>(d, values), counted >> 8, second_half);
    end += length + SizeOf(FirstOf(counted & kAll, length));
    at += length;
    if (longer == 0) continue;

    std::size_t count = RunLength(at, line_end);
    const std::uint8_t value = *at;
    at += count;
    for (; count > kPcxLongestRun; count -= kPcxLongestRun) {
      end = EmitPcxRun(value, kPcxLongestRun, end);
    }
    end = EmitPcxRun(value, count, end);
  }
  end += kPlainPcxRleKernels.encode(at, static_cast<std::size_t>(line_end - at), end);
  return static_cast<std::size_t>(end - code);
}

const PcxRleKernels& Kernels() {
  static const PcxRleKernels kernels{
      .target = hwy::TargetName(HWY_TARGET), .decode = Decode, .encode = Encode};
  return kernels;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixtola {

HWY_EXPORT(Kernels);

const PcxRleKernels& BestPcxRleKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola
#endif
