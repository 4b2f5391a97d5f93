// A recording joined with the reference of its frames, and its fit as text, CSV and JSON. docs/bench.md has the
// columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/fit/LagFit.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {

// By field (frame, x, y): the name of its column where that is another one.
using ReferenceColumns = std::map<std::string, std::string>;

struct Reference {
  std::string path;
  ReferenceColumns columns;
  bool skipBad = false;  // passes over rows that cannot be read or that name a frame again
};

struct BenchSession {
  std::string recording;  // its name, as is the next
  std::string reference;
  std::vector<HallSample> samples;
  std::vector<ReferenceFrame> frames;  // of the reference, as far as the recording has them
  std::size_t unknown = 0;             // other frames of the reference, and those before the first readout time
  std::size_t skipped = 0;             // rows of the reference that could not be read
  std::vector<std::string> remarks;    // on the recording
};

// Reads both to their ends. `camera` may be missing where the recording has only one. A frame that is computed more
// than once counts by its first computation. Throws UnusableInput when one of the files cannot be used.
BenchSession ReadBenchSession(std::string const& recording, Reference const& reference,
                              std::optional<std::int32_t> camera);

constexpr char kFitSchema[] = "shadingctl-fit";
constexpr int kFitVersion = 2;

// All that is told of the fit of a session; text and CSV show parts of it.
Json FitDocument(ReferenceFit const& fit, BenchSession const& session);

// A row for each quantity of each axis, as the CSV has them.
Json FitRows(Json const& document);

std::string FitText(Json const& document);

}  // namespace shadingctl
