// The four facts about each user of a file, that it reads, writes, denies reading, denies writing,
// are shared locks on four bytes far beyond any file's end. Each new user states its own facts
// first and then checks whether another has stated the opposite.

#include "system/file_sharing.h"

#include <fcntl.h>

#include <limits>

namespace pixtola::portable {

namespace {

enum Fact : off_t { kReads, kWrites, kDeniesReading, kDeniesWriting };

#ifdef F_OFD_SETLK

struct flock LockOf(Fact fact, short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = std::numeric_limits<off_t>::max() - 16 + fact;
  lock.l_len = 1;
  return lock;
}

/// Errors mean that the file system has no locks.
void Say(int descriptor, Fact fact) {
  struct flock lock = LockOf(fact, F_RDLCK);
  (void)::fcntl(descriptor, F_OFD_SETLK, &lock);
}

bool SomebodyElseSays(int descriptor, Fact fact) {
  struct flock lock = LockOf(fact, F_WRLCK);  // would be refused because of any other
  return ::fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

#else

// For systems without locks that belong to one open file.
void Say(int, Fact) {}
bool SomebodyElseSays(int, Fact) { return false; }

#endif

}  // namespace

bool ShareFile(int descriptor, FileUse own, FileUse denied) {
  if (own.reads) Say(descriptor, kReads);
  if (own.writes) Say(descriptor, kWrites);
  if (denied.reads) Say(descriptor, kDeniesReading);
  if (denied.writes) Say(descriptor, kDeniesWriting);
  return !(own.reads && SomebodyElseSays(descriptor, kDeniesReading)) &&
         !(own.writes && SomebodyElseSays(descriptor, kDeniesWriting)) &&
         !(denied.reads && SomebodyElseSays(descriptor, kReads)) &&
         !(denied.writes && SomebodyElseSays(descriptor, kWrites));
}

}  // namespace pixtola::portable
