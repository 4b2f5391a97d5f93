// libvcam_shadingutil.so: the shading utilities of a phone camera's lens-shading stage.
//
// A host loads the library, looks up createInstance and works through the object that it hands out. The order of the
// virtual operations is the library's interface: it never changes, and nothing virtual is ever added before its end.
//
// Naming a camera. A sensorId (the host's and platform's camera number) names it to the monitor, rolling-shutter and
// OIS operations; a sensor-device mask (one bit per camera, the lowest set bit counts) to the calibration operations.
//
// Times. Timestamps, exposure and rolling-shutter times cross this interface in nanoseconds, all on one clock.
//
// Locks, in the order in which they are taken: mMonitorMutex, then a buffer's mDataMutex. mSingleMutex stands alone.
//
// Memory. The object itself, the log's buffer and the sizes that come from configuration and calibration files are
// allocated so that a lack of memory is an answer; the containers end the process then, as everywhere in a process that
// is built without exceptions.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "lsc/Mutex.h"
#include "lsc/sensor/FrameQueue.h"
#include "platform/SensorProvider.h"

namespace lsc {
class SampleReader;
}

// Visible to the version script (lsc/exports.map), which decides what the library offers.
#define LSC_EXPORT __attribute__((visibility("default")))

static_assert(sizeof(unsigned long) == 8, "timestamps cross the interface as unsigned long: 64-bit systems only");

// Kind of frame, as the host's shading stage numbers it. It selects which of the three timestamps and exposure times of
// CalcOISValueInput counts, and which dump file is written. Every other value is answered with a warning.
enum CustShadingType : std::int32_t {
  kShadingPreview = 0,       // pair 0, preview dump
  kShadingCapture = 1,       // pair 0, capture dump
  kShadingPreviewPair2 = 4,  // pair 2, preview dump
  kShadingCapturePair1 = 5,  // pair 1, capture dump
  kShadingCapturePair2 = 6,  // pair 2, capture dump
};

// One frame's times, in ns.
struct CalcOISValueInput {
  std::uint64_t timestamp0;
  std::uint64_t timestamp1;
  std::uint64_t timestamp2;
  std::uint64_t exposureTime0;
  std::uint64_t exposureTime1;
  std::uint64_t exposureTime2;
};

// Number of cameras that the calibration operations tell apart.
constexpr int kSensorSlotCount = 14;

// Life cycle: created by the first createInstance, which reads four system properties and the sensor map; lives until
// the process ends. The host does not own it and must not delete it.
//
// Every operation may be called from several threads at once, and none of them throws. Bad input gives a false or 0
// result or an untouched output, with a message where the host can do something about it.
class LSC_EXPORT VeyraShadingUtil {
 public:
  class VeyraSensorData;
  class VeyraSensorMonitor;

  // Reads the system properties into the globals and the sensor map from the hardware configuration. Cannot fail: what
  // is missing leaves its default.
  VeyraShadingUtil();

  VeyraShadingUtil(VeyraShadingUtil const&) = delete;
  VeyraShadingUtil& operator=(VeyraShadingUtil const&) = delete;

  // Which of the five golden shading tables (1 to 5) fits the camera module, from the gradient in its multi-golden
  // record; 1 when there is no valid record. `multiTableIndex` is written on every path. Settled once per camera, then
  // answered from a cache without a lock; a dump file that does not open settles nothing. A mask that names none of the
  // kSensorSlotCount cameras gives 1.
  virtual void VeyraGetMultiTableIndex(int& multiTableIndex, int sensorDev);

  // Copies the camera module's PNC calibration block to `out`: L - 1 bytes, where L is the length that the hardware
  // configuration gives for the block (2341 on a phone: 9 rows of 130 16-bit values and the valid byte). `out` must
  // hold them. A block that is marked invalid comes as the default fill, 0x2000 in every value. Without a
  // configuration, a dump file or a usable length (4k or 4k + 1, at least 4; at least 2341 when the rows are to be
  // mirrored), and for a mask that names no camera, `out` stays untouched.
  virtual void VeyraGetPNCCaliData(void* out, int sensorDev);

  // Releases the monitors, last registered first, which ends their sensors.
  virtual ~VeyraShadingUtil();

  // RegisterSensorMonitor, then StartSensorMonitor; each takes and releases mMonitorMutex. False when either is.
  virtual bool RegisterAndStartSensorMonitor(int sensorId, int sensorType);

  // Creates a monitor with an empty history for a camera of the sensor map. True as well when the sensorId or the
  // sensorType already has one, which stays as it is. False for -1 in either and for a camera not in the map.
  virtual bool RegisterSensorMonitor(int sensorId, int sensorType);

  // Starts the monitor that has this sensorId or this sensorType: the platform's answer, true when the platform has no
  // provider (the monitor then stays silent), false when no monitor matches.
  virtual bool StartSensorMonitor(int sensorId, int sensorType);

  // Ends the sensor of the monitor that has this sensorId or this sensorType and destroys the monitor, its history and
  // its rolling-shutter time.
  virtual void StopSensorMonitor(int sensorId, int sensorType);

  // Files the samples that the platform has gathered for the camera under `frameNumber`; call it once per frame.
  // `timestamp` (ns) is only reported.
  virtual void UpdateSensorData(int sensorId, unsigned int frameNumber, unsigned long timestamp);

  // Asks the sensor driver (without a lock held) for the rolling-shutter time of the mode and keeps it with the
  // camera's monitor, if there is one. Returns the time in ns; 0 when the driver did not answer.
  virtual unsigned int StoreRollingShutter(int sensorId, unsigned int sensorMode);

  // The kept rolling-shutter time in ns; 0 when there is no monitor or nothing was stored since its registration.
  virtual unsigned int QueryRollingShutter(int sensorId);

  // Whether the sensor map lists the camera. Takes no lock.
  virtual bool IsSupportSensor(int sensorId);

  // The lens position that held while the frame was read out: on success (*outOisX)[0] and (*outOisY)[0], in the unit
  // of the samples, and a second element 0.0 in each. When nothing can be matched both stay as they were, so that the
  // caller keeps its last position; a null vector makes the call do nothing at all.
  //
  // `oisMatched` belongs to the caller and is set to 1 when a sample was found at the start of the frame. While it is
  // non-zero, a frame without such a sample takes its position from the oldest end of the window of samples, which may
  // be half a second old; a caller that would rather keep the last position clears it before each frame.
  virtual void CalcOISValue(CustShadingType type, CalcOISValueInput& input, std::vector<double>* outOisX,
                            std::vector<double>* outOisY, unsigned int const& frameId, int const& sensorId,
                            int& oisMatched);

  // Mirrors the 9 rows of 130 16-bit values at `data`: value 0 of a row stays, values 1 to 129 are reversed. Bytes from
  // 2340 on stay, and a `length` (bytes) below 2340 or a null `data` changes nothing.
  void VeyraSwapPNCCaliData(char* data, int length);

  // Replaces `samples` by the 100 buffered samples around `timestamp` (ns), or, when that is 0, by the samples of
  // `frameNumber`; leaves it as it was when there are none.
  void QuerySensorData(std::vector<NSCam::Utils::SensorData>& samples, int sensorId, unsigned int frameNumber,
                       unsigned long timestamp);

  // Whether the camera is in the sensor map and has a monitor, started or not.
  bool IsEnabled(int sensorId);

  // The one object; null until createInstance made it. Written with mSingleMutex held and release ordering, so that a
  // thread that reads it with acquire ordering needs no lock.
  static VeyraShadingUtil* mSingleInstance;
  static lsc::Mutex mSingleMutex;

 private:
  void ReadProperties();
  void ReadSensorMap(char const* caller);  // messages bear the name of `caller`

  // QuerySensorData for a reader of any kind, which is called with mMonitorMutex held.
  void Query(lsc::SampleReader& reader, int sensorId, unsigned int frameNumber, unsigned long timestamp);

  // The first registered monitor that has the sensorId, or either of the pair; null when there is none.
  VeyraSensorMonitor* FindMonitor(int sensorId) const LSC_REQUIRES(mMonitorMutex);
  VeyraSensorMonitor* FindMonitor(int sensorId, int sensorType) const LSC_REQUIRES(mMonitorMutex);

  // Per sensor index: whether the multi-table index is settled, and its value (1 before). A settled flag is set after
  // its value with release ordering and read with acquire ordering, so the settled path needs no lock.
  bool mMultiTableIdxLoaded[kSensorSlotCount];
  std::int32_t mMultiTableIdx[kSensorSlotCount];

  lsc::Mutex mMonitorMutex;  // held for the whole of every operation on a monitor, platform calls and messages included

  // In the order of registration; at most one monitor per sensorId and one per sensorType. The only holder.
  std::vector<std::shared_ptr<VeyraSensorMonitor>> mSensorMonitors LSC_GUARDED_BY(mMonitorMutex);

  // (sensorId, sensorType) as configured; written by the constructor only.
  std::vector<std::pair<std::int32_t, std::int32_t>> mSensorMaps;
};

// The recent samples of one motion sensor, grouped by frame: at most mMaxFrames entries, none of them empty, all
// samples in ascending order of time from the oldest entry to the newest. Holds that order whatever times are pushed.
class VeyraShadingUtil::VeyraSensorData {
 public:
  using Samples = lsc::Samples;

  explicit VeyraSensorData(unsigned int maxFrames);
  ~VeyraSensorData();

  // Sorts `batch` and files it as the newest entry; the oldest goes when there are too many. A batch that begins before
  // the newest entry ended is merged with it and both are cut at the midpoint between the two times, so `batch` then
  // holds the part that became the new entry. A batch that begins before the newest entry did is not stored.
  void pushValue(unsigned int frameNumber, Samples& batch) LSC_EXCLUDES(mDataMutex);

  // Replaces `out` by the samples of the newest entry of that number; as it was when there is none. Takes no lock: the
  // caller keeps pushValue and clear away, as mMonitorMutex does.
  void getDataByFrame(unsigned int frameNumber, Samples& out);

  // The same for a reader of any kind.
  void readByFrame(unsigned int frameNumber, lsc::SampleReader& reader);

  // Replaces `out` by 100 samples in the order of time: 50 before the first one at or after `time` (ns), that one and
  // the 49 after it, moved to stay within what is buffered. `out` is as it was when no sample is at or after `time`, or
  // fewer than 100 are buffered. Times are compared as unsigned values, so one before 0 is later than all others.
  void getDataByTimestamp(unsigned long time, Samples& out) LSC_EXCLUDES(mDataMutex);

  // The same for a reader of any kind, with the same messages.
  void readByTimestamp(unsigned long time, lsc::SampleReader& reader) LSC_EXCLUDES(mDataMutex);

  // What became of a batch: the samples that made the new entry or, when none was made, the batch itself, sorted.
  struct Filed {
    std::size_t count;
    std::int64_t firstNs;
    std::int64_t lastNs;
    std::size_t frameCount;  // entries after it
  };

  // As pushValue, with the same messages, but takes the batch's memory instead of copying it and leaves another one
  // with whatever content in its place. The batch must not be empty.
  Filed file(unsigned int frameNumber, Samples& batch) LSC_EXCLUDES(mDataMutex);

  void clear() LSC_EXCLUDES(mDataMutex);

 private:
  // Files the batch, which must not be empty, and answers the new entry's samples; null when none was made.
  Samples const* place(unsigned int frameNumber, Samples& batch) LSC_REQUIRES(mDataMutex);

  unsigned int mMaxFrames;
  lsc::Mutex mDataMutex;
  lsc::FrameQueue mFrameQueue LSC_GUARDED_BY(mDataMutex);
};

// One camera's motion sensor: pulls what the platform gathers and keeps it in a buffer. Registered with nothing
// running; enableSensor starts it with an empty history; disableSensor, or destruction, ends it. Every operation is
// called with mMonitorMutex held.
class VeyraShadingUtil::VeyraSensorMonitor {
 public:
  VeyraSensorMonitor(int sensorId, int sensorType);
  ~VeyraSensorMonitor();
  VeyraSensorMonitor(VeyraSensorMonitor const&) = delete;
  VeyraSensorMonitor& operator=(VeyraSensorMonitor const&) = delete;

  // Obtains a provider and asks it for samples. False only when the platform refused; a monitor without a provider
  // stays silent, and tries again at the next call.
  bool enableSensor();

  void disableSensor();

  // Pulls the batch and files it under `frameNumber`. `frameTime` (ns) is only reported.
  void updateSensorData(unsigned int frameNumber, unsigned long frameTime);

  // By time (ns) when that is not 0, else by frame number when that is not 0; `out` is replaced or as it was.
  void getSensorData(VeyraSensorData::Samples& out, unsigned int frameNumber, unsigned long time);

  // The same for a reader of any kind, with the same messages.
  void readSensorData(lsc::SampleReader& reader, unsigned int frameNumber, unsigned long time);

  bool isFor(int sensorId) const { return mSensorId == sensorId; }
  bool isForEither(int sensorId, int sensorType) const { return mSensorId == sensorId || mSensorType == sensorType; }
  std::int32_t sensorId() const { return mSensorId; }
  std::int32_t sensorType() const { return mSensorType; }

  std::uint32_t rollingShutterNs() const { return mRollingShutter; }
  void setRollingShutter(std::uint32_t rollingShutterNs, std::uint32_t sensorMode) {
    mRollingShutter = rollingShutterNs;
    mSensorMode = sensorMode;
  }

 private:
  std::int32_t mSensorId;
  std::int32_t mSensorType;
  std::uint32_t mRollingShutter = 0;  // ns, as the driver last reported it
  std::uint32_t mSensorMode = 0;      // the mode for which it did
  bool mEnabled = false;              // enabling was asked of the platform, whatever it answered
  VeyraSensorData mSensorData;
  std::shared_ptr<NSCam::Utils::SensorProvider> mSensorProvider;
  VeyraSensorData::Samples mBatch;  // memory for the next batch; what it holds between updates means nothing
};

// The process's one object, made by the first call; null when there is no memory for it, and the next call tries again.
// May be called from any thread.
extern "C" LSC_EXPORT VeyraShadingUtil* createInstance();

// Set once, by the constructor, from the system properties; read wherever they count. Before it runs gLogLevel and
// g_oisDebug are 1 and the dump switches 0.
extern LSC_EXPORT int gLogLevel;     // "vendor.veyra.3a.lscutil.log": 0 few messages, non-zero more, 4 and above all
extern LSC_EXPORT int g_oisDebug;    // "vendor.debug.ois.hall.calculation": 1 mean, 2 maximum, 3 middle, 4 last entry
extern LSC_EXPORT int g_preOisDump;  // "vendor.debug.preview.lsc.ois.dump": non-zero writes preview dumps
extern LSC_EXPORT int g_capOisDump;  // "vendor.debug.capture.lsc.ois.dump": non-zero writes capture dumps
