// The white balance's kernels in vectors, compiled once for each instruction set.
//
// The channels of a pixel are neighbours. Every byte of a vector keeps its channel from vector to
// vector with 1 and 4 channels, and from every third vector to the next with 3. Vectors with the
// same channels are of one phase, and everything that depends on the channel is kept for each
// phase.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "process/pixels/white_balance_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstddef>
#include <cstring>

#include "process/pixels/white_balance_kernels.h"
#include "process/pixels/white_balance_search.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

const WhiteBalanceKernels& Kernels() { return kPlainWhiteBalanceKernels; }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::RepartitionToWide<Bytes>;
using ByteVector = hn::Vec<Bytes>;
using WordVector = hn::Vec<Words>;
constexpr std::size_t kLanes = hn::MaxLanes(Bytes());

// ------------------------------------------------------------------------------- counting windows
//
// Each byte becomes bits: bit k + 1 says whether it is at most level k of the window, and bit 0 of
// the last window whether it is at most 254. The bits are counted in their places: a vector of bits
// is one binary digit of as many counters as it has bits, and a tree of full adders adds blocks of
// 64 vectors to the lower six digits. Only what these carry is counted in bytes.

constexpr std::uint32_t kBits = 8;
constexpr std::uint32_t kDigits = 6;
constexpr std::uint32_t kBlockVectors = 1U << kDigits;
/// A block is added in parts, which carry to the digit with their number of vectors.
constexpr std::uint32_t kPartDigits = 4;
constexpr std::uint32_t kPartVectors = 1U << kPartDigits;
constexpr std::uint32_t kParts = kBlockVectors / kPartVectors;
/// Blocks after which the bytes may be full.
constexpr std::uint32_t kBlocksPerTally = 255;

/// The counters of one window in one phase.
struct Tally {
  HWY_ALIGN std::uint8_t digits[kDigits][kLanes];
  HWY_ALIGN std::uint8_t part_carries[kParts][kLanes];
  HWY_ALIGN std::uint8_t carries[kBits][kLanes];  ///< of blocks
};
template <std::uint32_t kPhases>
using Tallies = Tally[kWindows][kPhases];

/// A full adder in every bit: `digit` becomes the sum's, the carry is returned.
HWY_INLINE ByteVector AddBits(ByteVector& digit, ByteVector a, ByteVector b) {
#if HWY_TARGET <= HWY_AVX3
  // The majority and the parity of three bits, as truth tables.
  const ByteVector carry{_mm512_ternarylogic_epi64(digit.raw, a.raw, b.raw, 0xE8)};
  digit = ByteVector{_mm512_ternarylogic_epi64(digit.raw, a.raw, b.raw, 0x96)};
#else
  const ByteVector half = hn::Xor(digit, a);
  const ByteVector carry = hn::Or(hn::And(digit, a), hn::And(half, b));
  digit = hn::Xor(half, b);
#endif
  return carry;
}

/// The bits by the level in the window, 0 also standing for the levels before it. Bit 0 is set.
HWY_INLINE ByteVector BitsOfLevels() {
  HWY_ALIGN static constexpr std::uint8_t kBitsOfLevels[16] = {0xFF, 0xFD, 0xF9, 0xF1,
                                                               0xE1, 0xC1, 0x81, 0x01};
  return hn::LoadDup128(Bytes(), kBitsOfLevels);
}

/// A vector of each phase.
template <std::uint32_t kPhases>
struct PhaseVectors {
  // A constructor that the compiler generates is not compiled for this instruction set on all
  // architectures.
  HWY_INLINE PhaseVectors() {}

  ByteVector of[kPhases];
};

/// Reads bytes as the bits of a window.
template <std::uint32_t kWindow, std::uint32_t kPhases>
struct BitReader {
  HWY_INLINE BitReader() {}

  HWY_INLINE PhaseVectors<kPhases> Next() {
    const Bytes d;
    PhaseVectors<kPhases> bits;
    for (std::uint32_t phase = 0; phase < kPhases; ++phase, next += kLanes) {
      const ByteVector values = hn::LoadU(d, next);
      const ByteVector level =
          hn::Min(hn::SaturatedSub(values, start.of[phase]), hn::Set(d, kWindowLevels));
      bits.of[phase] = hn::TableLookupBytes(bits_of_levels, level);
      if constexpr (kWindow == kWindows - 1) {
        const ByteVector is_255 = hn::SaturatedSub(values, hn::Set(d, 254));
        bits.of[phase] = hn::Xor(bits.of[phase], is_255);
      }
    }
    return bits;
  }

  const std::uint8_t* next;
  PhaseVectors<kPhases> start;
  ByteVector bits_of_levels;
};

/// Adds 2^kLevel vectors of each phase to as many digits and returns what these carry.
template <std::uint32_t kLevel, std::uint32_t kWindow, std::uint32_t kPhases>
HWY_INLINE PhaseVectors<kPhases> AddVectors(BitReader<kWindow, kPhases>& reader,
                                            PhaseVectors<kPhases>* digits) {
  if constexpr (kLevel == 0) {
    return reader.Next();
  } else {
    const PhaseVectors<kPhases> a = AddVectors<kLevel - 1>(reader, digits);
    const PhaseVectors<kPhases> b = AddVectors<kLevel - 1>(reader, digits);
    PhaseVectors<kPhases> carry;
    for (std::uint32_t phase = 0; phase < kPhases; ++phase) {
      carry.of[phase] = AddBits(digits[kLevel - 1].of[phase], a.of[phase], b.of[phase]);
    }
    return carry;
  }
}

template <std::uint32_t kWindow, std::uint32_t kPhases>
HWY_INLINE void AddPart(const std::uint8_t* bytes, const std::uint8_t* starts, std::uint32_t part,
                        Tallies<kPhases>& tallies) {
  const Bytes d;
  BitReader<kWindow, kPhases> reader;
  PhaseVectors<kPhases> digits[kPartDigits];
  reader.next = bytes;
  reader.bits_of_levels = BitsOfLevels();
  for (std::uint32_t phase = 0; phase < kPhases; ++phase) {
    const Tally& tally = tallies[kWindow][phase];
    reader.start.of[phase] = hn::Load(d, starts + phase * kLanes);
    for (std::uint32_t i = 0; i < kPartDigits; ++i) {
      digits[i].of[phase] = hn::Load(d, tally.digits[i]);
    }
  }
  const PhaseVectors<kPhases> carry = AddVectors<kPartDigits>(reader, digits);
  for (std::uint32_t phase = 0; phase < kPhases; ++phase) {
    Tally& tally = tallies[kWindow][phase];
    hn::Store(carry.of[phase], d, tally.part_carries[part]);
    for (std::uint32_t i = 0; i < kPartDigits; ++i) {
      hn::Store(digits[i].of[phase], d, tally.digits[i]);
    }
  }
}

/// Adds what the parts of a block carried.
HWY_INLINE void EndBlock(Tally& tally) {
  static_assert(kParts == 4 && kDigits == kPartDigits + 2);
  const Bytes d;
  ByteVector parts[kParts];
  for (std::uint32_t i = 0; i < kParts; ++i) parts[i] = hn::Load(d, tally.part_carries[i]);
  ByteVector part_digit = hn::Load(d, tally.digits[kPartDigits]);
  ByteVector last_digit = hn::Load(d, tally.digits[kPartDigits + 1]);
  const ByteVector a = AddBits(part_digit, parts[0], parts[1]);
  const ByteVector b = AddBits(part_digit, parts[2], parts[3]);
  const ByteVector carry = AddBits(last_digit, a, b);
  hn::Store(part_digit, d, tally.digits[kPartDigits]);
  hn::Store(last_digit, d, tally.digits[kPartDigits + 1]);
  for (std::uint32_t bit = 0; bit < kBits; ++bit) {
    const ByteVector place = hn::Set(d, static_cast<std::uint8_t>(1U << bit));
    const ByteVector minus_one = hn::VecFromMask(d, hn::TestBit(carry, place));
    hn::Store(hn::Sub(hn::Load(d, tally.carries[bit]), minus_one), d, tally.carries[bit]);
  }
}

template <std::uint32_t kPhases>
void AddBlock(const std::uint8_t* bytes, const std::uint8_t (*starts)[kPhases * kLanes],
              Tallies<kPhases>& tallies) {
  for (std::uint32_t part = 0; part < kParts; ++part) {
    AddPart<0, kPhases>(bytes, starts[0], part, tallies);
    AddPart<1, kPhases>(bytes, starts[1], part, tallies);
    bytes += kPartVectors * kPhases * kLanes;
  }
  for (auto& window : tallies) {
    for (Tally& tally : window) EndBlock(tally);
  }
}

/// Adds `unit` times the bytes of a phase to the counts of a window's bit.
void AddLanes(const std::uint8_t* lanes, std::uint32_t unit, std::uint32_t window,
              std::uint32_t bit, std::uint32_t first_channel, std::uint32_t channels,
              ChannelWindowCounts& counts) {
  std::uint32_t sums[kMaxChannels] = {};
  std::uint32_t channel = first_channel;
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    sums[channel] += lanes[lane];
    channel = channel + 1 == channels ? 0 : channel + 1;
  }
  for (channel = 0; channel < channels; ++channel) {
    WindowCounts& of_channel = counts[channel];
    (bit == 0 ? of_channel.up_to_254 : of_channel.up_to[window][bit - 1]) += sums[channel] * unit;
  }
}

/// The channel of a phase's first byte.
constexpr std::uint32_t FirstChannel(std::uint32_t phase, std::uint32_t channels) {
  return static_cast<std::uint32_t>(phase * kLanes % channels);
}

/// Only the last window has a bit 0.
constexpr std::uint32_t FirstBit(std::uint32_t window) { return window == kWindows - 1 ? 0 : 1; }

/// Moves the carries of the blocks to the counts.
template <std::uint32_t kPhases>
void TakeCarries(std::uint32_t channels, Tallies<kPhases>& tallies, ChannelWindowCounts& counts) {
  for (std::uint32_t window = 0; window < kWindows; ++window) {
    for (std::uint32_t phase = 0; phase < kPhases; ++phase) {
      Tally& tally = tallies[window][phase];
      for (std::uint32_t bit = FirstBit(window); bit < kBits; ++bit) {
        AddLanes(tally.carries[bit], kBlockVectors, window, bit, FirstChannel(phase, channels),
                 channels, counts);
      }
      std::memset(tally.carries, 0, sizeof(tally.carries));
    }
  }
}

/// Adds the digits to the counts.
template <std::uint32_t kPhases>
void TakeDigits(std::uint32_t channels, const Tallies<kPhases>& tallies,
                ChannelWindowCounts& counts) {
  for (std::uint32_t window = 0; window < kWindows; ++window) {
    for (std::uint32_t phase = 0; phase < kPhases; ++phase) {
      for (std::uint32_t bit = FirstBit(window); bit < kBits; ++bit) {
        std::uint8_t lanes[kLanes] = {};
        for (std::uint32_t i = 0; i < kDigits; ++i) {
          const std::uint8_t* const digit = tallies[window][phase].digits[i];
          for (std::size_t lane = 0; lane < kLanes; ++lane) {
            lanes[lane] = static_cast<std::uint8_t>(lanes[lane] | (digit[lane] >> bit & 1) << i);
          }
        }
        AddLanes(lanes, 1, window, bit, FirstChannel(phase, channels), channels, counts);
      }
    }
  }
}

template <std::uint32_t kPhases>
void CountWindowsIn(const std::uint8_t* bytes, std::uint64_t size, std::uint32_t channels,
                    const ChannelWindowStarts& channel_starts, ChannelWindowCounts& counts) {
  constexpr std::size_t kBlockBytes = kBlockVectors * kPhases * kLanes;
  HWY_ALIGN std::uint8_t starts[kWindows][kPhases * kLanes];
  for (std::uint32_t window = 0; window < kWindows; ++window) {
    for (std::size_t i = 0; i < kPhases * kLanes; ++i) {
      starts[window][i] = channel_starts[i % channels][window];
    }
  }
  Tallies<kPhases> tallies;
  std::memset(tallies, 0, sizeof(tallies));
  std::uint32_t blocks = 0;
  for (; size >= kBlockBytes; size -= kBlockBytes, bytes += kBlockBytes) {
    AddBlock<kPhases>(bytes, starts, tallies);
    if (++blocks % kBlocksPerTally == 0) TakeCarries<kPhases>(channels, tallies, counts);
  }
  TakeCarries<kPhases>(channels, tallies, counts);
  if (size != 0) {
    // 255 is above every level that is counted.
    std::uint8_t rest[kBlockBytes];
    std::memcpy(rest, bytes, static_cast<std::size_t>(size));
    std::memset(rest + size, 255, kBlockBytes - static_cast<std::size_t>(size));
    AddBlock<kPhases>(rest, starts, tallies);
    TakeCarries<kPhases>(channels, tallies, counts);
  }
  TakeDigits<kPhases>(channels, tallies, counts);
}

void CountWindows(const std::uint8_t* pixels, std::uint64_t pixel_count, std::uint32_t channels,
                  const ChannelWindowStarts& starts, ChannelWindowCounts& counts) {
  counts = {};
  const auto count = channels == 3 ? CountWindowsIn<3> : CountWindowsIn<1>;
  count(pixels, pixel_count * channels, channels, starts, counts);
}

// -------------------------------------------------------------------------------------- stretching
//
// A level d above the black point of a range of N levels becomes floor(d * 255 / N + 1/2), which is
// the upper byte of (256 * d + e) * (whole + fraction / 65536), where whole + fraction / 65536 is
// 255 / N and e, 256 * N / 510, stands for the half. With e rounded up and the fraction to the
// nearest this is exact for all N and d.

template <std::uint32_t kPhases>
struct StretchConstants {
  HWY_ALIGN std::uint8_t low[kPhases][kLanes];
  HWY_ALIGN std::uint8_t range[kPhases][kLanes];
  // Of the even bytes, then of the odd ones.
  HWY_ALIGN std::uint16_t half[2][kPhases][kLanes / 2];
  HWY_ALIGN std::uint16_t whole[2][kPhases][kLanes / 2];
  HWY_ALIGN std::uint16_t fraction[2][kPhases][kLanes / 2];

  StretchConstants(std::uint32_t channels, const ChannelPoints& points) {
    for (std::uint32_t i = 0; i < kPhases * kLanes; ++i) {
      const LevelPoints ends = points[i % channels];
      const bool is_stretched = ends.black < ends.white;
      const std::uint32_t levels = is_stretched ? std::uint32_t{ends.white} - ends.black : 255;
      const std::uint32_t phase = i / kLanes;
      const std::uint32_t lane = i % kLanes;
      low[phase][lane] = is_stretched ? ends.black : std::uint8_t{0};
      range[phase][lane] = static_cast<std::uint8_t>(levels);
      half[lane % 2][phase][lane / 2] = static_cast<std::uint16_t>((128 * levels + 254) / 255);
      whole[lane % 2][phase][lane / 2] = static_cast<std::uint16_t>(255 / levels);
      fraction[lane % 2][phase][lane / 2] =
          static_cast<std::uint16_t>((255 % levels * 65536 + levels / 2) / levels);
    }
  }
};

HWY_INLINE WordVector Scale(WordVector level, const std::uint16_t* whole,
                            const std::uint16_t* fraction) {
  const Words d;
  return hn::Add(hn::Mul(level, hn::Load(d, whole)), hn::MulHigh(level, hn::Load(d, fraction)));
}

template <std::uint32_t kPhases>
HWY_INLINE ByteVector StretchVector(ByteVector values, const StretchConstants<kPhases>& constants,
                                    std::uint32_t phase) {
  const Bytes d;
  const Words d16;
  const ByteVector above = hn::SaturatedSub(values, hn::Load(d, constants.low[phase]));
  const auto levels = hn::BitCast(d16, hn::Min(above, hn::Load(d, constants.range[phase])));
  const WordVector even = hn::Or(hn::ShiftLeft<8>(levels), hn::Load(d16, constants.half[0][phase]));
  const WordVector odd = hn::OrAnd(hn::Load(d16, constants.half[1][phase]), levels,
                                   hn::Set(d16, std::uint16_t{0xFF00}));
  const WordVector even_scaled =
      Scale(even, constants.whole[0][phase], constants.fraction[0][phase]);
  const WordVector odd_scaled = Scale(odd, constants.whole[1][phase], constants.fraction[1][phase]);
  return hn::OddEven(hn::BitCast(d, odd_scaled), hn::BitCast(d, hn::ShiftRight<8>(even_scaled)));
}

template <std::uint32_t kPhases>
void StretchIn(const std::uint8_t* source, std::uint64_t pixel_count, std::uint32_t channels,
               const ChannelPoints& points, std::uint8_t* destination) {
  constexpr std::size_t kStep = kPhases * kLanes;
  const Bytes d;
  const StretchConstants<kPhases> constants(channels, points);
  const std::uint64_t size = pixel_count * channels;
  std::uint64_t i = 0;
  for (; size - i >= kStep; i += kStep) {
    for (std::uint32_t phase = 0; phase < kPhases; ++phase) {
      const std::size_t at = i + phase * kLanes;
      hn::StoreU(StretchVector(hn::LoadU(d, source + at), constants, phase), d, destination + at);
    }
  }
  // Whole vectors hold whole pixels.
  if (i == size) return;
  kPlainWhiteBalanceKernels.stretch(source + i, (size - i) / channels, channels, points,
                                    destination + i);
}

void Stretch(const std::uint8_t* source, std::uint64_t pixel_count, std::uint32_t channels,
             const ChannelPoints& points, std::uint8_t* destination) {
  const auto stretch = channels == 3 ? StretchIn<3> : StretchIn<1>;
  stretch(source, pixel_count, channels, points, destination);
}

const WhiteBalanceKernels& Kernels() {
  static const WhiteBalanceKernels kernels{
      .target = hwy::TargetName(HWY_TARGET),
      .find_points = FindPointsBySearch,
      .count_windows = CountWindows,
      .stretch = Stretch,
  };
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

const WhiteBalanceKernels& BestWhiteBalanceKernels() { return HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pixtola
#endif
