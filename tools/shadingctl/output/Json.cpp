#include "tools/shadingctl/output/Json.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

namespace shadingctl {
namespace {

// Levels of lists and objects, one in the other.
int DepthOf(Json const& json) {
  if (!json.is_structured()) return 0;
  int depth = 0;
  for (Json const& part : json) depth = std::max(depth, DepthOf(part));
  return depth + 1;
}

void AppendIndented(std::string& text, Json const& json, std::string const& lineFeed, bool isElement) {
  if (!json.is_structured() || json.empty() || (isElement && DepthOf(json) <= 2)) {
    text += Dump(json);
    return;
  }
  char separator = json.is_array() ? '[' : '{';
  for (auto const& [key, value] : json.items()) {
    text += std::exchange(separator, ',') + lineFeed + "  ";
    if (json.is_object()) text += Dump(key) + ": ";
    AppendIndented(text, value, lineFeed + "  ", json.is_array());
  }
  text += lineFeed + (json.is_array() ? ']' : '}');
}

void AddPlaces(Json const& row, std::string const& above, std::vector<std::string>& places) {
  for (auto const& [key, value] : row.items()) {
    if (value.is_object()) {
      AddPlaces(value, above + key + "/", places);
    } else if (!value.is_array()) {
      places.push_back(above + key);
    }
  }
}

// A text that would end its cell stands in quotes.
std::string Cell(Json const& value) {
  if (value.is_null()) return {};
  if (!value.is_string()) return value.dump();
  std::string text = value.get<std::string>();
  if (text.find_first_of(",\"\n") == std::string::npos) return text;
  for (std::size_t at = 0; (at = text.find('"', at)) != std::string::npos; at += 2) text.insert(at, "\"");
  return "\"" + text + "\"";
}

}  // namespace

std::string JsonText(Json const& document) {
  std::string text;
  AppendIndented(text, document, "\n", false);
  return text + "\n";
}

std::string CsvText(Json const& rows) {
  std::vector<std::string> places;
  AddPlaces(rows.front(), "/", places);
  std::string text = CsvNames(places) + "\n";
  for (Json const& row : rows) {
    std::vector<std::string> cells;
    for (std::string const& place : places) cells.push_back(Cell(row.at(Json::json_pointer(place))));
    text += fmt::format("{}\n", fmt::join(cells, ","));
  }
  return text;
}

std::string CsvNames(std::vector<std::string> places) {
  for (std::string& place : places) {
    place.erase(0, 1);
    std::replace(place.begin(), place.end(), '/', '_');
  }
  return fmt::format("{}", fmt::join(places, ","));
}

}  // namespace shadingctl
