// The closing summary of a replay: one for each camera, and what was found in the session.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "recording/Session.h"
#include "tools/shadingctl/findings/Findings.h"
#include "tools/shadingctl/replay/Replay.h"
#include "tools/shadingctl/result/ResultWriter.h"
#include "tools/shadingctl/summary/Summary.h"

namespace shadingctl {

class Summaries {
 public:
  explicit Summaries(int logLevel) : mLogLevel(logLevel) {}

  // Made at the first mention.
  Summary& Of(std::int32_t sensorId) { return mByCamera.try_emplace(sensorId, mLogLevel).first->second; }

  std::map<std::int32_t, Summary> const& Cameras() const { return mByCamera; }

  // What a call came to.
  void Add(PlayedCall const& call);

  // At the end of the session.
  void Close(recording::SessionOddities const& oddities, std::int64_t replayNs);

  // Frames of all cameras.
  std::uint64_t Frames() const { return Sum(&Summary::Frames); }
  std::uint64_t CountOf(Match match) const { return Sum(&Summary::CountOf, match); }

  // Recorded answers that the library did not give again, of all cameras.
  std::uint64_t DifferentAnswers() const { return Sum(&Summary::DifferentAnswers); }

  // That of the only camera, or every camera's below its number, and what concerns the whole session.
  // Fits into `width` columns where that is given.
  std::string Text(std::optional<std::size_t> width = std::nullopt) const;
  Json ToJson() const;
  // What the recording lacks, in a line, or nothing; Text holds it too.
  std::string CaptureText() const;
  // What happened and what helps, of all cameras; Text holds it too.
  std::string FindingsText(std::optional<std::size_t> width = std::nullopt) const;
  Json FindingsJson() const;

  // Of one camera.
  std::vector<SessionFinding> FindingsOfCamera(SessionFacts const& facts) const;

  // The end of a result: ToJson and FindingsJson, and `error`.
  ResultEnd End(std::string const& error) const { return {ToJson(), FindingsJson(), error}; }

 private:
  template <class Count, class... Values>
  std::uint64_t Sum(Count count, Values... values) const {
    std::uint64_t sum = 0;
    for (auto const& entry : mByCamera) sum += (entry.second.*count)(values...);
    return sum;
  }

  int mLogLevel;
  std::map<std::int32_t, Summary> mByCamera;
  std::int64_t mReplayNs = 0;
  recording::SessionOddities mOddities;
};

}  // namespace shadingctl
