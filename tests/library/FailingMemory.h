// Memory that runs out at a chosen allocation inside the library, in every program that links this part: it replaces
// operator new in all its forms.
#pragma once

namespace faults {

// Counts of the allocations inside the library. They lie in memory shared with child processes, so that a parent learns
// how far a child got before it ended.
struct Allocations {
  int seen;
  int thrown;   // failed with std::bad_alloc
  int refused;  // failed with null
};

// Counts from 0 on and fails `count` allocations from number `first` on.
Allocations& FailAllocations(int first, int count);

// No allocation fails any more; the counts stay.
void StopFailing();

}  // namespace faults
