// Faults at a chosen place: the n-th allocation, lock, read or write of the code under test fails.
//
// The code under test knows nothing of this. A program with the sources of the faults is linked so
// that calls to malloc and the others go there first (pixtola_wrap_faults in tests/CMakeLists.txt).
// In shared libraries `new`, reads and writes are seen, but malloc is not. Where the platform
// itself is a shared library, its functions that make objects count as allocations, and the objects
// as blocks.
#ifndef PIXTOLA_TESTS_SUPPORT_FAULT_INJECTION_H_
#define PIXTOLA_TESTS_SUPPORT_FAULT_INJECTION_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace pixtola::test {

enum class Fault {
  kAllocation,  ///< malloc and its like return null, new throws or returns null
  kLock,        ///< GdipBitmapLockBits returns OutOfMemory and does nothing
  kPalette,     ///< GdipGetImagePaletteSize or GdipGetImagePalette does so
  kRead,        ///< of a file, a FaultyStream or a memory stream: nothing is read
  kWrite        ///< nothing is written; or closing a file reports that
};

/// How long a fault lasts.
enum class Span {
  kOneCall,   ///< the next call of its kind succeeds
  kToTheEnd,  ///< all further calls of its kind fail, too
};
inline constexpr Span kSpans[] = {Span::kOneCall, Span::kToTheEnd};

/// One fault to come: the `nth` call of its kind, counted from 1, fails. Calls count only inside
/// Run, and only those of the thread that runs it.
///
/// Memory streams that are made under a plan for reads or writes are FaultyStreams, as far as the
/// platform can cope with failing reads.
class FaultPlan {
 public:
  FaultPlan(Fault fault, std::uint32_t nth, Span span = Span::kOneCall)
      : fault_(fault), nth_(nth), span_(span) {}
  FaultPlan(const FaultPlan&) = delete;
  FaultPlan& operator=(const FaultPlan&) = delete;

  /// Makes the call, and nothing else, under this plan. What GoogleTest allocates would be counted
  /// as well: expectations belong outside.
  template <typename Call>
  decltype(auto) Run(const Call& call) {
    const Armed armed(*this);
    return call();
  }

  /// Lets every call of another kind fail, too, uncounted: for what is done only after a failure.
  FaultPlan& FailEvery(Fault other) {
    always_failing_ = other;
    return *this;
  }

  bool HasFired() const { return calls_ >= nth_; }
  /// Calls of the plan's kind so far, the one that failed included.
  std::uint32_t calls() const { return calls_; }

  /// Counts a call; returns whether it has to fail.
  bool Count(Fault fault) {
    if (fault == always_failing_) return true;
    if (fault != fault_) return false;
    ++calls_;
    return calls_ == nth_ || (HasFired() && span_ == Span::kToTheEnd);
  }

  bool Concerns(Fault fault) const { return fault == fault_ || fault == always_failing_; }

 private:
  /// The plan is in force from here to the end of the scope. There is one at a time.
  class Armed {
   public:
    explicit Armed(FaultPlan& plan);
    Armed(const Armed&) = delete;
    Armed& operator=(const Armed&) = delete;
    ~Armed();
  };

  Fault fault_;
  std::uint32_t nth_;
  Span span_;
  std::optional<Fault> always_failing_;
  std::uint32_t calls_ = 0;
};

/// For test doubles that can fail, such as streams: counts a call under the plan that is in force;
/// returns whether the call has to fail.
bool IsFaultDue(Fault fault);

/// The blocks that were allocated inside a plan's Run and not freed since.
std::size_t LiveBlocks();

/// Calls `function` with plans for the first fault, the second and so on, until one does not fire;
/// the last call of the function is therefore undisturbed. Each call has to free what was allocated
/// in it. Stops when the test fails. Returns the number of faults that fired.
///
/// Make the call under test once beforehand: what a library allocates at its first use, it keeps.
template <typename Function>
std::uint32_t ForEveryFault(Fault fault, const Function& function, Span span = Span::kOneCall) {
  constexpr std::uint32_t kTooMany = 10000;
  const bool had_failed = testing::Test::HasFailure();
  for (std::uint32_t nth = 1; nth <= kTooMany; ++nth) {
    SCOPED_TRACE(testing::Message() << "with fault " << nth);
    FaultPlan plan(fault, nth, span);
    const std::size_t blocks_before = LiveBlocks();
    function(plan);
    EXPECT_EQ(LiveBlocks(), blocks_before) << "a block was not freed";
    if (!plan.HasFired() || (testing::Test::HasFailure() && !had_failed)) return nth - 1;
  }
  ADD_FAILURE() << "the faults do not come to an end";
  return kTooMany;
}

}  // namespace pixtola::test

#endif  // PIXTOLA_TESTS_SUPPORT_FAULT_INJECTION_H_
