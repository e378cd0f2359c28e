// Chosen pixels of a group, which are bits of a number, packed together and put back to their
// places. Compiled once for each instruction set, for the files that are.
#if defined(PIXTOLA_PROCESS_PIXELS_RECOLOR_PACKING_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef PIXTOLA_PROCESS_PIXELS_RECOLOR_PACKING_INL_H_
#undef PIXTOLA_PROCESS_PIXELS_RECOLOR_PACKING_INL_H_
#else
#define PIXTOLA_PROCESS_PIXELS_RECOLOR_PACKING_INL_H_
#endif

#include <hwy/highway.h>

#include "process/pixels/recolor_planes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixtola {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

HWY_INLINE void PackOneByOne(const std::uint8_t* pixels, std::uint64_t bits, std::uint8_t* packed) {
  for (; bits != 0; bits &= bits - 1, packed += 4) {
    hwy::CopyBytes<4>(pixels + 4 * hwy::Num0BitsBelowLS1Bit_Nonzero64(bits), packed);
  }
}

HWY_INLINE void UnpackOneByOne(const std::uint8_t* packed, std::uint64_t bits,
                               std::uint8_t* pixels) {
  for (; bits != 0; bits &= bits - 1, packed += 4) {
    hwy::CopyBytes<4>(packed, pixels + 4 * hwy::Num0BitsBelowLS1Bit_Nonzero64(bits));
  }
}

#if HWY_TARGET <= HWY_AVX3

/// The chosen lanes, moved together to the front.
HWY_INLINE Lanes PackLanes(Lanes lanes, std::uint32_t bits) {
  return Lanes{_mm512_maskz_compress_epi32(static_cast<__mmask16>(bits), lanes.raw)};
}

/// The other way: the first lanes of `packed` instead of the chosen ones of `lanes`.
HWY_INLINE Lanes UnpackLanes(Lanes packed, std::uint32_t bits, Lanes lanes) {
  return Lanes{_mm512_mask_expand_epi32(lanes.raw, static_cast<__mmask16>(bits), packed.raw)};
}

#else

/// For each set of chosen lanes, where the lanes come from.
struct LaneOrders {
  alignas(32) std::int32_t packed[1U << kVectorPixels][kVectorPixels];
  alignas(32) std::int32_t unpacked[1U << kVectorPixels][kVectorPixels];
  alignas(32) std::uint32_t chosen[1U << kVectorPixels][kVectorPixels];  ///< all bits or none
};

consteval LaneOrders MakeLaneOrders() {
  LaneOrders orders{};
  for (std::uint32_t bits = 0; bits < 1U << kVectorPixels; ++bits) {
    std::int32_t count = 0;
    for (std::uint32_t lane = 0; lane < kVectorPixels; ++lane) {
      if ((bits >> lane & 1) == 0) continue;
      orders.packed[bits][count] = static_cast<std::int32_t>(lane);
      orders.unpacked[bits][lane] = count++;
      orders.chosen[bits][lane] = 0xFFFFFFFF;
    }
  }
  return orders;
}

constexpr LaneOrders kLaneOrders = MakeLaneOrders();

HWY_INLINE Lanes PackLanes(Lanes lanes, std::uint32_t bits) {
  return hn::TableLookupLanes(lanes, hn::SetTableIndices(D32(), kLaneOrders.packed[bits]));
}

HWY_INLINE Lanes UnpackLanes(Lanes packed, std::uint32_t bits, Lanes lanes) {
  const D32 d;
  const auto chosen = hn::MaskFromVec(hn::Load(d, kLaneOrders.chosen[bits]));
  const auto order = hn::SetTableIndices(d, kLaneOrders.unpacked[bits]);
  return hn::IfThenElse(chosen, hn::TableLookupLanes(packed, order), lanes);
}

#endif

HWY_INLINE Lanes LoadLanes(const std::uint8_t* pixels) {
  return hn::BitCast(D32(), hn::LoadU(D8(), pixels));
}

HWY_INLINE void StoreLanes(Lanes lanes, std::uint8_t* pixels) {
  hn::StoreU(hn::BitCast(D8(), lanes), D8(), pixels);
}

/// The bits of one vector among those of a group.
constexpr std::uint64_t kVectorBits = (1U << kVectorPixels) - 1;

// All four vectors of a group are packed, and written when unpacking, whether they have candidates
// or not: to ask would cost more, since scattered candidates make the answers unpredictable.

HWY_INLINE void PackGroup(const std::uint8_t* pixels, std::uint64_t bits, std::uint8_t* packed) {
  for (std::uint32_t i = 0; i < 4; ++i, bits >>= kVectorPixels, pixels += kGroupPixels) {
    const auto chosen = static_cast<std::uint32_t>(bits & kVectorBits);
    StoreLanes(PackLanes(LoadLanes(pixels), chosen), packed);
    packed += hwy::PopCount(chosen) * 4;
  }
}

HWY_INLINE void UnpackGroup(const std::uint8_t* packed, std::uint64_t bits, std::uint8_t* pixels) {
  for (std::uint32_t i = 0; i < 4; ++i, bits >>= kVectorPixels, pixels += kGroupPixels) {
    const auto chosen = static_cast<std::uint32_t>(bits & kVectorBits);
    StoreLanes(UnpackLanes(LoadLanes(packed), chosen, LoadLanes(pixels)), pixels);
    packed += hwy::PopCount(chosen) * 4;
  }
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pixtola
HWY_AFTER_NAMESPACE();

#endif  // PIXTOLA_PROCESS_PIXELS_RECOLOR_PACKING_INL_H_
