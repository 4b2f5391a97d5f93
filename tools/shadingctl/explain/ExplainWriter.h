// Shows explained frames, in words or as the rows of a result. docs/explain.md describes both. FrameWords.cpp has the
// words of one frame.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/explain/LogExplanation.h"
#include "tools/shadingctl/output/Json.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {

// One sentence: what became of the frame, and why.
std::string Headline(FrameResult const& result, FrameFacts const& facts);

// The steps in their order, one sentence each: the search interval, the history and its window, the start, the end, the
// position.
std::vector<std::string> Story(FrameResult const& result, FrameFacts const& facts);

// What a log is like.
std::string ReportText(LogReport const& report, std::string const& logName);

// One line for a frame: what became of it, what is missing of it, and whether the library computes the same.
std::string CallLine(ExplainedCall const& call);

class ExplainWriter {
 public:
  // With `frame`, frames of that number only: in words, step by step instead of in a line.
  ExplainWriter(OutputFile& output, Format format, std::optional<std::uint32_t> frame);

  void Begin(ReplaySettings const& settings);
  void Add(ExplainedCall const& call);

  // The findings, after `report` where a log was explained. CSV has no place for them: they are told beside it.
  // `error` says why there are no more frames; empty at the end of the session.
  void End(Summaries const& summaries, std::optional<LogReport> const& report, std::string const& name,
           std::string const& error);

  bool HasShown() const { return mHasShown; }

 private:
  bool IsInWords() const { return mRows == nullptr; }

  OutputFile& mOutput;
  Format mFormat;
  std::optional<std::uint32_t> mFrame;
  std::unique_ptr<ResultWriter> mRows;  // null: in words
  Json mWords = Json::array();
  bool mHasShown = false;
};

}  // namespace shadingctl
