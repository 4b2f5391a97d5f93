#include "tools/shadingctl/aggregate/ReplayResult.h"

#include <fmt/format.h>

#include <cerrno>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "hosting/UnusableInput.h"

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

ReplayResult ResultOf(Json const& document) {
  constexpr char const* kSchema = "shadingctl-replay";
  constexpr int kVersion = 1;
  if (document.at("schema") != kSchema || document.at("version") != kVersion) {
    throw hosting::UnusableInput(fmt::format("expected {} of version {}, found {} of version {}", kSchema, kVersion,
                                             document.at("schema").dump(), document.at("version").dump()));
  }
  ReplayResult result;
  result.session = document.at("settings").at("session").get<std::string>();
  result.isComplete = document.at("complete").get<bool>();
  if (!result.isComplete && document.at("error").is_string()) result.error = document.at("error").get<std::string>();
  for (Json const& camera : document.at("summary").at("cameras")) result.cameras.push_back(CameraOf(camera));
  for (Json const& finding : document.at("findings")) {
    result.findings.push_back({finding.at("code").get<std::string>(), CountOf(finding.at("frames"), "count")});
  }
  return result;
}

// The rows are passed over as they are read.
bool IsWanted(int depth, Json::parse_event_t event, Json const& parsed) {
  return !(depth == 1 && event == Json::parse_event_t::key && parsed == "frames");
}

}  // namespace

ReplayResult ReadReplayResult(std::string const& path) {
  std::ifstream file(path);
  if (!file) {
    throw hosting::UnusableInput(fmt::format("{}: cannot be read: {}", path, std::generic_category().message(errno)));
  }
  try {
    return ResultOf(Json::parse(file, IsWanted));
  } catch (Json::exception const& error) {
    throw hosting::UnusableInput(fmt::format("{}: is no result of replay --format json: {}", path, error.what()));
  } catch (hosting::UnusableInput const& error) {
    throw hosting::UnusableInput(fmt::format("{}: {}", path, error.what()));
  }
}

}  // namespace shadingctl
