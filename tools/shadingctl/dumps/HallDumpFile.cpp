#include "tools/shadingctl/dumps/HallDumpFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "hosting/QuotedText.h"

namespace shadingctl {
namespace {

using hosting::Quoted;

constexpr std::size_t kDecimals = 6;

bool TakeText(std::string_view& rest, std::string_view text) {
  if (rest.substr(0, text.size()) != text) return false;
  rest.remove_prefix(text.size());
  return true;
}

// An integer in canonical notation: no plus sign, no leading zero, no minus zero.
template <class Integer>
bool TakeInteger(std::string_view& rest, Integer& number) {
  auto const [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  if (error != std::errc()) return false;
  auto const size = static_cast<std::size_t>(end - rest.data());
  if (rest.substr(0, size) != std::to_string(number)) return false;
  rest.remove_prefix(size);
  return true;
}

// A number in fixed notation with six decimals, or an infinity or NaN.
bool IsFixed(std::string_view text, double& number) {
  if (!text.empty() && text.front() == '-') {
    if (!IsFixed(text.substr(1), number) || text[1] == '-') return false;
    number = -number;
    return true;
  }
  if (text == "nan" || text == "inf") {
    number = text == "nan" ? std::numeric_limits<double>::quiet_NaN() : std::numeric_limits<double>::infinity();
    return true;
  }
  std::size_t const point = text.find('.');
  bool const hasShape = point != std::string_view::npos && point > 0 && text.size() == point + 1 + kDecimals &&
                        text.find_first_not_of("0123456789.") == std::string_view::npos &&
                        text.find('.', point + 1) == std::string_view::npos && (text[0] != '0' || point == 1);
  if (!hasShape) return false;
  return std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc();
}

// Goes through a text line by line.
class Lines {
 public:
  explicit Lines(std::string_view text) : mText(text) {}

  // The next line without its line feed. Does not advance.
  std::string_view Peek() const { return mText.substr(0, mText.find('\n')); }
  bool IsAtEnd() const { return mText.empty(); }

  void Pass(std::string const& expected) {
    std::size_t const end = mText.find('\n');
    if (end == std::string_view::npos) Refuse(expected + " and the line's end");
    mText.remove_prefix(end + 1);
    ++mNumber;
  }

  [[noreturn]] void Refuse(std::string const& expected) const {
    std::string found = IsAtEnd() ? "the end of the file" : Quoted(Peek());
    if (!IsAtEnd() && mText.find('\n') == std::string_view::npos) found += " and the end of the file";
    throw BrokenDump(mNumber, fmt::format("expected {}, found {}", expected, found));
  }

  // The line `<tab>"KEY": NUMBER`.
  double Fixed(std::string const& key) {
    std::string const expected = fmt::format("\\t\"{}\": and a number with six decimals", key);
    std::string_view line = Peek();
    double number = 0;
    if (!TakeText(line, fmt::format("\t\"{}\": ", key)) || !IsFixed(line, number)) Refuse(expected);
    Pass(expected);
    return number;
  }

  template <class Integer>
  Integer Whole(std::string const& beginning, std::string const& shown) {
    std::string const expected = fmt::format("{} and an integer of {} bits", shown, 8 * sizeof(Integer));
    std::string_view line = Peek();
    Integer number = 0;
    if (!TakeText(line, beginning) || !TakeInteger(line, number) || !line.empty()) Refuse(expected);
    Pass(expected);
    return number;
  }

 private:
  std::string_view mText;
  std::size_t mNumber = 1;
};

bool IsSample(std::string_view line) { return TakeText(line, "\t\"OIS hall X\": "); }

}  // namespace

char const* Name(DumpKind kind) { return kind == DumpKind::kPreview ? "preview" : "capture"; }

std::optional<DumpName> ParseDumpName(std::string_view text) {
  DumpName name;
  if (TakeText(text, "capture")) {
    name.kind = DumpKind::kCapture;
  } else if (!TakeText(text, "preview")) {
    return std::nullopt;
  }
  bool const begins = TakeText(text, "_camera_") && TakeInteger(text, name.camera) && TakeText(text, "_frame_") &&
                      TakeInteger(text, name.printedFrame);
  if (!begins) return std::nullopt;
  if (name.kind == DumpKind::kCapture) {
    std::int64_t startOfFrameUs = 0;
    if (!TakeText(text, "_") || !TakeInteger(text, startOfFrameUs)) return std::nullopt;
    name.startOfFrameUs = startOfFrameUs;
  }
  return text == "_oishall.txt" ? std::optional<DumpName>(name) : std::nullopt;
}

std::string FileNameOf(DumpName const& name) {
  std::string const start = name.startOfFrameUs ? fmt::format("_{}", *name.startOfFrameUs) : "";
  return fmt::format("{}_camera_{}_frame_{}{}_oishall.txt", Name(name.kind), name.camera, name.printedFrame, start);
}

HallDump ParseDump(DumpName const& name, std::string_view text) {
  HallDump dump;
  dump.name = name;
  Lines lines(text);
  std::string const first = fmt::format("frame: {}", name.printedFrame);
  if (lines.Peek() != first) lines.Refuse(fmt::format("'{}', as in the name", first));
  lines.Pass("'" + first + "'");

  while (dump.samples.size() < 2 || IsSample(lines.Peek())) {
    if (dump.samples.size() == kMaxSpan) lines.Refuse(fmt::format("the result after {} samples", kMaxSpan));
    double const x = lines.Fixed("OIS hall X");
    dump.samples.push_back({x, lines.Fixed("OIS hall Y")});
  }
  dump.hall0.x = lines.Fixed("match ois hall0 X");
  dump.hall0.y = lines.Fixed("match ois hall0 y");
  dump.hall1.x = lines.Fixed("match ois hall1 X");
  dump.hall1.y = lines.Fixed("match ois hall1 y");
  dump.exposureUs = lines.Whole<std::int64_t>("\t\"exposure_time\": ", "\\t\"exposure_time\":");
  dump.shutterUs = lines.Whole<std::int32_t>("\t\"shutter_time\": ", "\\t\"shutter_time\":");
  if (!lines.IsAtEnd()) lines.Refuse("the end of the file");
  return dump;
}

}  // namespace shadingctl
