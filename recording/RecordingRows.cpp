// The text of a recording.
#include <fmt/format.h>

#include <iterator>

#include "recording/Recording.h"
#include "recording/RecordingColumns.h"

namespace recording {
namespace {

using Cells = std::array<std::string, kCallColumns.size()>;

template <class Value>
void Fill(std::string& cell, std::optional<Value> const& value) {
  if (value) cell = fmt::format("{}", *value);
}

template <>
void Fill(std::string& cell, std::optional<bool> const& value) {
  if (value) cell = *value ? "1" : "0";
}

void FillCall(Cells& cells, StartMonitor const& start) {
  cells[kCallKind] = kCallKinds[static_cast<std::size_t>(start.operation)];
  Fill(cells[kCallSensorType], start.sensorType);
  Fill(cells[kCallAnswer], start.answer);
}

void FillCall(Cells& cells, StopMonitor const& stop) {
  cells[kCallKind] = kCallKinds[kStop];
  Fill(cells[kCallSensorType], stop.sensorType);
}

void FillCall(Cells& cells, StoreRollingShutter const& store) {
  cells[kCallKind] = kCallKinds[kReadout];
  cells[kCallSensorMode] = fmt::format("{}", store.sensorMode);
  cells[kCallRollingShutter] = fmt::format("{}", store.rollingShutterNs);
}

void FillCall(Cells& cells, UpdateSensorData const& update) {
  cells[kCallKind] = kCallKinds[kUpdate];
  cells[kCallFrame] = fmt::format("{}", update.frame);
  cells[kCallTimestamp] = fmt::format("{}", update.timestampNs);
  cells[kCallSamples] = fmt::format("{}", update.batch.size());
}

void FillCall(Cells& cells, CalcOisValue const& calc) {
  cells[kCallKind] = kCallKinds[kCalculate];
  cells[kCallFrame] = fmt::format("{}", calc.frame);
  Fill(cells[kCallType], calc.type);
  for (std::size_t i = 0; i < calc.pairs.size(); ++i) {
    cells[kPairColumns[i].timestamp] = fmt::format("{}", calc.pairs[i].timestampNs);
    cells[kPairColumns[i].exposure] = fmt::format("{}", calc.pairs[i].exposureNs);
  }
  Fill(cells[kCallMatched], calc.matched);
  if (!calc.answer) return;
  Fill(cells[kCallAnswer], std::optional(calc.answer->matched));
  Fill(cells[kCallHallX], calc.answer->hallX);
  Fill(cells[kCallHallY], calc.answer->hallY);
}

}  // namespace

std::string SettingsText(SessionSettings const& settings) {
  std::string text = fmt::format("key,value\n{},{}\n", kVersionKey, kRecordingVersion);
  if (settings.cameras) text += fmt::format("{},{}\n", kCamerasKey, fmt::join(*settings.cameras, " "));
  if (settings.calculationMode) text += fmt::format("{},{}\n", kCalculationModeKey, *settings.calculationMode);
  if (settings.batches != Batches::kDelivered) {
    text += fmt::format("{},{}\n", kBatchesKey, kBatchesNames[static_cast<std::size_t>(settings.batches)]);
  }
  return text;
}

std::string CaptureText(Capture const& capture) {
  // 20 digits hold every 64-bit number, and 8 letters every state.
  return fmt::format("{},{:20}\n{},{:20}\n{},{:>8}\n", kLostCallsKey, capture.lostCalls, kLostSamplesKey,
                     capture.lostSamples, kStateKey, kStateNames[static_cast<std::size_t>(capture.state)]);
}

std::string CallsHeader() { return fmt::format("{}\n", fmt::join(kCallColumns, ",")); }
std::string SamplesHeader() { return fmt::format("{}\n", fmt::join(kSampleColumns, ",")); }

void AppendCall(std::string& text, std::uint64_t number, Call const& call, std::optional<std::uint64_t> samples) {
  Cells cells;
  cells[kCallNumber] = fmt::format("{}", number);
  Fill(cells[kCallTime], call.timeNs);
  Fill(cells[kCallCamera], call.camera);
  std::visit([&](auto const& operation) { FillCall(cells, operation); }, call.operation);
  Fill(cells[kCallSamples], samples);
  fmt::format_to(std::back_inserter(text), "{}\n", fmt::join(cells, ","));
}

void AppendSamples(std::string& text, std::uint64_t number, std::vector<NSCam::Utils::SensorData> const& batch) {
  for (auto const& sample : batch) {
    fmt::format_to(std::back_inserter(text), "{},{},{},{}\n", number, sample.timestamp, sample.oisHallX,
                   sample.oisHallY);
  }
}

}  // namespace recording
