#include "tools/shadingctl/log/FrameMessages.h"

#include <utility>

namespace shadingctl {
namespace {

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

}  // namespace

void FrameMessages::Clear() {
  std::vector<SourceSample> memory = std::move(source);
  memory.clear();
  *this = {};
  source = std::move(memory);
}

void FrameMessages::Add(LibraryMessage const& message) { std::visit(Gather{*this}, message); }

}  // namespace shadingctl
