#include "bench/Table.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <ctime>
#include <fstream>
#include <thread>
#include <utility>

#include "hosting/UnusableInput.h"

namespace bench {

void Table::Add(std::string group, std::string figure, double value, std::string unit, Target target) {
  mRows.push_back({std::move(group), std::move(figure), value, std::move(unit), target});
}

bool Table::IsMet(Row const& row) {
  return (!row.target.atMost || row.value <= *row.target.atMost) &&
         (!row.target.atLeast || row.value >= *row.target.atLeast);
}

void Table::Print() const {
  fmt::print("| {:<22} | {:<55} | {:>12} | {:>12} | {:<3} |\n", "stream or part", "figure", "value", "target", "met");
  fmt::print("|{:-<24}|{:-<57}|{:-<13}:|{:-<13}:|{:-<5}|\n", "", "", "", "", "");
  for (Row const& row : mRows) {
    std::string target;
    if (row.target.atMost) target = fmt::format("<= {:.4g}", *row.target.atMost);
    if (row.target.atLeast) target = fmt::format(">= {:.4g}", *row.target.atLeast);
    fmt::print("| {:<22} | {:<55} | {:>12} | {:>12} | {:<3} |\n", row.group, row.figure,
               fmt::format("{:.4g} {}", row.value, row.unit), target,
               target.empty() ? ""
               : IsMet(row)   ? "yes"
                              : "NO");
  }
}

nlohmann::json Table::Json() const {
  nlohmann::json rows = nlohmann::json::array();
  for (Row const& row : mRows) {
    nlohmann::json& json = rows.emplace_back(
        nlohmann::json{{"group", row.group}, {"figure", row.figure}, {"value", row.value}, {"unit", row.unit}});
    if (row.target.atMost) json["atMost"] = *row.target.atMost;
    if (row.target.atLeast) json["atLeast"] = *row.target.atLeast;
    if (row.target.atMost || row.target.atLeast) json["met"] = IsMet(row);
  }
  return rows;
}

nlohmann::json Circumstances(int argc, char const* const* argv) {
  std::ifstream cpuInfo("/proc/cpuinfo");
  std::string machine = "unknown";
  for (std::string line; std::getline(cpuInfo, line);) {
    if (line.rfind("model name", 0) == 0) {
      machine = line.substr(line.find(':') + 2);
      break;
    }
  }
  std::string command = argv[0];
  for (int i = 1; i < argc; ++i) command += std::string(" ") + argv[i];
  return {{"machine", machine},
          {"processors", std::thread::hardware_concurrency()},
          {"date", fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::time(nullptr)))},
          {"command", command}};
}

void WriteJson(std::string const& path, nlohmann::json const& document) {
  std::ofstream file(path);
  file << document.dump(2) << '\n';
  file.close();
  if (!file) throw hosting::UnusableInput(path + ": cannot be written");
}

}  // namespace bench
