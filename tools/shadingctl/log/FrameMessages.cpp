#include "tools/shadingctl/log/FrameMessages.h"

#include <algorithm>
#include <utility>

#include "hosting/LibraryNumbers.h"

namespace shadingctl {
namespace {

using hosting::kToleranceUs;

// One overload for each message that tells something about the frame; the last one takes the others.
struct Gather {
  FrameMessages& frame;

  void operator()(SourceSample const& told) const { frame.source.push_back(told); }
  void operator()(StartCandidate const& told) const {
    if (!frame.firstCandidate) frame.firstCandidate = told;
    if (!frame.nearestCandidate || told.distanceUs < frame.nearestCandidate->distanceUs) frame.nearestCandidate = told;
    frame.lastCandidate = told;
  }
  void operator()(EndCandidate const& told) const {
    if (!frame.firstEndCandidate) frame.firstEndCandidate = told;
    frame.lastEndCandidate = told;
  }
  void operator()(SpanEntry const& told) const {
    if (!frame.firstSpanEntry) frame.firstSpanEntry = told;
    ++frame.spanEntries;
  }
  void operator()(BatchSplit const&) const { frame.split = true; }
  void operator()(BatchStored const& told) const { frame.batch = told; }
  void operator()(NoBatch const&) const { frame.noBatch = true; }
  void operator()(CameraNotRegistered const&) const { frame.notRegistered = true; }
  void operator()(HistorySize const& told) const { frame.buffered = told.samples; }
  void operator()(SampleMatched const& told) const { frame.matched = told; }
  void operator()(NothingMatched const&) const { frame.nothingMatched = true; }
  void operator()(ZeroTime const&) const { frame.zeroTime = true; }
  void operator()(QueryAnswered const& told) const { frame.query = told; }
  void operator()(FrameTimesTold const& told) const { frame.times = told; }
  void operator()(TableSize const& told) const { frame.entries = told.entries; }
  void operator()(StartFound const& told) const { frame.start = told; }
  void operator()(SpanFound const& told) const { frame.span = told; }
  void operator()(SpanFailed const& told) const { frame.failed = told; }
  void operator()(PositionTold const& told) const { frame.position = told; }
  void operator()(NoPositionTold const& told) const { frame.noPosition = told; }
  void operator()(DamagedMessage const&) const { ++frame.damaged; }

  template <class Other>
  void operator()(Other const&) const {}
};

// Damaged lines can hold any number, so indices are counted in 64 bits.
std::uint64_t Lines(std::int64_t first, std::int64_t last) {
  return last < first ? 0 : static_cast<std::uint64_t>(last - first) + 1;
}

std::uint64_t StartCandidateLines(FrameMessages const& m) {
  if (m.start) return Lines(0, m.start->index);
  std::uint64_t const seen = m.lastCandidate ? Lines(0, m.lastCandidate->index) : 0;
  if (m.span && m.span->first > 0) return std::max(seen, Lines(1, m.span->first));
  return !m.HasStart() && m.span && m.entries ? Lines(1, std::int64_t{*m.entries} - 1) : seen;
}

// The last candidate is the span's last entry or the one before it, whether an end was found or not.
std::uint64_t EndCandidateLines(FrameMessages const& m) {
  if (!m.span) return m.lastEndCandidate ? Lines(m.firstEndCandidate->index, m.lastEndCandidate->index) : 0;
  std::int64_t last = m.lastEndCandidate ? m.lastEndCandidate->index : std::int64_t{m.span->first} - 1;
  bool const isFound = m.lastEndCandidate && m.lastEndCandidate->distanceUs < kToleranceUs;
  if (!isFound && m.span->last > m.span->first) last = std::max(last, std::int64_t{m.span->last} - 1);
  return Lines(m.span->first, last);
}

std::uint64_t SpanEntryLines(FrameMessages const& m) {
  bool const areTold = m.position ? m.position->mode == hosting::kModeMean || m.position->mode == hosting::kModeMaximum
                                  : m.spanEntries > 0;
  return areTold && m.span ? Lines(m.span->first, m.span->last) : m.spanEntries;
}

}  // namespace

void FrameMessages::Clear() {
  std::vector<SourceSample> memory = std::move(source);
  memory.clear();
  *this = {};
  source = std::move(memory);
}

bool FrameMessages::HasStart() const { return start || (lastCandidate && lastCandidate->distanceUs < kToleranceUs); }

bool FrameMessages::HasWholeWindow() const {
  std::int32_t index = 0;
  auto const isNext = [&](SourceSample const& sample) { return sample.index == index++; };
  return std::all_of(source.begin(), source.end(), isNext) && (!times || source.size() == times->samples);
}

void FrameMessages::Add(LibraryMessage const& message) { std::visit(Gather{*this}, message); }

std::uint64_t FrameMessages::ExpectedLines(bool hasDetail) const {
  if (notRegistered) return 1;
  std::uint64_t lines = zeroTime ? 5 : 6;  // readout, history and match or the complaint, answer, end of query, times
  if (hasDetail) ++lines;                  // the camera
  std::uint64_t const samples = times            ? times->samples
                                : query          ? query->samples
                                : source.empty() ? 0
                                                 : hosting::kWindowSize;
  if (samples == 0) return lines;
  lines += 2;  // the table's size, the span
  if (HasStart()) ++lines;
  if (Done() || hasDetail) ++lines;  // the outcome
  if (!hasDetail) return lines;
  return lines + samples + StartCandidateLines(*this) + EndCandidateLines(*this) + SpanEntryLines(*this);
}

}  // namespace shadingctl
