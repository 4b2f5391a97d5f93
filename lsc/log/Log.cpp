#include "lsc/log/Log.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>

namespace lsc {

void WriteToFileSink(VCam::Utils::VLog::VLogLevel level, char const* format, ...) noexcept {
  // On the heap: the host's threads may have small stacks.
  std::unique_ptr<char[]> const buffer(new (std::nothrow) char[kLogBufferSize]);
  if (!buffer) return;

  std::va_list arguments;
  va_start(arguments, format);
  int const length = std::vsnprintf(buffer.get(), kLogBufferSize, format, arguments);
  va_end(arguments);
  if (length < 0) return;

  // The formatter returns the length of the whole message; the sink must not read past the end of the buffer.
  buffer[kLogBufferSize - 1] = '\0';
  auto const held = static_cast<unsigned long>(std::min(length, kLogBufferSize - 1));
  VCam::Utils::VLog::VLogger::logNormalDetails(kLscLogModule, kLscLogTag, level, buffer.get(), held);
}

}  // namespace lsc
