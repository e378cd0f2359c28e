// The platform's critical section, as a lock of the standard kind.
#ifndef PIXTOLA_BASE_CRITICAL_SECTION_H_
#define PIXTOLA_BASE_CRITICAL_SECTION_H_

#include "platform.h"

namespace pixtola {

/// One thread at a time holds it, as many times as it likes.
class CriticalSection {
 public:
  CriticalSection() { InitializeCriticalSection(&section_); }
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  ~CriticalSection() { DeleteCriticalSection(&section_); }

  // The names by which the standard library's guards call them.
  void lock() { EnterCriticalSection(&section_); }
  bool try_lock() { return TryEnterCriticalSection(&section_) != FALSE; }
  void unlock() { LeaveCriticalSection(&section_); }

 private:
  CRITICAL_SECTION section_;
};

}  // namespace pixtola

#endif  // PIXTOLA_BASE_CRITICAL_SECTION_H_
