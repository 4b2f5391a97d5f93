#include "tools/shadingctl/output/RecordingWriter.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>
#include <vector>

#include "hosting/Interruption.h"
#include "hosting/QuotedText.h"
#include "hosting/UnusableInput.h"
#include "recording/Recording.h"

namespace shadingctl {
namespace {

namespace fs = std::filesystem;

// Creates a directory with its missing parents, and removes them again at destruction unless Keep is called.
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

RecordingSize WriteRecording(recording::Session& session, std::string const& directory, bool overwrite,
                             OutputFile& told) {
  MadeDirectory made(directory);
  std::string const settingsPath = directory + "/recording.csv";
  std::string const callsPath = directory + "/calls.csv";
  std::string const samplesPath = directory + "/hall.csv";
  std::string const framesPath = directory + "/frames.csv";  // of a recording of version 1
  std::error_code error;
  for (std::string const& path : {settingsPath, callsPath, samplesPath, framesPath}) {
    if (!overwrite && fs::exists(path, error)) {
      throw hosting::UnusableInput(fmt::format("{}: is there already; --force writes it anew", path));
    }
  }

  RefuseOverwriting({}, {settingsPath, callsPath, samplesPath});
  OutputFile settingsFile(settingsPath);
  OutputFile callsFile(callsPath);
  OutputFile samplesFile(samplesPath);
  callsFile.Write(recording::CallsHeader());
  samplesFile.Write(recording::SamplesHeader());
  RecordingSize size;
  std::string rows;
  for (recording::Call call; session.Next(call);) {
    hosting::EndIfInterrupted();
    rows.clear();
    recording::AppendCall(rows, ++size.calls, call);
    callsFile.Write(rows);
    if (std::holds_alternative<recording::CalcOisValue>(call.operation)) ++size.calculations;
    if (auto const* const update = std::get_if<recording::UpdateSensorData>(&call.operation)) {
      rows.clear();
      recording::AppendSamples(rows, size.calls, update->batch);
      samplesFile.Write(rows);
      size.samples += update->batch.size();
    }
  }
  settingsFile.Write(recording::SettingsText(session.Settings()));
  told.Write(fmt::format("{}: {} frames, {} samples\n", hosting::Escaped(directory), size.calculations, size.samples));
  OutputFile::FinishAll({&callsFile, &samplesFile, &settingsFile, &told});
  made.Keep();
  fs::remove(framesPath, error);  // one that stays is not read
  return size;
}

}  // namespace shadingctl
