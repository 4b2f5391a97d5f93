#include "tools/shadingctl/output/Console.h"

#include <cstdio>

namespace shadingctl {

void Tell(std::string const& message) { TellPlainly("shadingctl: " + message + "\n"); }

void TellPlainly(std::string const& text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

}  // namespace shadingctl
