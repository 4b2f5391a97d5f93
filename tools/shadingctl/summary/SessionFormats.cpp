#include <fmt/format.h>

#include <algorithm>

#include "recording/Recording.h"
#include "tools/shadingctl/summary/FindingsFormats.h"
#include "tools/shadingctl/summary/Summaries.h"

namespace shadingctl {
namespace {

std::string OddityText(recording::Oddity const& oddity, char const* what) {
  if (oddity.count == 0) return {};
  return fmt::format("Found      {}: {}, first at {}\n", what, oddity.count, oddity.firstPlace);
}

nlohmann::ordered_json OddityJson(recording::Oddity const& oddity) {
  return {{"count", oddity.count},
          {"first", oddity.count == 0 ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(oddity.firstPlace)}};
}

}  // namespace

std::string Summaries::Text() const {
  std::string text;
  double recordedNs = 0;  // of the camera that was on for longest
  for (auto const& [sensorId, summary] : mByCamera) {
    if (mByCamera.size() > 1) text += fmt::format("Camera     {}\n", sensorId);
    text += summary.Text();
    if (mByCamera.size() > 1) text += "\n";
    recordedNs = std::max(recordedNs, summary.RecordedNs());
  }
  text += OddityText(mOddities.frameTimesBackward, "frames earlier than the frame before");
  text += OddityText(mOddities.emptyBatches, "empty batches, frames with which no sample was delivered");
  text += OddityText(mOddities.sampleTimesBackward, "samples earlier than the sample before");
  text += OddityText(mOddities.unlistedSamples, "samples of frames that are not listed (delivered with the next one)");
  text += OddityText(mOddities.undeliveredSamples, "samples after the last listed frame (not delivered)");
  text += OddityText(mOddities.lostCalls, "calls that the recording lost");
  text += OddityText(mOddities.lostSamples, "samples that the recording lost");
  text += CaptureText();
  text += fmt::format("Replay     {:.3f} s, {:.0f} times real time\n", static_cast<double>(mReplayNs) / 1e9,
                      recordedNs / static_cast<double>(std::max<std::int64_t>(mReplayNs, 1)));
  return text + FindingsText();
}

std::string Summaries::CaptureText() const {
  std::string const lack = recording::LackText(mOddities.Captured());
  return lack.empty() ? lack : fmt::format("Capture    {}\n", lack);
}

std::string Summaries::FindingsText() const {
  std::string text;
  for (auto const& [sensorId, summary] : mByCamera) {
    if (mByCamera.size() > 1) text += fmt::format("\nCamera     {}\n", sensorId);
    text += shadingctl::FindingsText(summary.Facts());
  }
  return text;
}

nlohmann::ordered_json Summaries::FindingsJson() const {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (auto const& [sensorId, summary] : mByCamera) {
    for (auto& finding : shadingctl::FindingsJson(summary.Facts(), sensorId)) all.push_back(std::move(finding));
  }
  return all;
}

nlohmann::ordered_json Summaries::Json() const {
  nlohmann::ordered_json cameras = nlohmann::ordered_json::array();
  for (auto const& [sensorId, summary] : mByCamera) {
    nlohmann::ordered_json camera = {{"camera", sensorId}};
    camera.update(summary.Json());
    cameras.push_back(std::move(camera));
  }
  recording::Capture const capture = mOddities.Captured();
  return {{"cameras", std::move(cameras)},
          {"replay_ns", mReplayNs},
          {"capture",
           {{"complete", capture.IsComplete()},
            {"state", recording::NameOf(capture.state)},
            {"lost_calls", capture.lostCalls},
            {"lost_samples", capture.lostSamples}}},
          {"found",
           {{"frame_times_backward", OddityJson(mOddities.frameTimesBackward)},
            {"empty_batches", OddityJson(mOddities.emptyBatches)},
            {"sample_times_backward", OddityJson(mOddities.sampleTimesBackward)},
            {"unlisted_samples", OddityJson(mOddities.unlistedSamples)},
            {"undelivered_samples", OddityJson(mOddities.undeliveredSamples)},
            {"lost_calls", OddityJson(mOddities.lostCalls)},
            {"lost_samples", OddityJson(mOddities.lostSamples)}}}};
}

}  // namespace shadingctl
