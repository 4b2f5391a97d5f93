// Any number of results put together, in constant memory.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "recording/Session.h"
#include "tools/shadingctl/summary/Percentiles.h"

namespace shadingctl {

// A figure of a camera, of which totals have percentiles.
struct Measure {
  char const* name;   // as in JSON
  char const* title;  // as in the text, with its unit
  Scale scale;
  char const* object;  // of a result, whose member is the figure; null: the share of the frames with a start
  char const* member;
};
constexpr std::array<Measure, 6> kMeasures = {{
    {"match_rate", "match rate, %", Scale::kShare, nullptr, nullptr},
    {"coverage", "covered (median), %", Scale::kShare, "coverage", "median"},
    {"carried_age_us", "oldest carried, us", Scale::kQuantity, "carried_age_us", "largest"},
    {"rate_hz", "samples a second", Scale::kQuantity, "samples", "rate_hz"},
    {"jitter_us", "jitter, us", Scale::kQuantity, "samples", "jitter_us"},
    {"longest_us", "longest interval, us", Scale::kQuantity, "samples", "longest_us"},
}};

// What `replay --format json` says about a camera, without its rows.
struct CameraResult {
  std::int64_t camera = 0;
  std::uint64_t frames = 0;
  std::uint64_t warmUpFrames = 0;
  std::uint64_t recordedNs = 0;
  nlohmann::ordered_map<std::string, std::uint64_t> matches;  // frames of each kind, in the order of the file
  std::uint64_t samples = 0;
  std::uint64_t recordedAnswers = 0;
  std::uint64_t differentAnswers = 0;
  std::array<std::optional<double>, kMeasures.size()> figures;  // of kMeasures
};

// Names of severities, the gravest first; a place behind them is none of these.
constexpr std::array<std::string_view, 3> kSeverityNames = {"wrong", "lost", "note"};

struct ResultFinding {
  std::string code;
  std::int64_t camera = 0;
  std::size_t severity = 0;  // index of its name
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

// A camera of a recording: by the gravest of its findings, by the frames of these, and by the share of its frames after
// the warm-up that have a start. The worst comes first.
struct RankedCamera {
  std::size_t severity = kSeverityNames.size();
  std::uint64_t frames = 0;
  double matchRate = 0;
  std::string session;
  std::int64_t camera = 0;
  std::string file;

  bool operator<(RankedCamera const& other) const {
    return std::tie(severity, other.frames, matchRate, session, camera, file) <
           std::tie(other.severity, frames, other.matchRate, other.session, other.camera, other.file);
  }
};

struct FindingTotal {
  std::size_t severity = kSeverityNames.size();  // the gravest
  std::uint64_t cameras = 0;
  std::uint64_t frames = 0;
  std::set<RankedCamera> worst;  // by this finding alone
};

class Totals {
 public:
  // Remembers the `worst` cameras, and as many for each finding, ten at most.
  explicit Totals(std::size_t worst);

  void Add(std::string const& file, ReplayResult const& result);
  void AddUnusable() { ++mUnusable; }

  std::uint64_t Results() const { return mResults; }
  std::uint64_t Unfinished() const { return mUnfinished; }  // of the results: those that ended early
  std::uint64_t Unusable() const { return mUnusable; }      // beside the results
  std::uint64_t DifferentAnswers() const { return mSum.differentAnswers; }

  std::string Text() const;
  std::string ToJson() const;

 private:
  void AddCamera(std::string const& file, ReplayResult const& result, CameraResult const& camera);
  std::vector<std::pair<std::string, FindingTotal>> RankedFindings() const;
  std::string FindingsText() const;
  std::string MatchText() const;
  std::string MeasuresText() const;
  std::uint64_t WarmFrames() const { return mSum.frames - mSum.warmUpFrames; }

  std::size_t mWorstCount;
  std::uint64_t mResults = 0;
  std::uint64_t mUnfinished = 0;
  std::uint64_t mUnusable = 0;
  std::uint64_t mCameras = 0;
  CameraResult mSum;  // the counts alone
  std::map<std::string, FindingTotal> mFindings;
  std::vector<std::pair<Measure, Percentiles>> mMeasures;  // across the cameras of all recordings that have the figure
  std::set<RankedCamera> mWorst;
};

}  // namespace shadingctl
