// What the rules have in common: shares, and words for figures.
#pragma once

#include <cstdint>
#include <string>

#include "tools/shadingctl/findings/SessionFacts.h"

namespace shadingctl::rules {

constexpr double kUsInS = 1e6;

// Within so many us the start of a readout is near a sample: the tolerance to both sides, which is exclusive.
constexpr double kNearWidthUs = 2.0 * kToleranceUs - 1;

double Share(std::uint64_t part, std::uint64_t whole);

// Of the frames after the warm-up, or of samples. Fewer are an isolated event, left to the rules for batches and gaps.
constexpr double kWorthTelling = 0.01;
bool IsWorthTelling(std::uint64_t frames, SessionFacts const& facts);

// The frames of both lists.
FrameList Together(FrameList const& one, FrameList const& other);

std::string FramesText(FrameList const& frames, SessionFacts const& facts);  // "12 of 282 frames"
std::string Milliseconds(double us);                                         // "1.2 ms"
std::string FromTo(double leastUs, double greatestUs);                       // "1.2 ms to 3.4 ms"
std::string Times(std::uint64_t count);                                      // "once", "2 times"
std::string Units(double distance);                                          // "0.5", "93"; known to within 1.6 %

}  // namespace shadingctl::rules
