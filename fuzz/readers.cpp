// Any bytes through each reader of the tools: input is refused with the reader's own exception, whose message names the
// file, or what is read lies within the documented bounds.
#include <fstream>
#include <string>

#include "fuzz/ByteSource.h"
#include "fuzz/Target.h"
#include "fuzz/WorkDirectory.h"
#include "hosting/UnusableInput.h"
#include "platform/desktop/DeviceFile.h"
#include "recording/InputFile.h"
#include "recording/Recording.h"
#include "tools/shadingctl/doctor/Diagnosis.h"
#include "tools/shadingctl/doctor/ShadingInterface.h"
#include "tools/shadingctl/dumps/HallDumpFile.h"
#include "tools/shadingctl/explain/ExplainWriter.h"
#include "tools/shadingctl/explain/LogExplanation.h"
#include "tools/shadingctl/log/FrameMessages.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/report/Page.h"
#include "tools/shadingctl/result/ResultDiff.h"

namespace {

using fuzz::ByteSource;
using fuzz::Expect;

std::string const& Directory() {
  static fuzz::WorkDirectory const work;
  return work.Path();
}

void Write(char const* name, std::string const& content) {
  std::ofstream(Directory() + "/" + name, std::ios::binary | std::ios::trunc) << content;
}

void Remove(char const* name) { remove((Directory() + "/" + name).c_str()); }

void ExpectNamed(std::exception const& refusal, std::string const& name) {
  Expect(std::string(refusal.what()).rfind(name, 0) == 0, std::string("a message without its file: ") + refusal.what());
}

// The files of a recording stand one after the other, with a line of % between them.
void ReadRecording(std::string const& text, std::initializer_list<char const*> names) {
  for (char const* const name : {"frames.csv", "hall.csv", "recording.csv", "calls.csv"}) Remove(name);
  std::size_t begin = 0;
  for (char const* const name : names) {
    std::size_t const end = std::min(text.find("%\n", begin), text.size());
    Write(name, text.substr(begin, end - begin));
    begin = std::min(end + 2, text.size());
  }
  try {
    auto const session = recording::OpenRecording(Directory());
    recording::Call call;
    std::size_t calls = 0;
    while (session->Next(call)) ++calls;
    Expect(calls <= 4 * text.size() + 16, "more calls than the text has room for");
  } catch (hosting::UnusableInput const& unusable) {
    ExpectNamed(unusable, Directory());
  }
}

void ReadDevice(std::string const& text) {
  Write("device.json", text);
  try {
    desktop::LoadDevice(Directory());
  } catch (desktop::UnusableFile const& unusable) {
    ExpectNamed(unusable, Directory());
  }
}

void ReadDump(std::string const& text) {
  std::size_t const end = std::min(text.find('\n'), text.size());
  auto const name = shadingctl::ParseDumpName(text.substr(0, end));
  try {
    auto const dump =
        shadingctl::ParseDump(name.value_or(shadingctl::DumpName{}), text.substr(std::min(end + 1, text.size())));
    Expect(dump.samples.size() >= 2 && dump.samples.size() <= shadingctl::kMaxSpan, "a span that is no dump's");
  } catch (shadingctl::BrokenDump const& broken) {
    Expect(broken.Line() >= 1, "a message without its line");
  }
}

void ReadMessages(std::string const& text) {
  shadingctl::FrameMessages frame;
  for (std::size_t begin = 0; begin < text.size();) {
    std::size_t const end = std::min(text.find('\n', begin), text.size());
    frame.Add(text.substr(begin, end - begin));
    begin = end + 1;
  }
}

void ReadLog(std::string const& text) {
  Write("log", text);
  shadingctl::Summaries summaries(4);
  std::uint64_t frames = 0;
  recording::LineReader log(Directory() + "/log");
  shadingctl::LogExplanation explanation(log, nullptr, summaries, [&](shadingctl::ExplainedCall const& call) {
    ++frames;
    Expect(!shadingctl::CallLine(call).empty() && !shadingctl::Story(call.frame.row, call.frame.facts).empty(),
           "a frame of no words");
  });
  try {
    explanation.Read();
  } catch (hosting::UnusableInput const& unusable) {
    ExpectNamed(unusable, log.Name());
  }
  explanation.Finish();
  shadingctl::LogReport const& report = explanation.Report();
  Expect(frames + report.undecided == report.calls, "a computation is neither shown nor counted");
  Expect(report.lines.messages + report.lines.otherTags + report.lines.unreadable <= report.lines.lines,
         "more than all lines");
  Expect(!summaries.FindingsText().empty() || frames == 0, "no word about what was found");
  shadingctl::ReportText(report, log.Name());
}

void ReadResult(std::string const& text) {
  Write("result", text);
  std::string const path = Directory() + "/result";
  try {
    std::size_t rows = 0;
    shadingctl::ResultSink sink;
    sink.onRow = [&](shadingctl::ResultRow const& row) {
      ++rows;
      Expect(row.Get<std::uint64_t>(shadingctl::Column::kFrame) != nullptr, "a row without its frame");
    };
    shadingctl::ReadResult(path, {shadingctl::kReplaySchema}, sink);
    Expect(rows <= text.size(), "more rows than the text has room for");
    Expect(shadingctl::CompareResults(path, path, {}).IsSame(), "a result that differs from itself");
  } catch (hosting::UnusableInput const& unusable) {
    ExpectNamed(unusable, path);
  }
}

void ReadLibrary(std::string const& bytes) {
  try {
    shadingctl::ElfFile const file = shadingctl::ReadElf(bytes, "library", shadingctl::kTableName);
    std::size_t const checks = shadingctl::IsShadingLibrary(file) ? 10 : 2;
    Expect(shadingctl::Diagnose(file).size() >= checks, "a check says nothing");
  } catch (hosting::UnusableInput const& unusable) {
    ExpectNamed(unusable, "library: ");
  }
}

// What is taken as a result can be drawn.
void DrawResult(std::string const& text) {
  Write("result", text);
  std::string const path = Directory() + "/result";
  try {
    shadingctl::OutputFile nowhere("/dev/null");
    std::vector<shadingctl::PageResult> const results = {shadingctl::ReadPageResult(path)};
    shadingctl::WritePage(results, nowhere);
    if (shadingctl::IsReplay(results[0].head)) shadingctl::WriteTrace(path, nowhere);
  } catch (hosting::UnusableInput const& unusable) {
    ExpectNamed(unusable, path);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t count) {
  ByteSource source(bytes, count);
  // A letter, so that a corpus can be read and made by hand.
  char const reader = source.Take<char>();
  std::string const rest = source.TakeRest();
  switch (reader) {
    case 'f':
      ReadRecording(rest, {"frames.csv", "hall.csv"});
      break;
    case 'c':
      ReadRecording(rest, {"recording.csv", "calls.csv", "hall.csv"});
      break;
    case 'd':
      ReadDevice(rest);
      break;
    case 'o':
      ReadDump(rest);
      break;
    case 'm':
      ReadMessages(rest);
      break;
    case 'j':
      DrawResult(rest);
      break;
    case 'l':
      ReadLog(rest);
      break;
    case 'r':
      ReadResult(rest);
      break;
    case 'e':
      ReadLibrary(rest);
      break;
    default:
      break;
  }
  return 0;
}
