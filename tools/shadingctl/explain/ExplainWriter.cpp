#include "tools/shadingctl/explain/ExplainWriter.h"

#include <fmt/format.h>

#include "tools/shadingctl/explain/FrameWords.h"
#include "tools/shadingctl/explain/ReportText.h"
#include "tools/shadingctl/output/Console.h"

namespace shadingctl {
namespace {

std::string StoryText(ExplainedCall const& call) {
  std::string text = fmt::format("Camera {}, frame {}: {}\n", call.frame.row.camera, call.frame.row.frame,
                                 Headline(call.frame.row, call.frame.facts));
  for (std::string const& sentence : Story(call.frame.row, call.frame.facts)) text += "  " + sentence + "\n";
  if (call.lost > 0) text += fmt::format("  Lines of it that are missing: {} or more.\n", call.lost);
  if (!call.recomputed) return text;
  switch (call.recomputed->verdict) {
    case Recomputation::Verdict::kSame:
      return text + "  The library computes the same from its window.\n";
    case Recomputation::Verdict::kDifferent:
      return text + "  DIFFERENT: " + call.recomputed->difference + ".\n";
    case Recomputation::Verdict::kNotWhole:
      return text + "  It is not whole, so the library cannot compute it again.\n";
    case Recomputation::Verdict::kOtherMode:
      return text + "  The calculation mode changed, and this library has no switch for it.\n";
  }
  return text;
}

char const* Name(Recomputation::Verdict verdict) {
  switch (verdict) {
    case Recomputation::Verdict::kSame:
      return "same";
    case Recomputation::Verdict::kDifferent:
      return "different";
    case Recomputation::Verdict::kNotWhole:
      return "not_whole";
    case Recomputation::Verdict::kOtherMode:
      return "other_mode";
  }
  return "";
}

Json WordsJson(ExplainedCall const& call) {
  Json json = {{"camera", call.frame.row.camera},
               {"frame", call.frame.row.frame},
               {"text", Headline(call.frame.row, call.frame.facts)},
               {"steps", Story(call.frame.row, call.frame.facts)}};
  if (!call.recomputed) return json;
  json["line"] = call.firstLine;
  json["lost_lines"] = call.lost;
  json["recomputed"] = Name(call.recomputed->verdict);
  json["difference"] = OrNull(call.recomputed->difference);
  return json;
}

}  // namespace

ExplainWriter::ExplainWriter(OutputFile& output, Format format, std::optional<std::uint32_t> frame)
    : mOutput(output), mFormat(format), mFrame(frame) {
  if (format != Format::kTable) mRows = MakeResultWriter(format, output, TableStyle());
}

void ExplainWriter::Begin(ReplaySettings const& settings) {
  if (!IsInWords()) mRows->Begin(settings);
}

void ExplainWriter::Add(ExplainedCall const& call) {
  if (mFrame && call.frame.row.frame != *mFrame) return;
  mHasShown = true;
  if (IsInWords()) {
    mOutput.Write(mFrame ? StoryText(call) : CallLine(call));
  } else {
    mRows->Add(call.frame.row);
    if (mFormat == Format::kJson) mWords.push_back(WordsJson(call));
  }
}

void ExplainWriter::End(Summaries const& summaries, std::optional<LogReport> const& report, std::string const& name,
                        std::string const& error) {
  if (!IsInWords()) {
    mRows->AddExtra("explained", mWords);
    if (report) mRows->AddExtra("log", ReportJson(*report, name));
    mRows->End(summaries.End(error));
  }
  if (report && report->messages == 0) return;  // `error` says all
  std::string const source =
      report ? ReportText(*report, name) : fmt::format("Session    {}\n{}", name, summaries.CaptureText());
  std::string const closing = source + summaries.FindingsText();
  if (IsInWords()) mOutput.Write((mHasShown ? "\n" : "") + closing);
  if (mFormat == Format::kCsv) TellPlainly(closing);
}

}  // namespace shadingctl
