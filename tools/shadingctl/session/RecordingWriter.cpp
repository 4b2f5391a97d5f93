#include "tools/shadingctl/session/RecordingWriter.h"

#include <fmt/format.h>

#include <filesystem>
#include <iterator>
#include <system_error>
#include <vector>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"
#include "tools/shadingctl/output/FileIdentity.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {
namespace {

namespace fs = std::filesystem;

// A directory and whatever of its path is missing. What was made goes again unless it is kept.
class MadeDirectory {
 public:
  explicit MadeDirectory(fs::path const& directory) {
    std::error_code error;
    for (fs::path part = directory; !part.empty() && !fs::exists(part, error); part = part.parent_path()) {
      mMade.push_back(part);
    }
    fs::create_directories(directory, error);
    if (error) throw hosting::UnusableInput(fmt::format("{}: cannot be made: {}", directory.string(), error.message()));
  }
  ~MadeDirectory() {
    std::error_code ignored;
    for (fs::path const& part : mMade) fs::remove(part, ignored);
  }
  MadeDirectory(MadeDirectory const&) = delete;
  MadeDirectory& operator=(MadeDirectory const&) = delete;

  void Keep() { mMade.clear(); }

 private:
  std::vector<fs::path> mMade;  // the innermost one first
};

}  // namespace

RecordingSize WriteRecording(hosting::Session& session, std::string const& directory, bool overwrite) {
  MadeDirectory made(directory);
  std::string const framePath = directory + "/frames.csv";
  std::string const hallPath = directory + "/hall.csv";
  for (std::string const& path : {framePath, hallPath}) {
    std::error_code error;
    if (!overwrite && fs::exists(path, error)) {
      throw hosting::UnusableInput(fmt::format("{}: is there already; --force writes it anew", path));
    }
  }

  RefuseOverwriting({}, {framePath, hallPath});
  OutputFile frameFile(framePath);
  OutputFile hallFile(hallPath);
  frameFile.Write("frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n");
  hallFile.Write("frame,timestamp_ns,hall_x,hall_y\n");
  RecordingSize size;
  std::string rows;
  std::uint32_t rollingShutterNs = 0;
  for (hosting::Call call; session.Next(call);) {
    if (hosting::InterruptedBy() != 0) throw hosting::Interrupted();
    if (auto const* const store = std::get_if<hosting::StoreRollingShutter>(&call.operation)) {
      rollingShutterNs = store->rollingShutterNs;
    } else if (auto const* const update = std::get_if<hosting::UpdateSensorData>(&call.operation)) {
      rows.clear();
      for (auto const& sample : update->batch) {
        fmt::format_to(std::back_inserter(rows), "{},{},{:.6f},{:.6f}\n", update->frame, sample.timestamp,
                       sample.oisHallX, sample.oisHallY);
      }
      hallFile.Write(rows);
      size.samples += update->batch.size();
    } else if (auto const* const calc = std::get_if<hosting::CalcOisValue>(&call.operation)) {
      frameFile.Write(fmt::format("{},{},{},{}\n", calc->frame, calc->pairs[0].timestampNs, calc->pairs[0].exposureNs,
                                  rollingShutterNs));
      ++size.frames;
    }
  }
  OutputFile::FinishAll({&frameFile, &hallFile});
  made.Keep();
  return size;
}

}  // namespace shadingctl
