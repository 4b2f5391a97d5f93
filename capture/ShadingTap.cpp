// Stands in the place of libvcam_shadingutil.so: hands out an object with the same table that forwards every operation
// to the real library's object and records it. Everything else that the real library exports, its globals for example,
// a host finds in the real library itself, with which this one is linked.
#include <fmt/format.h>
#include <unistd.h>

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string>

#include "capture/BatchListener.h"
#include "capture/RealLibrary.h"
#include "capture/Recorder.h"
#include "capture/SystemLog.h"
#include "lsc/VeyraShadingUtil.h"

namespace capture {
namespace {

constexpr char kRealLibrary[] = "libvcam_shadingutil.so.real";
constexpr char kDirectoryVariable[] = "VCAM_TAP_DIRECTORY";
constexpr char kDefaultDirectory[] = "/data/vendor/camera_dump";  // a phone's camera provider may write there

constexpr int kLastCamera = 63;  // sensor ids from 0 on that are asked for

#ifdef _LIBCPP_VERSION
#define SAMPLES "NSt3__16vectorIN5NSCam5Utils10SensorDataENS0_9allocatorIS4_EEEE"
#else
#define SAMPLES "St6vectorIN5NSCam5Utils10SensorDataESaIS3_EE"
#endif
#define QUERY_SENSOR_DATA "_ZN16VeyraShadingUtil15QuerySensorDataER" SAMPLES "ijm"
#define IS_ENABLED "_ZN16VeyraShadingUtil9IsEnabledEi"
#define SWAP_PNC_CALI_DATA "_ZN16VeyraShadingUtil20VeyraSwapPNCCaliDataEPci"

using Samples = std::vector<NSCam::Utils::SensorData>;

// Member functions are called like functions whose first parameter is the object.
void RealQuery(void* object, Samples& samples, int sensorId, unsigned int frameNumber, unsigned long timestamp) {
  static auto* const real =
      RealSymbol<void (*)(void*, Samples&, int, unsigned int, unsigned long)>(kRealLibrary, QUERY_SENSOR_DATA);
  real(object, samples, sensorId, frameNumber, timestamp);
}

// The clock of camera timestamps: time since boot, suspends included.
std::uint64_t NowNs() {
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000U + static_cast<std::uint64_t>(now.tv_nsec);
}

recording::Call BeginCall(int sensorId) {
  recording::Call call;
  call.timeNs = NowNs();
  call.camera = sensorId;
  return call;
}

// The first element of a caller's vector as a recording holds it; false when no single-precision number is equal to it.
bool FirstElement(std::vector<double> const& values, std::optional<float>& first) {
  first.reset();
  if (values.empty()) return true;
  if (!(std::fabs(values[0]) <= double{FLT_MAX})) return false;
  first = static_cast<float>(values[0]);
  return double{*first} == values[0];
}

// The update under way on this thread, until its batch is recorded.
thread_local recording::Call const* tUpdate = nullptr;

// Never destroyed: a host may call while the process ends.
Recorder& TheRecorder() {
  static auto& recorder = *new Recorder;
  return recorder;
}

void RecordBatch(NSCam::Utils::SensorData const* samples, std::size_t count) noexcept {
  if (tUpdate == nullptr) return;  // another user of the provider
  TheRecorder().Add(*tUpdate, samples, count);
  tUpdate = nullptr;
}

// The table of VeyraShadingUtil, in its order.
class TapTable {
 public:
  // `readsBack`: batches are taken from the library's history, as nothing else shows them.
  TapTable(VeyraShadingUtil& real, bool readsBack) : mReal(&real), mReadsBack(readsBack) {}
  TapTable(TapTable const&) = delete;
  TapTable& operator=(TapTable const&) = delete;

  virtual void VeyraGetMultiTableIndex(int& multiTableIndex, int sensorDev) {
    mReal->VeyraGetMultiTableIndex(multiTableIndex, sensorDev);
  }

  virtual void VeyraGetPNCCaliData(void* out, int sensorDev) { mReal->VeyraGetPNCCaliData(out, sensorDev); }

  virtual ~TapTable() = default;  // two entries; as with the real object, no host deletes it

  virtual bool RegisterAndStartSensorMonitor(int sensorId, int sensorType) {
    return Start(recording::StartMonitor::Operation::kRegisterAndStart, sensorId, sensorType,
                 [&] { return mReal->RegisterAndStartSensorMonitor(sensorId, sensorType); });
  }

  virtual bool RegisterSensorMonitor(int sensorId, int sensorType) {
    return Start(recording::StartMonitor::Operation::kRegister, sensorId, sensorType,
                 [&] { return mReal->RegisterSensorMonitor(sensorId, sensorType); });
  }

  virtual bool StartSensorMonitor(int sensorId, int sensorType) {
    return Start(recording::StartMonitor::Operation::kStart, sensorId, sensorType,
                 [&] { return mReal->StartSensorMonitor(sensorId, sensorType); });
  }

  virtual void StopSensorMonitor(int sensorId, int sensorType) {
    recording::Call call = BeginCall(sensorId);
    mReal->StopSensorMonitor(sensorId, sensorType);
    call.operation = recording::StopMonitor{sensorType};
    TheRecorder().Add(call);
  }

  virtual void UpdateSensorData(int sensorId, unsigned int frameNumber, unsigned long timestamp) {
    recording::Call call = BeginCall(sensorId);
    call.operation = recording::UpdateSensorData{frameNumber, timestamp, {}};
    tUpdate = &call;
    mReal->UpdateSensorData(sensorId, frameNumber, timestamp);
    if (tUpdate == nullptr) return;
    tUpdate = nullptr;
    thread_local Samples filed;
    filed.clear();
    if (mReadsBack && frameNumber != 0) RealQuery(mReal, filed, sensorId, frameNumber, 0);
    TheRecorder().Add(call, filed.data(), filed.size());
  }

  virtual unsigned int StoreRollingShutter(int sensorId, unsigned int sensorMode) {
    recording::Call call = BeginCall(sensorId);
    unsigned int const rollingShutterNs = mReal->StoreRollingShutter(sensorId, sensorMode);
    call.operation = recording::StoreRollingShutter{sensorMode, rollingShutterNs};
    TheRecorder().Add(call);
    return rollingShutterNs;
  }

  virtual unsigned int QueryRollingShutter(int sensorId) { return mReal->QueryRollingShutter(sensorId); }

  virtual bool IsSupportSensor(int sensorId) { return mReal->IsSupportSensor(sensorId); }

  virtual void CalcOISValue(CustShadingType type, CalcOISValueInput& input, std::vector<double>* outOisX,
                            std::vector<double>* outOisY, unsigned int const& frameId, int const& sensorId,
                            int& oisMatched) {
    recording::Call call = BeginCall(sensorId);
    recording::CalcOisValue calc;
    calc.frame = frameId;
    calc.type = type;
    calc.pairs = {{{input.timestamp0, input.exposureTime0},
                   {input.timestamp1, input.exposureTime1},
                   {input.timestamp2, input.exposureTime2}}};
    calc.matched = oisMatched != 0;
    mReal->CalcOISValue(type, input, outOisX, outOisY, frameId, sensorId, oisMatched);
    if (outOisX == nullptr || outOisY == nullptr) return;  // the call did nothing
    recording::CalcOisAnswer answer;
    answer.matched = oisMatched != 0;
    if (FirstElement(*outOisX, answer.hallX) && FirstElement(*outOisY, answer.hallY)) calc.answer = answer;
    call.operation = calc;
    TheRecorder().Add(call);
  }

  VeyraShadingUtil* Real() const { return mReal; }

 private:
  template <typename Operation>
  bool Start(recording::StartMonitor::Operation kind, int sensorId, int sensorType, Operation const& operation) {
    recording::Call call = BeginCall(sensorId);
    bool const answer = operation();
    call.operation = recording::StartMonitor{kind, sensorType, answer};
    TheRecorder().Add(call);
    return answer;
  }

  VeyraShadingUtil* const mReal;
  bool const mReadsBack;
};

// The cameras of the library's sensor map, and the calculation that its property asks for.
recording::SessionSettings SettingsOf(VeyraShadingUtil& real, bool seesBatches) {
  recording::SessionSettings settings;
  settings.cameras.emplace();
  for (int camera = 0; camera <= kLastCamera; ++camera) {
    if (real.IsSupportSensor(camera)) settings.cameras->push_back(camera);
  }
  settings.calculationMode = *RealSymbol<int const*>(kRealLibrary, "g_oisDebug");
  settings.batches = seesBatches ? recording::Batches::kDelivered : recording::Batches::kFiled;
  return settings;
}

// A name of its own for each process.
std::string NewDirectory() {
  char const* const named = std::getenv(kDirectoryVariable);
  std::string const parent = named == nullptr || *named == '\0' ? kDefaultDirectory : named;
  std::time_t const now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char stamp[sizeof "20261231-235959"];
  std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
  return fmt::format("{}/recording-{}-{}", parent, stamp, getpid());
}

// Never destroyed, like the recorder.
TapTable* StartTap(VeyraShadingUtil& real) {
  void* const setListener = FindSymbol(kRealLibrary, "SetBatchListener");
  bool const seesBatches = setListener != nullptr;
  std::string const directory = NewDirectory();
  std::string const problem = TheRecorder().Start(directory, SettingsOf(real, seesBatches));
  if (problem.empty()) {
    if (seesBatches) reinterpret_cast<decltype(&SetBatchListener)>(setListener)(RecordBatch);
    std::atexit([] { TheRecorder().Finish(); });
    __android_log_print(kLogInfo, kTag, "recording to %s, batches %s", directory.c_str(),
                        seesBatches ? "as delivered" : "as the library files them");
  } else {
    TellError("nothing is recorded: " + problem);
  }
  return new TapTable(real, problem.empty() && !seesBatches);
}

TapTable* gTap = nullptr;

// Hosts hand these operations the object that they know.
VeyraShadingUtil* RealObject(void* object) {
  return object == gTap ? gTap->Real() : static_cast<VeyraShadingUtil*>(object);
}

}  // namespace
}  // namespace capture

VeyraShadingUtil* createInstance() {
  static auto* const realCreate = capture::RealSymbol<VeyraShadingUtil* (*)()>(capture::kRealLibrary, "createInstance");
  VeyraShadingUtil* const real = realCreate();
  if (real == nullptr) return nullptr;
  static capture::TapTable* const tap = capture::gTap = capture::StartTap(*real);
  return reinterpret_cast<VeyraShadingUtil*>(tap);
}

// The exported operations that are not in the table, under the names that the compiler gives to members.
extern "C" LSC_EXPORT void TapQuerySensorData(void* object, capture::Samples& samples, int sensorId,
                                              unsigned int frameNumber,
                                              unsigned long timestamp) __asm__(QUERY_SENSOR_DATA);
extern "C" LSC_EXPORT bool TapIsEnabled(void* object, int sensorId) __asm__(IS_ENABLED);
extern "C" LSC_EXPORT void TapSwapPncCaliData(void* object, char* data, int length) __asm__(SWAP_PNC_CALI_DATA);

void TapQuerySensorData(void* object, capture::Samples& samples, int sensorId, unsigned int frameNumber,
                        unsigned long timestamp) {
  capture::RealQuery(capture::RealObject(object), samples, sensorId, frameNumber, timestamp);
}

bool TapIsEnabled(void* object, int sensorId) {
  static auto* const real = capture::RealSymbol<bool (*)(void*, int)>(capture::kRealLibrary, IS_ENABLED);
  return real(capture::RealObject(object), sensorId);
}

void TapSwapPncCaliData(void* object, char* data, int length) {
  static auto* const real = capture::RealSymbol<void (*)(void*, char*, int)>(capture::kRealLibrary, SWAP_PNC_CALI_DATA);
  real(capture::RealObject(object), data, length);
}
