#include "platform/VLogger.h"

#include <string>

#include "platform/desktop/Backstage.h"

namespace VCam::Utils::VLog {

namespace {

constexpr auto kAnyOrder = std::memory_order_relaxed;

desktop::Device::Backstage& Stage() { return desktop::Device::Get().backstage(); }

}  // namespace

bool VLogger::isLogDetailsEnabled(unsigned int module, VLogLevel level) {
  auto& stage = Stage();
  if (stage.recordsLogCalls.load(kAnyOrder)) stage.NoteCall("isLogDetailsEnabled %u %d", module, level);
  return level <= stage.maximumLevel.load(kAnyOrder);
}

bool VLogger::isDefaultModeEnabled() {
  auto& stage = Stage();
  if (stage.recordsLogCalls.load(kAnyOrder)) stage.NoteCall("isDefaultModeEnabled");
  return stage.systemLog.load(kAnyOrder);
}

bool VLogger::isFileModeEnabled() {
  auto& stage = Stage();
  if (stage.recordsLogCalls.load(kAnyOrder)) stage.NoteCall("isFileModeEnabled");
  return stage.file.load(kAnyOrder);
}

bool VLogger::logNormalDetails(unsigned int module, char const* tag, VLogLevel level, char const* text,
                               unsigned long length) {
  auto& stage = Stage();
  if (stage.recordsLogCalls.load(kAnyOrder)) stage.NoteCall("logNormalDetails %u %d %lu", module, level, length);
  if (!stage.logIsHeard.load(kAnyOrder)) return true;
  stage.Deliver({desktop::Sink::kFile, level, module, tag, std::string(text, length)});
  return true;
}

}  // namespace VCam::Utils::VLog
