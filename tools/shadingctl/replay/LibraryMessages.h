// What the library says while it works on one frame, read from its log messages as they come.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace shadingctl {

// What one frame's messages told. A value that the library's log level holds back stays empty; docs/replay-output.md
// lists what each level tells.
struct FrameMessages {
  // The batch, as the library reports it after filing it.
  struct Batch {
    std::int64_t firstNs = 0;
    std::int64_t lastNs = 0;
  };
  std::optional<Batch> batch;  // level 4
  bool split = false;          // level 1; the batch was cut, and the end of the frame before with it

  // The question for samples.
  bool notRegistered = false;             // any level; the library does not know the camera
  bool nothingMatched = false;            // any level; no sample at or after the time, or too little history
  bool zeroTime = false;                  // any level; the frame's time was 0
  std::optional<std::uint64_t> buffered;  // level 1; samples that the library holds

  // The match. Indices count the entries of the library's table.
  std::optional<std::uint32_t> samples;        // level 1; samples that the question answered
  std::optional<std::int64_t> startOfFrameUs;  // level 1
  std::optional<std::int64_t> offsetUs;        // level 1; subtracted from every sample's time
  struct Candidate {
    std::int32_t index = 0;
    std::int64_t distanceUs = 0;
  };
  std::optional<Candidate> firstCandidate;  // level 4; entries that were tried as the start
  std::optional<Candidate> nearestCandidate;
  struct Start {
    std::int64_t distanceUs = 0;  // from the start of the frame, of entry `index`
    std::int32_t index = 0;
    std::int64_t nextDistanceUs = 0;  // of the entry after it
  };
  std::optional<Start> start;  // level 1; the first entry within the tolerance
  struct Span {
    std::int32_t first = 0;
    std::int32_t last = 0;
  };
  std::optional<Span> span;                 // level 1
  std::optional<std::int64_t> spanStartUs;  // level 4; aligned time of the span's first entry
  bool done = false;                        // any level; the frame has a position, or would have in another mode
};

// Reads the messages of one frame after the other. Text that it does not know is passed over.
class LibraryMessages {
 public:
  // Forgets the frame before.
  void BeginFrame();

  // One message, as the system log receives it.
  void Read(std::string_view message);

  // What the messages since BeginFrame told.
  FrameMessages Frame() const;

 private:
  void ReadCalculation(std::string_view text);
  void ReadSourceSample(std::string_view text);

  FrameMessages mFrame;

  // The times of the samples that the library took into its table, in us, not aligned.
  static constexpr std::size_t kTableSize = 100;
  std::array<std::int64_t, kTableSize> mTableUs{};
  std::size_t mTableCount = 0;
};

}  // namespace shadingctl
