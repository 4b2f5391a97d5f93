#include "tools/shadingctl/output/Console.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "hosting/QuotedText.h"

namespace shadingctl {
namespace {

constexpr std::chrono::seconds kPatience{1};             // nobody needs a bar for less
constexpr std::chrono::milliseconds kDrawInterval{100};  // fast enough for the eye
constexpr std::uint64_t kStepsPerLook = 64;              // the clock is not asked at every step
constexpr std::size_t kBarLength = 40;                   // characters

}  // namespace

void Tell(std::string const& message) { TellPlainly("shadingctl: " + hosting::Escaped(message) + "\n"); }

void TellPlainly(std::string_view text) {
  std::string const lines = hosting::EscapedLines(text);
  std::fwrite(lines.data(), 1, lines.size(), stderr);
  std::fflush(stderr);
}

bool UsesColor(Color color, bool isTerminal) {
  if (color != Color::kAuto) return color == Color::kAlways;
  char const* const noColor = std::getenv("NO_COLOR");
  char const* const terminal = std::getenv("TERM");
  bool const isUnwanted =
      (noColor != nullptr && *noColor != '\0') || (terminal != nullptr && std::string_view(terminal) == "dumb");
  return isTerminal && !isUnwanted;
}

Progress::Progress(bool wanted, std::function<std::optional<std::uint64_t>()> total)
    : mWanted(wanted && isatty(STDERR_FILENO) == 1), mAskTotal(std::move(total)), mNextDraw(Clock::now() + kPatience) {}

Progress::~Progress() {
  if (mShown) std::fputs("\r\033[K", stderr);
}

void Progress::Step() {
  ++mDone;
  if (!mWanted || mDone % kStepsPerLook != 0 || Clock::now() < mNextDraw) return;
  Draw();
  mNextDraw = Clock::now() + kDrawInterval;
}

void Progress::Draw() {
  if (!mShown) mTotal = mAskTotal();
  mShown = true;
  std::string bar;
  if (mTotal) {
    auto const part = std::min(1.0, static_cast<double>(mDone) / static_cast<double>(*mTotal));
    auto const full = static_cast<std::size_t>(part * static_cast<double>(kBarLength));
    bar = fmt::format("[{}{}] {:3.0f} % ", std::string(full, '#'), std::string(kBarLength - full, '.'), part * 100.0);
  }
  fmt::print(stderr, "\r{}{} frames\033[K", bar, mDone);
  std::fflush(stderr);
}

}  // namespace shadingctl
