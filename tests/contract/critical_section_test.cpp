// What the platform promises about critical sections. Written against the API alone: the same tests
// run on Windows and on the stand-in.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "platform.h"

namespace pixtola::test {
namespace {

/// A section for the length of a test.
class Section {
 public:
  Section() { InitializeCriticalSection(&section_); }
  Section(const Section&) = delete;
  Section& operator=(const Section&) = delete;
  ~Section() { DeleteCriticalSection(&section_); }

  CRITICAL_SECTION* get() { return &section_; }

 private:
  CRITICAL_SECTION section_;
};

/// Whether a thread other than the caller's could enter the section just now.
bool AnotherThreadMayEnter(Section& section) {
  bool entered = false;
  std::thread([&] {
    entered = TryEnterCriticalSection(section.get()) != FALSE;
    if (entered) LeaveCriticalSection(section.get());
  }).join();
  return entered;
}

TEST(CriticalSection, HoldsOneThreadAtATime) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 2000;
  Section section;
  // Not atomic on purpose: additions get lost when two threads make them at once.
  volatile int total = 0;
  std::atomic<int> inside = 0;
  std::atomic<int> most_inside = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        EnterCriticalSection(section.get());
        const int now = ++inside;
        if (now > most_inside) most_inside = now;
        const int before = total;
        if (round % 64 == 0) std::this_thread::yield();
        total = before + 1;
        --inside;
        LeaveCriticalSection(section.get());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(total, kThreads * kRounds);
  EXPECT_EQ(most_inside, 1);
}

TEST(CriticalSection, IsFreeUntilEntered) {
  Section section;
  EXPECT_TRUE(AnotherThreadMayEnter(section));
}

TEST(CriticalSection, LetsItsOwnerInAgain) {
  Section section;
  EnterCriticalSection(section.get());
  EnterCriticalSection(section.get());
  EXPECT_TRUE(TryEnterCriticalSection(section.get()));
  EXPECT_FALSE(AnotherThreadMayEnter(section));
  LeaveCriticalSection(section.get());
  EXPECT_FALSE(AnotherThreadMayEnter(section));
  LeaveCriticalSection(section.get());
  EXPECT_FALSE(AnotherThreadMayEnter(section));
  LeaveCriticalSection(section.get());
  EXPECT_TRUE(AnotherThreadMayEnter(section));
}

TEST(CriticalSection, IsEnteredByATry) {
  Section section;
  ASSERT_TRUE(TryEnterCriticalSection(section.get()));
  EXPECT_FALSE(AnotherThreadMayEnter(section));
  LeaveCriticalSection(section.get());
  EXPECT_TRUE(AnotherThreadMayEnter(section));
}

TEST(CriticalSection, KeepsAThreadWaitingUntilItIsLeft) {
  Section section;
  std::atomic<bool> left = false;
  std::atomic<bool> left_when_entered = false;
  EnterCriticalSection(section.get());
  std::thread waiting([&] {
    EnterCriticalSection(section.get());
    left_when_entered = left.load();
    LeaveCriticalSection(section.get());
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  left = true;
  LeaveCriticalSection(section.get());
  waiting.join();
  EXPECT_TRUE(left_when_entered);
}

TEST(CriticalSection, IsIndependentOfOthers) {
  Section first;
  Section second;
  EnterCriticalSection(first.get());
  EXPECT_TRUE(AnotherThreadMayEnter(second));
  LeaveCriticalSection(first.get());
}

}  // namespace
}  // namespace pixtola::test
