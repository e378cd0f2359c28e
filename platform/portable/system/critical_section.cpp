// Critical sections over the system's recursive mutexes.

#include <pthread.h>

#include <new>

#include "pixtola/portable/kernel.h"

namespace {

static_assert(sizeof(pthread_mutex_t) <= sizeof(CRITICAL_SECTION::storage));
static_assert(alignof(pthread_mutex_t) <= alignof(CRITICAL_SECTION));

pthread_mutex_t* MutexOf(CRITICAL_SECTION* section) {
  return std::launder(reinterpret_cast<pthread_mutex_t*>(section->storage));
}

}  // namespace

extern "C" {

void WINAPI InitializeCriticalSection(CRITICAL_SECTION* section) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(::new (section->storage) pthread_mutex_t, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

void WINAPI EnterCriticalSection(CRITICAL_SECTION* section) {
  pthread_mutex_lock(MutexOf(section));
}

BOOL WINAPI TryEnterCriticalSection(CRITICAL_SECTION* section) {
  return pthread_mutex_trylock(MutexOf(section)) == 0 ? TRUE : FALSE;
}

void WINAPI LeaveCriticalSection(CRITICAL_SECTION* section) {
  pthread_mutex_unlock(MutexOf(section));
}

void WINAPI DeleteCriticalSection(CRITICAL_SECTION* section) {
  pthread_mutex_destroy(MutexOf(section));
}

}  // extern "C"
