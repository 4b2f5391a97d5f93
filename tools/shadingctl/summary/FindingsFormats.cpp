#include "tools/shadingctl/summary/FindingsFormats.h"

#include <fmt/format.h>

#include <cmath>
#include <vector>

namespace shadingctl {
namespace {

constexpr std::size_t kLineLength = 100;
constexpr char const* kIndent = "           ";  // as wide as the labels of a summary

// Breaks at blanks; every line but the first begins with the indent.
std::string Wrapped(std::string const& text) {
  std::string wrapped;
  std::size_t lineStart = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t const end = std::min(text.find(' ', at), text.size());
    bool const fits = wrapped.size() - lineStart + end - at + 1 <= kLineLength;
    if (at > 0 && fits) wrapped += ' ';
    if (!fits) {
      wrapped += '\n';
      lineStart = wrapped.size();
      wrapped += kIndent;
    }
    wrapped += text.substr(at, end - at);
    at = end + 1;
  }
  return wrapped + "\n";
}

// Times in us have one decimal, everything else four.
double Rounded(std::string const& name, double value) {
  bool const isTime = name.size() > 3 && name.compare(name.size() - 3, 3, "_us") == 0;
  double const scale = isTime ? 10 : 10000;
  return std::round(value * scale) / scale;
}

std::string FramesText(FrameList const& frames) {
  if (frames.count == 0) return {};
  std::vector<std::uint32_t> const first(frames.first.begin(),
                                         frames.first.begin() + static_cast<std::ptrdiff_t>(frames.Named()));
  return fmt::format(" [{} {}{}]", first.size() == 1 ? "frame" : "frames", fmt::join(first, ", "),
                     frames.count > frames.Named() ? ", ..." : "");
}

}  // namespace

std::string FindingsText(SessionFacts const& facts) {
  std::vector<SessionFinding> const findings = FindingsOf(facts);
  if (findings.empty() && facts.Matches().Settled() == 0) return "Findings   none: no frame came after the warm-up\n";
  if (findings.empty()) {
    return fmt::format("Findings   none: both ends of the readout are near a sample in {} of {} frames\n",
                       facts.Matches().bothNear, facts.Matches().Settled());
  }
  std::string text;
  for (SessionFinding const& finding : findings) {
    text += Wrapped(fmt::format("{} {}: {}{}. What helps: {}.", text.empty() ? "Findings  " : "          ",
                                finding.code, finding.text, FramesText(finding.frames), finding.advice));
  }
  return text;
}

nlohmann::ordered_json FindingsJson(SessionFacts const& facts, std::int32_t camera) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (SessionFinding const& finding : FindingsOf(facts)) {
    nlohmann::ordered_json figures = nlohmann::ordered_json::object();
    for (auto const& [name, value] : finding.figures) figures[name] = Rounded(name, value);
    nlohmann::ordered_json first = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < finding.frames.Named(); ++i) first.push_back(finding.frames.first[i]);
    list.push_back({{"code", finding.code},
                    {"camera", camera},
                    {"text", finding.text},
                    {"figures", std::move(figures)},
                    {"frames", {{"count", finding.frames.count}, {"first", std::move(first)}}},
                    {"advice", finding.advice}});
  }
  return list;
}

}  // namespace shadingctl
