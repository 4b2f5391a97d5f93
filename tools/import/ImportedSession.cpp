#include "tools/import/ImportedSession.h"

namespace shadingctl {

std::optional<std::uint64_t> EndOfExposureNs(std::int64_t timeNs, std::int64_t exposureNs, bool timeIsStart) {
  std::int64_t endNs = timeNs;
  bool const isTooLate = timeIsStart && __builtin_add_overflow(timeNs, exposureNs, &endNs);
  if (isTooLate || timeNs < 0 || exposureNs < 0) return std::nullopt;
  return static_cast<std::uint64_t>(endNs);
}

float Scaled(float position, double scale) { return static_cast<float>(static_cast<double>(position) * scale); }

}  // namespace shadingctl
