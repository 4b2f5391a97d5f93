#include "tools/shadingctl/explain/ExplainWriter.h"

#include <fmt/format.h>

#include <vector>

#include "hosting/QuotedText.h"
#include "tools/shadingctl/output/Console.h"

namespace shadingctl {
namespace {

std::vector<std::string> FormatNames(LogCounts const& lines) {
  std::vector<std::string> names;
  for (LogFormat const format : lines.formats) names.emplace_back(Name(format));
  return names;
}

std::string FirstLine(std::uint64_t count, std::uint64_t line) {
  return count == 0 ? std::string() : fmt::format(" (first at line {})", line);
}

Json FramesJson(FrameList const& frames) { return {{"count", frames.count}, {"first", frames.first}}; }

Json ReportJson(LogReport const& report, std::string const& logName) {
  LogCounts const& lines = report.lines;
  return {{"name", logName},
          {"formats", FormatNames(lines)},
          {"mode", OrNull(report.mode)},
          {"lines", lines.lines},
          {"messages", lines.messages},
          {"other_tags", lines.otherTags},
          {"unreadable", lines.unreadable},
          {"damaged", lines.damaged},
          {"dropped_by_log", lines.droppedByLog},
          {"lost_lines", report.lostLines},
          {"computations", report.calls},
          {"computations_with_loss", report.callsWithLoss},
          {"undecided", report.undecided},
          {"missing_numbers", FramesJson(report.missingNumbers)},
          {"recomputed",
           {{"same", report.same}, {"different", FramesJson(report.different)}, {"not_whole", report.notWhole}}}};
}

struct VerdictWords {
  char const* name;
  char const* sentence;
};

VerdictWords WordsFor(Recomputation::Verdict verdict) {
  constexpr VerdictWords kWords[] = {
      {"same", "The library computes the same from its window"},
      {"different", "DIFFERENT"},
      {"not_whole", "It is not whole, so the library cannot compute it again"},
      {"other_mode", "The calculation mode changed, and this library has no switch for it"}};
  return kWords[static_cast<std::size_t>(verdict)];
}

std::string StoryText(ExplainedCall const& call) {
  auto const& [row, facts] = call.frame;
  std::string text = fmt::format("Camera {}, frame {}: {}\n", row.camera, row.frame, Headline(row, facts));
  for (std::string const& sentence : Story(row, facts)) text += "  " + sentence + "\n";
  if (call.lost > 0) text += fmt::format("  Lines of it that are missing: {} or more.\n", call.lost);
  if (!call.recomputed) return text;
  std::string const& difference = call.recomputed->difference;
  return text + fmt::format("  {}{}{}.\n", WordsFor(call.recomputed->verdict).sentence, difference.empty() ? "" : ": ",
                            difference);
}

Json WordsJson(ExplainedCall const& call) {
  auto const& [row, facts] = call.frame;
  Json json = {
      {"camera", row.camera}, {"frame", row.frame}, {"text", Headline(row, facts)}, {"steps", Story(row, facts)}};
  if (!call.recomputed) return json;
  json["line"] = call.firstLine;
  json["lost_lines"] = call.lost;
  json["recomputed"] = WordsFor(call.recomputed->verdict).name;
  json["difference"] = OrNull(call.recomputed->difference);
  return json;
}

}  // namespace

std::string CallLine(ExplainedCall const& call) {
  std::string line = fmt::format("camera {} frame {}: {}", call.frame.row.camera, call.frame.row.frame,
                                 Headline(call.frame.row, call.frame.facts));
  if (call.lost > 0) line += fmt::format(" [{} of its lines are missing]", call.lost);
  bool const isDifferent = call.recomputed && call.recomputed->verdict == Recomputation::Verdict::kDifferent;
  if (isDifferent) line += "; DIFFERENT: " + call.recomputed->difference;
  return line + "\n";
}

std::string ReportText(LogReport const& report, std::string const& logName) {
  LogCounts const& lines = report.lines;
  std::string text = fmt::format("Log        {}: {} messages of the library in {} lines ({})\n", logName,
                                 lines.messages, lines.lines, fmt::join(FormatNames(lines), ", "));
  text += fmt::format("           other tags {}, no line of a log {}{}, cut or damaged messages {}{}\n",
                      lines.otherTags, lines.unreadable, FirstLine(lines.unreadable, lines.firstUnreadable),
                      lines.damaged, FirstLine(lines.damaged, lines.firstDamaged));
  text += fmt::format("Lost       {} lines at least, of {} of {} computations", report.lostLines, report.callsWithLoss,
                      report.calls);
  if (report.undecided > 0) text += fmt::format("; of {} nothing can be told", report.undecided);
  if (lines.droppedByLog > 0) text += fmt::format("; the log says that it has dropped {} lines", lines.droppedByLog);
  text += "\n";
  if (report.missingNumbers.count > 0) {
    text +=
        fmt::format("           {} frame numbers do not appear ({}): lost with all their lines, or never computed\n",
                    report.missingNumbers.count, NumbersText(report.missingNumbers));
  }
  if (!lines.hasDetail) text += "           The library's log level is below 4: it tells no samples and candidates\n";
  text += fmt::format("Recomputed {} frames as logged, {} different{}, {} not whole enough to tell\n", report.same,
                      report.different.count,
                      report.different.count > 0 ? fmt::format(" ({})", NumbersText(report.different)) : "",
                      report.notWhole);
  return text;
}

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
  if (report && report->lines.messages == 0) return;  // `error` says all
  std::string const source = report ? ReportText(*report, name)
                                    : fmt::format("Session    {}\n{}", hosting::Escaped(name), summaries.CaptureText());
  std::string const closing = hosting::EscapedLines(source + summaries.FindingsText());
  if (IsInWords()) mOutput.Write((mHasShown ? "\n" : "") + closing);
  if (mFormat == Format::kCsv) TellPlainly(closing);
}

}  // namespace shadingctl
