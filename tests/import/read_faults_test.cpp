// What happens when a file cannot be read to its end: every reader of recordings and of what an import takes refuses
// it, and takes pieces of any size.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "hosting/UnusableInput.h"
#include "recording/Recording.h"
#include "tests/import/VideoBytes.h"
#include "tools/import/Imports.h"

namespace {

std::string faultyFile;         // the end of its path; empty: none
std::size_t goodBytes = 0;      // of it, before the fault
int fault = 0;                  // errno; 0: the file ends
std::size_t pieces = SIZE_MAX;  // the largest size of a read

bool IsFaulty(int file) {
  char path[PATH_MAX] = {};
  ssize_t const size = readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path, sizeof path - 1);
  std::string const name(path, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  return !faultyFile.empty() && name.size() >= faultyFile.size() &&
         name.compare(name.size() - faultyFile.size(), faultyFile.size(), faultyFile) == 0;
}

}  // namespace

// In place of the C library's.
extern "C" ssize_t read(int file, void* buffer, std::size_t size) {
  if (!IsFaulty(file)) return syscall(SYS_read, file, buffer, size);
  if (goodBytes == 0) {
    errno = fault;
    return fault == 0 ? 0 : -1;
  }
  ssize_t const got = syscall(SYS_read, file, buffer, std::min({size, goodBytes, pieces}));
  if (got > 0) goodBytes -= static_cast<std::size_t>(got);
  return got;
}

namespace shadingctl {
namespace {

std::string const kFrames = "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n1,5,1,2\n2,9,1,2\n";
std::string const kHall = "frame,timestamp_ns,hall_x,hall_y\n1,4,0.5,0.25\n2,8,0.5,0.25\n";

std::size_t CountCalls(recording::Session& session) {
  std::size_t count = 0;
  for (recording::Call call; session.Next(call);) ++count;
  return count;
}

struct Reader {
  char const* name;
  char const* file;
  std::string (*content)();
  std::size_t (*read)(std::string const& directory);  // answers the number of calls
};

std::size_t ReadRecording(std::string const& directory) { return CountCalls(*recording::OpenRecording(directory)); }

std::size_t ReadCsv(std::string const& directory) {
  ImportArguments arguments;
  arguments.framesFile = directory + "/frames.csv";
  arguments.hallFile = directory + "/hall.csv";
  arguments.salvage = true;  // of a file that is cut,
  arguments.skipBad = true;  // or of lines that are
  return CountCalls(*OpenCsv(arguments));
}

std::size_t ReadVideo(std::string const& directory) {
  ImportArguments arguments;
  arguments.file = directory + "/video.pb3";
  arguments.salvage = true;
  return CountCalls(*OpenVideo(arguments));
}

std::size_t ReadLog(std::string const& directory) {
  ImportArguments arguments;
  arguments.file = directory + "/log";
  return CountCalls(*OpenLog(arguments));
}

std::string Video() { return Piece(FirstFrame()) + Piece(SecondFrame()); }
std::string Settings() { return "key,value\nversion,2\n"; }
std::string Calls() { return "call,kind,sensor_type,frame,timestamp_ns\n1,register_start,3,,\n2,update,,7,1000\n"; }
std::string Samples() { return "call,timestamp_ns,hall_x,hall_y\n2,900,1,2\n"; }
std::string Log() { return "1: nothing\n2: of interest\n"; }

Reader const kReaders[] = {
    {"settings", "recording.csv", Settings, ReadRecording},
    {"calls", "calls.csv", Calls, ReadRecording},
    {"samples of calls", "hall.csv", Samples, ReadRecording},
    {"frames", "frames.csv", [] { return kFrames; }, ReadRecording},
    {"samples of frames", "hall.csv", [] { return kHall; }, ReadRecording},
    {"imported frames", "frames.csv", [] { return kFrames; }, ReadCsv},
    {"imported samples", "hall.csv", [] { return kHall; }, ReadCsv},
    {"video", "video.pb3", Video, ReadVideo},
    {"log", "log", Log, ReadLog},
};

class ReadFault : public testing::TestWithParam<Reader> {
 protected:
  ReadFault() {
    mDirectory = (std::filesystem::temp_directory_path() / "read-XXXXXX").string();
    if (mkdtemp(mDirectory.data()) == nullptr) ADD_FAILURE() << mDirectory;
    bool const isOfCalls =
        std::string(GetParam().name).find("calls") != std::string::npos || GetParam().content == Settings;
    if (isOfCalls) Write("recording.csv", Settings());
    if (isOfCalls) Write("calls.csv", Calls());
    if (!isOfCalls) Write("frames.csv", kFrames);
    Write("hall.csv", isOfCalls ? Samples() : kHall);
    Write(GetParam().file, GetParam().content());
  }
  ~ReadFault() override {
    faultyFile.clear();
    std::filesystem::remove_all(mDirectory);
  }

  void Write(std::string const& name, std::string const& content) const {
    std::ofstream(mDirectory + "/" + name, std::ios::binary) << content;
  }

  // What comes of reading: the number of calls, or the complaint.
  std::string Outcome() const {
    try {
      return std::to_string(GetParam().read(mDirectory)) + " calls";
    } catch (hosting::UnusableInput const& unusable) {
      return unusable.what();
    }
  }

  std::string mDirectory;
};

TEST_P(ReadFault, IsNeverTakenForTheEndOfTheFile) {
  std::size_t const size = GetParam().content().size();
  std::string const path = mDirectory + "/" + GetParam().file;
  for (std::size_t const good : {std::size_t{0}, size / 2, size - 1, size}) {
    for (auto const& [error, told] : {std::pair(EIO, ": cannot be read: Input/output error"),
                                      std::pair(ENOMEM, ": cannot be read: Cannot allocate memory"),
                                      std::pair(0, ": cannot be read: it has become shorter")}) {
      if (error == 0 && good == size) continue;  // that is its end
      faultyFile = GetParam().file;
      goodBytes = good;
      fault = error;
      std::string const outcome = Outcome();
      EXPECT_EQ(outcome.rfind(path + told, 0), 0U) << good << outcome;
    }
  }
}

TEST_P(ReadFault, ComesOfNoSmallPieces) {
  std::string const whole = Outcome();
  faultyFile = GetParam().file;
  goodBytes = SIZE_MAX;
  pieces = 1;
  EXPECT_EQ(Outcome(), whole);
  pieces = SIZE_MAX;
}

INSTANTIATE_TEST_SUITE_P(Readers, ReadFault, testing::ValuesIn(kReaders), [](auto const& reader) {
  std::string name = reader.param.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
});

}  // namespace
}  // namespace shadingctl
