// Any sequence of host operations. One camera is compared with the reference model in every answer, message and
// platform call. In between, another camera and arguments that name no camera are used under arbitrary globals; their
// answers must keep the documented promises.
#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <memory>
#include <vector>

#include "fuzz/ByteSource.h"
#include "fuzz/Target.h"
#include "platform/desktop/Device.h"
#include "tests/property/Comparison.h"

namespace {

using fuzz::ByteSource;
using fuzz::Expect;
using Samples = std::vector<NSCam::Utils::SensorData>;

constexpr std::size_t kMaximumSteps = 120;
constexpr int kOtherCamera = 2;
constexpr int kOtherType = 5;

std::int64_t TakeTimeNs(ByteSource& source) {
  constexpr std::int64_t kTimesNs[] = {0,
                                       1,
                                       999,
                                       1000,
                                       -1,
                                       -166'000,
                                       1'000'000'000'000,
                                       std::numeric_limits<std::int64_t>::max(),
                                       std::numeric_limits<std::int64_t>::min()};
  return source.TakeBelow(2) == 0 ? source.TakeOneOf(kTimesNs) : source.Take<std::int64_t>();
}

property::BatchPlan TakeBatch(ByteSource& source) {
  constexpr std::int64_t kSpacingsNs[] = {0, 1, 999, 1000, 125'000, 1'000'000, 4'980'000, 400'000'000'000'000'000};
  property::BatchPlan plan;
  plan.place = static_cast<property::Place>(source.TakeBelow(7));
  plan.count = source.TakeBelow(64);
  plan.spacingNs = source.TakeOneOf(kSpacingsNs);
  plan.jitterNs = source.TakeBelow(3) == 0 ? plan.spacingNs / 3 : 0;
  plan.shuffled = source.TakeBelow(2) == 1;
  plan.seed = source.Take<std::uint16_t>();
  return plan;
}

property::Step TakeStep(ByteSource& source) {
  constexpr property::Act kActs[] = {property::Act::kUpdate,       property::Act::kUpdate,
                                     property::Act::kCalc,         property::Act::kCalc,
                                     property::Act::kLookUpByTime, property::Act::kLookUpByFrame,
                                     property::Act::kUpdate,       property::Act::kStoreRollingShutter};
  constexpr std::int64_t kOffsetsNs[] = {0, -1'500'000, -1'499'000, 1'499'000, 1'499'999, 1'500'000, 1'500'001, 500};
  constexpr std::uint32_t kShuttersNs[] = {0, 1, 999, 1'499'999, 8'000'000, 15'980'096, 33'000'000, ~0U};
  constexpr std::uint64_t kExposuresNs[] = {0, 999, 200'000, 1'200'345, 10'000'000, 20'081'000, ~0ULL, 1ULL << 63U};
  property::Step step;
  step.act = source.TakeOneOf(kActs);
  step.logLevel = source.TakeOneOf({0, 0, 1, 3, 4, -1});
  step.frameNumber = source.TakeBelow(8) == 0 ? source.Take<std::uint32_t>() : source.TakeBelow(13);
  step.batch = TakeBatch(source);
  step.time.aim = static_cast<property::Aim>(source.TakeBelow(4));
  step.time.sample = source.Take<std::uint16_t>();
  step.time.offsetNs = source.TakeBelow(2) == 0 ? source.TakeOneOf(kOffsetsNs) : source.Take<std::int32_t>();
  step.time.anythingNs = static_cast<std::uint64_t>(TakeTimeNs(source));
  step.rollingShutterNs = source.TakeBelow(4) == 0 ? source.Take<std::uint32_t>() : source.TakeOneOf(kShuttersNs);
  step.type = source.TakeBelow(8) == 0 ? source.Take<std::int32_t>() : static_cast<std::int32_t>(source.TakeBelow(8));
  step.exposureNs = source.TakeBelow(4) == 0 ? source.Take<std::uint64_t>() : source.TakeOneOf(kExposuresNs);
  step.mode = source.TakeBelow(8) == 0 ? source.Take<std::int32_t>() : static_cast<int>(source.TakeBelow(6));
  step.oisMatched = source.TakeOneOf({0, 0, 1, -7});
  step.before.assign(source.TakeBelow(4), source.Take<double>());
  return step;
}

// ---- The other camera

class OtherCamera {
 public:
  explicit OtherCamera(VeyraShadingUtil& library) : mLibrary(library) {}
  ~OtherCamera() { mLibrary.StopSensorMonitor(kOtherCamera, kOtherType); }
  OtherCamera(OtherCamera const&) = delete;
  OtherCamera& operator=(OtherCamera const&) = delete;

  void Step(ByteSource& source) {
    gLogLevel = source.Take<std::int32_t>();
    g_oisDebug = static_cast<int>(source.TakeBelow(7)) - 1;
    switch (source.TakeBelow(8)) {
      case 0:
        return Expect(mLibrary.RegisterAndStartSensorMonitor(kOtherCamera, kOtherType), "camera 2 is not accepted");
      case 1:
        return mLibrary.StopSensorMonitor(source.TakeOneOf({kOtherCamera, 9, -1, 1 << 30}), source.TakeOneOf({5, 77}));
      case 2:
        return UseUnknownCamera(source.TakeOneOf({1, 6, -1, 1 << 30}), source);
      case 3:
      case 4:
        return Update(source);
      case 5:
        return Ask(source);
      default:
        return Calc(source);
    }
  }

 private:
  void Update(ByteSource& source) {
    Samples samples(source.TakeBelow(130));
    bool const onGrid = source.TakeBelow(4) != 0;
    std::int64_t const beginsNs = onGrid ? mNextNs : TakeTimeNs(source);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i].timestamp =
          onGrid ? beginsNs + static_cast<std::int64_t>(i) * 1'000'000 : beginsNs ^ static_cast<std::int64_t>(i);
      float const position = source.Take<float>();
      samples[i].oisHallX = position;
      samples[i].oisHallY = -position;
      if (std::isfinite(position)) {
        mLargest = std::max(mLargest, std::fabs(position));
      } else {
        mIsFinite = false;
      }
    }
    if (onGrid) mNextNs += static_cast<std::int64_t>(samples.size()) * 1'000'000;
    desktop::Device::Get().QueueSamples("OIS_MONITOR-2-5", samples);
    mLibrary.UpdateSensorData(kOtherCamera, source.TakeBelow(20), source.Take<std::uint64_t>());
  }

  void Ask(ByteSource& source) {
    Samples samples;
    std::uint32_t const frame = source.TakeBelow(20);
    std::uint64_t const timeNs = source.TakeBelow(2) == 0 ? 0 : static_cast<std::uint64_t>(TakeTimeNs(source));
    mLibrary.QuerySensorData(samples, kOtherCamera, frame, timeNs);
    Expect(timeNs == 0 || samples.empty() || samples.size() == 100, "a window that is not of 100 samples");
    Expect(std::is_sorted(samples.begin(), samples.end(),
                          [](auto const& left, auto const& right) { return left.timestamp < right.timestamp; }),
           "samples out of order");
  }

  void Calc(ByteSource& source) {
    auto const nearNs = static_cast<std::uint64_t>(mNextNs - 60'000'000);
    CalcOISValueInput input = {nearNs,
                               nearNs,
                               source.Take<std::uint64_t>(),
                               source.Take<std::uint32_t>(),
                               4'000'000,
                               source.Take<std::uint64_t>()};
    std::vector<double> const before = {-7.0, -8.0, -9.0};
    std::vector<double> x = before, y = before;
    int matched = static_cast<int>(source.TakeBelow(3)) - 1;
    auto const type = static_cast<CustShadingType>(source.TakeBelow(9));
    mLibrary.CalcOISValue(type, input, &x, &y, source.Take<std::uint32_t>(), kOtherCamera, matched);
    if (x == before && y == before) return;
    Expect(x.size() == 2 && y.size() == 2 && x[1] == 0.0 && y[1] == 0.0, "not two elements after success");
    // The mean's rounding: at most 100 additions in single precision, each off by half a unit of the last place.
    double const bound = static_cast<double>(mLargest) * (1.0 + 100.0 * 6e-8) + 1e-37;
    bool const overflows =
        static_cast<double>(mLargest) * 100.0 > static_cast<double>(std::numeric_limits<float>::max());
    if (mIsFinite && !overflows)
      Expect(std::fabs(x[0]) <= bound && std::fabs(y[0]) <= bound, "a position out of bounds");
  }

  void UseUnknownCamera(int sensorId, ByteSource& source) {
    Expect(!mLibrary.IsEnabled(sensorId) && !mLibrary.IsSupportSensor(sensorId), "a camera of no map is enabled");
    Expect(!mLibrary.RegisterSensorMonitor(sensorId, 4), "a camera of no map is registered");
    mLibrary.UpdateSensorData(sensorId, 1, 1);
    Samples samples(1);
    mLibrary.QuerySensorData(samples, sensorId, 1, source.Take<std::uint64_t>());
    Expect(samples.size() == 1, "samples of no camera");
    std::vector<double> x = {-7.0}, y = x;
    CalcOISValueInput input = {1, 2, 3, 4, 5, 6};
    int matched = 1;
    mLibrary.CalcOISValue(kShadingPreview, input, &x, &y, 1, sensorId, matched);
    mLibrary.CalcOISValue(kShadingPreview, input, nullptr, &y, 1, kOtherCamera, matched);
    Expect(x == std::vector<double>{-7.0} && y == x && matched == 1, "an output of no camera is touched");
    Expect(mLibrary.QueryRollingShutter(sensorId) == 0, "a rolling shutter of no camera");
    int index = 0;
    int const mask = source.Take<std::int32_t>();
    mLibrary.VeyraGetMultiTableIndex(index, mask);
    Expect(index >= 1 && index <= 5, "a table index that is not 1 to 5");
  }

  VeyraShadingUtil& mLibrary;
  std::int64_t mNextNs = 1'000'000'000'000;
  float mLargest = 0.0F;
  bool mIsFinite = true;
};

void Play(ByteSource& source) {
  constexpr std::int64_t kOriginsNs[] = {1'000'000'000'000,
                                         0,
                                         -166'500,
                                         -1'000'000'000'000,
                                         std::numeric_limits<std::int64_t>::min(),
                                         std::numeric_limits<std::int64_t>::max() - 20};
  property::Session session;
  session.originNs = source.TakeOneOf(kOriginsNs);
  session.lensRests = source.TakeBelow(8) == 0;
  session.systemLog = source.TakeBelow(2) == 1;
  session.file = source.TakeBelow(4) != 0;
  session.maximumLevel = source.TakeOneOf({5, 5, 2, 0});

  desktop::Device& device = desktop::Device::Get();
  property::Reached reached;
  property::Comparison comparison(session, reached);
  OtherCamera other(*createInstance());
  for (std::size_t i = 0; i < kMaximumSteps && !source.IsEmpty(); ++i) {
    if (source.TakeBelow(4) == 0) {
      device.RecordLog(false);
      device.RecordCalls(false);
      other.Step(source);
      device.RecordLog(true);
      device.RecordCalls(true, true);
    } else {
      comparison.Play(TakeStep(source));
    }
  }
  comparison.CompareBufferedFrames();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t count) {
  ByteSource source(bytes, count);
  try {
    Play(source);
  } catch (rc::detail::CaseResult const& difference) {
    fuzz::Fail(difference.description);
  }
  return 0;
}
