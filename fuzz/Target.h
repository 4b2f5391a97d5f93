// What every fuzz target defines, as libFuzzer and Replay.cpp call it, and how it tells a fault.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t count);

namespace fuzz {

[[noreturn]] inline void Fail(std::string const& problem) {
  std::fprintf(stderr, "property broken: %s\n", problem.c_str());
  std::abort();
}

inline void Expect(bool holds, std::string const& problem) {
  if (!holds) Fail(problem);
}

}  // namespace fuzz
