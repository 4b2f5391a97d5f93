// Any number of results put together, in constant memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tools/shadingctl/summary/Percentiles.h"
#include "tools/shadingctl/summary/ReplayResult.h"

namespace shadingctl {

// A camera of a recording, by the share of its frames after the warm-up that have a start.
struct RankedCamera {
  double matchRate = 0;
  std::string session;
  std::int64_t camera = 0;
  std::string file;

  bool operator<(RankedCamera const& other) const {
    return std::tie(matchRate, session, camera, file) <
           std::tie(other.matchRate, other.session, other.camera, other.file);
  }
};

struct FindingTotal {
  std::uint64_t cameras = 0;
  std::uint64_t frames = 0;
};

// Percentiles of one figure across the cameras of all recordings that have it.
struct Measure {
  char const* name;   // as in JSON
  char const* title;  // as in the text, with its unit
  Scale scale;
  Percentiles percentiles;
};

class Totals {
 public:
  // Remembers the `worst` cameras with the lowest match rates.
  explicit Totals(std::size_t worst);

  void Add(std::string const& file, ReplayResult const& result);
  void AddUnusable() { ++mUnusable; }

  std::uint64_t Results() const { return mResults; }
  std::uint64_t Unfinished() const { return mUnfinished; }  // of the results: those that ended early
  std::uint64_t Unusable() const { return mUnusable; }      // beside the results
  std::uint64_t DifferentAnswers() const { return mSum.differentAnswers; }

  std::string Text() const;
  std::string Json() const;

 private:
  void AddCamera(std::string const& file, std::string const& session, CameraResult const& camera);
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
  std::vector<Measure> mMeasures;
  std::set<RankedCamera> mWorst;
};

}  // namespace shadingctl
