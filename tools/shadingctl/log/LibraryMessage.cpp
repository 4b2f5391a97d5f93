#include "tools/shadingctl/log/LibraryMessage.h"

#include <optional>
#include <string>

#include "tools/shadingctl/log/MessagePattern.h"

namespace shadingctl {
namespace {

// Tries texts on one message, until one fits.
class Attempt {
 public:
  Attempt(std::string_view operation, std::string_view text) : mOperation(operation), mText(text) {}

  // `pattern` has a "{}" for each of `members`.
  template <class Message, class... Members>
  Attempt& Or(std::string_view pattern, Members Message::*... members) {
    Try<Message>(mText, pattern, members...);
    return *this;
  }

  // The same for a warning, whose place in the source is passed over.
  template <class Message, class... Members>
  Attempt& OrWarning(std::string_view pattern, Members Message::*... members) {
    if (!mFound) Try<Message>(mText.substr(0, mText.rfind(" (" + std::string(mOperation))), pattern, members...);
    return *this;
  }

  LibraryMessage Result() const { return mFound.value_or(DamagedMessage{}); }

 private:
  template <class Message, class... Members>
  void Try(std::string_view text, std::string_view pattern, Members Message::*... members) {
    if (mFound) return;
    Message message;
    if (MatchesPattern(text, pattern, message.*members...)) mFound = message;
  }

  std::string_view mOperation;
  std::string_view mText;
  std::optional<LibraryMessage> mFound;
};

// In the order of how often they come.
LibraryMessage ParseCalculation(Attempt attempt) {
  LibraryMessage const message =
      attempt
          .Or("get source ois data index = {}, timestamp = {}, oisHall_x = {}, oisHall_y = {}", &SourceSample::index,
              &SourceSample::timeUs, &SourceSample::hallX, &SourceSample::hallY)
          .Or("startIndex, index = {}, timestamp Difference = {}", &StartCandidate::index, &StartCandidate::distanceUs)
          .Or("endIndex, i = {}, timestamp Difference = {}", &EndCandidate::index, &EndCandidate::distanceUs)
          .Or("Match OIS data, sof_timestamp = {}, activeNum = {}, hall = ({}, {}), timestamp = {}",
              &SpanEntry::startOfFrameUs, &SpanEntry::entries, &SpanEntry::hallX, &SpanEntry::hallY,
              &SpanEntry::alignedUs)
          .Or("camera_id = {}, type = {}, oisCount = {}, sof_timestamp = {}, exposure_time = {}, shutter_time = {}, "
              "timeDiff = {}",
              &FrameTimesTold::camera, &FrameTimesTold::type, &FrameTimesTold::samples, &FrameTimesTold::startOfFrameUs,
              &FrameTimesTold::exposureUs, &FrameTimesTold::readoutUs, &FrameTimesTold::offsetUs)
          .Or("activeNum:{}", &TableSize::entries)
          .Or("stamp_up = {}, i = {}, stamp_down = {}, i+1 = {}", &StartFound::distanceUs, &StartFound::index,
              &StartFound::nextDistanceUs, &StartFound::nextIndex)
          .Or("startIndex = {}, endIndex = {}", &SpanFound::first, &SpanFound::last)
          .Or("camera_id = {}, frame_id = {}, g_oisDebug = {}, out_frame_ois_size({}, {}), out_frame_ois0(x = {}, "
              "y={}), "
              "out_frame_ois1(x = {}, y={})",
              &PositionTold::camera, &PositionTold::frame, &PositionTold::mode, &PositionTold::sizeX,
              &PositionTold::sizeY, &PositionTold::hall0X, &PositionTold::hall0Y, &PositionTold::hall1X,
              &PositionTold::hall1Y)
          .Or("Match OIS data fail, transfer the last ois data to tsf. type = {}, frame_id ={}, sof_timestamp = {},"
              "                 camera_id = {}, out_frame_ois_size({}, {})",
              &SpanFailed::type, &SpanFailed::frame, &SpanFailed::startOfFrameUs, &SpanFailed::camera,
              &SpanFailed::sizeX, &SpanFailed::sizeY)
          .OrWarning("camera_id = {}, frame_id = {}, g_oisDebug = {}, out_frame_ois_size({}, {})",
                     &NoPositionTold::camera, &NoPositionTold::frame, &NoPositionTold::mode, &NoPositionTold::sizeX,
                     &NoPositionTold::sizeY)
          .OrWarning("Unknown type {}", &UnknownType::type)
          .Result();
  // The message of a position begins like this warning, which comes only where one of the vectors is empty.
  auto const* const noPosition = std::get_if<NoPositionTold>(&message);
  if (noPosition != nullptr && noPosition->sizeX > 0 && noPosition->sizeY > 0) return DamagedMessage{};
  return message;
}

}  // namespace

LibraryMessage ParseMessage(std::string_view message) {
  std::size_t const end = message.find("] ");
  if (message.empty() || message.front() != '[' || end == std::string_view::npos) return UnrelatedMessage{};
  std::string_view const operation = message.substr(1, end - 1);
  Attempt attempt(operation, message.substr(end + 2));

  if (operation == "CalcOISValue") return ParseCalculation(attempt);
  if (operation == "getDataByTimestamp") {
    return attempt.Or(" total data size:{}", &HistorySize::samples)
        .Or("match data offset:{} timestamp:{}", &SampleMatched::index, &SampleMatched::timeNs)
        .OrWarning<NothingMatched>("no data matched")
        .Result();
  }
  if (operation == "getSensorData") {
    return attempt
        .Or(" get sensor data F:({}) TS:({}) data size:{}", &QueryAnswered::frame, &QueryAnswered::timestampNs,
            &QueryAnswered::samples)
        .OrWarning<ZeroTime>("timestamp or frameNumber should not be zero")
        .Result();
  }
  if (operation == "QuerySensorData") {
    return attempt.Or(" get sensor data size:{}", &QueryFinished::samples)
        .OrWarning("Sensor Monitor not registered sensorId:{}", &QueryRefused::camera)
        .Result();
  }
  if (operation == "updateSensorData") {
    return attempt
        .Or("update sensor data F:({}) TS:({}) size:{}, queue size:{}, timestamp interv:{} - {}", &BatchStored::frame,
            &BatchStored::timestampNs, &BatchStored::samples, &BatchStored::frames, &BatchStored::firstNs,
            &BatchStored::lastNs)
        .OrWarning("no sensor data for type {}", &NoBatch::sensorType)
        .Result();
  }
  if (operation == "pushValue") {
    return attempt
        .Or(" split data frameNumber: {} lastData:{} data:{} splitTime:{}", &BatchSplit::frame,
            &BatchSplit::samplesBefore, &BatchSplit::samples, &BatchSplit::splitTimeNs)
        .Result();
  }
  if (operation == "IsEnabled") {
    return attempt.Or("sensor:{} enabled", &CameraEnabled::camera)
        .OrWarning("Sensor Monitor not registered sensorId:{}", &CameraNotRegistered::camera)
        .Result();
  }
  if (operation == "QueryRollingShutter") {
    return attempt.Or("query rolling shutter:{}", &ReadoutQueried::readoutNs).Result();
  }
  if (operation == "StoreRollingShutter") {
    return attempt.Or("rolling shutter:{} sensorMode:{}", &ReadoutStored::readoutNs, &ReadoutStored::sensorMode)
        .Result();
  }
  return UnrelatedMessage{};
}

}  // namespace shadingctl
