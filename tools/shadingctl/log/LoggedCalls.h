// Puts the lines of a log together again, into the calls that wrote them.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "platform/SensorProvider.h"
#include "tools/shadingctl/log/FrameMessages.h"
#include "tools/shadingctl/log/LogLine.h"

namespace shadingctl {

// One computation of a position, as far as its lines are there, with the update of its frame.
struct LoggedCall {
  FrameMessages messages;  // those of its update, too
  std::optional<std::int32_t> camera;
  std::optional<std::uint32_t> frame;
  std::optional<std::uint64_t> timestampNs;
  std::uint64_t firstLine = 0;
  std::uint64_t lines = 0;  // lines read, without those of the update
  std::uint64_t lost = 0;   // lines missing: a lower bound

  // The window and everything that was made of it are there: what the library computed can be computed again.
  bool IsWhole() const;
};

// The sample as it was delivered, to the us. Times that cannot be real wrap.
NSCam::Utils::SensorData SampleTold(SourceSample const& told);

// The step of a line and, in steps of several numbered lines, the line's number.
using LinePlace = std::tuple<Step, std::int64_t>;

// The lines of one thread follow each other in the order in which a call writes them, so a call ends where a line comes
// that belongs before the line read last. Lines may be missing anywhere.
class CallAssembler {
 public:
  using Receiver = std::function<void(LoggedCall&& call)>;

  // `log`: its name, for complaints.
  CallAssembler(std::string log, Receiver receiver) : mLog(std::move(log)), mReceiver(std::move(receiver)) {}

  // The next line of the log. Throws UnusableInput where the calls of two cameras mingle and nothing tells their lines
  // apart.
  void Add(std::string_view line);

  // Everything was read.
  void Finish();

  LogCounts const& Counts() const { return mParser.Counts(); }

 private:
  // A call whose end has not been read, and its line read last.
  struct OpenCall {
    LoggedCall call;
    LinePlace place;
    std::optional<std::int64_t> timeUs;
    std::optional<std::uint32_t> loggedFrame;
  };
  struct Update {
    BatchStored stored;
    bool split = false;
  };
  struct Stream {
    std::optional<OpenCall> open;
    bool split = false;
  };

  bool Continues(OpenCall const& open, LogEntry const& entry, LibraryMessage const& message) const;
  void AddToCall(Stream& stream, LogEntry const& entry, LibraryMessage const& message);
  void AddToUpdate(Stream& stream, LibraryMessage const& message);
  void RefuseMingledCameras(Stream const& stream, LogEntry const& entry, LibraryMessage const& message) const;
  void Close(Stream& stream);
  void AttachUpdate(LoggedCall& call);

  std::string mLog;
  Receiver mReceiver;
  LogParser mParser;
  std::map<LogThread, Stream> mStreams;  // one, under 0, for lines without a thread
  std::deque<Update> mUpdates;           // the latest: they tell the number of a frame by its timestamp
  std::uint64_t mEmptyUpdates = 0;       // that belong to no call yet
};

}  // namespace shadingctl
