#include "tools/shadingctl/commands/import/ImportOptions.h"

#include <limits>
#include <set>
#include <string_view>

#include "HelpTexts.h"  // generated
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/commands/Options.h"

namespace shadingctl {
namespace {

constexpr std::uint32_t kLongestUs = 4'000'000;  // of exposures and readouts; the latter are 32 bits of ns
constexpr double kLargestScale = 1e9;

void AddMapping(std::vector<std::string> const& texts, std::map<std::string, std::string>& columns) {
  for (std::string const& text : texts) {
    std::size_t const equals = text.find('=');
    std::string const field = text.substr(0, equals);
    bool const isWhole = equals != std::string::npos && equals + 1 < text.size() && kImportColumns.count(field) > 0;
    if (!isWhole) {
      std::string fields;
      for (auto const& entry : kImportColumns) fields += (fields.empty() ? "" : ", ") + entry.first;
      throw CLI::ValidationError(
          "--map", fmt::format("expected FIELD=COLUMN, where FIELD is one of {}, found '{}'", fields, text));
    }
    if (!columns.emplace(field, text.substr(equals + 1)).second) {
      throw CLI::ValidationError("--map", fmt::format("expected a column for {} once, found '{}' again", field, text));
    }
  }
}

// Each field has one source, and each column one field.
void RefuseAmbiguousFields(ImportArguments const& arguments) {
  std::map<std::string, char const*> const replaced = {
      {"frames.exposure", arguments.exposureUs ? "--exposure-us" : nullptr},
      {"frames.readout", arguments.readoutUs ? "--readout-us" : nullptr},
      {"hall.frame", arguments.deliveryDelayUs ? "--delivery-delay-us" : nullptr}};
  std::map<std::string, std::string> takenBy;  // columns, behind the name of their file
  for (auto const& entry : kImportColumns) {
    std::string const& field = entry.first;
    auto const option = replaced.find(field);
    if (option != replaced.end() && option->second != nullptr) {
      if (arguments.columns.count(field) == 0) continue;
      throw CLI::ValidationError(option->second, fmt::format("excludes --map {}=", field));
    }
    std::string const column = ColumnOf(arguments, field);
    auto const [taken, isFirst] = takenBy.emplace(field.substr(0, field.find('.') + 1) + column, field);
    if (isFirst) continue;
    throw CLI::ValidationError("--map", fmt::format("expected a column for each field, found '{}' for both {} and {}; "
                                                    "--map FIELD=COLUMN gives one of them another column",
                                                    column, taken->second, field));
  }
}

// Those of a file of frames and a file of samples.
void AddCsvOptions(CLI::App& command, ImportArguments& arguments, CLI::Option& file) {
  auto* const frames = AddFile(command, "--frames", arguments.framesFile, "CSV file of the frames")->excludes(&file);
  auto* const hall =
      AddFile(command, "--hall", arguments.hallFile, "CSV file of the stabiliser's samples")->needs(frames);
  auto* const frameTime =
      AddChoice<bool>(command, "--frame-time", {{"end", false}, {"start", true}}, arguments.timesAreStarts,
                      "Whether a frame's time is the start of its first line's exposure, or its end")
          ->needs(frames);
  frames->needs(hall)->needs(frameTime);
  command
      .add_option_function<std::vector<std::string>>(
          "--map", [&arguments](std::vector<std::string> const& texts) { AddMapping(texts, arguments.columns); },
          "The column of a field; once for each")
      ->type_name("FIELD=COLUMN")
      ->expected(1)
      ->take_all();
  AddNumber(command, "--skip", arguments.skip, std::uint32_t{0}, std::uint32_t{1000000}, "Lines before the header");
  AddNumber(command, "--hall-skip", arguments.hallSkip, std::uint32_t{0}, std::uint32_t{1000000},
            "The same of the samples' file, where it differs");
  std::map<std::string, recording::Separator> separators;
  for (recording::Separator const& separator : recording::kSeparators) separators[separator.name] = separator;
  AddChoice<recording::Separator>(command, "--separator", separators, arguments.separator, "What stands between values")
      ->default_str("comma");
  command.add_flag("--skip-bad", arguments.skipBad, "Leave out lines that cannot be read, and say how many");
  AddChoice<TimeUnit>(command, "--time-unit", kTimeUnits, arguments.timeUnit, "Unit of the times")->default_str("ns");
  AddChoice<TimeUnit>(command, "--hall-time-unit", kTimeUnits, arguments.hallTimeUnit,
                      "The same of the samples, where it differs");
  AddChoice<TimeUnit>(command, "--duration-unit", kTimeUnits, arguments.durationUnit,
                      "The same of exposure and readout times, where it differs");
  AddNumber(command, "--delivery-delay-us", arguments.deliveryDelayUs, std::uint32_t{0}, std::uint32_t{1000000},
            "Deliver samples by time, so long after a frame's readout, instead of with the frame that they name; 1000 "
            "where they name none");
  for (char const* const name : {"--map", "--skip", "--hall-skip", "--separator", "--skip-bad", "--time-unit",
                                 "--hall-time-unit", "--duration-unit", "--delivery-delay-us"}) {
    command.get_option(name)->needs(frames);
  }
}

}  // namespace

void AddImportOptions(CLI::App& command, ImportArguments& arguments) {
  auto* const file = command.add_option("FILE", arguments.file, "A .pb3 or a log; - is a log from standard input");
  command.add_option("-o,--output", arguments.directory, "Directory for the recording; made when missing")
      ->type_name("DIR")
      ->required()
      ->check(RefuseStandardStream);
  command.add_flag("--force", arguments.force, "Replace a recording that is there already");
  command.add_flag("--salvage", arguments.salvage, "Of a file that is cut short, take what is whole");
  AddChoice<ImportForm>(command, "--form", {{"log", ImportForm::kLog}, {"pb3", ImportForm::kVideo}}, arguments.form,
                        "What FILE is, whatever its name")
      ->needs(file);

  AddCsvOptions(command, arguments, *file);
  AddNumber(command, "--exposure-us", arguments.exposureUs, std::uint32_t{1}, kLongestUs,
            "Exposure time of every frame, in place of the file's; not of logs");
  AddNumber(command, "--readout-us", arguments.readoutUs, std::uint32_t{1}, kLongestUs,
            "Readout time of every frame, in place of the file's; not of logs");
  AddNumber(command, "--scale-x", arguments.scaleX, -kLargestScale, kLargestScale,
            "Factor of the positions; negative: the axis is mirrored; not of logs");
  AddNumber(command, "--scale-y", arguments.scaleY, -kLargestScale, kLargestScale, "The same of the other axis");
}

void CompleteImportArguments(CLI::App const& command, ImportArguments& arguments) {
  RefuseEmptyValues(command);
  bool const isCsv = command.get_option("--frames")->count() > 0;
  if (!isCsv && arguments.file.empty()) throw CLI::RequiredError("FILE, or --frames and --hall,");
  RefuseAmbiguousFields(arguments);
  bool const isVideo = arguments.file.size() > 4 && arguments.file.substr(arguments.file.size() - 4) == ".pb3";
  if (!arguments.form) arguments.form = isVideo ? ImportForm::kVideo : ImportForm::kLog;
  if (isCsv || arguments.form == ImportForm::kVideo) return;
  for (char const* const name : {"--exposure-us", "--readout-us", "--scale-x", "--scale-y", "--salvage"}) {
    if (command.get_option(name)->count() == 0) continue;
    throw CLI::ValidationError(name, "expected CSV files or a .pb3, found a log");
  }
}

int ParseAndImport(int argc, char** argv, std::function<int(ImportArguments const&)> const& import) {
  CLI::App app{kImportDescription, "shadingctl import"};
  app.set_version_flag("-V,--version", "shadingctl " PROJECT_VERSION);
  ImportArguments arguments;
  AddImportOptions(app, arguments);
  for (auto const& [command, text] : kHelpTexts) {
    if (std::string_view(command) == "import") app.footer(text);
  }
  try {
    app.parse(argc, argv);
    CompleteImportArguments(app, arguments);
  } catch (CLI::ParseError const& error) {
    return AnswerParseError(app, error);
  }
  return import(arguments);
}

}  // namespace shadingctl
