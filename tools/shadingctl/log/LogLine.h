// Lines of a text log in which the library's messages stand among others. docs/explain.md lists the formats.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace shadingctl {

enum class LogFormat {
  kThreadtime,  // the formats of a phone's log, by the names of its own tool
  kLong,
  kTime,  // without thread ids, as those that follow
  kBrief,
  kTag,
  kReplay,  // what `replay --log` writes: FRAME: MESSAGE
  kRaw,     // the message alone
};

// "threadtime", "long", "time", "brief", "tag", "replay --log", "raw"
char const* Name(LogFormat format);

struct LogThread {
  std::int64_t process = 0;
  std::int64_t thread = 0;

  bool operator<(LogThread const& other) const {
    return process != other.process ? process < other.process : thread < other.thread;
  }
};

// A message, and what its line says besides.
struct LogEntry {
  LogFormat format = LogFormat::kRaw;
  std::optional<LogThread> thread;
  std::optional<std::int64_t> timeUs;  // since some day; months count as 31 days
  std::optional<std::uint32_t> frame;  // kReplay only; nullopt there: outside of any frame
  std::string_view tag;
  std::string_view message;  // valid until the next line is added
  std::uint64_t line = 0;    // counted from 1
  bool isCut = false;        // so long that whatever wrote the line has cut it there
};

// What was read of a log.
struct LogCounts {
  std::uint64_t lines = 0;
  std::set<LogFormat> formats;     // of the library's messages
  std::uint64_t messages = 0;      // of the library
  std::uint64_t damaged = 0;       // of those: cut, or in none of the library's texts
  std::uint64_t firstDamaged = 0;  // its line
  bool hasDetail = false;          // messages that the library writes from level 4 on
  std::uint64_t otherTags = 0;
  std::uint64_t unreadable = 0;       // in none of the formats
  std::uint64_t firstUnreadable = 0;  // its line
  std::uint64_t droppedByLog = 0;     // lines that the log itself says it has dropped
};

// Takes a log apart, line by line.
class LogParser {
 public:
  static constexpr std::size_t kCutLength = 1023;  // longest text of a file sink, and longest line of many a capture

  // `line` without its line feed; a carriage return at the end is passed over. A message of the library, if it is one.
  std::optional<LogEntry> Add(std::string_view line);

  LogCounts const& Counts() const { return mCounts; }

  // For whoever reads the message of the entry that was added last.
  void CountDamaged() {
    if (mCounts.damaged++ == 0) mCounts.firstDamaged = mCounts.lines;
  }
  void CountDetail() { mCounts.hasDetail = true; }

 private:
  LogCounts mCounts;
  std::optional<LogEntry> mLongHead;  // of the message that follows
  std::string mLongTag;
};

}  // namespace shadingctl
