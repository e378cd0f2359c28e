#include "support/fault_injection.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

#include "support/fault_calls.h"
#include "support/faulty_stream.h"
#include "support/platform_expectations.h"

namespace pixtola::test {

namespace {

// Everything here is in use before any constructor has run.

constinit std::atomic<FaultPlan*> plan_in_force{nullptr};

/// The thread whose calls count.
constinit std::atomic<std::size_t> counted_thread{0};

/// Blocks by address, touched by the counted thread only.
class BlockList {
 public:
  void Add(void* block) {
    if (size_ == blocks_.size()) std::abort();
    blocks_[size_++] = block;
  }
  void Remove(const void* block) {
    // The latest blocks are mostly the first to go.
    for (std::size_t i = size_; i-- > 0;) {
      if (blocks_[i] != block) continue;
      std::copy(blocks_.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                blocks_.begin() + static_cast<std::ptrdiff_t>(size_),
                blocks_.begin() + static_cast<std::ptrdiff_t>(i));
      --size_;
      return;
    }
  }
  std::size_t size() const { return size_; }

 private:
  std::array<void*, 4096> blocks_{};
  std::atomic<std::size_t> size_{0};
};

constinit BlockList live_blocks;

bool IsInForce() { return plan_in_force != nullptr && counted_thread == ThisThread(); }

/// What the runtime allocates for the first exception of all, it keeps.
const bool first_exception_is_over = [] {
  try {
    throw std::bad_alloc();
  } catch (const std::bad_alloc&) {
    return true;
  }
}();

}  // namespace

std::size_t ThisThread() {
#if defined(_WIN32)
  return ::GetCurrentThreadId();
#else
  static thread_local char place;
  return reinterpret_cast<std::size_t>(&place);
#endif
}

void* Allocated(void* block) {
  if (block != nullptr && IsInForce()) live_blocks.Add(block);
  return block;
}

void Freed(const void* block) {
  if (live_blocks.size() != 0 && counted_thread == ThisThread()) live_blocks.Remove(block);
}

bool FailsToAllocate() {
  if (!IsFaultDue(Fault::kAllocation)) return false;
  errno = ENOMEM;
  return true;
}

bool FailsToTransfer(Fault fault) {
  if (!IsFaultDue(fault)) return false;
  errno = EIO;
  return true;
}

Uncounted::Uncounted() : plan_(IsInForce() ? plan_in_force.exchange(nullptr) : nullptr) {}

Uncounted::~Uncounted() {
  if (plan_ != nullptr) plan_in_force = plan_;
}

bool StreamsAreFaulty() {
  if (!IsInForce()) return false;
  const FaultPlan& plan = *plan_in_force.load();
  return plan.Concerns(Fault::kWrite) ||
         (plan.Concerns(Fault::kRead) && !kDecodersMishandleFailedReads);
}

void MakeFaulty(IStream*& stream) {
  IStream* const inner = stream;
  {
    const Uncounted uncounted;
    stream = FaultyStream::Create(*inner);
  }
  Allocated(stream);
  inner->Release();
}

FaultPlan::Armed::Armed(FaultPlan& plan) {
  if (plan_in_force != nullptr) std::abort();
  counted_thread = ThisThread();
  plan_in_force = &plan;
}

FaultPlan::Armed::~Armed() { plan_in_force = nullptr; }

bool IsFaultDue(Fault fault) { return IsInForce() && plan_in_force.load()->Count(fault); }

std::size_t LiveBlocks() { return live_blocks.size(); }

}  // namespace pixtola::test
