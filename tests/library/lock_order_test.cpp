// Which of the library's locks are held while another one is taken and while the platform is called. This program's
// functions that lock stand before the C library's and watch the calls that come from the shared library.
#include <link.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>

#include "bench/LockFunctions.h"
#include "platform/desktop/Device.h"
#include "tests/library/HostThreads.h"
#include "tests/support/MountedCalibration.h"

namespace {

// Where the library's code lies; both 0 until it is loaded.
std::atomic<std::uintptr_t> codeBegin{0};
std::atomic<std::uintptr_t> codeEnd{0};

std::atomic<void*> creationMutex{nullptr};
std::atomic<void*> registryMutex{nullptr};  // the first one that is taken with no other held

std::atomic<unsigned int> violations{0};
std::atomic<unsigned int> creationLocks{0};
std::atomic<unsigned int> nestedLocks{0};
std::atomic<unsigned int> driverCalls{0};
std::atomic<unsigned int> pulls{0};

// The library's locks that this thread holds.
thread_local void* held[4];
thread_local unsigned int heldCount = 0;

void Complain(char const* problem, char const* detail) {
  if (violations++ == 0) std::fprintf(stderr, "%s %s\n", problem, detail);
}

bool IsLibrarys(void const* returnAddress) {
  auto const address = reinterpret_cast<std::uintptr_t>(returnAddress);
  return address >= codeBegin && address < codeEnd;
}

void Take(void* lock) {
  if (lock == creationMutex) ++creationLocks;
  if (heldCount == 0 && lock != creationMutex) {
    void* expected = nullptr;
    if (!registryMutex.compare_exchange_strong(expected, lock) && expected != lock) {
      Complain("a buffer's lock is taken", "without the registry's");
    }
  }
  if (heldCount == 1) {
    ++nestedLocks;
    if (held[0] != registryMutex || lock == registryMutex || lock == creationMutex) {
      Complain("a lock is taken", "against the order");
    }
  }
  if (heldCount >= 2) Complain("a third lock", "is taken");
  if (heldCount < 4) held[heldCount++] = lock;
}

void Release(void* lock) {
  for (unsigned int i = 0; i < heldCount; ++i) {
    if (held[i] != lock) continue;
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

}  // namespace

#define WATCH_LOCK(name, tryName, parameters, arguments)                    \
  extern "C" int name parameters noexcept {                                 \
    auto const next = NEXT_FUNCTION(name);                                  \
    int const result = next arguments;                                      \
    if (result == 0 && IsLibrarys(__builtin_return_address(0))) Take(lock); \
    return result;                                                          \
  }
// Whoever calls: the library's last call of a function returns to the host.
#define WATCH_UNLOCK(name, parameters, arguments) \
  extern "C" int name parameters noexcept {       \
    auto const next = NEXT_FUNCTION(name);        \
    Release(lock);                                \
    return next arguments;                        \
  }
FOR_EACH_FUNCTION_THAT_LOCKS(WATCH_LOCK)
FOR_EACH_FUNCTION_THAT_UNLOCKS(WATCH_UNLOCK)

TEST(Locks, AreTakenInOrderAndNeverHeldWhileTheDriverIsCalled) {
#ifdef _LIBCPP_VERSION
  GTEST_SKIP() << "this standard library locks in a library of its own, not in the code that is watched";
#endif
  MountedCalibration const calibrationFiles;
  if (testing::Test::IsSkipped()) return;
  SharedObject const library;
  dl_iterate_phdr(FindCode, nullptr);
  ASSERT_NE(codeBegin, 0U);
  creationMutex = library.Find<void*>("_ZN16VeyraShadingUtil12mSingleMutexE");
  desktop::Device::Get().WatchCalls(WatchCall);
  stress::Counts counts;
  stress::RunHostThreads(library, 1000, counts);
  desktop::Device::Get().WatchCalls(nullptr);
  EXPECT_EQ(violations, 0U);
  EXPECT_EQ(counts.wrongAnswers, 0U);
  EXPECT_EQ(creationLocks, 1U) << "the object is made once, and its lock serves for nothing else";
  EXPECT_GT(nestedLocks, 500U);
  EXPECT_GT(driverCalls, 500U);
  EXPECT_GT(pulls, 500U);
}
