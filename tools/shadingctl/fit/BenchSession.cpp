#include "tools/shadingctl/fit/BenchSession.h"

#include <fmt/format.h>

#include <map>
#include <set>
#include <utility>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"
#include "recording/CsvFile.h"
#include "recording/Recording.h"
#include "tools/shadingctl/frame/Frame.h"

namespace shadingctl {
namespace {

constexpr double kNsOfUs = 1e3;

using Positions = std::map<std::uint32_t, std::array<double, 2>>;

Positions ReadReference(Reference const& reference, std::size_t& skipped) {
  enum Column : std::size_t { kFrame, kX, kY };
  auto const column = [&](char const* field) {
    auto const mapped = reference.columns.find(field);
    return recording::CsvFile::Column{mapped == reference.columns.end() ? field : mapped->second.c_str()};
  };
  recording::CsvDialect dialect;
  dialect.skipsBadRows = reference.skipBad;
  recording::CsvFile file(reference.path, {column("frame"), column("x"), column("y")}, dialect);
  Positions positions;
  auto const read = [&] {
    std::array<double, 2> const position = {double{file.Get<float>(kX)}, double{file.Get<float>(kY)}};
    if (!positions.emplace(file.Get<std::uint32_t>(kFrame), position).second) file.Refuse(kFrame, "each frame once");
  };
  while (file.ReadRow(read)) {
    if (hosting::InterruptedBy() != 0) throw hosting::Interrupted();
  }
  skipped = file.SkippedRows();
  return positions;
}

// Gathers one camera's samples and the times of its frames.
class Collector {
 public:
  Collector(std::string recording, std::optional<std::int32_t> camera)
      : mRecording(std::move(recording)), mCamera(camera) {}

  void Add(recording::Call const& call) {
    if (call.camera) mCameras.insert(*call.camera);
    if (mCamera && call.camera && *call.camera != *mCamera) return;
    if (auto const* readout = std::get_if<recording::StoreRollingShutter>(&call.operation))
      mReadoutUs = readout->rollingShutterNs / kNsOfUs;
    if (auto const* update = std::get_if<recording::UpdateSensorData>(&call.operation)) {
      for (auto const& sample : update->batch) mSamples.push_back({sample.timestamp, sample.oisHallX, sample.oisHallY});
    }
    if (auto const* calc = std::get_if<recording::CalcOisValue>(&call.operation)) AddFrame(*calc);
  }

  BenchSession Join(Positions const& positions) const {
    CheckCamera();
    BenchSession session;
    for (auto const& [number, position] : positions) {
      auto const found = mFrames.find(number);
      if (found == mFrames.end() || !(found->second.readoutUs > 0)) {
        ++session.unknown;
        continue;
      }
      session.frames.push_back(found->second);
      session.frames.back().position = position;
    }
    session.samples = mSamples;
    return session;
  }

 private:
  void AddFrame(recording::CalcOisValue const& calc) {
    auto const pair = PairOf(calc, calc.type.value_or(0));
    ReferenceFrame frame;
    frame.frame = calc.frame;
    frame.startOfFrameNs = static_cast<std::int64_t>(pair.timestampNs - pair.exposureNs);
    frame.exposureUs = static_cast<double>(pair.exposureNs) / kNsOfUs;
    frame.readoutUs = mReadoutUs;
    mFrames.emplace(calc.frame, frame);
  }

  void CheckCamera() const {
    if (!mCamera && mCameras.size() > 1) {
      throw hosting::UnusableInput(fmt::format("{}: expected --camera, found {} cameras: {}", mRecording,
                                               mCameras.size(), fmt::join(mCameras, ", ")));
    }
    if (mCamera && !mCameras.empty() && mCameras.count(*mCamera) == 0) {
      throw hosting::UnusableInput(
          fmt::format("{}: expected camera {}, found {}", mRecording, *mCamera, fmt::join(mCameras, ", ")));
    }
  }

  std::string mRecording;
  std::optional<std::int32_t> mCamera;
  std::set<std::int32_t> mCameras;
  double mReadoutUs = 0;  // 0: not told yet
  std::vector<HallSample> mSamples;
  std::map<std::uint32_t, ReferenceFrame> mFrames;
};

}  // namespace

BenchSession ReadBenchSession(std::string const& recording, Reference const& reference,
                              std::optional<std::int32_t> camera) {
  std::size_t skipped = 0;
  Positions const positions = ReadReference(reference, skipped);
  auto const session = recording::OpenRecording(recording);
  Collector collector(session->Name(), camera);
  for (recording::Call call; session->Next(call);) collector.Add(call);
  BenchSession joined = collector.Join(positions);
  joined.skipped = skipped;
  joined.remarks = session->Remarks();
  return joined;
}

}  // namespace shadingctl
