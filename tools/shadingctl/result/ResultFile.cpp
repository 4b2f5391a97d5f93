#include "tools/shadingctl/result/ResultFile.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"
#include "recording/InputFile.h"
#include "tools/shadingctl/result/ResultCsv.h"

namespace shadingctl {
namespace {

using Json = nlohmann::ordered_json;

constexpr char const* kSchema = "shadingctl-replay";
constexpr int kVersion = 1;
constexpr int kRowDepth = 2;  // of a row: inside "frames", inside the result

[[noreturn]] void Refuse(std::string const& path, std::string const& expected, std::string const& found) {
  throw hosting::UnusableInput(fmt::format("{}: expected {}, found {}", path, expected, found));
}

std::string Shown(Json const& json, char const* key) {
  auto const member = json.find(key);
  if (member == json.end()) return "none";
  std::string text = member->dump(-1, ' ', false, Json::error_handler_t::replace);
  constexpr std::size_t kEnough = 60;
  return text.size() > kEnough ? text.substr(0, kEnough) + "..." : text;
}

void CheckRow(std::string const& path, std::uint64_t index, Json const& row) {
  for (char const* const key : {"frame", "timestamp_ns"}) {
    auto const member = row.is_object() ? row.find(key) : row.end();
    if (row.is_object() && member != row.end() && member->is_number_unsigned()) continue;
    Refuse(fmt::format("{}: frames[{}].{}", path, index, key), "a whole number",
           row.is_object() ? Shown(row, key) : std::string(row.type_name()));
  }
}

ResultHead HeadOf(std::string const& path, Json const& result) {
  if (!result.is_object()) Refuse(path, "a JSON object", result.type_name());
  if (Shown(result, "schema") != fmt::format("\"{}\"", kSchema)) {
    Refuse(path + ": schema", fmt::format("\"{}\"", kSchema), Shown(result, "schema"));
  }
  if (Shown(result, "version") != std::to_string(kVersion)) {
    Refuse(path + ": version", std::to_string(kVersion), Shown(result, "version"));
  }
  ResultHead head;
  for (auto const& [key, target] : {std::pair("settings", &head.settings), std::pair("summary", &head.summary)}) {
    if (!result.contains(key) || !result[key].is_object()) Refuse(path + ": " + key, "an object", Shown(result, key));
    *target = result[key];
  }
  if (!result.contains("frames") || !result["frames"].is_array()) {
    Refuse(path + ": frames", "a list", Shown(result, "frames"));
  }
  head.findings = result.value("findings", Json::array());
  head.isComplete = result.value("complete", Json(true)) == Json(true);
  Json const error = result.value("error", Json());
  if (error.is_string()) head.error = error.get<std::string>();
  return head;
}

ResultHead ReadJson(std::FILE* file, std::string const& path, TakeRow const& takeRow) {
  bool isInFrames = false;
  std::uint64_t rows = 0;
  // A row is handed out as soon as it has been read, and forgotten.
  Json::parser_callback_t const callback = [&](int depth, Json::parse_event_t event, Json& parsed) {
    if (depth == 1 && event == Json::parse_event_t::key) isInFrames = parsed == "frames";
    bool const isRow = isInFrames && depth == kRowDepth &&
                       (event == Json::parse_event_t::object_end || event == Json::parse_event_t::array_end ||
                        event == Json::parse_event_t::value);
    if (!isRow) return true;
    CheckRow(path, rows++, parsed);
    takeRow(parsed);
    return false;
  };
  try {
    return HeadOf(path, Json::parse(file, callback));
  } catch (Json::parse_error const& error) {
    if (std::ferror(file) != 0 && hosting::InterruptedBy() != 0) throw hosting::Interrupted();
    std::string const text = error.what();
    std::size_t const place = text.find("parse error");
    Refuse(path, "JSON", place == std::string::npos ? text : text.substr(place));
  } catch (Json::exception const& error) {
    Refuse(path, "a replay's result", error.what());
  }
}

}  // namespace

ResultHead ReadResult(std::string const& path, TakeRow const& takeRow) {
  bool const isStandardInput = path == "-";
  std::string const name = isStandardInput ? "standard input" : path;
  recording::InputStream const file = recording::OpenInput(path);
  int const first = file == nullptr ? EOF : std::getc(file.get());
  if (file == nullptr || std::ferror(file.get()) != 0) {
    if (hosting::InterruptedBy() != 0) throw hosting::Interrupted();
    throw hosting::UnusableInput(fmt::format("{}: cannot be read: {}", name, std::generic_category().message(errno)));
  }
  if (first != EOF) std::ungetc(first, file.get());
  if (first == '{') return ReadJson(file.get(), name, takeRow);
  ReadResultCsv(file.get(), name, takeRow);
  ResultHead head;
  head.settings = head.summary = Json::object();
  head.findings = Json::array();
  return head;
}

}  // namespace shadingctl
