#include "tools/shadingctl/replay/LibraryMessages.h"

#include <charconv>
#include <system_error>

namespace shadingctl {
namespace {

// Takes a message apart from front to back; a step that does not fit makes every later one fail.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : mText(text) {}

  // Steps over exactly this text.
  Scanner& Skip(std::string_view text) {
    mFits = mFits && mText.compare(0, text.size(), text) == 0;
    if (mFits) mText.remove_prefix(text.size());
    return *this;
  }

  // Steps behind the next occurrence of this text.
  Scanner& Find(std::string_view text) {
    std::size_t const place = mFits ? mText.find(text) : std::string_view::npos;
    mFits = place != std::string_view::npos;
    if (mFits) mText.remove_prefix(place + text.size());
    return *this;
  }

  template <class Number>
  Scanner& Take(Number& number) {
    if (!mFits) return *this;
    auto const [end, error] = std::from_chars(mText.data(), mText.data() + mText.size(), number);
    mFits = error == std::errc{};
    if (mFits) mText.remove_prefix(static_cast<std::size_t>(end - mText.data()));
    return *this;
  }

  explicit operator bool() const { return mFits; }

 private:
  std::string_view mText;
  bool mFits = true;
};

bool BeginsWith(std::string_view text, std::string_view beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

}  // namespace

void LibraryMessages::BeginFrame() {
  mFrame = {};
  mTableCount = 0;
}

void LibraryMessages::Read(std::string_view message) {
  if (message.empty() || message.front() != '[') return;
  std::size_t const end = message.find("] ");
  if (end == std::string_view::npos) return;
  std::string_view const operation = message.substr(1, end - 1);
  std::string_view const text = message.substr(end + 2);

  if (operation == "CalcOISValue") {
    ReadCalculation(text);
  } else if (operation == "getDataByTimestamp") {
    std::uint64_t buffered = 0;
    if (BeginsWith(text, "no data matched")) mFrame.nothingMatched = true;
    if (Scanner(text).Skip(" total data size:").Take(buffered)) mFrame.buffered = buffered;
  } else if (operation == "pushValue") {
    mFrame.split = mFrame.split || BeginsWith(text, " split data ");
  } else if (operation == "updateSensorData") {
    // Times are printed as unsigned numbers, whatever their sign.
    std::uint64_t firstNs = 0;
    std::uint64_t lastNs = 0;
    if (Scanner(text).Skip("update sensor data ").Find("timestamp interv:").Take(firstNs).Skip(" - ").Take(lastNs)) {
      mFrame.batch = {static_cast<std::int64_t>(firstNs), static_cast<std::int64_t>(lastNs)};
    }
  } else if (operation == "IsEnabled") {
    mFrame.notRegistered = mFrame.notRegistered || BeginsWith(text, "Sensor Monitor not registered");
  } else if (operation == "getSensorData") {
    mFrame.zeroTime = mFrame.zeroTime || BeginsWith(text, "timestamp or frameNumber should not be zero");
  }
}

// The messages that come for every sample and every candidate are asked for first.
void LibraryMessages::ReadCalculation(std::string_view text) {
  if (BeginsWith(text, "get source ois data ")) {
    ReadSourceSample(text);
  } else if (FrameMessages::Candidate tried; Scanner(text)
                                                 .Skip("startIndex, index = ")
                                                 .Take(tried.index)
                                                 .Find("Difference = ")
                                                 .Take(tried.distanceUs)) {
    if (!mFrame.firstCandidate) mFrame.firstCandidate = tried;
    if (!mFrame.nearestCandidate || tried.distanceUs < mFrame.nearestCandidate->distanceUs) {
      mFrame.nearestCandidate = tried;
    }
  } else if (BeginsWith(text, "Match OIS data, ")) {
    std::int64_t alignedUs = 0;
    bool const isFirst = !mFrame.spanStartUs;
    if (isFirst && Scanner(text).Find("), timestamp = ").Take(alignedUs)) mFrame.spanStartUs = alignedUs;
  } else if (BeginsWith(text, "camera_id = ")) {
    std::uint32_t samples = 0;
    std::uint64_t startOfFrameUs = 0;
    std::int64_t offsetUs = 0;
    if (Scanner(text).Find(", frame_id = ")) {
      mFrame.done = true;
    } else if (Scanner(text)
                   .Find("oisCount = ")
                   .Take(samples)
                   .Find("sof_timestamp = ")
                   .Take(startOfFrameUs)
                   .Find("timeDiff = ")
                   .Take(offsetUs)) {
      mFrame.samples = samples;
      mFrame.startOfFrameUs = static_cast<std::int64_t>(startOfFrameUs);
      mFrame.offsetUs = offsetUs;
    }
  } else if (FrameMessages::Start start; Scanner(text)
                                             .Skip("stamp_up = ")
                                             .Take(start.distanceUs)
                                             .Find("i = ")
                                             .Take(start.index)
                                             .Find("stamp_down = ")
                                             .Take(start.nextDistanceUs)) {
    mFrame.start = start;
  } else if (FrameMessages::Span span;
             Scanner(text).Skip("startIndex = ").Take(span.first).Skip(", endIndex = ").Take(span.last)) {
    mFrame.span = span;
  }
}

// The library takes a sample into its table unless its time in us is that of the sample taken before (0 at first).
void LibraryMessages::ReadSourceSample(std::string_view text) {
  std::int64_t timeUs = 0;
  if (!Scanner(text).Find("timestamp = ").Take(timeUs)) return;
  std::int64_t const takenUs = mTableCount == 0 ? 0 : mTableUs[mTableCount - 1];
  if (timeUs != takenUs && mTableCount < kTableSize) mTableUs[mTableCount++] = timeUs;
}

FrameMessages LibraryMessages::Frame() const {
  FrameMessages frame = mFrame;
  // Only two of the calculation modes say the aligned time of the span's first entry; otherwise it is the time of the
  // sample less the offset, both in the library's words.
  bool const inTable =
      frame.span && frame.span->first >= 0 && static_cast<std::size_t>(frame.span->first) < mTableCount;
  if (!frame.spanStartUs && inTable && frame.offsetUs) {
    frame.spanStartUs = mTableUs[static_cast<std::size_t>(frame.span->first)] - *frame.offsetUs;
  }
  return frame;
}

}  // namespace shadingctl
