#include "tools/shadingctl/dumps/HallDumpFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>
#include <type_traits>

#include "hosting/QuotedText.h"

namespace shadingctl {
namespace {

using hosting::Quoted;

bool TakeText(std::string_view& rest, std::string_view text) {
  if (rest.substr(0, text.size()) != text) return false;
  rest.remove_prefix(text.size());
  return true;
}

template <class Integer>
bool TakeInteger(std::string_view& rest, Integer& number) {
  auto const [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
  return error == std::errc();
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

  // The line `<tab>"KEY": NUMBER`. Printed anew the number must give the same text, so that there is one text for each.
  template <class Number>
  Number Value(std::string const& key) {
    constexpr bool kIsWhole = std::is_integral_v<Number>;
    std::string const expected =
        fmt::format("\\t\"{}\": and {}", key,
                    kIsWhole ? fmt::format("an integer of {} bits", 8 * sizeof(Number)) : "a number with six decimals");
    std::string_view text = Peek();
    if (!TakeText(text, fmt::format("\t\"{}\": ", key))) Refuse(expected);
    Number number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    if (text != fmt::format(fmt::runtime(kIsWhole ? "{}" : "{:.6f}"), number)) Refuse(expected);
    Pass(expected);
    return number;
  }

 private:
  std::string_view mText;
  std::size_t mNumber = 1;
};

bool IsSample(std::string_view line) { return TakeText(line, "\t\"OIS hall X\": "); }

constexpr double kPrinted = 0.5e-6;  // a printed number differs by at most this from the number

bool IsSame(double one, double other) { return one == other || (std::isnan(one) && std::isnan(other)); }

// The sum as the library computes it, in single precision and in the order of time, and a bound for its difference from
// the sum of the unrounded numbers.
bool IsMean(std::vector<Position> const& samples, double Position::*axis, double position) {
  float sum = 0;
  double largest = 0;
  for (Position const& sample : samples) {
    sum += static_cast<float>(sample.*axis);
    largest = std::max(largest, std::abs(double{sum}));
  }
  auto const count = static_cast<float>(samples.size());
  double const tolerance = 2 * kPrinted + largest * static_cast<double>(std::numeric_limits<float>::epsilon());
  return IsSame(double{sum / count}, position) || std::abs(double{sum / count} - position) <= tolerance;
}

bool IsMaximum(std::vector<Position> const& samples, double Position::*axis, double position) {
  double maximum = samples.front().*axis;
  for (Position const& sample : samples) {
    if (!(maximum > sample.*axis)) maximum = sample.*axis;
  }
  return IsSame(maximum, position);
}

bool IsAt(Position const& sample, Position const& position) {
  return IsSame(sample.x, position.x) && IsSame(sample.y, position.y);
}

}  // namespace

char const* Name(DumpKind kind) { return kind == DumpKind::kPreview ? "preview" : "capture"; }

std::optional<DumpName> ParseDumpName(std::string_view text) {
  DumpName name;
  std::string_view rest = text;
  if (rest.substr(0, 1) == "c") name.kind = DumpKind::kCapture;
  bool const begins = TakeText(rest, Name(name.kind)) && TakeText(rest, "_camera_") && TakeInteger(rest, name.camera) &&
                      TakeText(rest, "_frame_") && TakeInteger(rest, name.printedFrame);
  if (!begins) return std::nullopt;
  if (name.kind == DumpKind::kCapture && TakeText(rest, "_")) TakeInteger(rest, name.startOfFrameUs.emplace());
  return text == FileNameOf(name) ? std::optional(name) : std::nullopt;
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
    double const x = lines.Value<double>("OIS hall X");
    dump.samples.push_back({x, lines.Value<double>("OIS hall Y")});
  }
  dump.hall0.x = lines.Value<double>("match ois hall0 X");
  dump.hall0.y = lines.Value<double>("match ois hall0 y");
  dump.hall1.x = lines.Value<double>("match ois hall1 X");
  dump.hall1.y = lines.Value<double>("match ois hall1 y");
  dump.exposureUs = lines.Value<std::int64_t>("exposure_time");
  dump.shutterUs = lines.Value<std::int32_t>("shutter_time");
  if (!lines.IsAtEnd()) lines.Refuse("the end of the file");
  return dump;
}

std::optional<std::string> CheckPosition(HallDump const& dump) {
  std::vector<Position> const& samples = dump.samples;
  Position const& found = dump.hall0;
  bool const isComputed = (IsMean(samples, &Position::x, found.x) && IsMean(samples, &Position::y, found.y)) ||
                          (IsMaximum(samples, &Position::x, found.x) && IsMaximum(samples, &Position::y, found.y)) ||
                          IsAt(samples[(samples.size() - 1) / 2], found) || IsAt(samples.back(), found);
  if (isComputed) return std::nullopt;
  return fmt::format("expected the mean, maximum, middle or last of the samples, found ({:.6f}, {:.6f})", found.x,
                     found.y);
}

}  // namespace shadingctl
