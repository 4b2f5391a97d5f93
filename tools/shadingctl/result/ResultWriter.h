// The result of a replay in one of three formats, row by row. docs/replay-output.md describes them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/SensorProvider.h"
#include "tools/shadingctl/frame/Frame.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/Json.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {

enum class Format { kTable, kCsv, kJson };

// Frame numbers, both included.
struct FrameRange {
  std::uint32_t first = 0;
  std::uint32_t last = 0;
};

// Which frames of a replay are shown; all of them are played.
struct RowSelection {
  std::vector<Match> only;          // empty: of every kind
  std::optional<FrameRange> range;  // empty: all
  bool none = false;                // the summary only

  bool IsAll() const { return only.empty() && !range && !none; }

  bool Includes(FrameResult const& result) const {
    if (none || (range && (result.frame < range->first || result.frame > range->last))) return false;
    return only.empty() || std::find(only.begin(), only.end(), result.match) != only.end();
  }
};

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
Json SettingsJson(ReplaySettings const& settings);

// What the platform delivered in one update.
struct DeliveredBatch {
  std::int32_t camera = 0;
  std::uint32_t frame = 0;  // of the update
  std::vector<NSCam::Utils::SensorData> const& samples;
};

// The end of a result.
struct ResultEnd {
  Json summary;
  Json findings;
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
  virtual void AddExtra(std::string const& /*key*/, Json const& /*value*/) {}
  virtual void End(ResultEnd const& end) = 0;
};

struct TableStyle {
  bool wide = false;  // all columns, also where a terminal has no room for them
  Color color = Color::kAuto;
};

// `output` must outlive the writer. A table shows all columns when the output is no terminal.
std::unique_ptr<ResultWriter> MakeResultWriter(Format format, OutputFile& output, TableStyle const& style);
std::unique_ptr<ResultWriter> MakeTableWriter(OutputFile& output, TableStyle const& style);

}  // namespace shadingctl
