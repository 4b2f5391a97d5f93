// The maker's logging library (libvcam_vlog.so): decides which messages are wanted and keeps the file sink.
#pragma once

namespace VCam::Utils::VLog {

// How much a message matters; smaller is graver.
enum VLogLevel {
  kVLogError = 1,
  kVLogWarning = 2,
  kVLogInfo = 3,
  kVLogVerbose = 4,  // not used by the shading library
  kVLogDebug = 5,
};

// Every operation may be called from any thread, and may answer differently from one call to the next.
class VLogger {
 public:
  // Whether messages of this level from this module are wanted at all.
  static bool isLogDetailsEnabled(unsigned int module, VLogLevel level);

  // Whether the system log takes messages.
  static bool isDefaultModeEnabled();

  // Whether the file sink takes messages.
  static bool isFileModeEnabled();

  // Hands one finished message of `length` bytes (without the terminator) to the file sink, which copies it.
  static bool logNormalDetails(unsigned int module, char const* tag, VLogLevel level, char const* text,
                               unsigned long length);
};

}  // namespace VCam::Utils::VLog
