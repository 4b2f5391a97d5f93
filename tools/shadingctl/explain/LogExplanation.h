// Reads a log of the library back into frames.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>

#include "recording/InputFile.h"
#include "tools/shadingctl/explain/Recomputation.h"
#include "tools/shadingctl/frame/Frame.h"
#include "tools/shadingctl/log/LoggedCalls.h"
#include "tools/shadingctl/replay/PendingFrames.h"
#include "tools/shadingctl/summary/Summaries.h"

namespace shadingctl {

struct ExplainedCall {
  Frame frame;
  // Of a log only.
  std::uint64_t firstLine = 0;
  std::uint64_t lost = 0;  // lines
  std::optional<Recomputation::Result> recomputed;
};

// What the log is like, and what the recomputation found.
struct LogReport {
  LogCounts lines;

  std::uint64_t calls = 0;
  std::uint64_t undecided = 0;  // calls that have lost their frame's number, or what became of it
  std::uint64_t lostLines = 0;  // at least, of calls that are there
  std::uint64_t callsWithLoss = 0;
  FrameList missingNumbers;  // between those that are there

  std::uint64_t same = 0;
  std::uint64_t notWhole = 0;
  FrameList different;
  std::optional<int> mode;  // the first one told
};

class LogExplanation {
 public:
  // `show` gets every frame whose number and outcome are left, in the order of the log, once the samples of its
  // search interval are there. `recomputation` may be null.
  LogExplanation(recording::LineReader& log, Recomputation* recomputation, Summaries& summaries,
                 std::function<void(ExplainedCall const&)> show);

  // Reads to the end. Throws Interrupted, and UnusableInput where the log cannot be read or used; what was read until
  // then has been shown and counted once Finish has been called.
  void Read();
  void Finish();

  LogReport const& Report() const { return mReport; }

 private:
  // What a host keeps of a camera.
  struct Camera {
    std::optional<std::uint32_t> lastFrame;
    std::optional<double> hallX;
    std::optional<double> hallY;
    std::optional<std::int64_t> newestUs;  // sample
    bool hasBeenWarm = false;
  };

  void Take(LoggedCall call);
  void CountVerdict(Recomputation::Verdict verdict, FrameResult const& row);
  void CountLoss(LoggedCall const& call, Camera& camera);
  void AddSamples(LoggedCall const& call, Camera& camera);
  void Show(Frame frame);

  recording::LineReader& mLog;
  Recomputation* mRecomputation;
  Summaries& mSummaries;
  std::function<void(ExplainedCall const&)> mShow;
  CallAssembler mAssembler;
  PendingFrames mFrames;
  std::deque<ExplainedCall> mPending;  // one for each frame that waits
  std::map<std::int32_t, Camera> mCameras;
  LogReport mReport;
};

}  // namespace shadingctl
