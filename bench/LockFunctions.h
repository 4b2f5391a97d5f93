// The C library's functions that take and give back a lock, for programs that stand in their place.
#pragma once

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <ctime>

// Looks a function up once, without the guard of a static variable: run times take a lock for that.
inline void* NextSymbol(std::atomic<void*>& kept, char const* name) {
  void* next = kept.load(std::memory_order_relaxed);
  if (next == nullptr) {
    next = dlsym(RTLD_NEXT, name);
    kept.store(next, std::memory_order_relaxed);
  }
  return next;
}

// The function behind the one that stands in its place.
#define NEXT_FUNCTION(name)                \
  reinterpret_cast<decltype(&(name))>([] { \
    static std::atomic<void*> kept;        \
    return NextSymbol(kept, #name);        \
  }())

// DO(name, the function that does the same without waiting, parameters, arguments)
#define FOR_EACH_FUNCTION_THAT_LOCKS(DO)                                                                               \
  DO(pthread_mutex_lock, pthread_mutex_trylock, (pthread_mutex_t * lock), (lock))                                      \
  DO(pthread_mutex_trylock, pthread_mutex_trylock, (pthread_mutex_t * lock), (lock))                                   \
  DO(pthread_mutex_timedlock, pthread_mutex_trylock, (pthread_mutex_t * lock, timespec const* until), (lock, until))   \
  DO(pthread_mutex_clocklock, pthread_mutex_trylock, (pthread_mutex_t * lock, clockid_t clock, timespec const* until), \
     (lock, clock, until))                                                                                             \
  DO(pthread_rwlock_rdlock, pthread_rwlock_tryrdlock, (pthread_rwlock_t * lock), (lock))                               \
  DO(pthread_rwlock_wrlock, pthread_rwlock_trywrlock, (pthread_rwlock_t * lock), (lock))                               \
  DO(pthread_rwlock_tryrdlock, pthread_rwlock_tryrdlock, (pthread_rwlock_t * lock), (lock))                            \
  DO(pthread_rwlock_trywrlock, pthread_rwlock_trywrlock, (pthread_rwlock_t * lock), (lock))                            \
  DO(pthread_rwlock_timedrdlock, pthread_rwlock_tryrdlock, (pthread_rwlock_t * lock, timespec const* until),           \
     (lock, until))                                                                                                    \
  DO(pthread_rwlock_timedwrlock, pthread_rwlock_trywrlock, (pthread_rwlock_t * lock, timespec const* until),           \
     (lock, until))                                                                                                    \
  DO(pthread_rwlock_clockrdlock, pthread_rwlock_tryrdlock,                                                             \
     (pthread_rwlock_t * lock, clockid_t clock, timespec const* until), (lock, clock, until))                          \
  DO(pthread_rwlock_clockwrlock, pthread_rwlock_trywrlock,                                                             \
     (pthread_rwlock_t * lock, clockid_t clock, timespec const* until), (lock, clock, until))

// DO(name, parameters, arguments)
#define FOR_EACH_FUNCTION_THAT_UNLOCKS(DO)                   \
  DO(pthread_mutex_unlock, (pthread_mutex_t * lock), (lock)) \
  DO(pthread_rwlock_unlock, (pthread_rwlock_t * lock), (lock))
