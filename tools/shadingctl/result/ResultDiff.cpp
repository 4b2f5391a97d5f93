#include "tools/shadingctl/result/ResultDiff.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace shadingctl {
namespace {

using Json = nlohmann::ordered_json;

// camera, frame, how often that frame was computed before
using RowKey = std::tuple<std::int64_t, std::uint64_t, std::uint64_t>;

// Gives the rows of one result their keys.
class Keys {
 public:
  RowKey Of(Json const& row) {
    Json const camera = row.value("camera", Json(0));
    std::int64_t const number = camera.is_number_integer() ? camera.get<std::int64_t>() : 0;
    auto const frame = row.at("frame").get<std::uint64_t>();
    return {number, frame, mComputed[{number, frame}]++};
  }

 private:
  std::map<std::pair<std::int64_t, std::uint64_t>, std::uint64_t> mComputed;
};

// Bytes that are no UTF-8 are replaced.
std::string Dump(Json const& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

std::string Text(RowKey const& key) {
  auto const& [camera, frame, times] = key;
  std::string text = fmt::format("frame {}", frame);
  if (camera != 0) text += fmt::format(" of camera {}", camera);
  if (times != 0) text += fmt::format(", computation {}", times + 1);
  return text;
}

constexpr double kDistanceStep = 1.01e-4;  // distances have four decimals, so the last one may differ by one more

bool IsSame(std::string const& field, Json const& a, Json const& b, double tolerance) {
  if (a == b) return true;
  bool const isDistance = field == "readout_distance";
  bool const isPosition = field == "hall_x" || field == "hall_y" || isDistance;
  if (isDistance && tolerance > 0) tolerance += kDistanceStep;
  return isPosition && a.is_number() && b.is_number() && std::abs(a.get<double>() - b.get<double>()) <= tolerance;
}

class Comparison {
 public:
  Comparison(ResultDiff& diff, DiffOptions const& options) : mDiff(diff), mOptions(options) {}

  void AddToA(Json const& row) {
    ++mDiff.rowsOfA;
    mRowsOfA.emplace(mKeysOfA.Of(row), Dump(row));
  }

  void AddToB(Json const& row) {
    ++mDiff.rowsOfB;
    RowKey const key = mKeysOfB.Of(row);
    auto const other = mRowsOfA.find(key);
    if (other == mRowsOfA.end()) return Name(mDiff.onlyInB, mDiff.firstOnlyInB, key);
    std::string const text = Dump(row);
    if (text != other->second) Compare(key, Json::parse(other->second), Json::parse(text));
    mRowsOfA.erase(other);
  }

  void Finish() {
    for (auto const& [key, row] : mRowsOfA) Name(mDiff.onlyInA, mDiff.firstOnlyInA, key);
  }

 private:
  void Name(std::uint64_t& count, std::vector<std::string>& first, RowKey const& key) {
    if (count++ < mOptions.named) first.push_back(Text(key));
  }

  void Compare(RowKey const& key, Json const& a, Json const& b) {
    bool differs = false;
    for (auto const& [field, valueOfA] : a.items()) {
      auto const valueOfB = b.find(field);
      if (valueOfB == b.end() || IsSame(field, valueOfA, *valueOfB, mOptions.tolerance)) continue;
      differs = true;
      FieldDifference& difference = mDiff.fields[field];
      ++difference.rows;
      if (valueOfA.is_number() && valueOfB->is_number()) {
        double const size = std::abs(valueOfB->get<double>() - valueOfA.get<double>());
        if (size > difference.largest) {
          difference.largest = size;
          difference.largestRow = Text(key);
        }
      }
      if (mDiff.named.size() < mOptions.named) mDiff.named.push_back({Text(key), field, valueOfA, *valueOfB});
    }
    if (differs) ++mDiff.different;
  }

  ResultDiff& mDiff;
  DiffOptions const& mOptions;
  Keys mKeysOfA;
  Keys mKeysOfB;
  std::map<RowKey, std::string> mRowsOfA;  // without those that were compared; text takes a tenth of the memory
};

// A value in a cell of a table.
std::string Cell(Json const& value) {
  std::string text = value.is_null() ? std::string("-") : value.is_string() ? value.get<std::string>() : Dump(value);
  for (std::size_t at = 0; (at = text.find_first_of("|\n\r", at)) != std::string::npos; ++at) {
    text[at] = text[at] == '|' ? '/' : ' ';
  }
  return text;
}

std::string ChangeCell(Json const& a, Json const& b) {
  if (a == b) return "";
  if (!a.is_number() || !b.is_number()) return "differs";
  return fmt::format("{:+.9g}", b.get<double>() - a.get<double>());
}

std::string OnlyText(char const* which, std::uint64_t count, std::vector<std::string> const& first) {
  if (count == 0) return {};
  return fmt::format("Only in {}: {} rows, first {}.\n\n", which, count, fmt::join(first, "; "));
}

// What a list holds, by number, as an object does by name.
Json MembersOf(Json const& value) {
  if (value.is_object() || !value.is_array()) return value;
  Json members = Json::object();
  for (std::size_t i = 0; i < value.size(); ++i) members[std::to_string(i)] = value[i];
  return members;
}

// The leaves of both values side by side, in the order of A, then those that only B has.
void AddLeaves(std::string const& path, Json const& valueOfA, Json const& valueOfB, std::string& text) {
  Json const a = MembersOf(valueOfA);
  Json const b = MembersOf(valueOfB);
  if (!a.is_object() && !b.is_object()) {
    text += fmt::format("| {} | {} | {} | {} |\n", path, Cell(a), Cell(b), ChangeCell(a, b));
    return;
  }
  auto const below = [&](std::string const& key) { return path.empty() ? key : path + "." + key; };
  auto const member = [](Json const& object, std::string const& key) {
    return object.is_object() && object.contains(key) ? object.at(key) : Json();
  };
  if (a.is_object()) {
    for (auto const& [key, value] : a.items()) AddLeaves(below(key), value, member(b, key), text);
  }
  if (b.is_object()) {
    for (auto const& [key, value] : b.items()) {
      if (!a.is_object() || !a.contains(key)) AddLeaves(below(key), Json(), value, text);
    }
  }
}

// Nothing where both are CSV files, which have no such thing.
std::string SideBySide(char const* title, Json const& a, Json const& b) {
  if (a.empty() && b.empty()) return {};
  std::string text = fmt::format("## {}\n\n| | A | B | B - A |\n|---|---|---|---|\n", title);
  AddLeaves("", a, b, text);
  return text + "\n";
}

// Codes of findings, with the numbers of their frames.
Json CountsOf(Json const& findings) {
  Json counts = Json::object();
  for (Json const& finding : findings) {
    if (!finding.is_object()) continue;
    std::string code = Cell(finding.value("code", Json()));
    Json const camera = finding.value("camera", Json(0));
    if (camera != 0) code += " of camera " + Cell(camera);
    Json const frames = finding.value("frames", Json::object());
    counts[code] = frames.is_object() ? frames.value("count", Json()) : Json();
  }
  return counts;
}

std::string Incomplete(char const* which, ResultHead const& head) {
  if (head.isComplete) return {};
  return fmt::format("{} is not complete: {}\n\n", which, head.error.empty() ? "it says no more" : head.error);
}

}  // namespace

ResultDiff CompareResults(std::string const& pathOfA, std::string const& pathOfB, DiffOptions const& options) {
  ResultDiff diff;
  Comparison comparison(diff, options);
  diff.a = ReadResult(pathOfA, [&](Json const& row) { comparison.AddToA(row); });
  diff.b = ReadResult(pathOfB, [&](Json const& row) { comparison.AddToB(row); });
  comparison.Finish();
  return diff;
}

std::string DiffText(ResultDiff const& diff, std::string const& nameOfA, std::string const& nameOfB) {
  std::string text = fmt::format("# Two replays compared\n\nA is {} ({} rows), B is {} ({} rows).\n\n", nameOfA,
                                 diff.rowsOfA, nameOfB, diff.rowsOfB);
  text += Incomplete("A", diff.a) + Incomplete("B", diff.b);
  std::uint64_t const common = diff.rowsOfA - diff.onlyInA;
  text += diff.different == 0 ? fmt::format("None of {} common rows differs.\n\n", common)
                              : fmt::format("**{} of {} common rows differ.**\n\n", diff.different, common);
  text += OnlyText("A", diff.onlyInA, diff.firstOnlyInA) + OnlyText("B", diff.onlyInB, diff.firstOnlyInB);
  if (!diff.fields.empty()) {
    text += "## By field\n\n| field | rows | largest difference | in |\n|---|---|---|---|\n";
    for (auto const& [field, difference] : diff.fields) {
      bool const hasSize = !difference.largestRow.empty();
      text += fmt::format("| {} | {} | {} | {} |\n", field, difference.rows,
                          hasSize ? fmt::format("{:.9g}", difference.largest) : "", difference.largestRow);
    }
    text += "\n## First differences\n\n| row | field | A | B | B - A |\n|---|---|---|---|---|\n";
    for (NamedDifference const& named : diff.named) {
      text += fmt::format("| {} | {} | {} | {} | {} |\n", named.row, named.field, Cell(named.a), Cell(named.b),
                          ChangeCell(named.a, named.b));
    }
    text += "\n";
  }
  text += SideBySide("Settings", diff.a.settings, diff.b.settings);
  text += SideBySide("Findings, with their frames", CountsOf(diff.a.findings), CountsOf(diff.b.findings));
  text += SideBySide("Summary", diff.a.summary, diff.b.summary);
  text.pop_back();
  return text;
}

}  // namespace shadingctl
