#include "tools/shadingctl/summary/ReplayResult.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "hosting/UnusableInput.h"
#include "recording/Recording.h"
#include "tools/shadingctl/result/ResultFile.h"

namespace shadingctl {
namespace {

using Json = nlohmann::ordered_json;

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
  for (auto const& kind : matches.items()) {
    camera.matches.emplace_back(kind.key(), CountOf(matches, kind.key().c_str()));
  }
  camera.samples = CountOf(object.at("samples"), "delivered");
  camera.recordedAnswers = CountOf(object.at("answers"), "recorded");
  camera.differentAnswers = CountOf(object.at("answers"), "different");
  camera.coverage = NumberOf(object.at("coverage"), "median");
  camera.carriedAgeUs = NumberOf(object.at("carried_age_us"), "largest");
  camera.sampleRateHz = NumberOf(object.at("samples"), "rate_hz");
  camera.jitterUs = NumberOf(object.at("samples"), "jitter_us");
  camera.longestIntervalUs = NumberOf(object.at("samples"), "longest_us");
  return camera;
}

recording::Capture CaptureOf(Json const& object) {
  auto const state = recording::CaptureStateOf(object.at("state").get<std::string>());
  if (!state) throw hosting::UnusableInput("state: expected that of a capture, found " + object.at("state").dump());
  return {*state, CountOf(object, "lost_calls"), CountOf(object, "lost_samples")};
}

ReplayResult ResultOf(ResultHead const& head) {
  ReplayResult result;
  result.session = head.settings.at("session").get<std::string>();
  result.isComplete = head.isComplete;
  result.error = head.error;
  result.capture = CaptureOf(head.summary.at("capture"));
  for (Json const& camera : head.summary.at("cameras")) result.cameras.push_back(CameraOf(camera));
  for (Json const& finding : head.findings) {
    result.findings.push_back({finding.at("code").get<std::string>(), CountOf(finding.at("frames"), "count")});
  }
  return result;
}

}  // namespace

ReplayResult ReadReplayResult(std::string const& path) {
  ResultHead const head = ReadResult(path, [](Json const&) {});
  if (head.settings.empty()) {
    throw hosting::UnusableInput(fmt::format("{}: expected a result of replay --format json, found CSV", path));
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

}  // namespace shadingctl
