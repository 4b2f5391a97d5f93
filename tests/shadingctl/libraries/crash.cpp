// A library that takes the process down while it is loaded.
#include <cstdlib>

__attribute__((constructor)) static void Crash() { std::abort(); }
