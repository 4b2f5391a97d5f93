// What the user sees: messages and progress on standard error (results go elsewhere), and colours.
#pragma once

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
