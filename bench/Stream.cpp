#include "bench/Stream.h"

#include <algorithm>
#include <utility>

#include "recording/Recording.h"

namespace bench {

namespace {

constexpr std::int64_t kFrameIntervalNs = 16'666'667;
constexpr std::int64_t kDeliveredAfterNs = 16'000'000;
constexpr std::uint64_t kExposureNs = 1'266'029;
constexpr std::int64_t kFirstTimeNs = 1'000'000'000'000;

Sample SampleAt(std::int64_t timeNs, std::uint32_t index) {
  std::uint32_t const bits = index * 2654435761U;
  Sample sample;
  sample.timestamp = timeNs;
  sample.oisHallX = static_cast<float>(bits >> 22U) / 8.0F - 64.0F;
  sample.oisHallY = static_cast<float>(bits >> 12U & 1023U) / 8.0F - 64.0F;
  return sample;
}

CalcOISValueInput InputAt(std::uint64_t timestampNs, std::uint64_t exposureNs) {
  return {timestampNs, timestampNs, timestampNs, exposureNs, exposureNs, exposureNs};
}

// Hands every second one of the last quarter on to the next frame, but not the very last.
void HandOn(Samples& from, Samples& to) {
  std::size_t const quarter = std::max<std::size_t>(2, from.size() / 4);
  if (from.size() <= quarter) return;
  Samples kept(from.begin(), from.end() - static_cast<std::ptrdiff_t>(quarter));
  Samples handedOn;
  for (std::size_t i = from.size() - quarter; i < from.size(); ++i) {
    ((from.size() - i) % 2 == 0 ? handedOn : kept).push_back(from[i]);
  }
  from = std::move(kept);
  to.insert(to.begin(), handedOn.begin(), handedOn.end());
}

}  // namespace

Stream::Stream(std::string name, std::uint32_t samplesPerBlock, bool overlapping)
    : mName(std::move(name)), mLengthNs(kFrameIntervalNs * kBlockFrames) {
  std::uint32_t next = 0;
  auto const timeNs = [&](std::uint32_t index) { return kFirstTimeNs + mLengthNs * index / samplesPerBlock; };
  for (std::uint32_t i = 0; i < kBlockFrames; ++i) {
    // The first sample of the block comes with the first frame.
    std::int64_t const untilNs = kFirstTimeNs + kFrameIntervalNs * (i + 1);
    Frame frame;
    frame.number = i + 1;
    frame.input = InputAt(static_cast<std::uint64_t>(untilNs - kDeliveredAfterNs), kExposureNs);
    for (; next < samplesPerBlock && timeNs(next) < untilNs; ++next) {
      frame.batch.push_back(SampleAt(timeNs(next), next));
    }
    mFrames.push_back(std::move(frame));
  }
  for (std::uint32_t i = 1; overlapping && i < kBlockFrames; i += 2) HandOn(mFrames[i - 1].batch, mFrames[i].batch);
}

Stream::Stream(std::string name, std::string const& recordingDirectory) : mName(std::move(name)) {
  auto const session = recording::OpenRecording(recordingDirectory);
  Samples batch;
  std::int64_t firstNs = 0;
  std::int64_t lastNs = 0;
  for (recording::Call call; session->Next(call);) {
    if (auto* const update = std::get_if<recording::UpdateSensorData>(&call.operation))
      batch = std::move(update->batch);
    auto const* const calc = std::get_if<recording::CalcOisValue>(&call.operation);
    if (calc == nullptr) continue;
    Frame frame;
    frame.number = calc->frame;
    frame.input = InputAt(calc->pairs[0].timestampNs, calc->pairs[0].exposureNs);
    frame.batch = std::move(batch);
    for (Sample const& sample : frame.batch) {
      if (firstNs == 0) firstNs = sample.timestamp;
      lastNs = std::max(lastNs, sample.timestamp);
    }
    mFrames.push_back(std::move(frame));
  }
  mLengthNs = lastNs - firstNs + kFrameIntervalNs;
}

double Stream::SamplesPerFrame() const {
  std::size_t samples = 0;
  for (Frame const& frame : mFrames) samples += frame.batch.size();
  return static_cast<double>(samples) / static_cast<double>(mFrames.size());
}

void Stream::Advance() {
  auto const step = static_cast<std::uint64_t>(mLengthNs);
  for (Frame& frame : mFrames) {
    frame.number += static_cast<std::uint32_t>(mFrames.size());
    CalcOISValueInput& input = frame.input;
    for (std::uint64_t* timeNs : {&input.timestamp0, &input.timestamp1, &input.timestamp2}) *timeNs += step;
    for (Sample& sample : frame.batch) sample.timestamp += mLengthNs;
  }
}

}  // namespace bench
