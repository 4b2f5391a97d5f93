// What `replay --format json` wrote about one recording, without its rows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "recording/Session.h"

namespace shadingctl {

struct CameraResult {
  std::int64_t camera = 0;
  std::uint64_t frames = 0;
  std::uint64_t warmUpFrames = 0;
  std::uint64_t recordedNs = 0;
  std::vector<std::pair<std::string, std::uint64_t>> matches;  // frames of each kind, in the order of the file
  std::uint64_t samples = 0;
  std::uint64_t recordedAnswers = 0;
  std::uint64_t differentAnswers = 0;
  std::optional<double> coverage;      // median share of a readout that a span covers
  std::optional<double> carriedAgeUs;  // largest
  std::optional<double> sampleRateHz;
  std::optional<double> jitterUs;
  std::optional<double> longestIntervalUs;
};

struct ResultFinding {
  std::string code;
  std::uint64_t frames = 0;  // 0 where a finding is not about frames
};

struct ReplayResult {
  std::string session;
  bool isComplete = true;
  std::string error;  // why it is not
  recording::Capture capture;
  std::vector<CameraResult> cameras;
  std::vector<ResultFinding> findings;
};

// Reads a result in the memory of one without rows, however many rows it has; "-" is standard input. Throws
// UnusableInput when the file cannot be read or is no such result of a known version.
ReplayResult ReadReplayResult(std::string const& path);

}  // namespace shadingctl
