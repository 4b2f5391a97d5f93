#include "tools/shadingctl/summary/Gates.h"

#include <fmt/format.h>

#include <algorithm>

namespace shadingctl {
namespace {

std::optional<std::string> FailedShare(double percent, MatchFacts const& match) {
  std::uint64_t const settled = match.Settled();
  if (settled == 0) return "--fail-below: expected frames after the warm-up, found none";
  double const reached = 100 * static_cast<double>(match.bothNear) / static_cast<double>(settled);
  if (reached >= percent) return std::nullopt;
  return fmt::format(
      "--fail-below {}: expected both ends near a sample in {} % of the frames, found {:.2f} % ({} of {})", percent,
      percent, reached, match.bothNear, settled);
}

std::optional<std::string> FailedAge(std::int64_t maxAgeUs, MatchFacts const& match) {
  if (!match.oldest) return fmt::format("--max-age-us {}: expected positions, found none", maxAgeUs);
  if (match.oldest->ageUs <= maxAgeUs) return std::nullopt;
  return fmt::format("--max-age-us {}: expected no older position, found one of {} us at frame {}", maxAgeUs,
                     match.oldest->ageUs, match.oldest->frame);
}

// The first of the findings that is named, or whose severity is.
std::optional<std::string> FoundFinding(std::vector<std::string> const& failOn, SessionFacts const& facts,
                                        std::vector<SessionFinding> const& findings) {
  for (SessionFinding const& finding : findings) {
    for (std::string const& name : failOn) {
      bool const isSeverity = *finding.severity != Severity::kNote && name == Name(*finding.severity);
      if (name == finding.code || isSeverity)
        return fmt::format("--fail-on {}: expected no such finding, found {}{}", name, finding.code,
                           PlaceText(finding, facts));
    }
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::string> FailedGates(Gates const& gates, Summaries const& summaries) {
  std::vector<std::string> failed;
  std::string const capture = summaries.CaptureText();  // empty of a whole recording
  if (!capture.empty() && std::count(gates.failOn.begin(), gates.failOn.end(), kIncomplete) > 0) {
    failed.push_back(fmt::format("--fail-on {}: expected a whole recording, found one that is not", kIncomplete));
  }
  for (auto const& [sensorId, summary] : summaries.Cameras()) {
    MatchFacts const& match = summary.Facts().Matches();
    std::string const camera = summaries.Cameras().size() > 1 ? fmt::format("camera {}: ", sensorId) : "";
    auto const add = [&](std::optional<std::string> const& reason) {
      if (reason) failed.push_back(camera + *reason);
    };
    if (gates.failBelowPercent) add(FailedShare(*gates.failBelowPercent, match));
    if (gates.maxAgeUs) add(FailedAge(*gates.maxAgeUs, match));
    add(FoundFinding(gates.failOn, summary.Facts(), summaries.FindingsOfCamera(summary.Facts())));
  }
  return failed;
}

}  // namespace shadingctl
