#include "tools/shadingctl/summary/Summaries.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "hosting/QuotedText.h"
#include "recording/Recording.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {
namespace {

// What of a recording is odd: its name in JSON, and in words.
struct OddityKind {
  recording::Oddity recording::SessionOddities::*oddity;
  char const* name;
  char const* words;
};
using Oddities = recording::SessionOddities;
constexpr OddityKind kOddities[] = {
    {&Oddities::frameTimesBackward, "frame_times_backward", "frames earlier than the frame before"},
    {&Oddities::emptyBatches, "empty_batches", "empty batches, frames with which no sample was delivered"},
    {&Oddities::sampleTimesBackward, "sample_times_backward", "samples earlier than the sample before"},
    {&Oddities::unlistedSamples, "unlisted_samples",
     "samples of frames that are not listed (delivered with the next one)"},
    {&Oddities::undeliveredSamples, "undelivered_samples", "samples after the last listed frame (not delivered)"},
    {&Oddities::lostCalls, "lost_calls", "calls that the recording lost"},
    {&Oddities::lostSamples, "lost_samples", "samples that the recording lost"}};

constexpr std::size_t kLineLength = 100;
constexpr std::size_t kNarrowest = 40;
constexpr char const* kIndent = "           ";  // as wide as the labels of a summary

// Breaks at blanks; every line but the first begins with the indent.
std::string Wrapped(std::string const& text, std::size_t width) {
  std::string wrapped;
  std::size_t lineStart = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t const end = std::min(text.find(' ', at), text.size());
    bool const fits = wrapped.size() - lineStart + end - at + 1 <= width;
    if (at > 0 && fits) wrapped += ' ';
    if (!fits) {
      wrapped += '\n';
      lineStart = wrapped.size();
      wrapped += kIndent;
    }
    wrapped += text.substr(at, end - at);
    at = end + 1;
  }
  return wrapped + "\n";
}

// Lines that are too long for the width, wrapped.
std::string Folded(std::string const& text, std::size_t width) {
  std::string folded;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t const end = std::min(text.find('\n', at), text.size());
    std::string const line = text.substr(at, end - at);
    folded += line.size() > width ? Wrapped(line, width) : line + "\n";
    at = end + 1;
  }
  return folded;
}

// Times in us have one decimal, everything else four.
double Rounded(std::string const& name, double value) {
  bool const isTime = name.size() > 3 && name.compare(name.size() - 3, 3, "_us") == 0;
  double const scale = isTime ? 10 : 10000;
  return std::round(value * scale) / scale;
}

// A paragraph for each finding, or one line where there is none.
std::string TextOf(std::vector<SessionFinding> const& findings, SessionFacts const& facts, std::size_t width) {
  if (findings.empty() && facts.Matches().Settled() == 0) return "Findings   none: no frame came after the warm-up\n";
  if (findings.empty()) {
    return fmt::format("Findings   none: both ends of the search interval are near a sample in {} of {} frames\n",
                       facts.Matches().bothNear, facts.Matches().Settled());
  }
  std::string text;
  for (SessionFinding const& finding : findings) {
    std::uint64_t const frames = CostOf(finding, facts);
    std::string const cost = frames > 0 ? fmt::format(", {} {}", frames, frames == 1 ? "frame" : "frames") : "";
    std::string const help = finding.explainedBy.empty() ? fmt::format(" What helps: {}.", finding.advice)
                                                         : fmt::format(" It follows from {}.", finding.explainedBy);
    text += Wrapped(fmt::format("{} {} ({}{}): {}{}.{}", text.empty() ? "Findings  " : "          ", finding.code,
                                Name(*finding.severity), cost, finding.text, PlaceText(finding, facts), help),
                    width);
  }
  return text;
}

Json IntervalsJson(SessionFinding const& finding, SessionFacts const& facts) {
  auto const seconds = [&](std::int64_t ns) {
    return std::round(static_cast<double>(TimeDifference(ns, facts.FirstFrameNs())) / 1e5) / 1e4;
  };
  Json list = Json::array();
  for (Interval const& interval : finding.intervals) {
    list.push_back({{"from_s", seconds(interval.fromNs)},
                    {"to_s", seconds(interval.toNs)},
                    {"first_frame", interval.firstFrame},
                    {"last_frame", interval.lastFrame}});
  }
  return list;
}

Json FindingJson(SessionFinding const& finding, SessionFacts const& facts, std::int32_t camera) {
  Json figures = Json::object();
  for (auto const& [name, value] : finding.figures) figures[name] = Rounded(name, value);
  Json object = {{"code", finding.code},
                 {"camera", camera},
                 {"severity", Name(*finding.severity)},
                 {"text", finding.text},
                 {"figures", std::move(figures)},
                 {"frames", {{"count", CostOf(finding, facts)}, {"first", finding.frames.first}}},
                 {"intervals", IntervalsJson(finding, facts)},
                 {"advice", finding.advice}};
  if (!finding.explainedBy.empty()) object["explained_by"] = finding.explainedBy;
  return object;
}

}  // namespace

void Summaries::Add(PlayedCall const& call) {
  if (call.update) Of(call.camera).Add(*call.update);
  if (call.frame) Of(call.camera).Add(*call.frame);
}

void Summaries::Close(recording::SessionOddities const& oddities, std::int64_t replayNs) {
  if (mByCamera.empty()) Of(0);
  mOddities = oddities;
  mReplayNs = replayNs;
}

std::vector<SessionFinding> Summaries::FindingsOfCamera(SessionFacts const& facts) const {
  std::vector<SessionFacts const*> all;
  for (auto const& entry : mByCamera) all.push_back(&entry.second.Facts());
  return FindingsOf(facts, all);
}

std::string Summaries::Text(std::optional<std::size_t> width) const {
  std::string text;
  double recordedNs = 0;  // of the camera that was on for longest
  for (auto const& [sensorId, summary] : mByCamera) {
    if (mByCamera.size() > 1) text += fmt::format("Camera     {}\n", sensorId);
    text += summary.Text();
    if (mByCamera.size() > 1) text += "\n";
    recordedNs = std::max(recordedNs, summary.RecordedNs());
  }
  for (OddityKind const& kind : kOddities) {
    recording::Oddity const& oddity = mOddities.*kind.oddity;
    if (oddity.count == 0) continue;
    text +=
        fmt::format("Found      {}: {}, first at {}\n", kind.words, oddity.count, hosting::Escaped(oddity.firstPlace));
  }
  text += CaptureText();
  text += fmt::format("Replay     {:.3f} s, {:.0f} times real time\n", static_cast<double>(mReplayNs) / 1e9,
                      recordedNs / static_cast<double>(std::max<std::int64_t>(mReplayNs, 1)));
  return (width ? Folded(text, std::max(*width, kNarrowest)) : text) + FindingsText(width);
}

std::string Summaries::CaptureText() const {
  std::string const lack = recording::LackText(mOddities.Captured());
  return lack.empty() ? lack : fmt::format("Capture    {}\n", lack);
}

std::string Summaries::FindingsText(std::optional<std::size_t> width) const {
  std::size_t const lineLength = std::clamp(width.value_or(kLineLength), kNarrowest, kLineLength);
  std::string text;
  for (auto const& [sensorId, summary] : mByCamera) {
    if (mByCamera.size() > 1) text += fmt::format("\nCamera     {}\n", sensorId);
    text += TextOf(FindingsOfCamera(summary.Facts()), summary.Facts(), lineLength);
  }
  return text;
}

Json Summaries::FindingsJson() const {
  Json all = Json::array();
  for (auto const& [sensorId, summary] : mByCamera) {
    for (SessionFinding const& finding : FindingsOfCamera(summary.Facts())) {
      all.push_back(FindingJson(finding, summary.Facts(), sensorId));
    }
  }
  return all;
}

Json Summaries::ToJson() const {
  Json cameras = Json::array();
  for (auto const& [sensorId, summary] : mByCamera) {
    Json camera = {{"camera", sensorId}};
    camera.update(summary.ToJson());
    cameras.push_back(std::move(camera));
  }
  Json found;
  for (OddityKind const& kind : kOddities) {
    recording::Oddity const& oddity = mOddities.*kind.oddity;
    found[kind.name] = {{"count", oddity.count}, {"first", OrNull(oddity.firstPlace)}};
  }
  recording::Capture const capture = mOddities.Captured();
  return {{"cameras", std::move(cameras)},
          {"replay_ns", mReplayNs},
          {"capture",
           {{"complete", capture.IsComplete()},
            {"state", recording::NameOf(capture.state)},
            {"lost_calls", capture.lostCalls},
            {"lost_samples", capture.lostSamples}}},
          {"found", std::move(found)}};
}

}  // namespace shadingctl
