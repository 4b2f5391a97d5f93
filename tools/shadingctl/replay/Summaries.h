// The closing summaries of a replay, one for each camera.
#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "hosting/Session.h"
#include "tools/shadingctl/replay/Summary.h"

namespace shadingctl {

class Summaries {
 public:
  explicit Summaries(int logLevel) : mLogLevel(logLevel) {}

  // Made at the first mention.
  Summary& Of(std::int32_t sensorId) { return mByCamera.try_emplace(sensorId, mLogLevel).first->second; }

  // What is odd belongs to the session as a whole and stands in the last summary.
  void Close(hosting::Oddities const& oddities, std::int64_t replayNs);

  // Recorded answers that the library did not give again, of all cameras.
  std::uint64_t differentAnswers() const;

  // That of the only camera, or every camera's below its number.
  std::string Text() const;
  // That of the only camera, or a list "cameras" of them.
  nlohmann::ordered_json Json() const;

 private:
  int mLogLevel;
  std::map<std::int32_t, Summary> mByCamera;
};

}  // namespace shadingctl
