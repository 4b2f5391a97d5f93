#include "capture/RealLibrary.h"

#include <dlfcn.h>

#include <cstdlib>

#include "capture/SystemLog.h"

namespace capture {

void* FindSymbol(char const* file, char const* symbol) {
  void* const library = dlopen(file, RTLD_LAZY | RTLD_LOCAL | RTLD_NOLOAD);
  return library == nullptr ? nullptr : dlsym(library, symbol);
}

void* RealSymbol(char const* file, char const* symbol) {
  void* const address = FindSymbol(file, symbol);
  if (address == nullptr) {
    __android_log_print(kLogError, kTag, "%s: expected it to be loaded and to export %s", file, symbol);
    std::abort();
  }
  return address;
}

}  // namespace capture
