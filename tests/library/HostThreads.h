// Eight threads of a host that compete for three cameras.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "tests/library/HostView.h"

namespace stress {

constexpr std::size_t kThreads = 8;

// What the threads did, and the wrong answers that they got.
struct Counts {
  std::atomic<unsigned int> registered{0};
  std::atomic<unsigned int> refused{0};
  std::atomic<unsigned int> positions{0};
  std::atomic<unsigned int> samples{0};
  std::atomic<unsigned int> rollingShutters{0};
  std::atomic<unsigned int> calibrations{0};
  std::atomic<unsigned int> wrongAnswers{0};  // that no order of the calls explains
};

// Every thread makes `rounds` calls, drawn from a seed of its own. The calibration files must be mounted. Ends the
// process with a message when no call has come back for a minute.
void RunHostThreads(SharedObject const& library, unsigned int rounds, Counts& counts);

}  // namespace stress
