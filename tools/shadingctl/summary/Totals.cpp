#include "tools/shadingctl/summary/Totals.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

namespace shadingctl {
namespace {

enum MeasureIndex : std::size_t { kMatchRate, kCoverage, kCarriedAge, kSampleRate, kJitter, kLongestInterval };

void AddTo(std::vector<std::pair<std::string, std::uint64_t>>& counts, std::string const& name, std::uint64_t count) {
  auto const known = std::find_if(counts.begin(), counts.end(), [&](auto const& entry) { return entry.first == name; });
  if (known == counts.end()) {
    counts.emplace_back(name, count);
  } else {
    known->second += count;
  }
}

std::optional<double> MatchRateOf(CameraResult const& camera) {
  if (camera.frames <= camera.warmUpFrames) return std::nullopt;
  for (auto const& [name, count] : camera.matches) {
    if (name != "start") continue;
    double const share = static_cast<double>(count) / static_cast<double>(camera.frames - camera.warmUpFrames);
    return std::min(share, 1.0);
  }
  return std::nullopt;
}

// What a result says is not to be trusted with an index.
void AddFigure(Measure& measure, std::optional<double> const& value) {
  if (!value || !std::isfinite(*value) || *value < 0 || (measure.scale == Scale::kShare && *value > 1)) return;
  measure.percentiles.Add(*value);
}

}  // namespace

Totals::Totals(std::size_t worst) : mWorstCount(worst) {
  mMeasures.push_back({"match_rate", "match rate, %", Scale::kShare, Percentiles(Scale::kShare)});
  mMeasures.push_back({"coverage", "covered (median), %", Scale::kShare, Percentiles(Scale::kShare)});
  mMeasures.push_back({"carried_age_us", "oldest carried, us", Scale::kQuantity, Percentiles(Scale::kQuantity)});
  mMeasures.push_back({"rate_hz", "samples a second", Scale::kQuantity, Percentiles(Scale::kQuantity)});
  mMeasures.push_back({"jitter_us", "jitter, us", Scale::kQuantity, Percentiles(Scale::kQuantity)});
  mMeasures.push_back({"longest_us", "longest interval, us", Scale::kQuantity, Percentiles(Scale::kQuantity)});
}

void Totals::Add(std::string const& file, ReplayResult const& result) {
  ++mResults;
  if (!result.isComplete) ++mUnfinished;
  for (CameraResult const& camera : result.cameras) AddCamera(file, result.session, camera);
  for (ResultFinding const& finding : result.findings) {
    FindingTotal& total = mFindings[finding.code];
    ++total.cameras;
    total.frames += finding.frames;
  }
}

void Totals::AddCamera(std::string const& file, std::string const& session, CameraResult const& camera) {
  ++mCameras;
  mSum.frames += camera.frames;
  mSum.warmUpFrames += camera.warmUpFrames;
  mSum.recordedNs += camera.recordedNs;
  mSum.samples += camera.samples;
  mSum.recordedAnswers += camera.recordedAnswers;
  mSum.differentAnswers += camera.differentAnswers;
  for (auto const& [name, count] : camera.matches) AddTo(mSum.matches, name, count);
  auto const matchRate = MatchRateOf(camera);
  AddFigure(mMeasures[kMatchRate], matchRate);
  AddFigure(mMeasures[kCoverage], camera.coverage);
  AddFigure(mMeasures[kCarriedAge], camera.carriedAgeUs);
  AddFigure(mMeasures[kSampleRate], camera.sampleRateHz);
  AddFigure(mMeasures[kJitter], camera.jitterUs);
  AddFigure(mMeasures[kLongestInterval], camera.longestIntervalUs);
  if (!matchRate) return;
  mWorst.insert({*matchRate, session, camera.camera, file});
  if (mWorst.size() > mWorstCount) mWorst.erase(std::prev(mWorst.end()));
}

}  // namespace shadingctl
