// What every command's source stands on: the command line, options that several commands have, one way to read a
// number, and where results and messages go. These sources include what they need besides it.
#pragma once

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <optional>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

#include "platform/desktop/Device.h"
#include "recording/Session.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/result/ResultReader.h"
#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {

// The number that the whole text says in decimal notation, as far as it lies in the range. NaN, infinity, other bases,
// leading zeros (octal elsewhere) and plus signs are refused.
template <class Number>
std::optional<Number> ParseNumber(std::string const& text, Number least, Number most) {
  std::string const digits = text.substr(text.rfind('-', 0) == 0 ? 1 : 0);
  bool const hasLeadingZero = digits.size() > 1 && digits[0] == '0' && digits[1] != '.';
  Number number{};
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  bool const isWhole = error == std::errc{} && end == text.data() + text.size();
  if (!isWhole || hasLeadingZero || !(number >= least && number <= most)) return std::nullopt;
  return number;
}

// Adds an option that takes a number from `least` to `most`, which `take` gets; the help and every refusal say so.
template <class Number, class Take>
CLI::Option* AddNumberOption(CLI::App& command, std::string const& name, Number least, Number most,
                             std::string const& description, Take const& take) {
  char const* const kind = std::is_floating_point_v<Number> ? "a number" : "a whole number";
  std::string const expected = fmt::format("expected {} from {} to {}", kind, least, most);
  auto const read = [take, name, expected, least, most](std::string const& text) {
    auto const number = ParseNumber<Number>(text, least, most);
    if (!number) throw CLI::ValidationError(name, fmt::format("{}, found '{}'", expected, text));
    take(*number);
  };
  return command.add_option_function<std::string>(name, read, description)
      ->type_name(fmt::format("{}..{}", least, most));
}

// The same for a `target` of that type, which is the default then, or for an std::optional of it.
template <class Target, class Number>
CLI::Option* AddNumber(CLI::App& command, std::string const& name, Target& target, Number least, Number most,
                       std::string const& description) {
  auto* const option =
      AddNumberOption(command, name, least, most, description, [&target](Number number) { target = number; });
  if constexpr (std::is_arithmetic_v<Target>) option->default_str(fmt::format("{}", target));
  return option;
}

// -o,--output; `output` is kStandardOutput without the option.
void AddOutput(CLI::App& command, std::string& output);

// --format and --output.
void AddResultOptions(CLI::App& command, Format& format, std::string& output,
                      std::vector<std::string> const& formats = {"table", "csv", "json"});

// --device and --library.
void AddHostOptions(CLI::App& command, std::string& device, std::string& library);

struct ChosenDevice {
  std::string directory;  // empty: the built-in device
  desktop::DeviceSettings settings;
};

// The device that --device names, or else VCAM_DEVICE, or else the built-in one. The environment is not asked again.
// Throws UnusableFile.
ChosenDevice ChooseDevice(std::string const& option);

// The library to load: that of the option, or the one built beside the tool.
std::string ChooseLibrary(std::string const& option);

// The files that a host with these choices reads.
std::vector<std::string> FilesOf(ChosenDevice const& device, std::string const& library);

// Those of a recording in `directory`, of either version.
void AddRecordingFiles(std::string const& directory, std::vector<std::string>& files);

// Tells on standard error what a recording lacks.
void TellOfRecording(recording::Session const& session);

// Tells on standard error what of a result's rows was passed over.
void TellOfLeftOut(ResultHead const& head);

// A check for names of directories, which standard input and output are not. Answers what is wrong.
inline std::string RefuseStandardStream(std::string const& name) {
  if (name != kStandardOutput) return {};
  return "- is standard input or output, which cannot serve here; ./- is a file or directory of that name";
}

// Refuses options and arguments whose value is empty, as that of an unset variable in a script is. Throws
// CLI::ValidationError.
inline void RefuseEmptyValues(CLI::App const& command) {
  for (CLI::Option const* const option : command.get_options()) {
    for (std::string const& value : option->results()) {
      if (value.empty()) throw CLI::ValidationError(option->get_name(), "expected a value, found an empty text");
    }
  }
}

}  // namespace shadingctl
