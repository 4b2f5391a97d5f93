// The figures that a benchmark ends with, as a table and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace bench {

class Table {
 public:
  // `atMost` or `atLeast` is the target where there is one.
  struct Target {
    std::optional<double> atMost;
    std::optional<double> atLeast;
  };
  void Add(std::string group, std::string figure, double value, std::string unit, Target target);
  void Add(std::string group, std::string figure, double value, std::string unit) {
    Add(std::move(group), std::move(figure), value, std::move(unit), {});
  }
  void Print() const;
  nlohmann::json Json() const;

 private:
  struct Row {
    std::string group;
    std::string figure;
    double value;
    std::string unit;
    Target target;
  };
  static bool IsMet(Row const& row);
  std::vector<Row> mRows;
};

// Machine, date and command line.
nlohmann::json Circumstances(int argc, char const* const* argv);

// Writes the document; throws UnusableInput when the file cannot be written.
void WriteJson(std::string const& path, nlohmann::json const& document);

}  // namespace bench
