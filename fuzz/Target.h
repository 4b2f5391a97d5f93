// The entry points that libFuzzer and Replay.cpp call in every fuzz target, and how a target reports a fault.
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
