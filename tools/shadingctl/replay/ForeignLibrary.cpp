// Libraries of others, loaded with care.
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "hosting/FileDescriptor.h"
#include "hosting/HostLibrary.h"
#include "hosting/QuotedText.h"
#include "hosting/UnusableInput.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/replay/PlayedDevice.h"

namespace shadingctl {
namespace {

// Sends what is written to standard output nowhere from now on, and to standard error until destruction.
class Silence {
 public:
  Silence() : mErrors(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
    hosting::FileDescriptor const nothing(open("/dev/null", O_WRONLY | O_CLOEXEC));
    for (int const stream : {STDOUT_FILENO, STDERR_FILENO}) dup2(nothing.Number(), stream);
  }
  ~Silence() { dup2(mErrors.Number(), STDERR_FILENO); }
  Silence(Silence const&) = delete;
  Silence& operator=(Silence const&) = delete;

 private:
  hosting::FileDescriptor const mErrors;
};

// Without /proc nobody knows where the tool's own library is.
bool IsOwnLibrary(std::string const& path) {
  try {
    return path == hosting::DefaultLibraryPath();
  } catch (hosting::UnusableInput const&) {
    return false;
  }
}

}  // namespace

VeyraShadingUtil& LoadLibrary(std::string const& path) {
  if (IsOwnLibrary(path)) return hosting::LoadShadingLibrary(path);
  hosting::LoadTrial const trial = hosting::TryToLoad(path);
  std::string const output = trial.output.empty() ? "" : "it writes " + hosting::Quoted(trial.output);
  if (!trial.problem.empty()) {
    throw hosting::UnusableInput(fmt::format("{}: {}{}{}", path, trial.problem, output.empty() ? "" : "; ", output));
  }
  if (!output.empty()) Tell(fmt::format("{}: {}", path, output));
  KeepStandardOutput();
  Silence const silence;
  return hosting::LoadShadingLibrary(path);
}

}  // namespace shadingctl
