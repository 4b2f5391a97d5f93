// Memory that runs out at a chosen allocation inside the library, in every program that links this part: it replaces
// operator new in all its forms.
#pragma once

namespace faults {

// What the allocations inside the library came to. It lies in memory that a process shares with those that it starts,
// so that the one that looks learns how far one went that ended.
struct Allocations {
  int seen;
  int thrown;   // failed with std::bad_alloc
  int refused;  // failed with null
};

// Counts from 0 on and fails `count` allocations from number `first` on.
Allocations& FailAllocations(int first, int count);

// Ends that; what was counted stays.
void StopFailing();

}  // namespace faults
