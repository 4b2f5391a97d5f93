// Alternative designs for storing a camera's samples and computing a frame. All take their samples from the platform
// and give the same answers on the measured streams.
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

// The platform's part of an update alone, filling `buffers` vectors in turn: one stays in the cache, each of
// kHistoryFrames was last touched that many frames ago.
std::unique_ptr<Variant> PlatformOnly(std::size_t buffers);

// The shipped library, with a camera that is started.
std::unique_ptr<Variant> ShippedLibrary(Library& library, int camera);

// The reference model in model/
std::unique_ptr<Variant> Reference();

// One flat ring of samples in the order of time, searched from the newest end.
std::unique_ptr<Variant> Ring();

// A tree of samples by time.
std::unique_ptr<Variant> TimeOrderedMap();

// Lower bounds for a calculation: one pass over the window's 100 samples, contiguous in memory, that sums those of the
// readout.
class Floor {
 public:
  explicit Floor(Stream const& stream);
  void InPlace(std::size_t frame, Answer& answer) const;
  // After copying the 100 samples to memory allocated for the call, or to a buffer that is kept.
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
