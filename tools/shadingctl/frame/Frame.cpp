#include "tools/shadingctl/frame/Frame.h"

namespace shadingctl {

Frame MakeFrame(FrameHead const& head, CallOutcome const& outcome, FrameMessages const& messages) {
  auto const table =
      messages.times ? AlignedTable(messages.source, messages.times->offsetUs) : std::vector<AlignedSample>();
  Frame frame;
  frame.row = Judge(outcome, messages, table);
  frame.row.camera = head.camera;
  frame.row.frame = head.frame;
  frame.row.timestampNs = head.timestampNs;
  frame.row.type = head.type;
  frame.facts = FactsOf(frame.row, messages, table);
  return frame;
}

}  // namespace shadingctl
