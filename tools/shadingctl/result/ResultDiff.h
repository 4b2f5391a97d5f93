// What differs between two results.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tools/shadingctl/result/ResultReader.h"
#include "tools/shadingctl/result/Spool.h"
#include "tools/shadingctl/statistics/Histogram.h"

namespace shadingctl {

struct DiffOptions {
  double tolerance = 0;    // by which a position may differ, and its distance from others, in the samples' unit
  std::size_t named = 10;  // differences to name
};

struct ColumnDifference {
  std::uint64_t rows = 0;
  double largest = 0;  // of numbers, as are the next
  double squares = 0;  // sum over the rows that have numbers on both sides
  std::uint64_t numbers = 0;
  std::uint64_t greater = 0;         // rows in which B has the greater number
  std::shared_ptr<Histogram> sizes;  // in billionths; null where there are none
  std::string largestRow;
};

constexpr double kSizeUnits = 1e9;

struct NamedDifference {
  std::string row;          // "frame 7", with its camera and the number of the computation where that is needed
  std::uint64_t place = 0;  // of the row in A
  std::size_t column = 0;   // of the table
  Json a;
  Json b;
};

struct ComparedResult {
  ResultHead head;
  std::uint64_t rows = 0;
  std::uint64_t only = 0;  // rows that the other result lacks
  std::vector<std::string> firstOnly;
};

struct ResultDiff {
  ComparedResult a;
  ComparedResult b;
  std::uint64_t different = 0;
  std::array<ColumnDifference, kColumnCount> columns;
  std::vector<NamedDifference> named;

  bool IsSame() const { return different == 0 && a.only == 0 && b.only == 0; }
  std::uint64_t CommonRows() const { return a.rows - a.only; }
};

// Compares rows that come one by one with those of a file. Rows belong together by camera, frame number and, where a
// frame was computed several times, in their order. Columns that only one of both rows has are not compared. Takes the
// memory of the rows that lie between two that belong together.
class Comparison {
 public:
  // Reads A into a temporary file. Throws UnusableInput.
  Comparison(std::string const& pathOfA, DiffOptions const& options);

  void Add(ResultRow const& row);  // of B
  // All rows were added. Answers the comparison without the head of B.
  ResultDiff Finish();

  ResultHead const& HeadOfA() const { return mDiff.a.head; }

 private:
  struct Key {
    std::int32_t camera = 0;
    std::uint32_t frame = 0;
    std::uint32_t earlier = 0;  // computations of the frame

    bool operator<(Key const& other) const;
    std::string Text() const;
  };
  using Rows = std::map<Key, std::string>;  // packed

  Key KeyOf(ResultRow const& row, bool isOfA);
  void Match(Key const& key, std::string row, Rows& own, Rows& others);
  std::optional<Key> MatchNextOfA();
  void Compare(Key const& key, ResultRow const& a, ResultRow const& b);

  DiffOptions mOptions;
  ResultDiff mDiff;
  Spool mSpool;  // rows of A
  Rows mOfA;     // not compared yet, like those of B
  Rows mOfB;
  std::unordered_map<std::uint64_t, std::array<std::uint32_t, 2>> mComputed;  // of a camera's frame, in A and in B
};

ResultDiff CompareResults(std::string const& pathOfA, std::string const& pathOfB, DiffOptions const& options);

// The comparison in Markdown, with both summaries side by side.
std::string DiffText(ResultDiff const& diff, std::string const& nameOfA, std::string const& nameOfB);

// How B differs from A, the expected result: "FILE:PLACE: COLUMN: expected TEXT, found TEXT" of the differences that
// are named, and how many there are in all; nothing where there is none.
std::vector<std::string> ComplaintsOf(ResultDiff const& diff);

}  // namespace shadingctl
