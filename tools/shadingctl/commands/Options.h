// Shared by the sources of the commands: the command line, options that several of them have, one way to read a number,
// and where results and messages go. Each source includes what it needs besides.
#pragma once

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>
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

// AddNumberOption for a `target` of that type, whose value is the default, or for an std::optional of it.
template <class Target, class Number>
CLI::Option* AddNumber(CLI::App& command, std::string const& name, Target& target, Number least, Number most,
                       std::string const& description) {
  auto* const option =
      AddNumberOption(command, name, least, most, description, [&target](Number number) { target = number; });
  if constexpr (std::is_arithmetic_v<Target>) option->default_str(fmt::format("{}", target));
  return option;
}

// Adds an option whose value is one of these names, in their order.
template <class Value, class Target, class Values = std::vector<std::pair<std::string, Value>>>
CLI::Option* AddChoice(CLI::App& command, std::string const& name, Values const& values, Target& target,
                       std::string const& description) {
  std::vector<std::string> names;
  for (auto const& known : values) names.push_back(known.first);
  auto const choose = [&target, values](std::string const& text) {
    target = std::find_if(values.begin(), values.end(), [&](auto const& known) { return known.first == text; })->second;
  };
  return command.add_option_function<std::string>(name, choose, description)->check(CLI::IsMember(names));
}

// Adds an option that names a file.
inline CLI::Option* AddFile(CLI::App& command, std::string const& name, std::string& file,
                            std::string const& description) {
  return command.add_option(name, file, description)->type_name("FILE");
}

// -o,--output; `output` is kStandardOutput without the option.
void AddOutput(CLI::App& command, std::string& output);

struct ResultOptions {
  Format format = Format::kTable;
  std::string output;
};

// --format and --output.
void AddResultOptions(CLI::App& command, ResultOptions& result, bool withCsv = true);

struct HostOptions {
  std::string device;
  std::string library;
};

// --device and --library.
void AddHostOptions(CLI::App& command, HostOptions& host);

struct Host {
  std::string directory;  // of the device; empty: the built-in one
  desktop::DeviceSettings settings;
  std::string library;
};

// The device that --device names, or else VCAM_DEVICE, or else the built-in one, and the library of the option, or the
// one built beside the tool. The environment is not asked again. Throws UnusableFile.
Host ChooseHost(HostOptions const& options);

// The files that the host reads.
std::vector<std::string> FilesOf(Host const& host);

// Those of a recording in `directory`, of either version.
void AddRecordingFiles(std::string const& directory, std::vector<std::string>& files);

// Tells the remarks about a recording on standard error.
inline void TellOfRecording(recording::Session const& session) {
  for (std::string const& remark : session.Remarks()) Tell(remark);
}

// Tells on standard error how many values of a result's rows were left out, and why.
inline void TellOfLeftOut(ResultHead const& head) {
  if (head.leftOut > 0) Tell(fmt::format("{}; left out {} such values", LeftOutText(head), head.leftOut));
}

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
