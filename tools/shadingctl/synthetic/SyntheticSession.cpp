#include "tools/shadingctl/synthetic/SyntheticSession.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "hosting/Interruption.h"
#include "hosting/LibraryNumbers.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {
namespace {

constexpr std::int64_t kNsPerUs = 1000;
constexpr int kLines = 64;  // of the image, over which the mean is taken

// The row of a frame; nullopt when the lens is not known then.
std::optional<std::string> RowOf(SyntheticOptions const& options, recording::CalcOisValue const& calc,
                                 std::int64_t readoutNs) {
  auto const timestampNs = static_cast<std::int64_t>(calc.pairs[0].timestampNs);
  auto const exposureNs = static_cast<std::int64_t>(calc.pairs[0].exposureNs);
  auto const shorterNs = static_cast<double>(std::min(exposureNs, readoutNs));
  auto const lagNs =
      static_cast<std::int64_t>(hosting::kOffsetFactor * shorterNs) + hosting::kOffsetConstantUs * kNsPerUs;
  std::int64_t const firstFrameNs = timestampNs - (std::int64_t{calc.frame} - 1) * options.frameIntervalNs;
  std::int64_t const startNs = timestampNs - exposureNs - lagNs - FirstSampleNs(options, firstFrameNs);
  if (startNs < 0) return std::nullopt;
  double x = 0;
  double y = 0;
  for (int line = 0; line < kLines; ++line) {
    std::int64_t const lineNs = startNs + readoutNs * (2 * line + 1) / (2 * kLines);
    LensPoint const lens = LensAt(options.MotionFromNs() + lineNs, 0, 0, options.lens);
    x += double{lens.x} / kLines;
    y += double{lens.y} / kLines;
  }
  return fmt::format("{},{:.4f},{:.4f}\n", calc.frame, x, y);
}

}  // namespace

SyntheticSession::SyntheticSession(SyntheticOptions const& options) : Session("built-in session"), mOptions(options) {
  mOptions.lateFrames = std::min(options.lateFrames, options.MostLateFrames());
  mOptions.pauseNs = std::min(options.pauseNs, options.MostPauseNs());
  for (std::size_t i = 0; i < mOptions.cameras.size(); ++i) mCameras.emplace_back(mOptions, i);
  if (!mOptions.cameras.front().sensorId) return;
  mSettings.recordsCalls = true;
  mSettings.cameras.emplace();
  for (SyntheticCamera const& camera : mOptions.cameras) mSettings.cameras->push_back(camera.sensorId.value_or(0));
}

// The earliest call of all cameras.
bool SyntheticSession::Next(recording::Call& call) {
  SyntheticCalls* earliest = nullptr;
  for (SyntheticCalls& camera : mCameras) {
    if (camera.Next() == nullptr) continue;
    if (earliest == nullptr || camera.Next()->timeNs < earliest->Next()->timeNs) earliest = &camera;
  }
  if (earliest == nullptr) return false;
  call = std::move(*earliest->Next());
  earliest->Pop();
  if (auto const* const update = std::get_if<recording::UpdateSensorData>(&call.operation)) Note(call.camera, *update);
  return true;
}

std::optional<std::uint64_t> SyntheticSession::FrameCount() const {
  return std::uint64_t{mOptions.frames} * mOptions.cameras.size() * std::max<std::size_t>(mOptions.types.size(), 1);
}

void SyntheticSession::Note(std::optional<std::int32_t> camera, recording::UpdateSensorData const& update) {
  auto const count = [&](recording::Oddity& oddity) {
    if (oddity.count++ == 0) oddity.firstPlace = fmt::format("frame {}", update.frame);
  };
  if (update.batch.empty()) count(mOddities.emptyBatches);
  for (auto const& sample : update.batch) {
    auto const [last, isFirst] = mLastSampleNs.try_emplace(camera, sample.timestamp);
    if (!isFirst && sample.timestamp < last->second) count(mOddities.sampleTimesBackward);
    last->second = sample.timestamp;
  }
}

void WriteReference(SyntheticOptions const& options, std::string const& path) {
  OutputFile file(path);
  file.Write("frame,x,y\n");
  SyntheticSession session(options);
  std::int64_t readoutNs = 0;
  std::uint32_t lastFrame = 0;
  for (recording::Call call; session.Next(call);) {
    hosting::EndIfInterrupted();
    if (call.camera != options.cameras.front().sensorId) continue;
    if (auto const* const told = std::get_if<recording::StoreRollingShutter>(&call.operation)) {
      readoutNs = told->rollingShutterNs;
    }
    auto const* const calc = std::get_if<recording::CalcOisValue>(&call.operation);
    if (calc == nullptr || calc->frame == lastFrame) continue;
    lastFrame = calc->frame;
    if (auto const row = RowOf(options, *calc, readoutNs)) file.Write(*row);
  }
  file.Finish();
}

}  // namespace shadingctl
