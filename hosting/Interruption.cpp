#include "hosting/Interruption.h"

#include <poll.h>
#include <signal.h>

#include <atomic>

namespace hosting {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

std::atomic<int> firstSignal{0};
std::atomic<int> signalCount{0};
static_assert(std::atomic<int>::is_always_lock_free, "written by a signal handler");

void Remember(int signal) {
  int none = 0;
  firstSignal.compare_exchange_strong(none, signal);
  ++signalCount;
}

}  // namespace

void RememberInterruptions() {
  for (int const signal : kSignals) {
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = Remember;  // without SA_RESTART: a blocked call returns
    sigaction(signal, &action, nullptr);
  }
}

int InterruptedBy() { return firstSignal; }

void EndIfInterrupted() {
  if (firstSignal != 0) throw Interrupted();
}

bool IsInterruptedAgain() { return signalCount > 1; }

void WaitForInput(int descriptor) {
  // Signals are blocked between the test of the flag and the wait; one in between would be missed.
  sigset_t held;
  sigset_t before;
  sigemptyset(&held);
  for (int const signal : kSignals) sigaddset(&held, signal);
  sigprocmask(SIG_BLOCK, &held, &before);
  pollfd wanted = {descriptor, POLLIN, 0};
  while (firstSignal == 0 && ppoll(&wanted, 1, nullptr, &before) < 0) {
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
  EndIfInterrupted();
}

}  // namespace hosting
