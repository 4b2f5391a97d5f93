#include "tests/property/Comparison.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>
#include <utility>

namespace property {

namespace {

using desktop::Device;
using desktop::LogMessage;
using desktop::Sink;
using model::Sample;
using model::Samples;

constexpr int kCamera = 0;
constexpr int kSensorType = 3;
constexpr std::uint32_t kMode = 1;
char const* const kProvider = "OIS_MONITOR-0-3";

// Everything but the sample's own number follows from its time.
Sample SampleAt(std::int64_t timeNs, std::uint32_t number, bool lensRests = false) {
  std::uint64_t bits = static_cast<std::uint64_t>(timeNs) * 0x9E3779B97F4A7C15U;
  bits ^= bits >> 29U;
  Sample sample;
  sample.timestamp = timeNs;
  auto const position = [&](unsigned int shift) {
    std::uint64_t const part = bits >> shift & 0xFFFFU;
    if (lensRests) return part % 3 == 0 ? -0.0F : (part % 3 == 1 ? 0.0F : -0.25F);
    if (part % 512 == 1) return 3e38F;
    if (part % 512 == 2) return -3e38F;
    if (part % 1024 == 3) return std::numeric_limits<float>::quiet_NaN();
    return (static_cast<float>(part) - 32768.0F) / 7.0F;
  };
  sample.acceleration[2] = position(8);
  sample.angularVelocity[0] = position(24);
  sample.oisHallX = position(16);
  sample.oisHallY = position(40);
  sample.reserved[0] = number;
  sample.reserved[5] = static_cast<std::uint32_t>(bits);
  return sample;
}

void Expect(bool holds, std::string const& what) {
  if (!holds) RC_FAIL(what);
}

bool IsBefore(Sample const& left, Sample const& right) {
  return left.timestamp != right.timestamp ? left.timestamp < right.timestamp : left.reserved[0] < right.reserved[0];
}

// `what` says where they were found.
void ExpectSame(Samples library, Samples expected, bool numbersToo, std::string const& what) {
  Expect(library.size() == expected.size(),
         what + ": " + std::to_string(library.size()) + " samples instead of " + std::to_string(expected.size()));
  bool const sorted = std::is_sorted(library.begin(), library.end(), [](auto const& left, auto const& right) {
    return left.timestamp < right.timestamp;
  });
  Expect(sorted, what + ": not in the order of time");
  std::set<std::uint32_t> numbers;
  for (Sample const& sample : library) numbers.insert(sample.reserved[0]);
  Expect(numbers.size() == library.size(), what + ": a sample comes twice");
  for (Samples* samples : {&library, &expected}) {
    std::sort(samples->begin(), samples->end(), IsBefore);
    // A window's end may cut through samples of one time: which of them it holds is open.
    if (!numbersToo) std::for_each(samples->begin(), samples->end(), [](Sample& sample) { sample.reserved[0] = 0; });
  }
  for (std::size_t i = 0; i < library.size(); ++i) {
    Expect(std::memcmp(&library[i], &expected[i], sizeof(Sample)) == 0,
           what + ": sample " + std::to_string(i) + " is of " + std::to_string(library[i].timestamp) +
               " ns, expected " + std::to_string(expected[i].timestamp) + " ns, or differs elsewhere");
  }
}

void ExpectSame(std::vector<double> const& library, std::vector<double> const& expected, char const* what) {
  bool const same = library.size() == expected.size() &&
                    std::equal(library.begin(), library.end(), expected.begin(), [](double left, double right) {
                      return std::memcmp(&left, &right, sizeof left) == 0;  // the zeros differ, NaN is like itself
                    });
  auto const first = [](auto const& values) { return values.empty() ? "nothing" : std::to_string(values.front()); };
  Expect(same, std::string(what) + ": " + first(library) + " instead of " + first(expected));
}

}  // namespace

Comparison::Comparison(Session const& session, Reached& reached)
    : mLibrary(*createInstance()), mModel(kCamera, kSensorType), mSession(session), mReached(reached) {
  ++mReached.sessions;
  Device& device = Device::Get();
  device.Reset();
  desktop::DeviceSettings settings = desktop::BuiltInDevice();
  settings.log = {session.systemLog, session.file, session.maximumLevel};
  device.Configure(settings);
  Expect(mLibrary.RegisterAndStartSensorMonitor(kCamera, kSensorType), "the monitor does not start");
  device.RecordLog(true);
  device.RecordCalls(true, true);
  mModel.keepsMessages = true;
}

Comparison::~Comparison() {
  mLibrary.StopSensorMonitor(kCamera, kSensorType);
  Device::Get().Reset();
}

void Comparison::Play(Step const& step) {
  gLogLevel = step.logLevel;
  mModel.logLevel = step.logLevel;
  switch (step.act) {
    case Act::kUpdate:
      return Update(step);
    case Act::kCalc:
      return Calc(step);
    case Act::kStoreRollingShutter:
      return StoreRollingShutter(step);
    case Act::kLookUpByTime:
    case Act::kLookUpByFrame:
      return LookUp(step);
  }
}

void Comparison::Update(Step const& step) {
  Samples batch;
  for (std::int64_t const timeNs : BatchTimesNs(step.batch, mModel.frames(), mSession.originNs)) {
    batch.push_back(SampleAt(timeNs, ++mSampleNumber, mSession.lensRests));
  }
  Device::Get().QueueSamples(kProvider, batch);
  mLibrary.UpdateSensorData(kCamera, step.frameNumber, step.time.anythingNs);
  std::size_t const framesBefore = mModel.frames().size();
  std::size_t const lastSizeBefore = framesBefore == 0 ? 0 : mModel.frames().back().second.size();
  std::size_t const delivered = batch.size();
  mModel.UpdateSensorData(step.frameNumber, step.time.anythingNs, batch);
  bool const isFull = framesBefore == 30;
  std::size_t const frames = mModel.frames().size();
  if (delivered > 0 && !isFull && frames == framesBefore) ++mReached.discards;
  if (frames >= 2 && !isFull && frames > framesBefore && mModel.frames()[frames - 2].second.size() != lastSizeBefore) {
    ++mReached.splits;
  }
  if (delivered > 0 && isFull) ++mReached.fullHistories;
  CompareRecords({"getAllSensorData OIS_MONITOR-0-3 3"});
}

void Comparison::StoreRollingShutter(Step const& step) {
  Device::Get().SetRollingShutter(kCamera, kMode, step.rollingShutterNs);
  mLibrary.StoreRollingShutter(kCamera, kMode);
  mModel.StoreRollingShutter(step.rollingShutterNs, kMode);
  CompareRecords({"IHalSensorList::get", "sensorIndex 0", "sensorDevice 0", "openSensor VeyraShadingUtil 0",
                  "sendCommand 1 0x400f 0 1", "release VeyraShadingUtil"});
}

void Comparison::LookUp(Step const& step) {
  // By frame the sizes of what the caller had differ from what is found, mostly.
  Samples const before(step.before.size(), SampleAt(-1, 0));
  std::uint32_t const frameNumber = step.frameNumber;
  std::uint64_t const timeNs =
      step.act == Act::kLookUpByFrame ? 0 : CallTimeNs(step.time, mModel.frames(), step.exposureNs, 0);
  Samples library = before;
  Samples expected = before;
  mLibrary.QuerySensorData(library, kCamera, frameNumber, timeNs);
  mModel.QuerySensorData(expected, frameNumber, timeNs);
  CompareRecords({});
  if (timeNs != 0 && expected.size() == 100) ++mReached.windows;
  std::vector<Samples*> const both = {&library, &expected};
  for (Samples* samples : both) {  // what was there before has no numbers
    std::uint32_t number = ~0U;
    for (Sample& sample : *samples) sample.reserved[0] = sample.timestamp == -1 ? number-- : sample.reserved[0];
  }
  ExpectSame(library, expected, timeNs == 0, timeNs == 0 ? "look-up by frame" : "look-up by time");
}

void Comparison::Calc(Step const& step) {
  std::uint32_t const rollingShutterNs = [&] {
    mModel.keepsMessages = false;
    std::uint32_t const storedNs = mModel.QueryRollingShutter();
    mModel.keepsMessages = true;
    return storedNs;
  }();
  std::uint64_t const timeNs = CallTimeNs(step.time, mModel.frames(), step.exposureNs, rollingShutterNs);
  // The pairs that do not count would give another answer.
  std::uint64_t const otherTimeNs = timeNs + 40'000'000;
  CalcOISValueInput input{otherTimeNs, otherTimeNs, otherTimeNs, 5'000'000, 6'000'000, 7'000'000};
  if (step.type == 5) {
    input.timestamp1 = timeNs;
    input.exposureTime1 = step.exposureNs;
  } else if (step.type == 4 || step.type == 6) {
    input.timestamp2 = timeNs;
    input.exposureTime2 = step.exposureNs;
  } else {
    input.timestamp0 = timeNs;
    input.exposureTime0 = step.exposureNs;
  }
  std::vector<double> libraryX = step.before;
  std::vector<double> libraryY(step.before.rbegin(), step.before.rend());
  if (step.oisMatched < 0 && !libraryY.empty()) libraryY.pop_back();
  std::vector<double> expectedX = libraryX;
  std::vector<double> expectedY = libraryY;
  int libraryMatched = step.oisMatched;
  int expectedMatched = step.oisMatched;
  g_oisDebug = step.mode;
  mModel.oisDebug = step.mode;
  int const camera = kCamera;
  mLibrary.CalcOISValue(static_cast<CustShadingType>(step.type), input, &libraryX, &libraryY, step.frameNumber, camera,
                        libraryMatched);
  mModel.CalcOISValue(step.type, input, &expectedX, &expectedY, step.frameNumber, expectedMatched);
  if (step.oisMatched != 1 && expectedMatched == 1) ++mReached.starts;
  if (expectedX.size() == 2 && step.before.size() != 2 && step.mode >= 1 && step.mode <= 4) {
    ++mReached.positions[step.mode - 1];
    if (step.oisMatched == -7 && expectedMatched == -7) ++mReached.oldestPositions;
  }
  CompareRecords({});
  ExpectSame(libraryX, expectedX, "X");
  ExpectSame(libraryY, expectedY, "Y");
  Expect(libraryMatched == expectedMatched, "flag: " + std::to_string(libraryMatched));
}

void Comparison::CompareRecords(std::vector<std::string> platformCalls) {
  std::vector<std::string> calls = std::move(platformCalls);
  std::vector<LogMessage> log;
  for (model::Message const& message : mModel.messages) {
    std::string const level = std::to_string(message.level);
    calls.push_back("isLogDetailsEnabled 128 " + level);
    if (message.level > mSession.maximumLevel) continue;
    calls.emplace_back("isDefaultModeEnabled");
    int const priority = 7 - message.level;  // information 4, warning 5
    if (mSession.systemLog) {
      calls.push_back("__android_log_print " + std::to_string(priority));
      log.push_back({Sink::kSystemLog, priority, 0, "VeyraShadingUtil", message.text});
    }
    calls.emplace_back("isFileModeEnabled");
    if (!mSession.file) continue;
    calls.push_back("logNormalDetails 128 " + level + ' ' + std::to_string(message.text.size()));
    log.push_back({Sink::kFile, message.level, 128, "VeyraShadingUtil", message.text});
  }
  mModel.messages.clear();

  std::vector<LogMessage> const libraryLog = Device::Get().TakeLog();
  std::vector<std::string> const libraryCalls = Device::Get().TakeCalls();
  for (std::size_t i = 0; i < std::max(libraryLog.size(), log.size()); ++i) {
    std::string const found = i < libraryLog.size() ? libraryLog[i].text : "nothing";
    std::string const wanted = i < log.size() ? log[i].text : "nothing";
    bool same = i < libraryLog.size() && i < log.size() && libraryLog[i].sink == log[i].sink &&
                libraryLog[i].level == log[i].level && libraryLog[i].module == log[i].module &&
                libraryLog[i].tag == log[i].tag;
    // A warning says in the system log where it comes from. That log takes a message whole, the file sink cuts it.
    bool const isOpenEnded = same && log[i].sink == Sink::kSystemLog && (log[i].level == 5 || wanted.size() == 1023);
    same = same && (isOpenEnded ? found.compare(0, wanted.size(), wanted) == 0 : found == wanted);
    Expect(same, "message " + std::to_string(i) + "\n  found:    " + found + "\n  expected: " + wanted);
  }
  for (std::size_t i = 0; i < std::max(libraryCalls.size(), calls.size()); ++i) {
    std::string const found = i < libraryCalls.size() ? libraryCalls[i] : "nothing";
    std::string const wanted = i < calls.size() ? calls[i] : "nothing";
    Expect(found == wanted, "platform call " + std::to_string(i) + ": " + found + " instead of " + wanted);
  }
}

void Comparison::CompareFrame(std::uint32_t frameNumber, Samples const& before) {
  Samples library = before;
  Samples expected = before;
  mLibrary.QuerySensorData(library, kCamera, frameNumber, 0);
  mModel.QuerySensorData(expected, frameNumber, 0);
  ExpectSame(library, expected, true, "frame " + std::to_string(frameNumber));
}

void Comparison::CompareBufferedFrames() {
  Device::Get().RecordLog(false);
  Device::Get().RecordCalls(false);
  mModel.keepsMessages = false;
  std::int64_t lastNs = std::numeric_limits<std::int64_t>::min();
  Expect(mModel.frames().size() <= 30, "the model holds too many frames");
  for (auto const& [number, samples] : mModel.frames()) {
    Expect(!samples.empty() && samples.front().timestamp >= lastNs, "the model's frames are not in order");
    lastNs = samples.back().timestamp;
    if (number != 0) CompareFrame(number, {});
  }
  CompareFrame(0xFFFFFFFE, {SampleAt(-1, 1)});  // a number that no session uses
}

}  // namespace property
