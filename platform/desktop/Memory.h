// Memory that runs out on demand, in every program that links this part: it replaces the allocations that answer null
// instead of failing (operator new with std::nothrow), for the shared libraries that the program loads as well.
#pragma once

namespace desktop {

// The next `count` such allocations of the calling thread answer null. 0 ends it.
void FailAllocations(int count);

// How many were refused on the calling thread since the last FailAllocations.
int FailedAllocations();

}  // namespace desktop
