// A host outside of the tree: plays one frame to the installed library on the installed platform, and knows by hand
// what comes out.
#include <cmath>
#include <cstdio>
#include <vector>

#include "lsc/VeyraShadingUtil.h"
#include "platform/desktop/Device.h"

namespace {

constexpr int kCamera = 0;  // of the built-in device
constexpr int kSensorType = 3;
constexpr unsigned int kSensorMode = 0;
constexpr unsigned int kFrame = 7;
constexpr std::uint64_t kFrameTimeNs = 1000000000000;
constexpr std::uint64_t kExposureNs = 10000000;
constexpr unsigned int kReadoutNs = 20000000;

// Sample k is taken k ms after 999984402 us, at (k * k, -k). Its aligned time is 5598 us later (0.5432 times the
// exposure, and 166): k ms after the start of the frame, 10 ms before its timestamp. The readout is k from 0 to 20.
std::vector<NSCam::Utils::SensorData> Samples() {
  std::vector<NSCam::Utils::SensorData> samples;
  for (int k = -60; k < 60; ++k) {
    NSCam::Utils::SensorData sample;
    sample.timestamp = 999984402000 + k * 1000000;
    sample.oisHallX = static_cast<float>(k * k);
    sample.oisHallY = static_cast<float>(-k);
    samples.push_back(sample);
  }
  return samples;
}

}  // namespace

int main() {
  desktop::Device& device = desktop::Device::Get();
  device.SetRollingShutter(kCamera, kSensorMode, kReadoutNs);
  VeyraShadingUtil* const library = createInstance();
  if (library == nullptr || !library->RegisterAndStartSensorMonitor(kCamera, kSensorType)) return 1;
  library->StoreRollingShutter(kCamera, kSensorMode);
  device.QueueSamples("OIS_MONITOR-0-3", Samples());  // of camera and sensor type
  library->UpdateSensorData(kCamera, kFrame, kFrameTimeNs);
  std::vector<double> x;
  std::vector<double> y;
  CalcOISValueInput input{kFrameTimeNs, 0, 0, kExposureNs, 0, 0};
  int isMatched = 0;
  library->CalcOISValue(kShadingPreview, input, &x, &y, kFrame, kCamera, isMatched);
  library->StopSensorMonitor(kCamera, kSensorType);
  if (isMatched == 0 || x.empty() || y.empty()) return 1;
  std::printf("frame %u: %.4f, %.4f\n", kFrame, x[0], y[0]);
  constexpr double kMeanOfSquares = 2870.0 / 21;  // of k from 0 to 20
  return std::abs(x[0] - kMeanOfSquares) < 1e-4 && std::abs(y[0] + 10) < 1e-4 ? 0 : 1;
}
