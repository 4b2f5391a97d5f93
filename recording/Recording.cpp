#include "recording/Recording.h"

#include <fmt/format.h>

#include <charconv>
#include <filesystem>
#include <set>

#include "hosting/UnusableInput.h"
#include "recording/CsvFile.h"
#include "recording/RecordingColumns.h"

namespace recording {
namespace {

enum SettingColumn : std::size_t { kKey, kValue };

// Camera numbers with blanks between.
std::vector<std::int32_t> ReadCameras(CsvFile const& file) {
  std::vector<std::int32_t> cameras;
  std::string_view rest = file.Text(kValue);
  while (!rest.empty()) {
    std::int32_t camera = 0;
    auto const [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), camera);
    auto const length = static_cast<std::size_t>(end - rest.data());
    bool const endsAtBlank = length == rest.size() || rest[length] == ' ';
    if (error != std::errc{} || !endsAtBlank) file.Complain(kValue, "camera numbers with blanks between");
    cameras.push_back(camera);
    rest.remove_prefix(length);
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
  }
  return cameras;
}

// One of three names, as its index.
std::size_t ReadName(CsvFile const& file, std::array<std::string_view, 3> const& names) {
  auto const index = IndexOf(names, file.Text(kValue));
  if (!index) file.Complain(kValue, fmt::format("{}, {} or {}", names[0], names[1], names[2]));
  return *index;
}

struct Head {
  std::uint32_t version = 0;  // 0: not said yet
  SessionSettings settings;
  Capture capture;
};

Head ReadHead(std::string const& path) {
  Head head;
  CsvFile file(path, {{"key"}, {"value"}});
  std::set<std::string, std::less<>> seen;
  while (file.Next()) {
    std::string_view const key = file.Text(kKey);
    if (!seen.emplace(key).second) file.Complain(kKey, "every key once");
    if (key == kVersionKey) {
      head.version = file.Get<std::uint32_t>(kValue);
      if (head.version < 1 || head.version > kRecordingVersion) {
        file.Complain(kValue, fmt::format("a version from 1 to {}", kRecordingVersion));
      }
    } else if (key == kCamerasKey) {
      head.settings.cameras = ReadCameras(file);
    } else if (key == kCalculationModeKey) {
      head.settings.calculationMode = file.Get<std::int32_t>(kValue);
    } else if (key == kBatchesKey) {
      head.settings.batches = static_cast<Batches>(ReadName(file, kBatchesNames));
    } else if (key == kLostCallsKey) {
      head.capture.lostCalls = file.Get<std::uint64_t>(kValue);
    } else if (key == kLostSamplesKey) {
      head.capture.lostSamples = file.Get<std::uint64_t>(kValue);
    } else if (key == kStateKey) {
      head.capture.state = static_cast<CaptureState>(ReadName(file, kStateNames));
    }
  }
  if (head.version == 0) throw hosting::UnusableInput(fmt::format("{}: expected the key version, found none", path));
  return head;
}

}  // namespace

std::string_view NameOf(CaptureState state) { return kStateNames[static_cast<std::size_t>(state)]; }

std::optional<CaptureState> CaptureStateOf(std::string_view name) {
  auto const index = IndexOf(kStateNames, name);
  return index ? std::optional(static_cast<CaptureState>(*index)) : std::nullopt;
}

std::string LackText(Capture const& capture) {
  std::string text;
  if (capture.state == CaptureState::kRunning) {
    text = "its capture has no end, so the process was killed or is still running: the last calls may be missing";
  } else if (capture.state == CaptureState::kBroken) {
    text = "its capture broke off where a file could not be written: what came later is missing";
  }
  if (capture.lostCalls + capture.lostSamples == 0) return text;
  return fmt::format("{}{}{} calls and {} samples are lost", text, text.empty() ? "" : "; ", capture.lostCalls,
                     capture.lostSamples);
}

std::vector<std::string> Session::Remarks() const {
  std::vector<std::string> remarks;
  if (mSettings.batches != Batches::kDelivered) {
    remarks.push_back(fmt::format(
        "{}: its batches are those that {}, not those that were delivered: positions can differ from the phone's",
        mName, mSettings.batches == Batches::kFiled ? "the library filed" : "an import put together"));
  }
  std::string const lack = LackText(mOddities.Captured());
  if (!lack.empty()) remarks.push_back(fmt::format("{}: {}", mName, lack));
  return remarks;
}

std::string RecordingDirectory(std::string const& name) {
  std::filesystem::path const path(name);
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) return name;
  bool const isFile =
      std::find(kRecordingFiles.begin(), kRecordingFiles.end(), path.filename()) != kRecordingFiles.end();
  if (!isFile) return name;
  return path.has_parent_path() ? path.parent_path().string() : ".";
}

std::unique_ptr<Session> OpenRecording(std::string const& directory) {
  std::string const path = directory + "/recording.csv";
  std::error_code error;
  if (!std::filesystem::exists(path, error)) return OpenFrameRecording(directory);
  Head const head = ReadHead(path);
  return head.version == 1 ? OpenFrameRecording(directory) : OpenCallRecording(directory, head.settings, head.capture);
}

}  // namespace recording
