// What differs between two results.
#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/shadingctl/result/ResultFile.h"

namespace shadingctl {

struct DiffOptions {
  double tolerance = 0;    // by which a position may differ, and its distance from others, in the samples' unit
  std::size_t named = 10;  // differences to name
};

struct FieldDifference {
  std::uint64_t rows = 0;
  double largest = 0;  // of numbers
  std::string largestRow;
};

struct NamedDifference {
  std::string row;  // "frame 7", with its camera and the number of the computation where that is needed
  std::string field;
  nlohmann::ordered_json a;
  nlohmann::ordered_json b;
};

struct ResultDiff {
  ResultHead a;
  ResultHead b;
  std::uint64_t rowsOfA = 0;
  std::uint64_t rowsOfB = 0;
  std::uint64_t different = 0;
  std::uint64_t onlyInA = 0;
  std::uint64_t onlyInB = 0;
  std::vector<std::string> firstOnlyInA;
  std::vector<std::string> firstOnlyInB;
  std::map<std::string, FieldDifference> fields;
  std::vector<NamedDifference> named;

  bool IsSame() const { return different == 0 && onlyInA == 0 && onlyInB == 0; }
};

// Rows belong together by camera, frame number and, where a frame was computed several times, in their order. Fields
// that only one of the results has are not compared. Throws UnusableInput.
ResultDiff CompareResults(std::string const& pathOfA, std::string const& pathOfB, DiffOptions const& options);

// The comparison in Markdown, with both summaries side by side.
std::string DiffText(ResultDiff const& diff, std::string const& nameOfA, std::string const& nameOfB);

}  // namespace shadingctl
