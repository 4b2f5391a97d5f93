#include "tools/shadingctl/fit/BenchSession.h"

#include <fmt/format.h>

#include <set>

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
    hosting::EndIfInterrupted();
  }
  skipped = file.SkippedRows();
  return positions;
}

void CheckCamera(std::string const& name, std::optional<std::int32_t> camera, std::set<std::int32_t> const& found) {
  if (!camera && found.size() > 1) {
    throw hosting::UnusableInput(
        fmt::format("{}: expected --camera, found {} cameras: {}", name, found.size(), fmt::join(found, ", ")));
  }
  if (camera && !found.empty() && found.count(*camera) == 0) {
    throw hosting::UnusableInput(
        fmt::format("{}: expected camera {}, found {}", name, *camera, fmt::join(found, ", ")));
  }
}

}  // namespace

BenchSession ReadBenchSession(std::string const& recording, Reference const& reference,
                              std::optional<std::int32_t> camera) {
  BenchSession session;
  session.recording = recording;
  session.reference = reference.path;
  Positions const positions = ReadReference(reference, session.skipped);
  auto const recorded = recording::OpenRecording(recording::RecordingDirectory(recording));
  std::set<std::int32_t> cameras;
  double readoutUs = 0;  // 0: not told yet
  std::map<std::uint32_t, ReferenceFrame> frames;
  for (recording::Call call; recorded->Next(call);) {
    if (call.camera) cameras.insert(*call.camera);
    if (camera && call.camera && *call.camera != *camera) continue;
    if (auto const* readout = std::get_if<recording::StoreRollingShutter>(&call.operation))
      readoutUs = readout->rollingShutterNs / kNsOfUs;
    if (auto const* update = std::get_if<recording::UpdateSensorData>(&call.operation)) {
      for (auto const& sample : update->batch)
        session.samples.push_back({sample.timestamp, sample.oisHallX, sample.oisHallY});
    }
    if (auto const* calc = std::get_if<recording::CalcOisValue>(&call.operation)) {
      auto const [timestampNs, exposureNs] = PairOf(*calc, calc->type.value_or(0));
      frames.emplace(calc->frame, ReferenceFrame{calc->frame, static_cast<std::int64_t>(timestampNs - exposureNs),
                                                 static_cast<double>(exposureNs) / kNsOfUs, readoutUs});
    }
  }
  CheckCamera(recorded->Name(), camera, cameras);
  for (auto const& [number, position] : positions) {
    auto const found = frames.find(number);
    if (found == frames.end() || !(found->second.readoutUs > 0)) {
      ++session.unknown;
      continue;
    }
    session.frames.push_back(found->second);
    session.frames.back().position = position;
  }
  session.remarks = recorded->Remarks();
  return session;
}

}  // namespace shadingctl
