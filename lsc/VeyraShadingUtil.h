// libvcam_shadingutil.so: the shading utilities of a phone camera's lens-shading stage.
//
// A host loads the library, looks up createInstance and works through the object that it returns. The order of the
// virtual operations is the library's binary interface: it never changes, and new ones are only ever added at the end.
//
// Naming a camera. A sensorId (the host's and platform's camera number) names it to the monitor, rolling-shutter and
// OIS operations; a sensor-device mask (one bit per camera, the lowest set bit counts) to the calibration operations.
//
// Times. Timestamps, exposure and rolling-shutter times cross this interface in nanoseconds, all on one clock.
//
// Lock order: mMonitorMutex, then a buffer's mDataMutex. mSingleMutex is never held together with another.
//
// Exceptions. The library throws none. One that reaches it from a platform call or from an allocation ends the process
// at once (std::terminate), with the stack as it was: unwinding would leave locks held. Everything through which one
// could enter is noexcept; virtual operations are not declared so, since overrides would have to repeat it. Lack of
// memory is an answer only for the object itself, for a log message, and for sizes that come from files or
// configuration.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "lsc/FrameInput.h"
#include "lsc/Globals.h"
#include "lsc/SensorIndex.h"
#include "lsc/base/FrameQueue.h"
#include "lsc/base/Mutex.h"
#include "lsc/base/SampleRange.h"
#include "platform/SensorProvider.h"

static_assert(sizeof(unsigned long) == 8, "timestamps cross the interface as unsigned long: 64-bit systems only");

// Life cycle: created by the first createInstance, which reads four system properties and the sensor map; lives until
// the process ends. The host does not own it and must not delete it.
//
// Thread safety: every operation may be called from any thread at any time. Bad input gives a false or 0 result or an
// untouched output, with a message where the host can do something about it.
class LSC_EXPORT VeyraShadingUtil {
 public:
  class VeyraSensorData;
  class VeyraSensorMonitor;

  // Reads the system properties into the globals and the sensor map from the hardware configuration. What is missing
  // there leaves its default.
  VeyraShadingUtil() noexcept;

  VeyraShadingUtil(VeyraShadingUtil const&) = delete;
  VeyraShadingUtil& operator=(VeyraShadingUtil const&) = delete;

  // Which of the five golden shading tables (1 to 5) fits the camera module, from the gradient in its multi-golden
  // record; 1 when there is no valid record or the mask names no camera. `multiTableIndex` is written on every path.
  // Settled once per camera, then answered from a cache without a lock; a dump file that does not open settles nothing.
  virtual void VeyraGetMultiTableIndex(int& multiTableIndex, int sensorDev);

  // Copies the camera module's PNC calibration block to `out`: L - 1 bytes, where L is the block length in the hardware
  // configuration (2341 on a phone: 9 rows of 130 16-bit values and the valid byte). A block that is marked invalid
  // comes as the default fill, 0x2000 in every value. `out` stays untouched without a configuration, a dump file or a
  // usable length (4k or 4k + 1, at least 4; at least 2341 when rows are mirrored), and for a mask that names no
  // camera.
  virtual void VeyraGetPNCCaliData(void* out, int sensorDev);

  // Destroys the monitors, last registered first, which disables their sensors.
  virtual ~VeyraShadingUtil();

  // RegisterSensorMonitor, then StartSensorMonitor; each takes and releases mMonitorMutex. False when either is.
  virtual bool RegisterAndStartSensorMonitor(int sensorId, int sensorType);

  // Creates a monitor with an empty history for a camera of the sensor map. True as well when the sensorId or the
  // sensorType already has one, which stays as it is. False for -1 in either and for a camera not in the map.
  virtual bool RegisterSensorMonitor(int sensorId, int sensorType);

  // Starts the monitor that has this sensorId or this sensorType: the platform's answer, true when the platform has no
  // provider (the monitor then stays silent), false when no monitor matches.
  virtual bool StartSensorMonitor(int sensorId, int sensorType);

  // Disables the sensor of the monitor that has this sensorId or this sensorType and destroys the monitor, its history
  // and its rolling-shutter time.
  virtual void StopSensorMonitor(int sensorId, int sensorType);

  // Inserts the samples that the platform has gathered for the camera into its history under `frameNumber`; call it
  // once per frame. `timestamp` (ns) is only logged.
  virtual void UpdateSensorData(int sensorId, unsigned int frameNumber, unsigned long timestamp);

  // Asks the sensor driver, without a lock held, for the rolling-shutter time of the mode and stores it with the
  // camera's monitor, if there is one. Returns the time in ns; 0 when the driver did not answer.
  virtual unsigned int StoreRollingShutter(int sensorId, unsigned int sensorMode);

  // The stored rolling-shutter time in ns; 0 without a monitor or when nothing was stored since its registration.
  virtual unsigned int QueryRollingShutter(int sensorId);

  // Whether the sensor map lists the camera. Takes no lock.
  virtual bool IsSupportSensor(int sensorId);

  // The lens position during the frame's readout: on success (*outOisX)[0] and (*outOisY)[0], in the unit of the
  // samples, and a second element 0.0 in each. When nothing matches, both stay as they were, so that the caller keeps
  // its last position. A null vector makes the call do nothing.
  //
  // `oisMatched` belongs to the caller and is set to 1 when a sample was found at the start of the frame. While it is
  // non-zero, a frame without such a sample takes its position from the oldest end of the window of samples, which may
  // be half a second old; a caller that would rather keep the last position clears it before each frame.
  virtual void CalcOISValue(CustShadingType type, CalcOISValueInput& input, std::vector<double>* outOisX,
                            std::vector<double>* outOisY, unsigned int const& frameId, int const& sensorId,
                            int& oisMatched);

  // Mirrors the 9 rows of 130 16-bit values at `data`: value 0 of a row stays, values 1 to 129 are reversed. Bytes from
  // 2340 on stay; a `length` (bytes) below 2340 or a null `data` changes nothing.
  void VeyraSwapPNCCaliData(char* data, int length) noexcept;

  // Replaces `samples` by the 100 samples of the history around `timestamp` (ns) or, when that is 0, by the samples of
  // `frameNumber`; leaves it as it was when there are none.
  void QuerySensorData(std::vector<NSCam::Utils::SensorData>& samples, int sensorId, unsigned int frameNumber,
                       unsigned long timestamp) noexcept;

  // Whether the camera is in the sensor map and has a monitor, started or not.
  bool IsEnabled(int sensorId) noexcept;

  // The one object; null until createInstance made it, stored with mSingleMutex held and read without.
  static std::atomic<VeyraShadingUtil*> mSingleInstance;
  static lsc::Mutex mSingleMutex;

 private:
  void ReadProperties() noexcept;
  void ReadSensorMap(char const* caller) noexcept;  // messages bear the name of `caller`

  // The first registered monitor that has the sensorId, or either of the pair; null when there is none.
  VeyraSensorMonitor* FindMonitor(int sensorId) const noexcept LSC_REQUIRES(mMonitorMutex);
  VeyraSensorMonitor* FindMonitor(int sensorId, int sensorType) const noexcept LSC_REQUIRES(mMonitorMutex);

  void AddMonitor(int sensorId, int sensorType) noexcept LSC_REQUIRES(mMonitorMutex);
  void RemoveMonitor(VeyraSensorMonitor const* monitor) noexcept LSC_REQUIRES(mMonitorMutex);

  // The samples that QuerySensorData copies, in place: valid while mMonitorMutex is held. Writes the same messages;
  // `outputSize` is logged as the size when nothing is found.
  lsc::SampleRange FindSamples(int sensorId, unsigned int frameNumber, unsigned long timestamp,
                               std::size_t outputSize) noexcept LSC_REQUIRES(mMonitorMutex);

  // Per sensor index: whether the multi-table index is settled, and its value (1 before). The flag is set after the
  // value, with release ordering.
  std::atomic<bool> mMultiTableIdxLoaded[kSensorSlotCount];
  std::atomic<std::int32_t> mMultiTableIdx[kSensorSlotCount];

  lsc::Mutex mMonitorMutex;  // held for the whole of every operation on a monitor, platform calls and messages included

  // In the order of registration; at most one monitor per sensorId and one per sensorType. The only owner.
  std::vector<std::shared_ptr<VeyraSensorMonitor>> mSensorMonitors LSC_GUARDED_BY(mMonitorMutex);

  // (sensorId, sensorType) as configured; written by the constructor only.
  std::vector<std::pair<std::int32_t, std::int32_t>> mSensorMaps;
};

// Hosts see plain values of these sizes under the exported names and in the object.
static_assert(sizeof(std::atomic<bool>) == 1 && std::atomic<bool>::is_always_lock_free);
static_assert(sizeof(std::atomic<std::int32_t>) == 4 && std::atomic<std::int32_t>::is_always_lock_free);
static_assert(sizeof(std::atomic<VeyraShadingUtil*>) == 8 && std::atomic<VeyraShadingUtil*>::is_always_lock_free);

// The history of one motion sensor: the samples of at most mMaxFrames frames. No frame is empty, and all samples are in
// ascending order of time from the oldest frame to the newest, whatever times are pushed.
//
// Thread safety: operations take mDataMutex, except those that find or return a frame by number; these, and every use
// of a range that was found, rely on mMonitorMutex to keep writers away.
class VeyraShadingUtil::VeyraSensorData {
 public:
  using Samples = lsc::Samples;

  explicit VeyraSensorData(unsigned int maxFrames);
  ~VeyraSensorData();

  // Sorts `batch` and appends it as the newest frame, evicting the oldest when there are too many. A batch that begins
  // before the newest frame ended is merged with it, and both are cut at the midpoint between the two times; `batch`
  // then holds the part that became the new frame. A batch that begins before the newest frame did is discarded.
  void pushValue(unsigned int frameNumber, Samples& batch) noexcept LSC_EXCLUDES(mDataMutex);

  // Replaces `out` by the samples of the newest frame of that number; leaves it as it was when there is none.
  void getDataByFrame(unsigned int frameNumber, Samples& out) noexcept;

  // Replaces `out` by 100 samples in the order of time: 50 before the first one at or after `time` (ns), that one and
  // the 49 after it, shifted to stay inside the history. Leaves it as it was when no sample is at or after `time`, or
  // the history holds fewer than 100. Times are compared as unsigned values, so one before 0 is later than all others.
  void getDataByTimestamp(unsigned long time, Samples& out) noexcept LSC_EXCLUDES(mDataMutex);

  // The samples that the two operations above copy, in place; empty when there are none. With the same messages.
  lsc::SampleRange findByFrame(unsigned int frameNumber) const noexcept;
  lsc::SampleRange findByTimestamp(unsigned long time) noexcept LSC_EXCLUDES(mDataMutex);

  // What became of a batch: the samples of the new frame or, when it was discarded, those of the sorted batch.
  struct Insertion {
    std::size_t count;
    std::int64_t firstNs;
    std::int64_t lastNs;
    std::size_t frameCount;  // frames in the history afterwards
  };

  // As pushValue, with the same messages, but exchanges the batch's memory instead of copying it: the contents of
  // `batch` are unspecified afterwards. Requires: `batch` is not empty.
  Insertion insert(unsigned int frameNumber, Samples& batch) noexcept LSC_EXCLUDES(mDataMutex);

  void clear() noexcept LSC_EXCLUDES(mDataMutex);

 private:
  // Inserts a non-empty batch; answers the new frame's samples, or null when the batch was discarded.
  Samples const* insertSorted(unsigned int frameNumber, Samples& batch) LSC_REQUIRES(mDataMutex);

  lsc::SampleRange locate(unsigned long time) const noexcept LSC_REQUIRES(mDataMutex);

  unsigned int mMaxFrames;
  lsc::Mutex mDataMutex;
  lsc::FrameQueue mFrameQueue LSC_GUARDED_BY(mDataMutex);
};

// One camera's motion sensor: pulls what the platform gathers into a history. Registered with nothing running;
// enableSensor starts it with an empty history; disableSensor, or destruction, ends it.
//
// Thread safety: none; every operation requires mMonitorMutex.
class VeyraShadingUtil::VeyraSensorMonitor {
 public:
  VeyraSensorMonitor(int sensorId, int sensorType);
  ~VeyraSensorMonitor();
  VeyraSensorMonitor(VeyraSensorMonitor const&) = delete;
  VeyraSensorMonitor& operator=(VeyraSensorMonitor const&) = delete;

  // Obtains a provider and asks it for samples. False only when the platform refused; a monitor without a provider
  // stays silent, and tries again at the next call.
  bool enableSensor() noexcept;

  void disableSensor() noexcept;

  // Pulls the pending samples and inserts them under `frameNumber`. `frameTime` (ns) is only logged.
  void updateSensorData(unsigned int frameNumber, unsigned long frameTime) noexcept;

  // By time (ns) when that is not 0, else by frame number when that is not 0; `out` is replaced or stays as it was.
  void getSensorData(VeyraSensorData::Samples& out, unsigned int frameNumber, unsigned long time) noexcept;

  // The samples that getSensorData copies, in place; empty when there are none. Writes the same messages; `outputSize`
  // is logged as the size when nothing is found.
  lsc::SampleRange findSensorData(unsigned int frameNumber, unsigned long time, std::size_t outputSize) noexcept;

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
  VeyraSensorData::Samples mBatch;  // scratch memory for the next batch
};

// The process's one object, constructed by the first call; null when there is no memory for it, and the next call tries
// again. May be called from any thread.
extern "C" LSC_EXPORT VeyraShadingUtil* createInstance();
