// The result of a replay in one of three formats, row by row. docs/replay-output.md describes them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/SensorProvider.h"
#include "tools/shadingctl/frame/FrameResult.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/output/TerminalColor.h"
#include "tools/shadingctl/result/RowSelection.h"

namespace shadingctl {

// What a JSON result calls itself. The version grows when a field changes its meaning or goes; new fields may come.
constexpr char kReplaySchema[] = "shadingctl-replay";
constexpr int kReplayVersion = 1;

enum class Format { kTable, kCsv, kJson };

// What was replayed, and how.
struct ReplaySettings {
  std::string session;
  std::string library;
  std::optional<int> camera;      // nullopt: several, as recorded
  std::optional<int> sensorType;  // nullopt: as recorded
  std::optional<int> type;        // nullopt: as recorded
  std::string mode;
  int logLevel = 0;
  bool resetMatched = false;
  RowSelection rows;
  bool samples = false;  // JSON holds every batch
};

// What the platform delivered in one update.
struct DeliveredBatch {
  std::int32_t camera = 0;
  std::uint32_t frame = 0;  // of the update
  std::vector<NSCam::Utils::SensorData> const& samples;
};

// What stands at the end of a result.
struct ResultEnd {
  nlohmann::ordered_json summary;
  nlohmann::ordered_json findings;
  std::string error;  // why the replay ended early; empty when it did not
};

// Keeps nothing but the row at hand; batches wait in a temporary file.
class ResultWriter {
 public:
  virtual ~ResultWriter() = default;
  virtual void Begin(ReplaySettings const& settings) = 0;
  virtual void Add(FrameResult const& result) = 0;
  // For JSON with samples; other results pass over it.
  virtual void AddBatch(DeliveredBatch const& /*batch*/) {}
  // Something of this result alone, for the end of a JSON object.
  virtual void AddExtra(std::string const& /*key*/, nlohmann::ordered_json const& /*value*/) {}
  virtual void End(ResultEnd const& end) = 0;
};

struct TableStyle {
  bool wide = false;  // all columns, also where a terminal has no room for them
  Color color = Color::kAuto;
};

// A writer for `format`; `output` must outlive it. A table shows all columns when the output is no terminal.
std::unique_ptr<ResultWriter> MakeResultWriter(Format format, OutputFile& output, TableStyle const& style);

// JSON that goes wherever `write` takes it, piece by piece.
std::unique_ptr<ResultWriter> MakeJsonWriter(std::function<void(std::string_view)> write);

}  // namespace shadingctl
