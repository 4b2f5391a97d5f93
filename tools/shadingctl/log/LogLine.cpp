#include "tools/shadingctl/log/LogLine.h"

#include <utility>

#include "tools/shadingctl/log/LineCursor.h"

namespace shadingctl {
namespace {

constexpr std::string_view kLibraryTag = "VeyraShadingUtil";
constexpr std::string_view kDroppedTag = "chatty";  // under which the log tells what it has dropped

std::string_view WithoutBlanksAtEnd(std::string_view text) { return text.substr(0, text.find_last_not_of(' ') + 1); }

// "01-02 03:04:05.678", with a year before or a time zone after it; or seconds alone, as in "1704164645.678".
bool TakeTime(LineCursor& cursor, std::int64_t& timeUs) {
  auto const take = [&](std::int64_t& value, std::int64_t most) {
    return cursor.Take(value) && value >= 0 && value <= most;
  };
  std::int64_t year = 0;  // or the month, or the seconds alone
  std::int64_t month = 0;
  std::int64_t day = 0;
  std::int64_t hour = 0;
  std::int64_t minute = 0;
  std::int64_t second = 0;
  std::int64_t fractionUs = 0;
  if (!take(year, INT64_MAX / 2000000)) return false;
  if (cursor.Rest().substr(0, 1) == ".") {
    if (!cursor.TakeFraction(fractionUs)) return false;
    timeUs = year * 1000000 + fractionUs;
    return true;
  }
  if (!cursor.Skip("-") || !take(month, 31)) return false;
  bool const hasYear = cursor.Skip("-");
  if (hasYear && !take(day, 31)) return false;
  if (!hasYear) day = std::exchange(month, std::exchange(year, 0));
  bool const isTime = year <= 9999 && month <= 12 && cursor.SkipBlanks() && take(hour, 24) && cursor.Skip(":") &&
                      take(minute, 60) && cursor.Skip(":") && take(second, 61) && cursor.TakeFraction(fractionUs);
  if (!isTime) return false;
  std::int64_t const days = (year * 12 + month) * 31 + day;
  timeUs = (((days * 24 + hour) * 60 + minute) * 60 + second) * 1000000 + fractionUs;
  LineCursor zone = cursor;
  std::int64_t offset = 0;
  if (zone.SkipBlanks() && (zone.Skip("+") || zone.Rest().substr(0, 1) == "-") && zone.Take(offset)) cursor = zone;
  return true;
}

// "01-02 03:04:05.678  1234  5678 I Tag     : message", with a user id before the process where there are three
// numbers.
bool TakeThreadtime(std::string_view line, LogEntry& entry) {
  LineCursor cursor(line);
  cursor.SkipBlanks();
  std::int64_t timeUs = 0;
  LogThread thread;
  if (!TakeTime(cursor, timeUs) || !cursor.SkipBlanks() || !cursor.Take(thread.process) || !cursor.SkipBlanks() ||
      !cursor.Take(thread.thread) || !cursor.SkipBlanks()) {
    return false;
  }
  if (std::int64_t third = 0; cursor.Take(third)) {
    thread = {thread.thread, third};
    cursor.SkipBlanks();
  }
  std::string_view tag;
  if (!cursor.SkipPriority() || !cursor.SkipBlanks() || !cursor.TakeUntil(": ", tag)) return false;
  entry = {LogFormat::kThreadtime, thread, timeUs, std::nullopt, WithoutBlanksAtEnd(tag), cursor.Rest()};
  return true;
}

// "[ 01-02 03:04:05.678  1234: 5678 I/Tag      ]"; the message stands on the next line.
bool TakeLongHead(std::string_view line, LogEntry& entry) {
  LineCursor cursor(line);
  std::int64_t timeUs = 0;
  LogThread thread;
  if (!cursor.Skip("[ ") || !TakeTime(cursor, timeUs) || !cursor.SkipBlanks() || !cursor.Take(thread.process) ||
      !cursor.Skip(":")) {
    return false;
  }
  cursor.SkipBlanks();
  if (!cursor.Take(thread.thread)) return false;
  cursor.SkipBlanks();
  std::string_view tag;
  if (!cursor.SkipPriority() || !cursor.Skip("/") || !cursor.TakeUntil("]", tag)) return false;
  entry = {LogFormat::kLong, thread, timeUs, std::nullopt, WithoutBlanksAtEnd(tag), {}};
  return true;
}

// "I/Tag     ( 1234): message", the same with a time before it, or "I/Tag     : message".
bool TakeBrief(std::string_view line, LogEntry& entry) {
  LineCursor cursor(line);
  std::int64_t timeUs = 0;
  bool const hasTime = TakeTime(cursor, timeUs) && cursor.SkipBlanks();
  if (!hasTime) cursor = LineCursor(line);
  std::string_view tag;
  if (!cursor.SkipPriority() || !cursor.Skip("/") || !cursor.TakeUntil(": ", tag)) return false;
  std::size_t const process = tag.rfind('(');
  bool const hasProcess = process != std::string_view::npos && tag.back() == ')';
  if (hasTime && !hasProcess) return false;
  entry.format = hasTime ? LogFormat::kTime : hasProcess ? LogFormat::kBrief : LogFormat::kTag;
  if (hasTime) entry.timeUs = timeUs;
  entry.tag = WithoutBlanksAtEnd(tag.substr(0, hasProcess ? process : tag.size()));
  entry.message = cursor.Rest();
  return true;
}

// "10100: [operation] text", "-: [operation] text", or the message alone.
bool TakeBare(std::string_view line, LogEntry& entry) {
  LineCursor cursor(line);
  std::uint32_t frame = 0;
  bool const hasFrame = cursor.Take(frame);
  if ((hasFrame || cursor.Skip("-")) && cursor.Skip(": ")) {
    entry.format = LogFormat::kReplay;
    if (hasFrame) entry.frame = frame;
  } else {
    cursor = LineCursor(line);
    if (cursor.Rest().substr(0, 1) != "[" || line.find("] ") == std::string_view::npos) return false;
  }
  entry.tag = kLibraryTag;
  entry.message = cursor.Rest();
  return true;
}

// "uid=1000(system) Thread-1 expire 3 lines", or "identical 3 lines".
std::uint64_t DroppedLines(std::string_view message) {
  for (std::string_view const word : {"expire ", "identical "}) {
    std::size_t const place = message.find(word);
    if (place == std::string_view::npos) continue;
    LineCursor cursor(message.substr(place + word.size()));
    std::uint64_t count = 0;
    if (cursor.Take(count) && cursor.Skip(" line")) return count;
  }
  return 0;
}

}  // namespace

char const* Name(LogFormat format) {
  constexpr char const* kNames[] = {"threadtime", "long", "time", "brief", "tag", "replay --log", "raw"};
  return kNames[static_cast<std::size_t>(format)];
}

std::optional<LogEntry> LogParser::Add(std::string_view line) {
  ++mCounts.lines;
  bool const isCut = line.size() >= kCutLength;
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  if (line.empty()) {
    mLongHead.reset();
    return std::nullopt;
  }
  LogEntry entry;
  if (TakeLongHead(line, entry)) {
    mLongTag = entry.tag;
    mLongHead = entry;
    return std::nullopt;
  }
  if (TakeThreadtime(line, entry) || TakeBrief(line, entry)) {
    mLongHead.reset();
  } else if (mLongHead) {
    entry = *mLongHead;
    entry.tag = mLongTag;
    entry.message = line;
  } else if (!TakeBare(line, entry)) {
    bool const isDivider = line.compare(0, 9, "---------") == 0;  // "--------- beginning of main"
    if (!isDivider && mCounts.unreadable++ == 0) mCounts.firstUnreadable = mCounts.lines;
    return std::nullopt;
  }
  if (entry.tag == kDroppedTag) mCounts.droppedByLog += DroppedLines(entry.message);
  if (entry.tag != kLibraryTag) {
    ++mCounts.otherTags;
    return std::nullopt;
  }
  ++mCounts.messages;
  mCounts.formats.insert(entry.format);
  entry.line = mCounts.lines;
  entry.isCut = isCut;
  return entry;
}

}  // namespace shadingctl
