// Plays a generated session through the shipped library and through the reference model, and compares everything that a
// host or the platform can see.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/ReferenceModel.h"
#include "platform/desktop/Device.h"
#include "tests/property/Session.h"

namespace property {

// How often the sessions reached each case; the test fails when its generator no longer reaches one.
struct Reached {
  std::uint64_t sessions = 0;
  std::uint64_t splits = 0;           // overlapping batches
  std::uint64_t discards = 0;         // batches that begin before the newest frame
  std::uint64_t fullHistories = 0;    // updates of a history of 30 frames
  std::uint64_t windows = 0;          // look-ups by time that are answered, those of calc among them
  std::uint64_t starts = 0;           // calls that find the start of the readout
  std::uint64_t positions[4] = {};    // calls that answer, by mode less 1
  std::uint64_t oldestPositions = 0;  // of these, calls that begin at the oldest sample
};

// Samples of the same time may come in any order. They differ in a serial number only, which shows lost and duplicated
// samples.
class Comparison {
 public:
  // Starts the camera's monitor anew.
  Comparison(Session const& session, Reached& reached);
  ~Comparison();
  Comparison(Comparison const&) = delete;
  Comparison& operator=(Comparison const&) = delete;

  // Each one fails the current property at the first difference.
  void Play(Step const& step);
  void CompareBufferedFrames();

 private:
  void Update(Step const& step);
  void Calc(Step const& step);
  void LookUp(Step const& step);
  void StoreRollingShutter(Step const& step);
  void CompareFrame(std::uint32_t frameNumber, model::Samples const& before);

  // Compares the messages and platform calls since the last comparison with the model's; `platformCalls` come first.
  void CompareRecords(std::vector<std::string> platformCalls);

  VeyraShadingUtil& mLibrary;
  model::ReferenceModel mModel;
  Session const& mSession;
  Reached& mReached;
  std::uint32_t mSampleNumber = 0;
};

}  // namespace property
