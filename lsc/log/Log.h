// Every message of the library: four forms, two sinks, and two extra conditions for information messages.
//
//   LSC_LOGE(text, ...)             error
//   LSC_LOGW(text, ...)             warning
//   LSC_LOGI(text, ...)             information, always
//   LSC_LOGI_NONZERO(text, ...)     information, when gLogLevel is not 0
//   LSC_LOGI_DETAIL(text, ...)      information, when gLogLevel is at least 4
//   LSC_LOGD(text, ...)             debug
//
// `text` is a printf format, a string literal. The message's two texts, one per sink, are literals put together here at
// compile time: both begin with the name of the function that logs, an error's with the source line before it; the
// system log's text of a warning or an error ends with the place in the source.
//
// Arguments are evaluated once for each sink that takes the message, and not at all when the message is not wanted:
// they must have no side effects. Whether it is wanted is asked anew for every message. A closed condition on gLogLevel
// costs one load and a branch.
//
// Thread safety: messages may be written from any thread at once.
#pragma once

#include "lsc/Globals.h"
#include "platform/Log.h"
#include "platform/VLogger.h"

namespace lsc {

constexpr unsigned int kLscLogModule = 128;        // the library's number in the maker's logging library
constexpr char kLscLogTag[] = "VeyraShadingUtil";  // in both sinks
constexpr int kLogBufferSize = 1024;               // bytes of a message for the file sink, terminator included
constexpr int kLogDetailLevel = 4;                 // gLogLevel from which each sample and candidate is logged

// Priorities of the system log.
constexpr int kPriorityDebug = 3;
constexpr int kPriorityInfo = 4;
constexpr int kPriorityWarning = 5;
constexpr int kPriorityError = 6;

// The logging library's answers: whether messages of the level are wanted at all, and which sinks are on.
inline bool IsWanted(VCam::Utils::VLog::VLogLevel level) noexcept {
  return VCam::Utils::VLog::VLogger::isLogDetailsEnabled(kLscLogModule, level);
}
inline bool SystemLogIsOn() noexcept { return VCam::Utils::VLog::VLogger::isDefaultModeEnabled(); }
inline bool FileSinkIsOn() noexcept { return VCam::Utils::VLog::VLogger::isFileModeEnabled(); }

// Formats one message on the heap and hands it to the file sink, cut to kLogBufferSize - 1 characters. A message for
// which there is no memory, or that cannot be formatted, is dropped.
void WriteToFileSink(VCam::Utils::VLog::VLogLevel level, char const* format, ...) noexcept
    __attribute__((format(printf, 2, 3)));

// Whether LSC_LOGI_DETAIL may write; for loops that do nothing else.
inline bool DetailIsLogged() { return gLogLevel >= kLogDetailLevel; }

}  // namespace lsc

#define LSC_LOG_TO_SINKS(level, writeToSystemLog, writeToFile) \
  do {                                                         \
    if (lsc::IsWanted(VCam::Utils::VLog::level)) {             \
      if (lsc::SystemLogIsOn()) writeToSystemLog;              \
      if (lsc::FileSinkIsOn()) writeToFile;                    \
    }                                                          \
  } while (false)

// The forms that end in _FOR are for functions that do part of an operation's work: the message bears the operation's
// name, `function`.

// Information and debug: the same text for both sinks.
#define LSC_LOG_PLAIN(level, priority, function, text, ...)                                                           \
  LSC_LOG_TO_SINKS(level, __android_log_print(lsc::priority, lsc::kLscLogTag, "[%s] " text, function, ##__VA_ARGS__), \
                   lsc::WriteToFileSink(VCam::Utils::VLog::level, "[%s] " text, function, ##__VA_ARGS__))

#define LSC_LOGW_FOR(function, text, ...)                                                                              \
  LSC_LOG_TO_SINKS(kVLogWarning,                                                                                       \
                   __android_log_print(lsc::kPriorityWarning, lsc::kLscLogTag, "[%s] " text " (%s){#%d:%s}", function, \
                                       ##__VA_ARGS__, function, __LINE__, __FILE__),                                   \
                   lsc::WriteToFileSink(VCam::Utils::VLog::kVLogWarning, "[%s] " text, function, ##__VA_ARGS__))

#define LSC_LOGE(text, ...)                                                                                   \
  LSC_LOG_TO_SINKS(                                                                                           \
      kVLogError,                                                                                             \
      __android_log_print(lsc::kPriorityError, lsc::kLscLogTag, "(%4d) [%s] " text " (%s){#%d:%s}", __LINE__, \
                          __func__, ##__VA_ARGS__, __func__, __LINE__, __FILE__),                             \
      lsc::WriteToFileSink(VCam::Utils::VLog::kVLogError, "(%4d) [%s] " text, __LINE__, __func__, ##__VA_ARGS__))

#define LSC_LOGD(text, ...) LSC_LOG_PLAIN(kVLogDebug, kPriorityDebug, __func__, text, ##__VA_ARGS__)

#define LSC_LOGI_FOR(function, text, ...) LSC_LOG_PLAIN(kVLogInfo, kPriorityInfo, function, text, ##__VA_ARGS__)
#define LSC_LOGI_NONZERO_FOR(function, text, ...)                    \
  do {                                                               \
    if (gLogLevel != 0) LSC_LOGI_FOR(function, text, ##__VA_ARGS__); \
  } while (false)
#define LSC_LOGI_DETAIL_FOR(function, text, ...)                            \
  do {                                                                      \
    if (lsc::DetailIsLogged()) LSC_LOGI_FOR(function, text, ##__VA_ARGS__); \
  } while (false)

#define LSC_LOGW(text, ...) LSC_LOGW_FOR(__func__, text, ##__VA_ARGS__)
#define LSC_LOGI(text, ...) LSC_LOGI_FOR(__func__, text, ##__VA_ARGS__)
#define LSC_LOGI_NONZERO(text, ...) LSC_LOGI_NONZERO_FOR(__func__, text, ##__VA_ARGS__)
#define LSC_LOGI_DETAIL(text, ...) LSC_LOGI_DETAIL_FOR(__func__, text, ##__VA_ARGS__)
