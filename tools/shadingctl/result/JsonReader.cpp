#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <istream>
#include <streambuf>
#include <string_view>
#include <utility>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/result/ResultReader.h"

namespace shadingctl {
namespace {

constexpr std::size_t kLargest = std::size_t{256} << 20U;
constexpr std::size_t kLongestValue = std::size_t{1} << 20U;
constexpr std::size_t kMostLevels = 64;
constexpr std::size_t kMostMembers = 1000;  // of an object: finding one of them takes as many steps
constexpr std::size_t kMostValues = 1000000;
constexpr std::array<std::string_view, 7> kMembersOfReplay = {"schema", "version",  "settings", "complete",
                                                              "error",  "findings", "summary"};

// The bytes of a document.
class Bytes : public std::streambuf {
 public:
  explicit Bytes(recording::InputFile& file) : mFile(file), mBuffer(65536) {}

  std::string const& Name() const { return mFile.Name(); }
  // A value ended here.
  void EndValue() { mSinceValue = 0; }

 protected:
  int_type underflow() override {
    if (mSinceValue > kLongestValue + mBuffer.size()) Refuse("values", kLongestValue);
    std::size_t const size = mFile.Read(mBuffer.data(), mBuffer.size());
    mTotal += size;
    mSinceValue += size;
    if (mTotal > kLargest) Refuse("JSON", kLargest);
    setg(mBuffer.data(), mBuffer.data(), mBuffer.data() + size);
    return size == 0 ? traits_type::eof() : traits_type::to_int_type(mBuffer.front());
  }

 private:
  [[noreturn]] void Refuse(char const* what, std::size_t most) const {
    RefuseValue(Name(), fmt::format("{} of at most {} bytes", what, most), "more");
  }

  recording::InputFile& mFile;
  std::vector<char> mBuffer;
  std::size_t mTotal = 0;
  std::size_t mSinceValue = 0;  // read since the last value ended
};

// What stands at a place of the document. A unit is kept whole until it ends: a row, a batch's camera or frame, one of
// its samples, an explanation, or a member of the document that is none of these lists.
enum class Part { kDocument, kFrames, kExplained, kBatches, kBatch, kSamples, kUnit, kSkipped };
enum class Shape { kScalar, kObject, kList };

char const* Name(Shape shape) { return shape == Shape::kObject ? "an object" : "a list"; }

// What nlohmann's parser calls as it reads.
class JsonResult {
 public:
  JsonResult(Bytes& bytes, ResultSink const& sink, ResultHead& head) : mBytes(bytes), mSink(sink), mHead(head) {}

  // NOLINTBEGIN(readability-identifier-naming): the parser gives the names
  bool null() { return Take(nullptr); }
  bool boolean(bool value) { return Take(value); }
  bool number_integer(std::int64_t value) { return Take(value); }
  bool number_unsigned(std::uint64_t value) { return Take(value); }
  bool number_float(double value, std::string const& /*text*/) { return Take(value); }
  bool string(std::string& value) { return Take(std::move(value)); }
  bool binary(Json::binary_t& /*value*/) { return true; }  // of other formats than JSON
  bool start_object(std::size_t /*size*/) { return Open(Shape::kObject); }
  bool end_object() { return Close(); }
  bool start_array(std::size_t /*size*/) { return Open(Shape::kList); }
  bool end_array() { return Close(); }
  bool key(std::string& name) {
    mBytes.EndValue();
    mKey = std::move(name);
    if (mParts.size() == 1) mMember = mKey;
    if (mParts.back() == Part::kBatches || mParts.back() == Part::kSkipped) return true;
    bool const isInRow = mParts.size() == 3 && mParts[1] == Part::kFrames;
    mIsLeftOut = isInRow && ColumnNamed(mKey) == nullptr;
    if (mIsLeftOut && mHead.leftOut++ == 0) {
      mHead.firstLeftOut = mKey;
      mHead.leftOutPlace = ": " + Place();
    }
    std::size_t const members = mParts.size() == 1 ? mHead.members.size() : mNodes.empty() ? 0 : mNodes.back()->size();
    if (members < kMostMembers) return true;
    Refuse(mParts.size() == 1 ? "" : mMember, fmt::format("at most {} members in an object", kMostMembers), "more");
  }
  bool parse_error(std::size_t /*position*/, std::string const& /*token*/, Json::exception const& error) {
    constexpr std::size_t kEnough = 200;
    std::string const text = error.what();  // "[json.exception.NAME.NUMBER] REASON"
    throw hosting::UnusableInput(
        fmt::format("{}: expected JSON: {}", mBytes.Name(), text.substr(text.find("] ") + 2, kEnough)));
  }
  // NOLINTEND(readability-identifier-naming)

 private:
  bool Take(Json value) {
    mBytes.EndValue();
    Part const part = PartOf(Shape::kScalar, value);
    if (part != Part::kUnit) return true;
    Append(std::move(value));
    if (mNodes.empty()) FinishUnit();
    return true;
  }

  bool Open(Shape shape) {
    mBytes.EndValue();
    if (mParts.size() == kMostLevels) Refuse("", fmt::format("at most {} levels", kMostLevels), "more");
    Part const part = PartOf(shape, {});
    if (part == Part::kUnit) mNodes.push_back(&Append(shape == Shape::kObject ? Json::object() : Json::array()));
    mParts.push_back(part);
    return true;
  }

  bool Close() {
    mBytes.EndValue();
    Part const part = mParts.back();
    mParts.pop_back();
    if (part == Part::kBatch) ++mBatches;
    if (part != Part::kUnit) return true;
    mNodes.pop_back();
    if (mNodes.empty()) FinishUnit();
    return true;
  }

  // Where the value belongs that comes next; `scalar` is one without a structure.
  Part PartOf(Shape shape, Json const& scalar) {
    auto const expect = [&](Shape expected) {
      if (shape == expected) return;
      Refuse(mParts.empty() ? "" : Place(), Name(expected), shape == Shape::kScalar ? ShownValue(scalar) : Name(shape));
    };
    if (mParts.empty()) {
      expect(Shape::kObject);
      return Part::kDocument;
    }
    switch (mParts.back()) {
      case Part::kDocument:
        if (shape == Shape::kList && mKey == "frames") {
          mHead.hasRows = true;
          return Part::kFrames;
        }
        if (shape == Shape::kList && mKey == "batches") return mSink.onSample ? Part::kBatches : Part::kSkipped;
        if (shape == Shape::kList && mKey == "explained" && mSink.onExplained) return Part::kExplained;
        mValues = mMemberValues;
        return Keeps() ? Part::kUnit : Part::kSkipped;
      case Part::kFrames:
      case Part::kExplained:
        expect(Shape::kObject);
        mValues = 0;
        return Part::kUnit;
      case Part::kBatches:
        expect(Shape::kObject);
        mCamera.reset();
        mFrame.reset();
        mSamples = 0;
        return Part::kBatch;
      case Part::kBatch:
        if (shape == Shape::kScalar) return mKey == "camera" || mKey == "frame" ? Part::kUnit : Part::kSkipped;
        if (shape == Shape::kObject || mKey != "samples") return Part::kSkipped;
        if (!mCamera) Refuse(Place() + ".camera", "a whole number before the samples", "none");
        return Part::kSamples;
      case Part::kSamples:
        expect(Shape::kList);
        mValues = 0;
        return Part::kUnit;
      case Part::kUnit:
        return std::exchange(mIsLeftOut, false) ? Part::kSkipped : Part::kUnit;
      case Part::kSkipped:
        break;
    }
    return Part::kSkipped;
  }

  bool Keeps() const {
    bool const isReplay = mHead.members.value("schema", Json()) == kReplaySchema.name;
    return !isReplay || std::find(kMembersOfReplay.begin(), kMembersOfReplay.end(), mKey) != kMembersOfReplay.end();
  }

  // To the innermost structure of the unit, or as the unit itself.
  Json& Append(Json value) {
    if (++mValues > kMostValues) {
      Refuse(mMember, fmt::format("at most {} values around the frames", kMostValues), "more");
    }
    if (mNodes.empty()) return mUnit = std::move(value);
    if (mNodes.back()->is_object()) return (*mNodes.back())[mKey] = std::move(value);
    mNodes.back()->push_back(std::move(value));
    return mNodes.back()->back();
  }

  void FinishUnit() {
    switch (mParts.back()) {
      case Part::kFrames:
        CheckRow();
        mSink.onRow(mRow);
        ++mRow.place;
        break;
      case Part::kExplained:
        mSink.onExplained(mUnit);
        break;
      case Part::kBatch:
        if (!mUnit.is_number_integer()) Refuse(Place() + "." + mKey, "a whole number", ShownValue(mUnit));
        (mKey == "camera" ? mCamera : mFrame) = mUnit.get<std::int64_t>();
        break;
      case Part::kSamples:
        TakeSample();
        ++mSamples;
        break;
      default:
        mHead.members[mMember] = std::move(mUnit);
        mMemberValues = mValues;
    }
  }

  void CheckRow() {
    mRow.cells = std::move(mUnit);
    auto const refuse = [&](ResultColumn const& column, bool isNeeded, std::string const& found) {
      Refuse(fmt::format("{}.{}", Place(), column.name), ExpectedValue(column) + (isNeeded ? "" : " or null"), found);
    };
    for (auto const& [name, value] : mRow.cells.items()) {
      auto const* const column = ColumnNamed(name);
      if (!IsValueOf(*column, value)) {
        refuse(*column, mSink.Needs(*column), ShownValue(value));
      }
    }
    for (Column const needed : mSink.needed) {
      auto const& column = kResultColumns[static_cast<std::size_t>(needed)];
      if (mRow.Of(needed).is_null()) refuse(column, true, mRow.Has(needed) ? "null" : "none");
    }
  }

  void TakeSample() {
    auto const isPosition = [](Json const& value) { return value.is_number() || value.is_null(); };
    bool const isSample =
        mUnit.size() == 3 && mUnit[0].is_number_integer() && isPosition(mUnit[1]) && isPosition(mUnit[2]);
    if (!isSample) Refuse(Place(), "a time and two positions", ShownValue(mUnit));
    mSink.onSample({*mCamera, mUnit[0].get<std::int64_t>(), NumberOf(mUnit[1]), NumberOf(mUnit[2]), mFrame});
  }

  // Of what is read at the moment.
  std::string Place() const {
    if (mParts.size() > 1 && mParts[1] == Part::kFrames) return fmt::format("frames[{}]", mRow.place);
    bool const isInSamples = mParts.size() > 3 && mParts[3] == Part::kSamples;
    return fmt::format("batches[{}]{}", mBatches, isInSamples ? fmt::format(".samples[{}]", mSamples) : "");
  }

  [[noreturn]] void Refuse(std::string const& place, std::string const& expected, std::string const& found) const {
    RefuseValue(mBytes.Name() + (place.empty() ? "" : ": ") + place, expected, found);
  }

  Bytes& mBytes;
  ResultSink const& mSink;
  ResultHead& mHead;
  std::vector<Part> mParts;  // from the whole document inwards
  std::string mMember;       // of the document, that is read
  std::string mKey;          // the last one
  bool mIsLeftOut = false;   // of a row: no column has this name
  Json mUnit;
  std::vector<Json*> mNodes;  // structures of the unit, from outside inwards
  std::size_t mValues = 0;    // of the unit, or of all members so far
  std::size_t mMemberValues = 0;
  ResultRow mRow;
  std::uint64_t mBatches = 0;
  std::uint64_t mSamples = 0;           // of the batch
  std::optional<std::int64_t> mCamera;  // of the batch, and its frame
  std::optional<std::int64_t> mFrame;
};

}  // namespace

std::string ShownValue(Json const& value) {
  constexpr std::size_t kEnough = 60;
  std::string text = value.dump(-1, ' ', true, Json::error_handler_t::replace);
  return text.size() > kEnough ? text.substr(0, kEnough) + "..." : text;
}

void RefuseValue(std::string const& place, std::string const& expected, std::string const& found) {
  throw hosting::UnusableInput(fmt::format("{}: expected {}, found {}", place, expected, found));
}

void ReadJson(recording::InputFile& file, ResultSink const& sink, ResultHead& head) {
  Bytes bytes(file);
  std::istream document(&bytes);
  JsonResult result(bytes, sink, head);
  Json::sax_parse(document, &result);
}

}  // namespace shadingctl
