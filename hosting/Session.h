// What a replay plays: frames, and the samples that the platform delivers with each of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/SensorProvider.h"

namespace hosting {

struct Frame {
  std::uint32_t number = 0;
  std::uint64_t timestampNs = 0;
  std::uint64_t exposureNs = 0;
  std::uint32_t rollingShutterNs = 0;
};

// One frame and the samples that are delivered with it, in the order of delivery.
struct Delivery {
  Frame frame;
  std::vector<NSCam::Utils::SensorData> samples;
};

// Something odd in a session that does not end its replay: how often, and where first ("FILE:LINE" or "frame N").
struct Oddity {
  std::uint64_t count = 0;
  std::string firstPlace;
};

struct Oddities {
  Oddity frameTimesBackward;    // frames that are earlier than the frame before
  Oddity sampleTimesBackward;   // samples that are earlier than the sample delivered before
  Oddity framesWithoutSamples;  // frames with which nothing is delivered
  Oddity unlistedSamples;       // samples of frames that are not listed: they come with the next listed frame
  Oddity undeliveredSamples;    // samples of frames after the last listed one: they never come
};

// A source of deliveries, read once from front to back.
class Session {
 public:
  virtual ~Session() = default;

  // What to call it in a result.
  virtual std::string Name() const = 0;

  // Replaces `delivery` by the next one; false at the end. Throws UnusableInput where the session is broken.
  virtual bool Next(Delivery& delivery) = 0;

  // What was odd so far; complete once Next has answered false.
  virtual Oddities const& oddities() const = 0;

  // How many frames there are in all, as far as that can be said without reading everything.
  virtual std::optional<std::uint64_t> FrameCount() const = 0;
};

}  // namespace hosting
