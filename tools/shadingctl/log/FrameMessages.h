// The library's messages about one frame.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/shadingctl/log/LibraryMessage.h"

namespace shadingctl {

// Collected from one frame's messages in their order. A value that the library does not log at its level stays empty;
// docs/replay-output.md lists the values of each level.
struct FrameMessages {
  // The batch.
  std::optional<BatchStored> batch;  // level 4
  bool split = false;                // level 1; the batch was cut, and the end of the frame before with it
  bool noBatch = false;              // any level

  // The query for samples.
  bool notRegistered = false;             // any level; the library does not know the camera
  bool nothingMatched = false;            // any level; no sample at or after the time, or too little history
  bool zeroTime = false;                  // any level; the frame's time was 0
  std::optional<std::uint64_t> buffered;  // level 1; samples that the library holds
  std::optional<SampleMatched> matched;   // level 1
  std::optional<QueryAnswered> query;     // level 1

  // The match. Indices count the entries of the library's table, except those of `source`.
  std::optional<FrameTimesTold> times;  // level 1
  std::vector<SourceSample> source;     // level 4; the window
  std::optional<std::int32_t> entries;  // level 1; in the table
  std::optional<StartCandidate> firstCandidate;
  std::optional<StartCandidate> nearestCandidate;  // level 4; of the entries that were tried as the start
  std::optional<StartCandidate> lastCandidate;
  std::optional<StartFound> start;                // level 1; the first entry within the tolerance
  std::optional<EndCandidate> firstEndCandidate;  // level 4
  std::optional<EndCandidate> lastEndCandidate;
  std::optional<SpanFound> span;  // level 1
  std::uint32_t spanEntries = 0;  // level 4, in two of the modes; entries of the span that were told
  std::optional<SpanEntry> firstSpanEntry;
  std::optional<SpanFailed> failed;          // level 4
  std::optional<PositionTold> position;      // any level
  std::optional<NoPositionTold> noPosition;  // any level

  std::uint32_t damaged = 0;  // messages that could not be read

  // The frame has a position, or would have one in another mode.
  bool Done() const { return position || noPosition; }

  // A start was found, as far as the lines that are left tell.
  bool HasStart() const;

  // The host handed a set flag in, as far as that changes the outcome.
  bool FlagWasSet() const { return Done() || firstEndCandidate; }

  // No sample of the window is missing, as far as the lines that are left tell.
  bool HasWholeWindow() const;

  // Forgets everything and keeps the memory.
  void Clear();

  void Add(LibraryMessage const& message);
  void Add(std::string_view message) { Add(ParseMessage(message)); }

  // How many lines the computation must have written, a lower bound: what lost lines told is unknown. `hasDetail`: the
  // library's log level is 4 or more.
  std::uint64_t ExpectedLines(bool hasDetail) const;
};

}  // namespace shadingctl
