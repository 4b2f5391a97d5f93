// Ways to keep a camera's samples and to answer a frame. All take their samples from the platform and give the same
// answers on the measured streams.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bench/Library.h"
#include "bench/Stream.h"

namespace bench {

struct Answer {
  std::vector<double> x;
  std::vector<double> y;
  int matched = 0;
};

class Variant {
 public:
  virtual ~Variant() = default;
  virtual void Update(Frame const& frame) = 0;
  virtual void Calc(Frame const& frame, Answer& answer) = 0;
};

constexpr std::size_t kHistoryFrames = 30;

// Only what the platform does for an update, which fills so many memories in turn: one that stays near the processor,
// or those of a history, of which each was last touched kHistoryFrames frames ago.
std::unique_ptr<Variant> PlatformOnly(std::size_t memories);

// The shipped library, with a camera that is started.
std::unique_ptr<Variant> ShippedLibrary(Library& library, int camera);

// The reference model in model/
std::unique_ptr<Variant> Reference();

// One flat ring of samples in the order of time, searched from the newest end.
std::unique_ptr<Variant> Ring();

// A tree of samples by time.
std::unique_ptr<Variant> TimeOrderedMap();

// The windows of a block's frames, side by side as they are nowhere else, and the least that an answer takes: one pass
// over the hundred samples that adds up those of the readout.
class Floor {
 public:
  explicit Floor(Stream const& stream);
  void InPlace(std::size_t frame, Answer& answer) const;
  // With a copy of the hundred samples first, in memory taken for the call or in memory that is kept.
  void Copy(std::size_t frame, Answer& answer) const;
  void CopyIntoKeptMemory(std::size_t frame, Answer& answer);

 private:
  void Pass(Sample const* window, std::size_t frame, Answer& answer) const;

  struct Window {
    std::size_t first;
    std::int64_t startNs;
    std::int64_t endNs;
  };
  Samples mSamples;
  std::vector<Window> mWindows;
  Samples mKept;
};

}  // namespace bench
