#include "tools/shadingctl/dumps/HallDumpAudit.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "hosting/FileDescriptor.h"
#include "tools/shadingctl/dumps/HallDumpFolder.h"

namespace shadingctl {
namespace {

// Writes a file of a dump's size in the folder, which has lost its name before, to obtain the error that the library
// does not report.
std::string AskTheSystem() {
  std::string const path = fmt::format("{}/.shadingctl-{}", kDumpDirectory, getpid());
  std::string const content(kLargestDump, '0');
  hosting::FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  int error = file ? 0 : errno;
  if (file) unlink(path.c_str());
  if (file && write(file.Number(), content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
    error = errno != 0 ? errno : ENOSPC;  // a short write has no error of its own
  }
  return error == 0 ? "the system names no reason" : std::generic_category().message(error);
}

}  // namespace

void HallDumpAudit::Expect(DumpName const& name) {
  ++mExpected;
  std::error_code failure;
  std::string const path = std::string(kDumpDirectory) + "/" + FileNameOf(name);
  if (std::filesystem::exists(path, failure)) {
    try {
      ReadDump(path);
      return;
    } catch (BrokenDump const&) {
      ++mCut;
    }
  } else {
    ++mMissing;
  }
  if (mReason.empty()) mReason = AskTheSystem();
}

std::string HallDumpAudit::Complaint(std::string const& directory) const {
  if (mMissing + mCut == 0) return {};
  return fmt::format("{}/{}: of {} dumps {} are missing and {} are cut: {}", directory, kDumpDirectory, mExpected,
                     mMissing, mCut, mReason);
}

}  // namespace shadingctl
