// The closing summary of a replay: one for each camera, and what was found in the session.
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

  std::map<std::int32_t, Summary> const& cameras() const { return mByCamera; }

  // At the end of the session.
  void Close(hosting::Oddities const& oddities, std::int64_t replayNs);

  // Frames of all cameras.
  std::uint64_t frames() const;
  std::uint64_t CountOf(Match match) const;

  // Recorded answers that the library did not give again, of all cameras.
  std::uint64_t differentAnswers() const;

  // That of the only camera, or every camera's below its number, and what concerns the whole session.
  std::string Text() const;
  nlohmann::ordered_json Json() const;
  // What happened and what helps, of all cameras; Text holds it too.
  std::string FindingsText() const;
  nlohmann::ordered_json FindingsJson() const;

 private:
  int mLogLevel;
  std::map<std::int32_t, Summary> mByCamera;
  std::int64_t mReplayNs = 0;
  hosting::Oddities mOddities;
};

}  // namespace shadingctl
