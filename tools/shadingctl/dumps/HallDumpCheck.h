// Whether a dump's position follows from its samples.
#pragma once

#include <optional>
#include <string>

#include "tools/shadingctl/dumps/HallDumpFile.h"

namespace shadingctl {

// What is wrong with the position: "expected ..., found ..."; empty when one of the library's calculations (mean,
// maximum, middle, last) gives it, for both axes the same. Samples and position are printed with six decimals, so a
// mean may differ by that.
std::optional<std::string> CheckPosition(HallDump const& dump);

}  // namespace shadingctl
