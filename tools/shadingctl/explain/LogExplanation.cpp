#include "tools/shadingctl/explain/LogExplanation.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "hosting/UnusableInput.h"

namespace shadingctl {
namespace {

// Whether what is left of a call tells what became of it.
bool IsDecided(FrameMessages const& messages) {
  return messages.Done() || messages.failed || messages.span || messages.notRegistered || messages.nothingMatched ||
         messages.zeroTime || (messages.times && messages.times->samples == 0);
}

// A span of two entries or more has a position, also where the line that tells it is lost.
void RestoreOutcome(FrameMessages& messages) {
  bool const hasPosition = messages.span && messages.span->last > messages.span->first;
  if (hasPosition && !messages.Done() && !messages.failed) messages.noPosition = NoPositionTold{};
}

CallOutcome OutcomeOf(LoggedCall const& call, bool hasBeenWarm) {
  FrameMessages const& messages = call.messages;
  CallOutcome outcome;
  outcome.supported = true;
  outcome.startFound = messages.HasStart() || (messages.span && messages.span->first > 0);
  outcome.flagHanded = messages.FlagWasSet();
  outcome.startsBeforeTime =
      messages.times && call.timestampNs && messages.times->exposureUs > *call.timestampNs / 1000;
  outcome.updates = messages.batch ? messages.batch->frames : kHistoryFrames + 1;
  outcome.delivered = messages.buffered.value_or(0);
  outcome.hasBeenWarm = hasBeenWarm;
  return outcome;
}

}  // namespace

LogExplanation::LogExplanation(recording::LineReader& log, Recomputation* recomputation, Summaries& summaries,
                               std::function<void(ExplainedCall const&)> show)
    : mLog(log),
      mRecomputation(recomputation),
      mSummaries(summaries),
      mShow(std::move(show)),
      mAssembler(log.Name(), [this](LoggedCall&& call) { Take(std::move(call)); }) {}

void LogExplanation::Read() {
  for (std::string_view line; mLog.Next(line);) mAssembler.Add(line);
  if (mAssembler.Counts().messages > 0) return;
  throw hosting::UnusableInput(fmt::format(
      "{}: expected messages of the library, as `adb logcat -v threadtime`, `-v long` or `shadingctl replay "
      "--log` write them; found none in {} lines",
      mLog.Name(), mAssembler.Counts().lines));
}

void LogExplanation::Finish() {
  mAssembler.Finish();
  while (auto frame = mFrames.TakeAnyway()) Show(std::move(*frame));
  mReport.lines = mAssembler.Counts();
}

void LogExplanation::Take(LoggedCall call) {
  Camera& camera = mCameras[call.camera.value_or(0)];
  ExplainedCall explained;
  explained.firstLine = call.firstLine;
  explained.lost = call.lost;
  if (mRecomputation != nullptr) explained.recomputed = mRecomputation->Check(call);
  CountLoss(call, camera);
  // Entries of a span are numbered in the whole window: without all of it they cannot be found.
  if (!call.messages.HasWholeWindow()) call.messages.source.clear();
  RestoreOutcome(call.messages);

  FrameHead const head = {call.camera.value_or(0), call.frame.value_or(0), call.timestampNs.value_or(0),
                          call.messages.times ? call.messages.times->type : 0};
  explained.frame = MakeFrame(head, OutcomeOf(call, camera.hasBeenWarm), call.messages);
  camera.hasBeenWarm = camera.hasBeenWarm || call.messages.buffered.value_or(0) >= kWindowSize;
  FrameResult& row = explained.frame.row;
  if (auto const& position = call.messages.position) {
    camera.hallX = position->hall0X;
    camera.hallY = position->hall0Y;
    if (!mReport.mode) mReport.mode = position->mode;
  }
  bool const positionIsLost = call.messages.noPosition && !call.messages.position;
  if (!positionIsLost) {
    row.hallX = camera.hallX;
    row.hallY = camera.hallY;
  }

  for (SourceSample const& sample : call.messages.source) {
    mFrames.AddSample(row.camera, sample.timeUs, sample.hallX, sample.hallY);
  }
  if (call.frame && IsDecided(call.messages)) {
    if (explained.recomputed) CountVerdict(explained.recomputed->verdict, row);
    AddSamples(call, camera);
    mSummaries.Of(row.camera).Add(explained.frame);
    mFrames.Add(explained.frame);
    mPending.push_back(std::move(explained));
  }
  while (auto complete = mFrames.Take()) Show(std::move(*complete));
}

void LogExplanation::CountVerdict(Recomputation::Verdict verdict, FrameResult const& row) {
  bool const isSame = verdict == Recomputation::Verdict::kSame;
  if (isSame) ++mReport.same;
  if (verdict == Recomputation::Verdict::kDifferent) {
    mReport.different.Add(row.frame);
  } else if (!isSame && row.samples.value_or(1) > 0) {  // a frame without samples has nothing to compute
    ++mReport.notWhole;
  }
}

void LogExplanation::CountLoss(LoggedCall const& call, Camera& camera) {
  ++mReport.calls;
  mReport.lostLines += call.lost;
  if (call.lost > 0) ++mReport.callsWithLoss;
  if (!call.frame || !IsDecided(call.messages)) ++mReport.undecided;
  if (!call.frame) return;
  // Numbers that run backwards or repeat are another session, or another computation.
  if (camera.lastFrame && *call.frame > *camera.lastFrame + 1) {
    std::uint64_t const missing = *call.frame - *camera.lastFrame - 1;
    for (std::uint64_t i = 0; i < std::min<std::uint64_t>(missing, FrameList::kNamed); ++i) {
      mReport.missingNumbers.Add(*camera.lastFrame + 1 + static_cast<std::uint32_t>(i));
    }
    mReport.missingNumbers.count += missing - std::min<std::uint64_t>(missing, FrameList::kNamed);
  }
  camera.lastFrame = call.frame;
}

// A log tells windows, not deliveries: the samples of a window that are later than all before count as delivered with
// its frame. Where a window does not reach back to the newest one before, samples may have been delivered in between.
void LogExplanation::AddSamples(LoggedCall const& call, Camera& camera) {
  SessionFacts& session = mSummaries.Of(call.camera.value_or(0)).Facts();
  std::optional<BatchStored> const& batch = call.messages.batch;
  if (batch || call.messages.noBatch) {
    session.AddBatch(*call.frame, batch ? static_cast<std::size_t>(batch->samples) : 0, batch, call.messages.split);
  }
  auto const& window = call.messages.source;
  bool const breaks = camera.newestUs && !window.empty() && window.front().timeUs > *camera.newestUs;
  if (breaks) session.BreakSamples();
  std::vector<NSCam::Utils::SensorData> later;
  for (SourceSample const& told : window) {
    if (camera.newestUs && told.timeUs <= *camera.newestUs) continue;
    camera.newestUs = told.timeUs;
    later.push_back(SampleTold(told));
  }
  session.AddSamples(*call.frame, later);
}

void LogExplanation::Show(Frame frame) {
  ExplainedCall explained = std::move(mPending.front());
  mPending.pop_front();
  mSummaries.Of(frame.row.camera).AddComplete(frame.row);
  explained.frame = std::move(frame);
  mShow(explained);
}

}  // namespace shadingctl
