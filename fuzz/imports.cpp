// Any bytes through each form of the import: they are refused with a message that names the file, and nothing is left
// behind, or the recording that comes of them can be read again and holds every call and sample.
#include <cmath>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "fuzz/ByteSource.h"
#include "fuzz/Target.h"
#include "fuzz/WorkDirectory.h"
#include "hosting/UnusableInput.h"
#include "recording/Recording.h"
#include "tools/import/Imports.h"
#include "tools/shadingctl/output/RecordingWriter.h"

namespace {

using fuzz::ByteSource;
using fuzz::Expect;
using shadingctl::ImportArguments;
using shadingctl::RecordingSize;
using shadingctl::TimeUnit;

std::string const& Directory() {
  static fuzz::WorkDirectory const work;
  return work.Path();
}

std::string Write(char const* name, std::string const& content) {
  std::string path = Directory() + "/" + name;
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
  return path;
}

std::unique_ptr<recording::Session> Open(ImportArguments const& arguments) {
  if (arguments.file.empty()) return shadingctl::OpenCsv(arguments);
  return arguments.form == shadingctl::ImportForm::kVideo ? shadingctl::OpenVideo(arguments)
                                                          : shadingctl::OpenLog(arguments);
}

// nullopt: refused.
std::optional<RecordingSize> Import(ImportArguments const& arguments) {
  try {
    auto const imported = Open(arguments);
    shadingctl::OutputFile nowhere("/dev/null");
    RecordingSize const size = shadingctl::WriteRecording(*imported, arguments.directory, true, nowhere);
    for (std::string const& remark : imported->Remarks()) {
      Expect(remark.find(Directory()) == 0, "a remark without its file: " + remark);
    }
    return size;
  } catch (hosting::UnusableInput const& unusable) {
    Expect(std::string(unusable.what()).find(Directory()) == 0,
           std::string("a message without its file: ") + unusable.what());
    return std::nullopt;
  }
}

RecordingSize SizeOfRecording(std::string const& directory) {
  RecordingSize size;
  auto const session = recording::OpenRecording(directory);
  for (recording::Call call; session->Next(call); ++size.calls) {
    if (std::holds_alternative<recording::CalcOisValue>(call.operation)) ++size.calculations;
    auto const* const update = std::get_if<recording::UpdateSensorData>(&call.operation);
    if (update == nullptr) continue;
    size.samples += update->batch.size();
    for (auto const& sample : update->batch) {
      Expect(std::isfinite(sample.oisHallX) && std::isfinite(sample.oisHallY), "a position that is no number");
    }
  }
  return size;
}

void Check(ImportArguments arguments) {
  arguments.directory = Directory() + "/recording";
  std::filesystem::remove_all(arguments.directory);
  arguments.salvage = false;
  auto const whole = Import(arguments);
  Expect(whole.has_value() == std::filesystem::exists(arguments.directory), "a refused import leaves something behind");
  arguments.salvage = true;
  auto const salvaged = Import(arguments);
  if (whole) {
    Expect(salvaged && salvaged->calls == whole->calls && salvaged->samples == whole->samples,
           "there is nothing to salvage in a whole file, and yet it is another recording");
  }
  if (!salvaged) return;
  RecordingSize const read = SizeOfRecording(arguments.directory);
  Expect(
      read.calls == salvaged->calls && read.calculations == salvaged->calculations && read.samples == salvaged->samples,
      "the recording holds something else than was written");
}

// Two bytes choose the options.
ImportArguments TakeArguments(ByteSource& source) {
  ImportArguments arguments;
  TimeUnit const units[] = {TimeUnit::kNanoseconds, TimeUnit::kMicroseconds, TimeUnit::kMilliseconds,
                            TimeUnit::kSeconds};
  auto const first = source.Take<std::uint8_t>();
  arguments.timeUnit = units[first & 3];
  if ((first & 4) != 0) arguments.hallTimeUnit = TimeUnit::kNanoseconds;
  if ((first & 8) != 0) arguments.durationUnit = TimeUnit::kMicroseconds;
  arguments.timesAreStarts = (first & 16) != 0;
  if ((first & 32) != 0) arguments.exposureUs = 10000;
  if ((first & 64) != 0) arguments.readoutUs = 16000;
  auto const second = source.Take<std::uint8_t>();
  if ((second & 1) != 0) arguments.scaleX = -2.5;
  if ((second & 2) != 0) arguments.scaleY = 1e30;
  if ((second & 4) != 0) arguments.deliveryDelayUs = 0;
  arguments.skipBad = (second & 8) != 0;
  arguments.separator = recording::kSeparators[second >> 4 & 3];
  arguments.skip = second >> 6;
  return arguments;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t count) {
  ByteSource source(bytes, count);
  // A letter, so that a corpus can be read and made by hand.
  char const form = source.Take<char>();
  ImportArguments arguments = TakeArguments(source);
  std::string const rest = source.TakeRest();
  switch (form) {
    case 'c': {  // the two files stand one after the other, with a line of % between them
      std::size_t const end = std::min(rest.find("%\n"), rest.size());
      arguments.framesFile = Write("frames", rest.substr(0, end));
      arguments.hallFile = Write("hall", rest.substr(std::min(end + 2, rest.size())));
      break;
    }
    case 'v':
      arguments.form = shadingctl::ImportForm::kVideo;
      arguments.file = Write("video.pb3", rest);
      break;
    case 'l':
      arguments.form = shadingctl::ImportForm::kLog;
      arguments.file = Write("log", rest);
      break;
    default:
      return 0;
  }
  Check(arguments);
  return 0;
}
