#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <optional>

#include "hosting/Interruption.h"
#include "hosting/LibraryNumbers.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/synthetic/SyntheticSession.h"

namespace shadingctl {
namespace {

constexpr std::int64_t kNsPerUs = 1000;
constexpr int kLines = 64;  // of the image, over which the mean is taken

// The row of a frame; nullopt when the lens is not known then.
std::optional<std::string> RowOf(SyntheticOptions const& options, recording::CalcOisValue const& calc,
                                 std::int64_t readoutNs) {
  auto const timestampNs = static_cast<std::int64_t>(calc.pairs[0].timestampNs);
  auto const exposureNs = static_cast<std::int64_t>(calc.pairs[0].exposureNs);
  auto const shorterNs = static_cast<double>(std::min(exposureNs, readoutNs));
  auto const lagNs =
      static_cast<std::int64_t>(hosting::kOffsetFactor * shorterNs) + hosting::kOffsetConstantUs * kNsPerUs;
  std::int64_t const firstFrameNs = timestampNs - (std::int64_t{calc.frame} - 1) * options.frameIntervalNs;
  std::int64_t const startNs = timestampNs - exposureNs - lagNs - FirstSampleNs(options, firstFrameNs);
  if (startNs < 0) return std::nullopt;
  double x = 0;
  double y = 0;
  for (int line = 0; line < kLines; ++line) {
    std::int64_t const lineNs = startNs + readoutNs * (2 * line + 1) / (2 * kLines);
    LensPoint const lens = LensAt(options.MotionFromNs() + lineNs, 0, 0, options.lens);
    x += double{lens.x} / kLines;
    y += double{lens.y} / kLines;
  }
  return fmt::format("{},{:.4f},{:.4f}\n", calc.frame, x, y);
}

}  // namespace

void WriteReference(SyntheticOptions const& options, std::string const& path) {
  OutputFile file(path);
  file.Write("frame,x,y\n");
  SyntheticSession session(options);
  std::int64_t readoutNs = 0;
  std::uint32_t lastFrame = 0;
  for (recording::Call call; session.Next(call);) {
    if (hosting::InterruptedBy() != 0) throw hosting::Interrupted();
    if (call.camera != options.cameras.front().sensorId) continue;
    if (auto const* const told = std::get_if<recording::StoreRollingShutter>(&call.operation)) {
      readoutNs = told->rollingShutterNs;
    }
    auto const* const calc = std::get_if<recording::CalcOisValue>(&call.operation);
    if (calc == nullptr || calc->frame == lastFrame) continue;
    lastFrame = calc->frame;
    if (auto const row = RowOf(options, *calc, readoutNs)) file.Write(*row);
  }
  file.Finish();
}

}  // namespace shadingctl
