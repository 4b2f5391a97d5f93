// SIGINT, SIGTERM and SIGHUP: recorded when they arrive, acted upon where the program can stop.
#pragma once

#include <exception>

namespace hosting {

// Thrown where a signal ends the work or the wait.
class Interrupted : public std::exception {
 public:
  char const* what() const noexcept override { return "interrupted"; }
};

// From now on SIGINT, SIGTERM and SIGHUP only set a flag and interrupt a blocked system call. A signal that the parent
// process has chosen to ignore stays ignored.
void RememberInterruptions();

// The first signal that came; 0 as long as none did.
int InterruptedBy();

// Throws Interrupted if one came. For a loop that may take long.
void EndIfInterrupted();

// Whether more than one came: the second one also ends the wait for another process.
bool IsInterruptedAgain();

// Waits until `descriptor` can be read without blocking. Throws Interrupted, also for a signal that came before.
void WaitForInput(int descriptor);

}  // namespace hosting
