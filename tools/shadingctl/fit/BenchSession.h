// What a recording and a reference file say together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/fit/LagFit.h"

namespace shadingctl {

struct BenchSession {
  std::vector<HallSample> samples;
  std::vector<ReferenceFrame> frames;  // of the reference that the recording has
  std::size_t unknown = 0;             // of the reference that it does not have, or whose readout time it does not say
  std::vector<std::string> remarks;    // on the recording
};

// Reads both to their ends. `camera` may be missing where the recording has only one. A frame that is computed more
// than once counts by its first computation. Throws UnusableInput when one of the files cannot be used, or when they do
// not belong together.
BenchSession ReadBenchSession(std::string const& recording, std::string const& reference,
                              std::optional<std::int32_t> camera);

}  // namespace shadingctl
