#include "tools/shadingctl/log/LoggedCalls.h"

#include <fmt/format.h>

#include <algorithm>

#include "hosting/UnusableInput.h"

namespace shadingctl {
namespace {

constexpr std::int64_t kLongestPauseUs = 10000;  // between two lines of a call, far more than a whole call takes
constexpr std::size_t kRememberedUpdates = 64;   // twice the frames of the library's history

bool EndsCall(LibraryMessage const& message) {
  if (auto const* times = std::get_if<FrameTimesTold>(&message)) return times->samples == 0;
  return std::holds_alternative<CameraNotRegistered>(message) || std::holds_alternative<SpanFailed>(message) ||
         std::holds_alternative<PositionTold>(message) || std::holds_alternative<NoPositionTold>(message);
}

// One overload for messages that name their camera, and one for the others.
template <class Told>
auto NamedCamera(Told const& told, int /*preferred*/) -> decltype(std::optional(told.camera)) {
  return told.camera;
}
template <class Told>
std::optional<std::int32_t> NamedCamera(Told const& /*told*/, long /*otherwise*/) {
  return std::nullopt;
}

std::optional<std::int32_t> CameraIn(LibraryMessage const& message) {
  return std::visit([](auto const& told) { return NamedCamera(told, 0); }, message);
}

LinePlace PlaceOf(LibraryMessage const& message) {
  std::int64_t number = 0;
  if (auto const* sample = std::get_if<SourceSample>(&message)) number = sample->index;
  if (auto const* candidate = std::get_if<StartCandidate>(&message)) number = candidate->index;
  if (auto const* candidate = std::get_if<EndCandidate>(&message)) number = candidate->index;
  return {TextOf(message).step, number};
}

std::optional<std::uint32_t> FrameIn(FrameMessages const& messages) {
  if (messages.failed) return static_cast<std::uint32_t>(messages.failed->frame);
  if (messages.noPosition) return static_cast<std::uint32_t>(messages.noPosition->frame);
  if (messages.position) return static_cast<std::uint32_t>(messages.position->frame);
  return std::nullopt;
}

std::optional<std::uint64_t> TimestampIn(FrameMessages const& messages) {
  if (messages.query && messages.query->frame == 0) return messages.query->timestampNs;
  if (messages.times) return messages.times->TimestampNs();
  return std::nullopt;
}

}  // namespace

bool LoggedCall::IsWhole() const {
  bool const hasOutcome = messages.position || messages.failed;
  return hasOutcome && messages.times && !messages.source.empty() && messages.HasWholeWindow() && messages.damaged == 0;
}

NSCam::Utils::SensorData SampleTold(SourceSample const& told) {
  NSCam::Utils::SensorData sample;
  sample.timestamp = static_cast<std::int64_t>(static_cast<std::uint64_t>(told.timeUs) * 1000);
  sample.oisHallX = told.hallX;
  sample.oisHallY = told.hallY;
  return sample;
}

void CallAssembler::Add(std::string_view line) {
  auto const found = mParser.Add(line);
  if (!found) return;
  LogEntry const& entry = *found;
  LibraryMessage const message = entry.isCut ? DamagedMessage{} : ParseMessage(entry.message);
  Stream& stream = mStreams[entry.thread.value_or(LogThread{})];
  if (TextOf(message).kind == MessageKind::kDetail) mParser.CountDetail();
  if (std::holds_alternative<DamagedMessage>(message)) {
    mParser.CountDamaged();
    if (stream.open) ++stream.open->call.messages.damaged;
  } else if (TextOf(message).step != Step::kNone) {
    if (!entry.thread) RefuseMingledCameras(stream, entry, message);
    AddToCall(stream, entry, message);
  } else {
    AddToUpdate(stream, message);
  }
}

bool CallAssembler::Continues(OpenCall const& open, LogEntry const& entry, LibraryMessage const& message) const {
  LinePlace const place = PlaceOf(message);
  auto const* const spanEntry = std::get_if<SpanEntry>(&message);
  bool const isNext = place > open.place || (spanEntry != nullptr && place == open.place);
  if (!isNext || entry.frame != open.loggedFrame) return false;
  auto const& times = open.call.messages.times;
  bool const isOfOtherFrame =
      spanEntry != nullptr && times && static_cast<std::int64_t>(times->startOfFrameUs) != spanEntry->startOfFrameUs;
  if (isOfOtherFrame) return false;
  auto const camera = CameraIn(message);
  if (camera && open.call.camera && *camera != *open.call.camera) return false;
  bool const pauses = entry.timeUs && open.timeUs && *entry.timeUs - *open.timeUs > kLongestPauseUs;
  return !pauses;
}

void CallAssembler::AddToCall(Stream& stream, LogEntry const& entry, LibraryMessage const& message) {
  if (stream.open && !Continues(*stream.open, entry, message)) Close(stream);
  if (!stream.open) {
    stream.open.emplace();
    stream.open->call.firstLine = entry.line;
    stream.open->loggedFrame = entry.frame;
  }
  OpenCall& open = *stream.open;
  open.place = PlaceOf(message);
  open.timeUs = entry.timeUs;
  if (auto const camera = CameraIn(message)) open.call.camera = camera;
  ++open.call.lines;
  open.call.messages.Add(message);
  if (EndsCall(message)) Close(stream);
}

void CallAssembler::AddToUpdate(Stream& stream, LibraryMessage const& message) {
  auto const* const stored = std::get_if<BatchStored>(&message);
  bool const isSplit = std::holds_alternative<BatchSplit>(message);
  bool const isEmpty = std::holds_alternative<NoBatch>(message);
  if (stream.open && (stored != nullptr || isSplit || isEmpty)) Close(stream);
  if (isSplit) stream.split = true;
  if (isEmpty) ++mEmptyUpdates;
  if (stored == nullptr) return;
  mUpdates.push_back({*stored, std::exchange(stream.split, false)});
  if (mUpdates.size() > kRememberedUpdates) mUpdates.pop_front();
}

void CallAssembler::RefuseMingledCameras(Stream const& stream, LogEntry const& entry,
                                         LibraryMessage const& message) const {
  auto const camera = CameraIn(message);
  bool const mingles = camera && stream.open && stream.open->call.camera && *stream.open->call.camera != *camera;
  if (!mingles) return;
  throw hosting::UnusableInput(fmt::format(
      "{}:{}: expected thread ids, as in the formats threadtime and long, where the lines of two cameras "
      "mingle; found the format {}, with camera {} inside a call of camera {} that began at line {}",
      mLog, entry.line, Name(entry.format), *camera, *stream.open->call.camera, stream.open->call.firstLine));
}

void CallAssembler::Close(Stream& stream) {
  LoggedCall call = std::move(stream.open->call);
  call.frame = FrameIn(call.messages);
  if (!call.frame) call.frame = stream.open->loggedFrame;
  call.timestampNs = TimestampIn(call.messages);
  stream.open.reset();
  AttachUpdate(call);
  std::uint64_t const expected = call.messages.ExpectedLines(Counts().hasDetail);
  call.lost = expected > call.lines ? expected - call.lines : 0;
  mReceiver(std::move(call));
}

// Messages of updates do not name their camera, and two cameras may have the same frame numbers: an update with the
// frame's timestamp is preferred to one with its number alone.
void CallAssembler::AttachUpdate(LoggedCall& call) {
  auto const find = [&](auto const& fits) { return std::find_if(mUpdates.rbegin(), mUpdates.rend(), fits); };
  auto const isOfFrame = [&](Update const& update) { return !call.frame || update.stored.frame == *call.frame; };
  auto update = find([&](Update const& candidate) {
    return call.timestampNs && candidate.stored.timestampNs == *call.timestampNs && isOfFrame(candidate);
  });
  if (update == mUpdates.rend() && call.frame) update = find(isOfFrame);
  if (update == mUpdates.rend()) {
    call.messages.noBatch = mEmptyUpdates > 0;
    if (call.messages.noBatch) --mEmptyUpdates;
    return;
  }
  call.messages.batch = update->stored;
  call.messages.split = update->split;
  if (!call.frame) call.frame = update->stored.frame;
  if (!call.timestampNs) call.timestampNs = update->stored.timestampNs;
}

void CallAssembler::Finish() {
  for (auto& [thread, stream] : mStreams) {
    if (stream.open) Close(stream);
  }
}

}  // namespace shadingctl
