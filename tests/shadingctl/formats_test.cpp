// Every format of a command states the same values.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <ostream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

using Document = nlohmann::ordered_json;

struct Stated {
  char const* name;
  char const* arguments;
  char const* list;  // in the JSON: an object for each row, or one
  // A row as people read it: "$" and a column, with a factor behind it or "%" for whole per cent; "*" for any word;
  // words. A column without a value is left out. Nullptr: the row is one of CSV.
  char const* reads = nullptr;
};

std::ostream& operator<<(std::ostream& stream, Stated const& stated) { return stream << stated.name; }

// The value of a column: of a member, or of the member of one, with "_" between the names; of a list its size.
Document ValueOf(Document const& row, std::string const& column) {
  if (row.contains(column)) return row[column].is_array() ? Document(row[column].size()) : row[column];
  if (column.rfind("mean_row", 0) == 0) {  // of a calibration, "mean_row3"
    Document const& rows = row["block"]["rows"];
    std::size_t const number = std::stoul(column.substr(8));
    return number < rows.size() ? rows[number]["mean"] : Document();
  }
  for (std::size_t at = 0; (at = column.find('_', at)) != std::string::npos; ++at) {
    std::string const member = column.substr(0, at);
    if (row.contains(member)) return ValueOf(row[member], column.substr(at + 1));
  }
  ADD_FAILURE() << "no " << column << " in " << row;
  return nullptr;
}

std::vector<Document> RowsOf(Document const& result, std::string const& list) {
  std::vector<Document> rows;
  Document const& place = result.at(Document::json_pointer(list));
  if (list == "/axes") {  // of a fit
    for (auto const& [image, axis] : place.items()) {
      for (auto const& [quantity, entry] : axis.items()) {
        if (quantity == "hall") continue;
        auto const interval = entry.value("interval", Document({nullptr, nullptr}));
        rows.push_back({{"image", image}, {"hall", axis["hall"]}, {"quantity", quantity}, {"value", entry["value"]}});
        rows.back().update(
            {{"low", interval[0]}, {"high", interval[1]}, {"library", entry.value("library", Document())}});
      }
    }
  } else if (place.is_array()) {
    rows.assign(place.begin(), place.end());
  } else {
    rows.push_back(place);
  }
  return rows;
}

double NumberOf(std::string const& text) {
  char* end = nullptr;
  double const number = std::strtod(text.c_str(), &end);
  return text.empty() || *end != '\0' ? std::nan("") : number;
}

// Without punctuation, and without signs for a share or for nothing; numbers with "-" or "/" between are two.
std::vector<std::string> WordsOf(std::string const& text) {
  std::istringstream stream(std::regex_replace(text, std::regex("([0-9])[-/](?=[0-9])"), "$1 "));
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    std::size_t const begin = word.find_first_not_of("(");
    std::size_t const end = word.find_last_not_of(",.:;()%");
    if (begin <= end && end != std::string::npos && word != "-") words.push_back(word.substr(begin, end + 1 - begin));
  }
  return words;
}

struct Expected {
  std::string word;
  double number;  // not a number: the word itself is expected
};

std::vector<Expected> ExpectedOf(Document const& row, std::string const& reads) {
  std::vector<Expected> all;
  std::istringstream stream(reads);
  for (std::string part; stream >> part;) {
    std::size_t const star = part.size() > 1 ? part.find_first_of("*%") : std::string::npos;
    bool const isWhole = star != std::string::npos && part[star] == '%';
    double const factor = star == std::string::npos ? 1 : isWhole ? 100 : std::stod(part.substr(star + 1));
    auto const value = part[0] == '$' ? ValueOf(row, part.substr(1, star - 1)) : Document(part);
    if (value.is_number()) {
      double const number = value.get<double>() * factor;
      all.push_back({value.dump(), isWhole ? number - 0.5 : number});  // whole ones are cut, not rounded
    } else if (!value.is_null()) {
      for (std::string const& word : WordsOf(value.get<std::string>())) all.push_back({word, std::nan("")});
    }
  }
  return all;
}

bool States(std::string const& word, Expected const& expected) {
  if (std::isnan(expected.number)) return expected.word == "*" || expected.word == word;
  std::size_t const point = word.find('.');
  double const digits = point == std::string::npos ? 0 : static_cast<double>(word.size() - point - 1);
  return std::abs(NumberOf(word) - expected.number) <= 0.5000001 * std::pow(10, -digits);
}

class Formats : public testing::TestWithParam<Stated> {};

TEST_P(Formats, StateTheValuesOfTheJson) {
  std::string const command = GetParam().arguments;
  if (command.rfind("calibration", 0) == 0 && !MountRefusal().empty()) GTEST_SKIP() << MountRefusal();
  TemporaryDirectory const place;
  Outcome const made =
      RunScript("cd " + place.Path() +
                " && shadingctl generate s --reference seen.csv && shadingctl generate two --cameras 2 "
                "--hall-rate 200 && shadingctl replay s -q --dump preview --dump-dir dumps --format json -o s.json && "
                "shadingctl replay two -q --format json -o two.json");
  ASSERT_EQ(made.exitCode, 0) << made.err;
  auto const run = [&](std::string const& format) {
    return RunScript("cd " + place.Path() + " && shadingctl " + command + " --format " + format).out;
  };
  auto const rows = RowsOf(Document::parse(run("json")), GetParam().list);
  ASSERT_FALSE(rows.empty());
  if (GetParam().reads == nullptr) {
    std::string const text = run("csv");
    ExpectGolden(text.substr(0, text.find('\n') + 1), std::string("columns-") + GetParam().name + ".csv");
    auto const csv = Rows(text);
    ASSERT_EQ(csv.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      for (auto const& [column, cell] : csv[i]) {
        auto const value = ValueOf(rows[i], column);
        std::string const told = value.is_string() ? value.get<std::string>() : value.is_null() ? "" : value.dump();
        EXPECT_TRUE(cell == told || NumberOf(cell) == NumberOf(told)) << column << " is " << cell << ", not " << told;
      }
    }
    return;
  }
  auto const words = WordsOf(run("table"));
  for (Document const& row : rows) {
    auto const expected = ExpectedOf(row, GetParam().reads);
    auto const found = std::search(words.begin(), words.end(), expected.begin(), expected.end(), States);
    EXPECT_NE(found, words.end()) << GetParam().reads << " of " << row;
  }
}

constexpr char const* kSweep =
    "budget --frame-rate 60 --readout-us 15980 --hall-rate 200 --sweep exposure --exposure-us 1266";

INSTANTIATE_TEST_SUITE_P(
    All, Formats,
    testing::Values(
        Stated{"replay", "replay s", "/frames"}, Stated{"explain", "explain s --frame 213", "/frames"},
        Stated{"budget", kSweep, "/budgets"}, Stated{"fit", "fit s --reference seen.csv", "/axes"},
        Stated{"calibration", "calibration --all", "/cameras"}, Stated{"dumps", "dumps dumps", "/dumps"},
        Stated{"ReplayTableOfStarts", "replay s --only start", "/frames",
               "$frame * $match $samples $start_index $end_index $offset_us $start_distance_us 1500 $span_age_us "
               "$hall_x $hall_y $coverage%"},
        Stated{"ReplayTableOfOthers", "replay s --only warm_up,no_window", "/frames",
               "$frame * $match $samples $offset_us $hall_x $hall_y $message"},
        Stated{"ReplaySummary", "replay s --summary", "/summary/cameras",
               "$coverage_median*100 of its readout median $coverage_worst*100 at worst"},
        Stated{"ReplayMatchRate", "replay s --summary", "/summary/cameras",
               "Match rate $match_rate*100 of the * frames after the warm-up have a sample at their start "
               "$match_rate_of_all*100 of all $frames"},
        Stated{"ReplayFindings", "replay s --summary", "/findings", "$code $severity $frames_count * $text"},
        Stated{"ExplainText", "explain s --frame 213", "/explained", "Camera $camera frame $frame $text"},
        Stated{"BudgetTable", kSweep, "/budgets",
               "$hall_rate_hz $exposure_us $start*100 $beyond_reach*100 $beyond_tolerance*100 $short_history*100 "
               "$single*100 $both_ends_near*100 $median_coverage*100 $worst_coverage*100 $locked_lowest*100 to "
               "$locked_highest*100"},
        Stated{"BudgetText", "budget --frame-rate 60 --readout-us 15980 --hall-rate 200 --exposure-us 1266", "/budgets",
               "$median_coverage*100 median $worst_coverage*100 at worst both ends near in $both_ends_near*100 of"},
        Stated{"FitTable", "fit s --reference seen.csv", "/axes", "$image $quantity $value $low $high $library"},
        Stated{"FitVerdict", "fit s --reference seen.csv", "", "Verdict $verdict $reason"},
        Stated{"CalibrationTable", "calibration", "/cameras",
               "$camera $mask $table_index $table_gradient * $block_kind $block_mean*0.0001220703125"},
        Stated{"DumpsTable", "dumps dumps", "/dumps",
               "$kind $camera $frame $printed_frame $start_of_frame_us $samples $hall0_x $hall0_y $exposure_us "
               "$shutter_us"},
        Stated{"DoctorText", "doctor " BUILT_LIBRARY, "/findings", "$verdict $check $text"},
        Stated{"SummarizeShares", "summarize s.json two.json", "/measures/match_rate",
               "$least*100 $percentiles_1*100 $percentiles_5*100 $percentiles_25*100 $percentiles_50*100 "
               "$percentiles_75*100 $percentiles_95*100 $percentiles_99*100 $largest*100 $cameras"},
        Stated{"SummarizeQuantities", "summarize s.json two.json", "/measures/longest_us",
               "$least $percentiles_1 $percentiles_5 $percentiles_25 $percentiles_50 $percentiles_75 $percentiles_95 "
               "$percentiles_99 $largest $cameras"},
        Stated{"SummarizeWorst", "summarize s.json two.json", "/worst",
               "Worst $severity $frames frames $match_rate*100 $session camera $camera $file"}),
    [](auto const& stated) { return stated.param.name; });

}  // namespace
}  // namespace shadingctl
