#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

#include "hosting/FileDescriptor.h"
#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"
#include "tools/shadingctl/dumps/HallDumpFile.h"

namespace shadingctl {
namespace {

namespace fs = std::filesystem;

constexpr char kDumpDirectory[] = "data/vendor/camera_dump";  // where the library writes below its working directory

// The beginning of the file, up to one byte more than the largest dump. Throws BrokenDump.
std::string ReadText(fs::path const& path) {
  std::error_code failure;
  fs::file_type const type = fs::status(path, failure).type();
  if (type != fs::file_type::regular) {
    throw BrokenDump(
        1, fmt::format("expected a regular file, found {}", type == fs::file_type::directory   ? "a directory"
                                                            : type == fs::file_type::not_found ? "a link to nothing"
                                                                                               : "something else"));
  }
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(std::fopen(path.c_str(), "rb"), &std::fclose);
  std::string text(kLargestDump, '\0');
  if (file != nullptr) text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (file == nullptr || std::ferror(file.get()) != 0) {
    throw BrokenDump(1, fmt::format("expected a readable file: {}", std::generic_category().message(errno)));
  }
  return text;
}

std::vector<fs::path> EntriesOf(fs::path const& directory) {
  std::vector<fs::path> entries;
  std::error_code failure;
  for (fs::directory_iterator entry(directory, failure), end; !failure && entry != end; entry.increment(failure)) {
    entries.push_back(entry->path());
  }
  if (failure)
    throw hosting::UnusableInput(fmt::format("{}: cannot be read: {}", directory.string(), failure.message()));
  std::sort(entries.begin(), entries.end());
  return entries;
}

// The files that a name denotes: the entries of a directory, those of the dump folder below it, or the file itself.
std::vector<fs::path> FilesOf(fs::path const& name) {
  std::error_code failure;
  if (fs::exists(name, failure) && !fs::is_directory(name, failure)) return {name};
  fs::path const below = name / kDumpDirectory;
  return EntriesOf(fs::is_directory(below, failure) ? below : name);
}

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

// Reads one file. Throws BrokenDump when its name or its content is not that of a dump.
HallDump ReadDump(std::string const& file) {
  fs::path const path(file);
  auto const name = ParseDumpName(path.filename().string());
  if (!name) {
    throw BrokenDump(1,
                     "expected a name like preview_camera_0_frame_1_oishall.txt or "
                     "capture_camera_0_frame_1_2000_oishall.txt");
  }
  HallDump dump = ParseDump(*name, ReadText(path));
  dump.file = file;
  return dump;
}

}  // namespace

void ReadDumps(std::string const& name, std::vector<HallDump>& dumps,
               std::function<void(std::string const&)> const& complain) {
  for (fs::path const& path : FilesOf(name)) {
    hosting::EndIfInterrupted();
    try {
      dumps.push_back(ReadDump(path.string()));
    } catch (BrokenDump const& broken) {
      complain(fmt::format("{}:{}: {}", path.string(), broken.Line(), broken.what()));
    }
  }
}

void SendDumpsBelow(std::string const& directory) {
  fs::path const folder = fs::path(directory) / kDumpDirectory;
  std::error_code failure;
  fs::create_directories(folder, failure);
  if (failure) throw hosting::UnusableInput(fmt::format("{}: cannot be made: {}", folder.string(), failure.message()));
  if (!EntriesOf(folder).empty()) {
    throw hosting::UnusableInput(fmt::format("{}: expected an empty folder, found older files", folder.string()));
  }
  fs::current_path(directory, failure);
  if (failure) throw hosting::UnusableInput(fmt::format("{}: cannot be entered: {}", directory, failure.message()));
}

void HallDumpAudit::Expect(DumpName const& name) {
  ++mExpected;
  std::error_code failure;
  std::string const path = std::string(kDumpDirectory) + "/" + FileNameOf(name);
  if (fs::exists(path, failure)) {
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
