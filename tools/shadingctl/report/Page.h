// Pictures of a result: a page that needs nothing but a browser, and a trace for a viewer of timelines.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/result/ResultReader.h"

namespace shadingctl {

// The page around its data, assembled from page/ when it is built.
extern char const kPageBeforeData[];
extern char const kPageAfterData[];

// Rows and samples of a replay as the page holds them, in numbers that a browser can compute with: rows become columns,
// and all times count from the whole us of the first frame's timestamp, so that ns and us are rounded alike. The
// batches of a camera become one list of samples in the order of delivery, each with its step from the time before, as
// base64 of numbers of four bytes: 16 characters a sample. Beside it stands with which frame each batch came.
class PageData {
 public:
  // Requires: frame, timestamp and match are there.
  void Add(ResultRow const& row);
  void Add(DeliveredSample const& sample);
  // An object of "explained", which belongs to the next row of those that have none; `place` is for messages.
  void AddExplained(Json const& words, std::string const& place);

  // Members of a JSON object: "origin_ns" in digits, since a browser's numbers hold 53 bits, "frames" and, where there
  // are any, "explained" and "samples".
  void Write(OutputFile& output) const;

 private:
  struct Samples {
    std::int64_t firstNs = 0;
    std::int64_t latestNs = 0;
    std::string steps;  // the bytes of int32 each, of x and y those of float
    std::string x;
    std::string y;
    std::string jumps;    // steps that an int32 does not hold: ",[INDEX,NS]" each
    std::string batches;  // ",SAMPLES,FRAME" each: those of the batch before, 0 at first
    std::optional<std::int64_t> frame;
    std::uint64_t inBatch = 0;
  };

  std::int64_t mOriginNs = 0;
  std::uint64_t mRows = 0;
  std::array<std::string, kColumnCount> mColumns;  // empty: no row has it
  std::map<std::int64_t, Samples> mSamples;        // by camera
  std::string mExplained;                          // ",[SENTENCE,...]" each
};

// One result: `head.members` of a replay are its settings, summary and so on, of other kinds all of it.
struct PageResult {
  ResultHead head;
  PageData data;
};

// "replay", "calibration", "fit": the JSON results that have a page.
char const* KindName(ResultHead const& head);
bool IsReplay(ResultHead const& head);

// Reads any of them and checks what its page needs. All keys are optional: what needs one that is missing is left out
// of a picture. Throws UnusableInput.
ResultHead ReadDocument(std::string const& path, ResultSink const& sink);
PageResult ReadPageResult(std::string const& path);

// Of one result, or of two replays that are drawn over each other. Throws UnusableInput for another pair.
void WritePage(std::vector<PageResult> const& results, OutputFile& output);

// Reads the JSON result of a replay and writes the Chrome trace format, as an object; docs/pictures.md lists the
// tracks. Throws UnusableInput.
ResultHead WriteTrace(std::string const& path, OutputFile& output);

}  // namespace shadingctl
