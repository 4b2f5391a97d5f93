// Which of the library's locks are held while another one is taken and while the platform is called. This program's
// pthread_mutex_lock stands before the C library's and watches the calls that come from the shared library.
#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/desktop/Device.h"
#include "tests/library/HostThreads.h"
#include "tests/support/MountedCalibration.h"

namespace {

// Where the library's code lies; both 0 until it is loaded.
std::atomic<std::uintptr_t> codeBegin{0};
std::atomic<std::uintptr_t> codeEnd{0};

std::atomic<pthread_mutex_t*> creationMutex{nullptr};
std::atomic<pthread_mutex_t*> registryMutex{nullptr};  // the first one that is taken with no other held

std::atomic<unsigned int> violations{0};
std::atomic<unsigned int> nestedLocks{0};
std::atomic<unsigned int> driverCalls{0};
std::atomic<unsigned int> pulls{0};

// The library's mutexes that this thread holds.
thread_local pthread_mutex_t* held[4];
thread_local unsigned int heldCount = 0;

void Complain(char const* problem, char const* detail) {
  if (violations++ == 0) std::fprintf(stderr, "%s %s\n", problem, detail);
}

bool IsLibrarys(void const* returnAddress) {
  auto const address = reinterpret_cast<std::uintptr_t>(returnAddress);
  return address >= codeBegin && address < codeEnd;
}

void Take(pthread_mutex_t* mutex) {
  if (heldCount == 0 && mutex != creationMutex) {
    pthread_mutex_t* expected = nullptr;
    if (!registryMutex.compare_exchange_strong(expected, mutex) && expected != mutex) {
      Complain("a buffer's lock is taken", "without the registry's");
    }
  }
  if (heldCount == 1) {
    ++nestedLocks;
    if (held[0] != registryMutex || mutex == registryMutex || mutex == creationMutex) {
      Complain("a lock is taken", "against the order");
    }
  }
  if (heldCount >= 2) Complain("a third lock", "is taken");
  if (heldCount < 4) held[heldCount++] = mutex;
}

void Release(pthread_mutex_t* mutex) {
  for (unsigned int i = 0; i < heldCount; ++i) {
    if (held[i] != mutex) continue;
    if (i + 1 != heldCount) Complain("a lock is released", "that is not the newest");
    --heldCount;
  }
}

void WatchCall(char const* call) {
  std::string const name(call, std::strcspn(call, " "));
  for (char const* const ofDriver : {"IHalSensorList::get", "sensorIndex", "sensorDevice", "openSensor", "sendCommand",
                                     "release", "staticInformation"}) {
    if (name != ofDriver) continue;
    ++driverCalls;
    if (heldCount != 0) Complain("with a lock held:", call);
  }
  if (name == "getAllSensorData" || name == "enableSensor" || name == "disableSensor") {
    ++pulls;
    if (heldCount != 1 || held[0] != registryMutex) Complain("without the registry's lock alone:", call);
  }
}

// dl_iterate_phdr calls it for every loaded object.
int FindCode(dl_phdr_info* object, std::size_t, void*) {
  if (std::strstr(object->dlpi_name, "libvcam_shadingutil.so") == nullptr) return 0;
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    auto const& segment = object->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0) continue;
    codeBegin = object->dlpi_addr + segment.p_vaddr;
    codeEnd = codeBegin + segment.p_memsz;
  }
  return 1;
}

using MutexCall = int (*)(pthread_mutex_t*);

MutexCall Next(char const* name, std::atomic<MutexCall>& found) {
  if (found == nullptr) found = reinterpret_cast<MutexCall>(dlsym(RTLD_NEXT, name));
  return found;
}

std::atomic<MutexCall> nextLock{nullptr};
std::atomic<MutexCall> nextUnlock{nullptr};

}  // namespace

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) {
  int const result = Next("pthread_mutex_lock", nextLock)(mutex);
  if (IsLibrarys(__builtin_return_address(0))) Take(mutex);
  return result;
}

extern "C" int pthread_mutex_unlock(pthread_mutex_t* mutex) {
  Release(mutex);  // whoever calls: the library's last call of a function returns to the host
  return Next("pthread_mutex_unlock", nextUnlock)(mutex);
}

TEST(Locks, AreTakenInOrderAndNeverHeldWhileTheDriverIsCalled) {
#ifdef _LIBCPP_VERSION
  GTEST_SKIP() << "this standard library locks in a library of its own, not in the code that is watched";
#endif
  MountedCalibration const calibrationFiles;
  SharedObject const library;
  dl_iterate_phdr(FindCode, nullptr);
  ASSERT_NE(codeBegin, 0U);
  creationMutex = library.Find<pthread_mutex_t*>("_ZN16VeyraShadingUtil12mSingleMutexE");
  desktop::Device::Get().WatchCalls(WatchCall);
  stress::Counts counts;
  stress::RunHostThreads(library, 1000, counts);
  desktop::Device::Get().WatchCalls(nullptr);
  EXPECT_EQ(violations, 0U);
  EXPECT_EQ(counts.wrongAnswers, 0U);
  EXPECT_GT(nestedLocks, 500U);
  EXPECT_GT(driverCalls, 500U);
  EXPECT_GT(pulls, 500U);
}
