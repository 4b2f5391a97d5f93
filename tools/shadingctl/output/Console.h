// What the user sees: messages and progress on standard error (results go elsewhere), colours and percentages.
#pragma once

#include <fmt/format.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace shadingctl {

// Writes "shadingctl: MESSAGE" as a line, escaped. A failure to write is ignored.
void Tell(std::string const& message);

// Lines without the name before them, escaped: a summary, a complaint that begins with its file.
void TellPlainly(std::string_view text);

enum class Color { kAuto, kAlways, kNever };

// kAuto: on a terminal, unless the environment has a NO_COLOR that is not empty, or a TERM that is "dumb".
bool UsesColor(Color color, bool isTerminal);

constexpr char kGreen[] = "\033[32m";
constexpr char kYellow[] = "\033[33m";
constexpr char kRed[] = "\033[31m";
constexpr char kFaint[] = "\033[2m";
constexpr char kPlain[] = "\033[0m";

// "96.9 %"; what is neither nothing nor all is never rounded to either.
inline std::string PercentText(double percent) {
  std::string const text = fmt::format("{:.1f}", percent);
  if (text == "100.0" && percent < 100) return ">99.9 %";
  if (text == "0.0" && percent > 0) return "<0.1 %";
  return text + " %";
}

// Requires: all > 0.
inline std::string PercentText(std::uint64_t part, std::uint64_t all) {
  return PercentText(100.0 * static_cast<double>(part) / static_cast<double>(all));
}

// A progress bar. Shows nothing when standard error is no terminal, when it is not wanted, and during the first second.
// Removed at destruction.
class Progress {
 public:
  // `total` answers how many steps there are in all; it is asked when the bar appears, if it does.
  Progress(bool wanted, std::function<std::optional<std::uint64_t>()> total);
  ~Progress();
  Progress(Progress const&) = delete;
  Progress& operator=(Progress const&) = delete;

  // One step more is done.
  void Step();

 private:
  using Clock = std::chrono::steady_clock;

  void Draw();

  bool const mWanted;
  std::function<std::optional<std::uint64_t>()> const mAskTotal;
  std::optional<std::uint64_t> mTotal;
  std::uint64_t mDone = 0;
  bool mShown = false;
  Clock::time_point mNextDraw;
};

}  // namespace shadingctl
