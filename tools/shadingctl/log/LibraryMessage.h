// The grammar of the library's messages about frames. No other place of the tool knows their texts.
#pragma once

#include <cstdint>
#include <string_view>
#include <variant>

namespace shadingctl {

// The steps of a computation, in the order of their lines.
enum class Step {
  kNone,  // not of a computation
  kEnabled,
  kReadout,
  kUnknownType,
  kHistory,
  kMatched,
  kAnswered,
  kFinished,
  kTimes,
  kSource,
  kTable,
  kStartCandidates,
  kStart,
  kEndCandidates,
  kSpan,
  kFailed,
  kSpanEntries,
  kPosition,
};

enum class MessageKind {
  kUsual,
  kDetail,   // only from log level 4 on
  kWarning,  // ends in its place in the source
};

struct MessageText {
  std::string_view pattern;  // "[OPERATION] TEXT", with a "{}" for each member of the message
  Step step = Step::kNone;
  MessageKind kind = MessageKind::kUsual;

  constexpr std::string_view Operation() const { return pattern.substr(1, pattern.find(']') - 1); }
  constexpr std::string_view Text() const { return pattern.substr(pattern.find(']') + 2); }
};

// The messages. Members stand in the order in which they are printed, from which they are read. Frame numbers are 32
// bits without a sign wherever they come from; most messages print them with one.

// Of an operation that does not take part in a frame, or no message of the library at all.
struct UnrelatedMessage {
  static constexpr MessageText kText = {};
};
// Of an operation that does, but in none of its texts: cut, or of another library.
struct DamagedMessage {
  static constexpr MessageText kText = {};
};

// UpdateSensorData: one batch.
struct BatchSplit {  // cut at the middle of its overlap with the batch before
  static constexpr MessageText kText = {"[pushValue]  split data frameNumber: {} lastData:{} data:{} splitTime:{}"};
  std::int32_t frame = 0;
  std::uint64_t samplesBefore = 0;
  std::uint64_t samples = 0;
  std::uint64_t splitTimeNs = 0;
};
struct BatchStored {  // printed also where the batch was discarded
  static constexpr MessageText kText = {
      "[updateSensorData] update sensor data F:({}) TS:({}) size:{}, queue size:{}, timestamp interv:{} - {}",
      Step::kNone, MessageKind::kDetail};
  std::uint32_t frame = 0;
  std::uint64_t timestampNs = 0;  // of the frame
  std::uint64_t samples = 0;
  std::uint64_t frames = 0;   // in the history
  std::uint64_t firstNs = 0;  // of the samples, printed without their sign
  std::uint64_t lastNs = 0;
};
struct NoBatch {
  static constexpr MessageText kText = {"[updateSensorData] no sensor data for type {}", Step::kNone,
                                        MessageKind::kWarning};
  std::int32_t sensorType = 0;
};

// CalcOISValue: the query for samples.
struct CameraEnabled {
  static constexpr MessageText kText = {"[IsEnabled] sensor:{} enabled", Step::kEnabled, MessageKind::kDetail};
  std::int32_t camera = 0;
};
struct CameraNotRegistered {
  static constexpr MessageText kText = {"[IsEnabled] Sensor Monitor not registered sensorId:{}", Step::kEnabled,
                                        MessageKind::kWarning};
  std::int32_t camera = 0;
};
struct ReadoutQueried {
  static constexpr MessageText kText = {"[QueryRollingShutter] query rolling shutter:{}", Step::kReadout};
  std::uint32_t readoutNs = 0;
};
struct HistorySize {
  static constexpr MessageText kText = {"[getDataByTimestamp]  total data size:{}", Step::kHistory};
  std::uint64_t samples = 0;
};
struct NothingMatched {
  static constexpr MessageText kText = {"[getDataByTimestamp] no data matched", Step::kMatched, MessageKind::kWarning};
};
struct SampleMatched {  // the first sample at or after the frame's timestamp
  static constexpr MessageText kText = {"[getDataByTimestamp] match data offset:{} timestamp:{}", Step::kMatched};
  std::int64_t index = 0;
  std::uint64_t timeNs = 0;
};
struct ZeroTime {
  static constexpr MessageText kText = {"[getSensorData] timestamp or frameNumber should not be zero", Step::kMatched,
                                        MessageKind::kWarning};
};
struct QueryAnswered {
  static constexpr MessageText kText = {"[getSensorData]  get sensor data F:({}) TS:({}) data size:{}",
                                        Step::kAnswered};
  std::uint32_t frame = 0;  // 0: asked for by time
  std::uint64_t timestampNs = 0;
  std::uint64_t samples = 0;
};
struct QueryFinished {
  static constexpr MessageText kText = {"[QuerySensorData]  get sensor data size:{}", Step::kFinished};
  std::uint64_t samples = 0;
};
struct QueryRefused {  // the monitor went between two steps of the call
  static constexpr MessageText kText = {"[QuerySensorData] Sensor Monitor not registered sensorId:{}", Step::kFinished,
                                        MessageKind::kWarning};
  std::int32_t camera = 0;
};

// CalcOISValue: the match. Times and distances in us.
struct UnknownType {
  static constexpr MessageText kText = {"[CalcOISValue] Unknown type {}", Step::kUnknownType, MessageKind::kWarning};
  std::int32_t type = 0;
};
struct FrameTimesTold {
  static constexpr MessageText kText = {
      "[CalcOISValue] camera_id = {}, type = {}, oisCount = {}, sof_timestamp = {}, exposure_time = {}, shutter_time = "
      "{}, timeDiff = {}",
      Step::kTimes};
  std::int32_t camera = 0;
  std::int32_t type = 0;
  std::uint32_t samples = 0;
  std::uint64_t startOfFrameUs = 0;
  std::uint64_t exposureUs = 0;
  std::uint32_t readoutUs = 0;
  std::int64_t offsetUs = 0;

  // Of the frame, to the us.
  std::uint64_t TimestampNs() const { return (startOfFrameUs + exposureUs) * 1000; }
};
struct SourceSample {
  static constexpr MessageText kText = {
      "[CalcOISValue] get source ois data index = {}, timestamp = {}, oisHall_x = {}, oisHall_y = {}", Step::kSource,
      MessageKind::kDetail};
  std::int32_t index = 0;
  std::int64_t timeUs = 0;
  float hallX = 0;
  float hallY = 0;
};
struct TableSize {
  static constexpr MessageText kText = {"[CalcOISValue] activeNum:{}", Step::kTable};
  std::int32_t entries = 0;
};
struct StartCandidate {
  static constexpr MessageText kText = {"[CalcOISValue] startIndex, index = {}, timestamp Difference = {}",
                                        Step::kStartCandidates, MessageKind::kDetail};
  std::int32_t index = 0;
  std::int64_t distanceUs = 0;
};
struct StartFound {
  static constexpr MessageText kText = {"[CalcOISValue] stamp_up = {}, i = {}, stamp_down = {}, i+1 = {}",
                                        Step::kStart};
  std::int64_t distanceUs = 0;
  std::int32_t index = 0;
  std::int64_t nextDistanceUs = 0;
  std::int32_t nextIndex = 0;
};
struct EndCandidate {
  static constexpr MessageText kText = {"[CalcOISValue] endIndex, i = {}, timestamp Difference = {}",
                                        Step::kEndCandidates, MessageKind::kDetail};
  std::int32_t index = 0;
  std::int64_t distanceUs = 0;
};
struct SpanFound {
  static constexpr MessageText kText = {"[CalcOISValue] startIndex = {}, endIndex = {}", Step::kSpan};
  std::int32_t first = 0;
  std::int32_t last = 0;
};
struct SpanFailed {
  static constexpr MessageText kText = {
      "[CalcOISValue] Match OIS data fail, transfer the last ois data to tsf. type = {}, frame_id ={}, sof_timestamp = "
      "{},                 camera_id = {}, out_frame_ois_size({}, {})",
      Step::kFailed};
  std::int32_t type = 0;
  std::int32_t frame = 0;
  std::int64_t startOfFrameUs = 0;
  std::int32_t camera = 0;
  std::int32_t sizeX = 0;
  std::int32_t sizeY = 0;
};
struct SpanEntry {
  static constexpr MessageText kText = {
      "[CalcOISValue] Match OIS data, sof_timestamp = {}, activeNum = {}, hall = ({}, {}), timestamp = {}",
      Step::kSpanEntries, MessageKind::kDetail};
  std::int64_t startOfFrameUs = 0;
  std::int32_t entries = 0;
  float hallX = 0;
  float hallY = 0;
  std::int64_t alignedUs = 0;
};
struct PositionTold {  // the first and the last element of the caller's vectors
  static constexpr MessageText kText = {
      "[CalcOISValue] camera_id = {}, frame_id = {}, g_oisDebug = {}, out_frame_ois_size({}, {}), out_frame_ois0(x = "
      "{}, y={}), out_frame_ois1(x = {}, y={})",
      Step::kPosition};
  std::int32_t camera = 0;
  std::int32_t frame = 0;
  std::int32_t mode = 0;
  std::uint64_t sizeX = 0;
  std::uint64_t sizeY = 0;
  double hall0X = 0;
  double hall0Y = 0;
  double hall1X = 0;
  double hall1Y = 0;
};
struct NoPositionTold {  // a mode that computes none, and empty vectors
  static constexpr MessageText kText = {
      "[CalcOISValue] camera_id = {}, frame_id = {}, g_oisDebug = {}, out_frame_ois_size({}, {})", Step::kPosition,
      MessageKind::kWarning};
  std::int32_t camera = 0;
  std::int32_t frame = 0;
  std::int32_t mode = 0;
  std::uint64_t sizeX = 0;
  std::uint64_t sizeY = 0;
};

// Those that come most often stand first, since they are tried in this order.
using LibraryMessage =
    std::variant<SourceSample, StartCandidate, EndCandidate, SpanEntry, FrameTimesTold, TableSize, StartFound,
                 SpanFound, PositionTold, SpanFailed, NoPositionTold, UnknownType, HistorySize, SampleMatched,
                 NothingMatched, QueryAnswered, ZeroTime, QueryFinished, QueryRefused, BatchStored, NoBatch, BatchSplit,
                 CameraEnabled, CameraNotRegistered, ReadoutQueried, UnrelatedMessage, DamagedMessage>;

inline MessageText TextOf(LibraryMessage const& message) {
  return std::visit([](auto const& told) { return told.kText; }, message);
}

// Reads one message as either sink receives it; the system log's warnings end in their place in the source, which may
// be cut. A number that is cut at the very end of a message cannot be told from a shorter one, except in its decimals.
LibraryMessage ParseMessage(std::string_view message);

}  // namespace shadingctl
