#include "tools/shadingctl/explain/Recomputation.h"

#include <fmt/format.h>

#include <cmath>
#include <utility>

#include "hosting/HostLibrary.h"
#include "hosting/LibraryNumbers.h"

namespace shadingctl {
namespace {

constexpr int kSpanLevel = 1;  // at which the library tells the span
constexpr unsigned int kFrame = 1;
constexpr unsigned int kSensorMode = 0;

constexpr double kHalfDecimal = 5e-7;  // of the last one that a log has
constexpr double kExactFrom = 16;      // six decimals tell single-precision numbers apart from here on

// The least or greatest single-precision number with the same six decimals.
float EdgeOf(float logged, bool isLeast) {
  if (!(std::abs(logged) < kExactFrom)) return logged;
  double const text = std::nearbyint(static_cast<double>(logged) * 1e6) / 1e6;
  double const edge = isLeast ? text - kHalfDecimal : text + kHalfDecimal;
  auto const nearest = static_cast<float>(edge);
  bool const isOutside = isLeast ? static_cast<double>(nearest) < edge : static_cast<double>(nearest) > edge;
  return isOutside ? std::nextafter(nearest, logged) : nearest;
}

bool IsBetween(double least, double value, double greatest) {
  constexpr double kSlack = 1e-9;  // of the double-precision numbers that the texts are read as
  return value >= least - kHalfDecimal - kSlack && value <= greatest + kHalfDecimal + kSlack;
}

// The window as it was delivered, of the least or the greatest numbers that its positions stand for. Samples of one us
// keep their order; the library passes over all but the first.
std::vector<NSCam::Utils::SensorData> WindowOf(FrameMessages const& messages, bool isLeast) {
  std::vector<NSCam::Utils::SensorData> window;
  std::int64_t beforeUs = 0;
  for (SourceSample const& told : messages.source) {
    NSCam::Utils::SensorData sample = SampleTold(told);
    bool const isSameUs = !window.empty() && told.timeUs == beforeUs;
    beforeUs = told.timeUs;
    if (isSameUs) sample.timestamp = window.back().timestamp + 1;
    sample.oisHallX = EdgeOf(told.hallX, isLeast);
    sample.oisHallY = EdgeOf(told.hallY, isLeast);
    window.push_back(sample);
  }
  return window;
}

std::string SpanText(std::optional<SpanFound> const& span) {
  return span ? fmt::format("entries {} to {}", span->first, span->last) : std::string("no span");
}

std::string PositionText(std::optional<PositionTold> const& position) {
  return position ? fmt::format("({:.6f}, {:.6f})", position->hall0X, position->hall0Y) : std::string("no position");
}

bool IsSame(std::optional<PositionTold> const& logged, std::optional<PositionTold> const& least,
            std::optional<PositionTold> const& greatest) {
  if (!logged || !least || !greatest) return logged.has_value() == least.has_value();
  return IsBetween(least->hall0X, logged->hall0X, greatest->hall0X) &&
         IsBetween(least->hall0Y, logged->hall0Y, greatest->hall0Y);
}

Recomputation::Result Different(std::string const& logged, std::string const& computed) {
  return {Recomputation::Verdict::kDifferent, fmt::format("the log has {}, the library computes {}", logged, computed)};
}

}  // namespace

Recomputation::Recomputation(desktop::DeviceSettings settings, std::string library)
    : mSettings(std::move(settings)), mLibraryPath(std::move(library)) {
  SetCameras({mCamera.sensorId}, mSettings);
  mCamera = CameraOf(mSettings, mCamera.sensorId);
}

Recomputation::~Recomputation() {
  if (mLibrary != nullptr) desktop::Device::Get().ListenToLog({});
}

Recomputation::Result Recomputation::Check(LoggedCall const& call) {
  if (!call.IsWhole()) return {};
  int const mode = call.messages.position ? call.messages.position->mode : mMode.value_or(hosting::kModeMean);
  if (mLibrary == nullptr) Load(mode);
  if (mode != *mMode && mModeSwitch == nullptr) return {Verdict::kOtherMode, {}};
  if (mode != *mMode) mMode = *mModeSwitch = mode;
  std::optional<SpanFound> const span = Play(call, WindowOf(call.messages, true)).span;
  std::optional<PositionTold> const least = mMessages.position;
  std::optional<PositionTold> const greatest = Play(call, WindowOf(call.messages, false)).position;
  FrameMessages const& logged = call.messages;
  if (logged.span && SpanText(logged.span) != SpanText(span)) return Different(SpanText(logged.span), SpanText(span));
  if (IsSame(logged.position, least, greatest)) return {Verdict::kSame, {}};
  return Different(PositionText(logged.position), PositionText(least));
}

void Recomputation::Load(int mode) {
  mMode = mode;
  recording::SessionSettings ofMode;
  ofMode.calculationMode = mode;
  desktop::Device& device = desktop::Device::Get();
  device.Configure(PlayedSettings(mSettings, ofMode, kSpanLevel));
  mLibrary = &LoadLibrary(mLibraryPath);
  mModeSwitch = hosting::FindSwitch(mLibraryPath, "g_oisDebug");
  device.ListenToLog([this](desktop::LogMessage const& message) {
    if (mIsListening && message.sink == desktop::Sink::kSystemLog) mMessages.Add(message.text);
  });
}

// A monitor of its own for each call, so that its history is the window and nothing else.
FrameMessages const& Recomputation::Play(LoggedCall const& call, std::vector<NSCam::Utils::SensorData> const& window) {
  FrameTimesTold const& times = *call.messages.times;
  std::uint64_t const timestampNs = times.TimestampNs();
  std::uint64_t const exposureNs = times.exposureUs * 1000;
  desktop::Device& device = desktop::Device::Get();
  device.SetRollingShutter(mCamera.sensorId, kSensorMode, times.readoutUs * 1000);
  device.QueueSamples(fmt::format("OIS_MONITOR-{}-{}", mCamera.sensorId, mCamera.sensorType), window);
  mLibrary->RegisterAndStartSensorMonitor(mCamera.sensorId, mCamera.sensorType);
  mLibrary->StoreRollingShutter(mCamera.sensorId, kSensorMode);
  mLibrary->UpdateSensorData(mCamera.sensorId, kFrame, timestampNs);
  CalcOISValueInput input{timestampNs, timestampNs, timestampNs, exposureNs, exposureNs, exposureNs};
  std::vector<double> hallX;
  std::vector<double> hallY;
  int matched = call.messages.FlagWasSet() ? 1 : 0;
  mMessages.Clear();
  mIsListening = true;
  mLibrary->CalcOISValue(static_cast<CustShadingType>(times.type), input, &hallX, &hallY, kFrame, mCamera.sensorId,
                         matched);
  mIsListening = false;
  mLibrary->StopSensorMonitor(mCamera.sensorId, mCamera.sensorType);
  return mMessages;
}

}  // namespace shadingctl
