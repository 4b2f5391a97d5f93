#include "tools/shadingctl/summary/Totals.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "hosting/UnusableInput.h"
#include "recording/Recording.h"
#include "tools/shadingctl/result/ResultReader.h"

namespace shadingctl {
namespace {

constexpr std::size_t kWorstOfFinding = 10;

std::optional<double> MatchRateOf(CameraResult const& camera) {
  auto const start = camera.matches.find("start");
  if (camera.frames <= camera.warmUpFrames || start == camera.matches.end()) return std::nullopt;
  return std::min(static_cast<double>(start->second) / static_cast<double>(camera.frames - camera.warmUpFrames), 1.0);
}

// The library would turn a negative number into a large one.
std::uint64_t CountOf(Json const& object, char const* key) {
  Json const& count = object.at(key);
  if (!count.is_number_unsigned()) {
    throw hosting::UnusableInput(fmt::format("{}: expected a whole number from 0, found {}", key, count.dump()));
  }
  return count.get<std::uint64_t>();
}

std::optional<double> NumberOf(Json const& object, char const* key) {
  Json const& number = object.at(key);
  return number.is_null() ? std::nullopt : std::optional<double>(number.get<double>());
}

CameraResult CameraOf(Json const& object) {
  CameraResult camera;
  camera.camera = object.at("camera").get<std::int64_t>();
  camera.frames = CountOf(object, "frames");
  camera.warmUpFrames = CountOf(object, "warm_up_frames");
  if (camera.warmUpFrames > camera.frames) {
    throw hosting::UnusableInput(
        fmt::format("warm_up_frames: expected at most {}, found {}", camera.frames, camera.warmUpFrames));
  }
  camera.recordedNs = CountOf(object, "recorded_ns");
  Json const& matches = object.at("matches");
  for (auto const& kind : matches.items()) camera.matches[kind.key()] = CountOf(matches, kind.key().c_str());
  camera.samples = CountOf(object.at("samples"), "delivered");
  camera.recordedAnswers = CountOf(object.at("answers"), "recorded");
  camera.differentAnswers = CountOf(object.at("answers"), "different");
  for (std::size_t i = 0; i < kMeasures.size(); ++i) {
    Measure const& measure = kMeasures[i];
    camera.figures[i] =
        measure.object == nullptr ? MatchRateOf(camera) : NumberOf(object.at(measure.object), measure.member);
  }
  return camera;
}

std::size_t SeverityOf(Json const& name) {
  auto const* const found = std::find(kSeverityNames.begin(), kSeverityNames.end(), name.get<std::string>());
  if (found == kSeverityNames.end()) {
    throw hosting::UnusableInput("severity: expected wrong, lost or note, found " + name.dump());
  }
  return static_cast<std::size_t>(found - kSeverityNames.begin());
}

ReplayResult ResultOf(ResultHead const& head) {
  ReplayResult result;
  result.session = head.Member("settings").at("session").get<std::string>();
  result.isComplete = head.isComplete;
  result.error = head.error;
  Json const& capture = head.Member("summary").at("capture");
  auto const state = recording::CaptureStateOf(capture.at("state").get<std::string>());
  if (!state) throw hosting::UnusableInput("state: expected that of a capture, found " + capture.at("state").dump());
  result.capture = {*state, CountOf(capture, "lost_calls"), CountOf(capture, "lost_samples")};
  for (Json const& camera : head.Member("summary").at("cameras")) result.cameras.push_back(CameraOf(camera));
  for (Json const& finding : head.Member("findings")) {
    result.findings.push_back({finding.at("code").get<std::string>(), finding.at("camera").get<std::int64_t>(),
                               SeverityOf(finding.at("severity")), CountOf(finding.at("frames"), "count")});
  }
  return result;
}

void Remember(std::set<RankedCamera>& worst, RankedCamera const& camera, std::size_t most) {
  worst.insert(camera);
  if (worst.size() > most) worst.erase(std::prev(worst.end()));
}

// What a result says is not to be trusted with an index.
bool IsOnScale(double value, Scale scale) {
  return std::isfinite(value) && value >= 0 && (scale == Scale::kQuantity || value <= 1);
}

}  // namespace

ReplayResult ReadReplayResult(std::string const& path) {
  ResultSink sink;
  sink.onRow = [](ResultRow const&) {};
  ResultHead const head = ReadResult(path, {kReplaySchema}, sink);
  if (head.isCsv) {
    throw hosting::UnusableInput(fmt::format("{}: expected a result of replay --format json, found CSV", head.name));
  }
  try {
    return ResultOf(head);
  } catch (Json::exception const& error) {
    std::string const reason = error.what();  // "[json.exception.NAME.NUMBER] REASON"
    throw hosting::UnusableInput(fmt::format("{}: expected a result of replay --format json, found a fault in it: {}",
                                             path, reason.substr(reason.find("] ") + 2)));
  } catch (hosting::UnusableInput const& error) {
    throw hosting::UnusableInput(fmt::format("{}: {}", path, error.what()));
  }
}

Totals::Totals(std::size_t worst) : mWorstCount(worst) {
  for (Measure const& measure : kMeasures) mMeasures.emplace_back(measure, Percentiles(measure.scale));
}

void Totals::Add(std::string const& file, ReplayResult const& result) {
  ++mResults;
  if (!result.isComplete) ++mUnfinished;
  for (CameraResult const& camera : result.cameras) AddCamera(file, result, camera);
}

void Totals::AddCamera(std::string const& file, ReplayResult const& result, CameraResult const& camera) {
  ++mCameras;
  mSum.frames += camera.frames;
  mSum.warmUpFrames += camera.warmUpFrames;
  mSum.recordedNs += camera.recordedNs;
  mSum.samples += camera.samples;
  mSum.recordedAnswers += camera.recordedAnswers;
  mSum.differentAnswers += camera.differentAnswers;
  for (auto const& [name, count] : camera.matches) mSum.matches[name] += count;
  for (std::size_t i = 0; i < kMeasures.size(); ++i) {
    auto const& figure = camera.figures[i];
    if (figure && IsOnScale(*figure, kMeasures[i].scale)) mMeasures[i].second.Add(*figure);
  }
  auto const& matchRate = camera.figures.front();
  RankedCamera const unranked = {kSeverityNames.size(), 0, matchRate.value_or(0), result.session, camera.camera, file};
  RankedCamera ranked = unranked;
  for (ResultFinding const& finding : result.findings) {
    if (finding.camera != camera.camera) continue;
    FindingTotal& total = mFindings[finding.code];
    total.severity = std::min(total.severity, finding.severity);
    ++total.cameras;
    total.frames += finding.frames;
    RankedCamera ofFinding = unranked;
    ofFinding.severity = finding.severity;
    ofFinding.frames = finding.frames;
    Remember(total.worst, ofFinding, std::min(mWorstCount, kWorstOfFinding));
    if (finding.severity > ranked.severity) continue;
    ranked.frames = (finding.severity < ranked.severity ? 0 : ranked.frames) + finding.frames;
    ranked.severity = finding.severity;
  }
  if (matchRate) Remember(mWorst, ranked, mWorstCount);
}

}  // namespace shadingctl
