#include "platform/Log.h"

#include <cstdarg>
#include <optional>
#include <string>
#include <utility>

#include "platform/desktop/Backstage.h"

int __android_log_print(int priority, char const* tag, char const* format, ...) noexcept {
  auto& stage = desktop::Device::Get().backstage();
  if (stage.recordsLogCalls.load(std::memory_order_relaxed)) stage.NoteCall("__android_log_print %d", priority);
  if (!stage.logIsHeard.load(std::memory_order_relaxed)) return 1;
  std::va_list arguments;
  va_start(arguments, format);
  std::optional<std::string> text = desktop::FormatText(format, arguments);
  va_end(arguments);
  if (!text) return -1;
  stage.Deliver({desktop::Sink::kSystemLog, priority, 0, tag, *std::move(text)});
  return 1;
}
