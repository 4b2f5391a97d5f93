// std::mutex with the attributes by which clang checks who holds which lock (-Wthread-safety); other compilers see a
// plain std::mutex of the same size.
#pragma once

#include <mutex>

#if defined(__clang__)
#define LSC_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define LSC_THREAD_ATTRIBUTE(x)
#endif

#define LSC_GUARDED_BY(mutex) LSC_THREAD_ATTRIBUTE(guarded_by(mutex))
#define LSC_REQUIRES(...) LSC_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define LSC_EXCLUDES(...) LSC_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define LSC_NO_THREAD_SAFETY_ANALYSIS LSC_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace lsc {

class LSC_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
 public:
  void lock() noexcept LSC_THREAD_ATTRIBUTE(acquire_capability()) { mMutex.lock(); }
  void unlock() LSC_THREAD_ATTRIBUTE(release_capability()) { mMutex.unlock(); }

 private:
  std::mutex mMutex;
};

// Holds a Mutex for its own scope.
class LSC_THREAD_ATTRIBUTE(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) noexcept LSC_THREAD_ATTRIBUTE(acquire_capability(mutex)) : mMutex(mutex) {
    mMutex.lock();
  }
  ~MutexLock() LSC_THREAD_ATTRIBUTE(release_capability()) { mMutex.unlock(); }
  MutexLock(MutexLock const&) = delete;
  MutexLock& operator=(MutexLock const&) = delete;

 private:
  Mutex& mMutex;
};

}  // namespace lsc
