// The library in whose place a tap stands. It is installed beside the tap under the same name and ".real", and the tap
// is linked with it, so it is loaded whenever the tap is.
#pragma once

namespace capture {

// The address of `symbol` in the loaded library `file` or in a library that it needs; null when none has it.
void* FindSymbol(char const* file, char const* symbol);

// The same. A library without the symbol cannot be tapped: ends the process, with a message in the system log.
void* RealSymbol(char const* file, char const* symbol);

template <typename Pointer>
Pointer RealSymbol(char const* file, char const* symbol) {
  return reinterpret_cast<Pointer>(RealSymbol(file, symbol));
}

}  // namespace capture
