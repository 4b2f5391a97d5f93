#include "tools/shadingctl/result/ResultDiff.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>
#include <tuple>

namespace shadingctl {
namespace {

constexpr double kDistanceStep = 1.01e-4;  // distances have four decimals, so the last one may differ by one more

double ToleranceOf(Column column, double tolerance) {
  bool const isPosition = column == Column::kHallX || column == Column::kHallY;
  if (column == Column::kReadoutDistance && tolerance > 0) return tolerance + kDistanceStep;
  return isPosition ? tolerance : 0;
}

std::string Pack(ResultRow const& row) { return std::to_string(row.place) + Dump(row.cells); }

std::string_view CellsOf(std::string_view packed) { return packed.substr(packed.find('{')); }

ResultRow Unpack(std::string const& packed) {
  return {Json::parse(CellsOf(packed)), std::strtoull(packed.c_str(), nullptr, 10)};
}

}  // namespace

bool Comparison::Key::operator<(Key const& other) const {
  return std::tie(camera, frame, earlier) < std::tie(other.camera, other.frame, other.earlier);
}

std::string Comparison::Key::Text() const {
  std::string text = fmt::format("frame {}", frame);
  if (camera != 0) text += fmt::format(" of camera {}", camera);
  if (earlier != 0) text += fmt::format(", computation {}", earlier + 1);
  return text;
}

Comparison::Comparison(std::string const& pathOfA, DiffOptions const& options) : mOptions(options) {
  ResultSink sink;
  sink.onRow = [this](ResultRow const& row) {
    ++mDiff.a.rows;
    mSpool.Append(Pack(row));
  };
  mDiff.a.head = ReadResult(pathOfA, {kReplaySchema}, sink);
}

Comparison::Key Comparison::KeyOf(ResultRow const& row, bool isOfA) {
  auto const* const camera = row.Get<std::int64_t>(Column::kCamera);
  Key key;
  key.camera = camera == nullptr ? 0 : static_cast<std::int32_t>(*camera);
  key.frame = static_cast<std::uint32_t>(*row.Get<std::uint64_t>(Column::kFrame));
  std::uint64_t const both = std::uint64_t{static_cast<std::uint32_t>(key.camera)} << 32U | key.frame;
  key.earlier = mComputed[both][isOfA ? 0 : 1]++;
  return key;
}

// Compares the row with its counterpart if that has come, and otherwise keeps it until then.
void Comparison::Match(Key const& key, std::string row, Rows& own, Rows& others) {
  auto const found = others.find(key);
  if (found == others.end()) {
    own.emplace(key, std::move(row));
    return;
  }
  bool const isOfA = &own == &mOfA;
  std::string const& a = isOfA ? row : found->second;
  std::string const& b = isOfA ? found->second : row;
  if (CellsOf(a) != CellsOf(b)) Compare(key, Unpack(a), Unpack(b));
  others.erase(found);
}

// Empty at the end of A.
std::optional<Comparison::Key> Comparison::MatchNextOfA() {
  std::string row;
  if (!mSpool.Next(row)) return std::nullopt;
  Key const key = KeyOf(Unpack(row), true);
  Match(key, std::move(row), mOfA, mOfB);
  return key;
}

// Both results mostly have their rows in one order: A is read until it has come as far.
void Comparison::Add(ResultRow const& row) {
  ++mDiff.b.rows;
  Key const key = KeyOf(row, false);
  Match(key, Pack(row), mOfB, mOfA);
  while (mOfB.count(key) > 0) {
    std::optional<Key> const ofA = MatchNextOfA();
    if (!ofA || ofA->frame >= key.frame) return;
  }
}

ResultDiff Comparison::Finish() {
  while (MatchNextOfA()) continue;
  auto const name = [&](Rows const& rows, ComparedResult& result) {
    result.only = rows.size();
    for (auto const& [key, row] : rows) {
      if (result.firstOnly.size() < mOptions.named) result.firstOnly.push_back(key.Text());
    }
  };
  name(mOfA, mDiff.a);
  name(mOfB, mDiff.b);
  return std::move(mDiff);
}

void Comparison::Compare(Key const& key, ResultRow const& a, ResultRow const& b) {
  bool differs = false;
  for (std::size_t i = 0; i < kColumnCount; ++i) {
    auto const column = static_cast<Column>(i);
    if (!a.Has(column) || !b.Has(column)) continue;
    Json const& ofA = a.Of(column);
    Json const& ofB = b.Of(column);
    if (IsSameValue(kResultColumns[i], ofA, ofB, ToleranceOf(column, mOptions.tolerance))) continue;
    differs = true;
    ColumnDifference& difference = mDiff.columns[i];
    ++difference.rows;
    auto const numberOfA = NumberOf(ofA);
    auto const numberOfB = NumberOf(ofB);
    double const size = numberOfA && numberOfB ? std::abs(*numberOfB - *numberOfA) : 0;
    if (numberOfA && numberOfB) {
      if (!difference.sizes) difference.sizes = std::make_shared<Histogram>();
      difference.sizes->Add(std::llround(std::min(size * kSizeUnits, 0x1p62)));
      difference.squares += size * size;
      ++difference.numbers;
      if (*numberOfB > *numberOfA) ++difference.greater;
    }
    if (size > difference.largest) {
      difference.largest = size;
      difference.largestRow = key.Text();
    }
    if (mDiff.named.size() < mOptions.named) mDiff.named.push_back({key.Text(), a.place, i, ofA, ofB});
  }
  if (differs) ++mDiff.different;
}

ResultDiff CompareResults(std::string const& pathOfA, std::string const& pathOfB, DiffOptions const& options) {
  Comparison comparison(pathOfA, options);
  ResultSink sink;
  sink.onRow = [&](ResultRow const& row) { comparison.Add(row); };
  ResultHead head = ReadResult(pathOfB, {kReplaySchema}, sink);
  ResultDiff diff = comparison.Finish();
  diff.b.head = std::move(head);
  return diff;
}

}  // namespace shadingctl
