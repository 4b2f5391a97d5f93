#include "tools/shadingctl/result/JsonReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>
#include <utility>

namespace shadingctl {
namespace {

constexpr std::size_t kMostLevels = 64;
constexpr std::size_t kMostMembers = 1000;  // of an object: finding one of them takes as many steps
constexpr std::size_t kMostValues = 1000000;
constexpr std::array<std::string_view, 7> kMembersOfReplay = {"schema", "version",  "settings", "complete",
                                                              "error",  "findings", "summary"};

enum class Inside { kRoot, kMember, kFrames, kRow, kRange, kBatches, kBatch, kSamples, kSample, kSkipped };

char const* StructureName(bool isObject) { return isObject ? "an object" : "a list"; }

// What nlohmann's parser calls as it reads.
class JsonResult {
 public:
  JsonResult(ResultBytes& bytes, ResultSink const& sink, ResultHead& head) : mBytes(bytes), mSink(sink), mHead(head) {}

  // NOLINTBEGIN(readability-identifier-naming): the parser gives the names
  bool null() { return Take(nullptr); }
  bool boolean(bool value) { return Take(value); }
  bool number_integer(std::int64_t value) { return Take(value); }
  bool number_unsigned(std::uint64_t value) { return Take(value); }
  bool number_float(double value, std::string const& /*text*/) { return Take(value); }
  bool string(std::string& value) { return Take(std::move(value)); }
  bool binary(Json::binary_t& /*value*/) { return true; }  // of other formats than JSON
  bool start_object(std::size_t /*size*/) { return Open(true); }
  bool end_object() { return Close(); }
  bool start_array(std::size_t /*size*/) { return Open(false); }
  bool end_array() { return Close(); }
  bool key(std::string& name) { return TakeKey(name); }
  bool parse_error(std::size_t /*position*/, std::string const& /*token*/, Json::exception const& error) {
    constexpr std::size_t kEnough = 200;
    std::string const text = error.what();  // "[json.exception.NAME.NUMBER] REASON"
    throw hosting::UnusableInput(
        fmt::format("{}: expected JSON: {}", mBytes.Name(), text.substr(text.find("] ") + 2, kEnough)));
  }
  // NOLINTEND(readability-identifier-naming)

 private:
  bool Open(bool isObject) {
    mBytes.EndValue();
    if (mInside.size() == kMostLevels) Refuse("", fmt::format("at most {} levels", kMostLevels), "more");
    mInside.push_back(Enter(isObject));
    return true;
  }

  Inside Enter(bool isObject) {
    char const* const found = StructureName(isObject);
    if (mInside.empty()) return isObject ? Inside::kRoot : RefuseStructure("", "an object", found);
    switch (mInside.back()) {
      case Inside::kRoot:
        return EnterMember(isObject);
      case Inside::kMember:
        mNodes.push_back(&Append(isObject ? Json::object() : Json::array()));
        return Inside::kMember;
      case Inside::kFrames:
        if (!isObject) RefuseStructure(Place(), "an object", found);
        mRow = ResultRow();
        mRow.place = mRows;
        mColumn = std::numeric_limits<std::size_t>::max();  // before the first
        return Inside::kRow;
      case Inside::kRow:
        if (mColumn == kColumnCount) {
          LeaveOut();
          return Inside::kSkipped;
        }
        mRange.clear();
        if (kResultColumns[mColumn].type != ValueType::kRange || isObject) RefuseColumn(found);
        return Inside::kRange;
      case Inside::kRange:
        RefuseColumn("a list of lists");
      case Inside::kBatches:
        mCamera.reset();
        mSamples = 0;
        return isObject ? Inside::kBatch : RefuseStructure(Place(), "an object", found);
      case Inside::kBatch:
        if (mKey != "samples" || isObject) return Inside::kSkipped;
        if (!mCamera) Refuse(Place() + ".camera", "a whole number before the samples", "none");
        return Inside::kSamples;
      case Inside::kSamples:
        mSample.clear();
        return isObject ? RefuseStructure(Place(), "a list", found) : Inside::kSample;
      case Inside::kSample:
        Refuse(Place(), "a time and two positions", found);
      case Inside::kSkipped:
        break;
    }
    return Inside::kSkipped;
  }

  Inside EnterMember(bool isObject) {
    if (!isObject && mKey == "frames") {
      mHead.hasRows = true;
      return Inside::kFrames;
    }
    if (!isObject && mKey == "batches") return mSink.onSample ? Inside::kBatches : Inside::kSkipped;
    if (!Keeps()) return Inside::kSkipped;
    mElement = &mHead.members[mKey];
    mNodes = {&Append(isObject ? Json::object() : Json::array())};
    return Inside::kMember;
  }

  bool Close() {
    mBytes.EndValue();
    Inside const left = mInside.back();
    if (left == Inside::kRow) FinishRow();
    if (left == Inside::kRange) FinishRange();
    if (left == Inside::kSample) FinishSample();
    if (left == Inside::kBatch) ++mBatches;
    if (left == Inside::kMember) mNodes.pop_back();
    mInside.pop_back();
    return true;
  }

  bool TakeKey(std::string& name) {
    mBytes.EndValue();
    if (mInside.back() == Inside::kRow) {
      auto const isNamed = [&](ResultColumn const& column) { return column.name == name; };
      // They come in the order of the table as a rule.
      if (++mColumn >= kColumnCount || !isNamed(kResultColumns[mColumn])) {
        auto const found = std::find_if(kResultColumns.begin(), kResultColumns.end(), isNamed);
        mColumn = static_cast<std::size_t>(found - kResultColumns.begin());
      }
    }
    if (mInside.back() == Inside::kMember) {
      Json& object = *mNodes.back();
      if (object.size() == kMostMembers) {
        Refuse(mMember, fmt::format("at most {} members in an object", kMostMembers), "more");
      }
      mElement = &object[name];
      return true;
    }
    mKey = std::move(name);
    if (mInside.back() != Inside::kRoot) return true;
    if (mHead.members.size() == kMostMembers) Refuse("", fmt::format("at most {} members", kMostMembers), "more");
    mMember = mKey;
    return true;
  }

  bool Take(Json value) {
    mBytes.EndValue();
    Inside const inside = mInside.empty() ? Inside::kFrames : mInside.back();
    switch (inside) {
      case Inside::kRoot:
        if (Keeps()) mHead.members[mKey] = std::move(value);
        break;
      case Inside::kMember:
        Append(std::move(value));
        break;
      case Inside::kRow:
        if (mColumn == kColumnCount) {
          LeaveOut();
        } else if (auto taken = ValueFor(kResultColumns[mColumn], value)) {
          mRow.values[mColumn] = std::move(*taken);
        } else {
          RefuseColumn(ShownValue(value));
        }
        break;
      case Inside::kRange:
        if (!value.is_number_integer() || mRange.size() == 2) RefuseColumn(fmt::format("{} in it", ShownValue(value)));
        mRange.push_back(value.get<std::int64_t>());
        break;
      case Inside::kBatch:
        if (mKey == "camera" && !value.is_number_integer()) {
          Refuse(Place() + ".camera", "a whole number", ShownValue(value));
        }
        if (mKey == "camera") mCamera = value.get<std::int64_t>();
        break;
      case Inside::kSample:
        TakeOfSample(value);
        break;
      case Inside::kFrames:
      case Inside::kBatches:
        Refuse(mInside.empty() ? "" : Place(), "an object", ShownValue(value));
      case Inside::kSamples:
        Refuse(Place(), "a list", ShownValue(value));
      case Inside::kSkipped:
        break;
    }
    return true;
  }

  void TakeOfSample(Json const& value) {
    std::string const place = fmt::format("{}[{}]", Place(), mSample.size());
    if (mSample.empty() && !value.is_number_integer()) Refuse(place, "a whole number", ShownValue(value));
    if (!value.is_number() && !value.is_null()) Refuse(place, "a number or null", ShownValue(value));
    if (mSample.size() == 3) Refuse(Place(), "a time and two positions", "more");
    mSample.push_back(value);
  }

  // As it goes into a member that is kept.
  Json& Append(Json value) {
    if (++mValues > kMostValues) {
      Refuse(mMember, fmt::format("at most {} values around the frames", kMostValues), "more");
    }
    if (!mNodes.empty() && mNodes.back()->is_array()) {
      mNodes.back()->push_back(std::move(value));
      return mNodes.back()->back();
    }
    *mElement = std::move(value);
    return *mElement;
  }

  bool Keeps() const {
    bool const isReplay = mHead.members.value("schema", Json()) == kReplaySchema.name;
    return !isReplay || std::find(kMembersOfReplay.begin(), kMembersOfReplay.end(), mKey) != kMembersOfReplay.end();
  }

  void LeaveOut() {
    if (mHead.leftOut++ == 0) {
      mHead.firstLeftOut = mKey;
      mHead.leftOutPlace = ": " + Place();
    }
  }

  void FinishRow() {
    for (Column const column : mSink.needed) {
      mColumn = static_cast<std::size_t>(column);
      if (std::holds_alternative<Absent>(mRow.Of(column))) RefuseColumn("none");
      if (std::holds_alternative<None>(mRow.Of(column))) RefuseColumn("null");
    }
    mSink.onRow(mRow);
    ++mRows;
  }

  void FinishRange() {
    if (mRange.size() != 2) RefuseColumn(fmt::format("a list of {}", mRange.size()));
    mRow.values[mColumn] = UsRange{mRange[0], mRange[1]};
  }

  void FinishSample() {
    if (mSample.size() != 3) Refuse(Place(), "a time and two positions", fmt::format("a list of {}", mSample.size()));
    auto const position = [](Json const& number) {
      return number.is_null() ? std::nullopt : std::optional(number.get<double>());
    };
    mSink.onSample({*mCamera, mSample[0].get<std::int64_t>(), position(mSample[1]), position(mSample[2])});
    ++mSamples;
  }

  // Of what is read at the moment.
  std::string Place() const {
    bool const isInFrames =
        mInside.back() == Inside::kFrames || mInside.back() == Inside::kRow || mInside.back() == Inside::kRange;
    if (isInFrames) return fmt::format("frames[{}]", mRows);
    bool const isInSamples = mInside.back() == Inside::kSamples || mInside.back() == Inside::kSample;
    return fmt::format("batches[{}]{}", mBatches, isInSamples ? fmt::format(".samples[{}]", mSamples) : "");
  }

  [[noreturn]] void RefuseColumn(std::string const& found) const {
    ResultColumn const& column = kResultColumns[mColumn];
    Refuse(fmt::format("{}.{}", Place(), column.name), ExpectedValue(column) + (mSink.Needs(mColumn) ? "" : " or null"),
           found);
  }

  [[noreturn]] Inside RefuseStructure(std::string const& place, char const* expected, char const* found) const {
    Refuse(place, expected, found);
  }

  [[noreturn]] void Refuse(std::string const& place, std::string const& expected, std::string const& found) const {
    RefuseValue(mBytes.Name() + (place.empty() ? "" : ": ") + place, expected, found);
  }

  ResultBytes& mBytes;
  ResultSink const& mSink;
  ResultHead& mHead;
  std::vector<Inside> mInside;  // from the whole document inwards
  std::string mMember;          // of the document, that is read
  std::string mKey;             // of an object that is no kept member
  std::vector<Json*> mNodes;    // from a kept member inwards
  Json* mElement = nullptr;     // of an object, that comes next
  std::size_t mValues = 0;      // in kept members
  ResultRow mRow;
  std::size_t mColumn = 0;  // of the row; kColumnCount: none of the table
  std::uint64_t mRows = 0;
  std::vector<std::int64_t> mRange;
  std::uint64_t mBatches = 0;
  std::uint64_t mSamples = 0;  // of the batch
  std::optional<std::int64_t> mCamera;
  std::vector<Json> mSample;
};

}  // namespace

std::optional<Value> ValueFor(ResultColumn const& column, Json const& scalar) {
  if (scalar.is_null()) return Value(None{});
  if (column.type == ValueType::kText) {
    return scalar.is_string() ? std::optional(Value(scalar.get<std::string>())) : std::nullopt;
  }
  bool const isOfType = column.type == ValueType::kNatural  ? scalar.is_number_unsigned()
                        : column.type == ValueType::kNumber ? scalar.is_number()
                        : column.type == ValueType::kWhole  ? scalar.is_number_integer()
                                                            : false;
  if (!isOfType) return std::nullopt;
  auto const number = scalar.get<double>();
  if (std::isfinite(number) && (number < column.least || number > column.most)) return std::nullopt;
  if (column.type == ValueType::kNatural) return Value(scalar.get<std::uint64_t>());
  if (column.type == ValueType::kWhole) return Value(scalar.get<std::int64_t>());
  return Value(number);
}

std::string ShownValue(Json const& value) {
  constexpr std::size_t kEnough = 60;
  std::string text = value.dump(-1, ' ', true, Json::error_handler_t::replace);
  return text.size() > kEnough ? text.substr(0, kEnough) + "..." : text;
}

void RefuseValue(std::string const& place, std::string const& expected, std::string const& found) {
  throw hosting::UnusableInput(fmt::format("{}: expected {}, found {}", place, expected, found));
}

void ReadJson(ResultBytes& bytes, ResultSink const& sink, ResultHead& head) {
  JsonResult result(bytes, sink, head);
  Json::sax_parse(ResultBytes::Iterator{&bytes}, ResultBytes::Iterator{}, &result);
}

}  // namespace shadingctl
