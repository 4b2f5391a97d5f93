#include "tools/shadingctl/log/ExpectedLines.h"

#include <algorithm>

#include "hosting/LibraryNumbers.h"

namespace shadingctl {
namespace {

using hosting::kToleranceUs;
using hosting::kWindowSize;

// Damaged lines can hold any number, so indices are counted in 64 bits.
std::uint64_t Lines(std::int64_t first, std::int64_t last) {
  return last < first ? 0 : static_cast<std::uint64_t>(last - first) + 1;
}

std::uint64_t StartCandidateLines(FrameMessages const& m) {
  if (m.start) return Lines(0, m.start->index);
  std::uint64_t const seen = m.lastCandidate ? Lines(0, m.lastCandidate->index) : 0;
  if (m.span && m.span->first > 0) return std::max(seen, Lines(1, m.span->first));
  bool const noneFound = !m.lastCandidate || m.lastCandidate->distanceUs >= kToleranceUs;
  return noneFound && m.span && m.entries ? Lines(1, std::int64_t{*m.entries} - 1) : seen;
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

std::uint64_t ExpectedLines(FrameMessages const& m, bool detail) {
  if (m.notRegistered) return 1;
  std::uint64_t lines = m.zeroTime ? 5 : 6;  // readout, history and match or the complaint, answer, end of query, times
  if (detail) ++lines;                       // the camera
  std::uint64_t const samples = m.times            ? m.times->samples
                                : m.query          ? m.query->samples
                                : m.source.empty() ? 0
                                                   : kWindowSize;
  if (samples == 0) return lines;
  lines += 2;  // the table's size, the span
  if (m.start || (m.lastCandidate && m.lastCandidate->distanceUs < kToleranceUs)) ++lines;
  if (m.Done() || detail) ++lines;  // the outcome
  if (!detail) return lines;
  return lines + samples + StartCandidateLines(m) + EndCandidateLines(m) + SpanEntryLines(m);
}

}  // namespace shadingctl
