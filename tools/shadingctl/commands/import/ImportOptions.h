// The command line of an import, for `shadingctl import` and shadingctl-import.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "recording/CsvFile.h"
#include "tools/import/DecimalTime.h"

namespace CLI {
class App;
}

namespace shadingctl {

enum class ImportForm { kVideo, kLog };  // of a single file: a .pb3 of VideoIMUCapture, or a log of the library

// What a row of a CSV file holds, and the column that holds it unless --map names another one.
inline std::map<std::string, std::string> const kImportColumns = {{"frames.frame", "frame"},
                                                                  {"frames.timestamp", "timestamp_ns"},
                                                                  {"frames.exposure", "exposure_ns"},
                                                                  {"frames.readout", "rolling_shutter_ns"},
                                                                  {"hall.frame", "frame"},
                                                                  {"hall.timestamp", "timestamp_ns"},
                                                                  {"hall.x", "hall_x"},
                                                                  {"hall.y", "hall_y"}};

struct ImportArguments {
  std::string directory;  // of the recording
  bool force = false;
  bool salvage = false;

  std::string file;  // empty: frames and samples come as CSV
  std::optional<ImportForm> form;

  std::string framesFile;
  std::string hallFile;
  std::map<std::string, std::string> columns;  // "frames.timestamp" and so on, where they are not the usual names
  std::uint32_t skip = 0;                      // lines before the header
  std::optional<std::uint32_t> hallSkip;       // nullopt: as many as `skip`
  recording::Separator separator = recording::kSeparators[0];
  bool skipBad = false;  // lines that cannot be read
  TimeUnit timeUnit = TimeUnit::kNanoseconds;
  std::optional<TimeUnit> hallTimeUnit;  // nullopt: as timeUnit
  std::optional<TimeUnit> durationUnit;  // of exposure and readout times; nullopt: as timeUnit
  bool timesAreStarts = false;           // of the first line's exposure; else its end
  std::optional<std::uint32_t> deliveryDelayUs;

  std::optional<std::uint32_t> exposureUs;  // of every frame, in place of what the file says
  std::optional<std::uint32_t> readoutUs;
  double scaleX = 1;
  double scaleY = 1;
};

inline std::string const& ColumnOf(ImportArguments const& arguments, std::string const& field) {
  auto const mapped = arguments.columns.find(field);
  return mapped == arguments.columns.end() ? kImportColumns.at(field) : mapped->second;
}

// `arguments` must outlive `command`.
void AddImportOptions(CLI::App& command, ImportArguments& arguments);

// After parsing: fills in the form of FILE. Throws CLI::ParseError where the options contradict each other.
void CompleteImportArguments(CLI::App const& command, ImportArguments& arguments);

// Parses the command line of shadingctl-import and runs `import`; the exit code.
int ParseAndImport(int argc, char** argv, std::function<int(ImportArguments const&)> const& import);

}  // namespace shadingctl
