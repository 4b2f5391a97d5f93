#include "bench/CallTimes.h"

#include <dlfcn.h>
#include <sys/resource.h>

#include <algorithm>

#include "bench/Hooks.h"
#include "platform/SensorProvider.h"

namespace {

using Clock = std::chrono::steady_clock;

thread_local Clock::duration inPlatform{};

}  // namespace

namespace NSCam::Utils {

// Stands before the platform's function of the same name, the only one that a frame calls.
__attribute__((visibility("default"))) bool SensorProvider::getAllSensorData(eSensorType type,
                                                                             std::vector<SensorData>& samples) {
  using Function = bool (*)(SensorProvider*, eSensorType, std::vector<SensorData>&);
  static auto const next = reinterpret_cast<Function>(dlsym(
      RTLD_NEXT,
      "_ZN5NSCam5Utils14SensorProvider16getAllSensorDataENS0_11eSensorTypeERSt6vectorINS0_10SensorDataESaIS4_EE"));
  Clock::time_point const begin = Clock::now();
  bool const result = next(this, type, samples);
  inPlatform += Clock::now() - begin;
  return result;
}

}  // namespace NSCam::Utils

namespace bench {
namespace {

Cause CauseOf(std::int64_t ns, Events const& before, Events const& after) {
  if (after.pageFaults > before.pageFaults) return kPageFault;
  if ((after.libraryWaitNs - before.libraryWaitNs) * 2 >= ns) return kLibraryLock;
  if (after.preemptions > before.preemptions) return kPreempted;
  if ((after.platformNs - before.platformNs) * 2 >= ns) return kPlatform;
  return kElsewhere;
}

}  // namespace

Events Events::Now() {
  static thread_local CountAllocations const allocations;
  rusage usage = {};
  getrusage(RUSAGE_THREAD, &usage);
  return {usage.ru_minflt + usage.ru_majflt, usage.ru_nivcsw, static_cast<std::int64_t>(allocations.SoFar()),
          CountWaits::SoFar().ns, std::chrono::nanoseconds(inPlatform).count()};
}

void CallTimes::Add(std::int64_t ns, Events const& before, Events const& after) {
  mNs.push_back(ns);
  mSummary.pageFaults += after.pageFaults - before.pageFaults;
  mSummary.allocations += after.allocations - before.allocations;
  if (ns >= kSlowNs) ++mSummary.slow[CauseOf(ns, before, after)];
}

CallTimes::Summary CallTimes::Summarise() {
  std::sort(mNs.begin(), mNs.end());
  auto const at = [this](std::size_t perMille) { return mNs[std::min(mNs.size() * perMille / 1000, mNs.size() - 1)]; };
  Summary summary = mSummary;
  summary.calls = mNs.size();
  summary.p50Ns = at(500);
  summary.p99Ns = at(990);
  summary.p999Ns = at(999);
  summary.maximumNs = mNs.back();
  return summary;
}

}  // namespace bench
