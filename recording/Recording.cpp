#include "recording/Recording.h"

#include <fmt/format.h>

#include <charconv>
#include <filesystem>
#include <set>
#include <string_view>

#include "hosting/UnusableInput.h"
#include "recording/CallColumns.h"
#include "recording/CallRecording.h"
#include "recording/CsvFile.h"
#include "recording/FrameRecording.h"

namespace recording {
namespace {

enum SettingColumn : std::size_t { kKey, kValue };
constexpr std::array<CsvFile::Column, 2> kSettingColumns = {{{"key"}, {"value"}}};

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

Batches ReadBatches(CsvFile const& file) {
  std::string_view const value = file.Text(kValue);
  if (value == "delivered") return Batches::kDelivered;
  if (value == "filed") return Batches::kFiled;
  if (value == "rebuilt") return Batches::kRebuilt;
  file.Complain(kValue, "delivered, filed or rebuilt");
}

struct Head {
  std::uint32_t version = 0;  // 0: not said yet
  SessionSettings settings;
};

Head ReadHead(std::string const& path) {
  Head head;
  CsvFile file(path, kSettingColumns);
  std::set<std::string, std::less<>> seen;
  while (file.Next()) {
    std::string_view const key = file.Text(kKey);
    if (!seen.emplace(key).second) file.Complain(kKey, "every key once");
    if (key == "version") {
      head.version = file.Unsigned32(kValue);
      if (head.version < 1 || head.version > kRecordingVersion) {
        file.Complain(kValue, fmt::format("a version from 1 to {}", kRecordingVersion));
      }
    } else if (key == "cameras") {
      head.settings.cameras = ReadCameras(file);
    } else if (key == "calculation_mode") {
      head.settings.calculationMode = file.Signed32(kValue);
    } else if (key == "batches") {
      head.settings.batches = ReadBatches(file);
    }
  }
  if (head.version == 0) throw hosting::UnusableInput(fmt::format("{}: expected the key version, found none", path));
  return head;
}

}  // namespace

std::string RecordingDirectory(std::string const& name) {
  std::filesystem::path const path(name);
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) return name;
  for (char const* const file : {"recording.csv", "calls.csv", "frames.csv", "hall.csv"}) {
    if (path.filename() == file) return path.has_parent_path() ? path.parent_path().string() : ".";
  }
  return name;
}

std::unique_ptr<Session> OpenRecording(std::string const& directory) {
  std::string const path = directory + "/recording.csv";
  std::error_code error;
  if (!std::filesystem::exists(path, error)) return std::make_unique<FrameRecording>(directory);
  Head head = ReadHead(path);
  if (head.version == 1) return std::make_unique<FrameRecording>(directory);
  return std::make_unique<CallRecording>(directory, std::move(head.settings));
}

}  // namespace recording
