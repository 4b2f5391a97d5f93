#include "tools/shadingctl/FrameResult.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace shadingctl {
namespace {

// What a frame shows besides its match, as text: "span distance age".
std::string Shown(FrameResult const& result) {
  std::string text;
  auto const add = [&](auto const& value) { text += value ? std::to_string(*value) + " " : "- "; };
  add(result.startIndex);
  add(result.endIndex);
  add(result.startDistanceUs);
  add(result.spanAgeUs);
  return text;
}

// A frame at 10000 us whose entries 0 and 2 are 8000 us and 250 us away.
FrameMessages Told(std::int32_t first, std::int32_t last, bool startFound, bool done) {
  FrameMessages messages;
  messages.samples = 100;
  messages.buffered = 300;
  messages.startOfFrameUs = 10000;
  messages.offsetUs = -709;
  messages.firstCandidate = {0, 8000};
  messages.nearestCandidate = {1, startFound ? 400 : 1600};
  if (startFound) messages.start = {400, 1, 250};
  messages.span = {first, last};
  messages.spanStartUs = first == 0 ? 2000 : first == 1 ? 9600 : 10250;
  messages.done = done;
  return messages;
}

struct Case {
  char const* name;
  CallOutcome outcome;  // supported, flag handed in, start found
  FrameMessages messages;
  Match match;
  char const* shown;
  char const* message;
};

std::ostream& operator<<(std::ostream& stream, Case const& one) { return stream << one.name; }

FrameMessages Nothing(std::optional<std::uint64_t> buffered) {
  FrameMessages messages;
  messages.nothingMatched = true;
  messages.buffered = buffered;
  return messages;
}

FrameMessages ZeroTime() {
  FrameMessages messages;
  messages.zeroTime = true;
  return messages;
}

FrameMessages NotRegistered() {
  FrameMessages messages;
  messages.notRegistered = true;
  return messages;
}

class Judgement : public testing::TestWithParam<Case> {};

TEST_P(Judgement, FollowsFromOutputsAndMessages) {
  FrameResult const result = Judge(GetParam().outcome, GetParam().messages);
  EXPECT_STREQ(Name(result.match), Name(GetParam().match));
  EXPECT_EQ(Shown(result), GetParam().shown);
  EXPECT_EQ(result.message, GetParam().message);
}

constexpr char const* kNear = "the nearest sample is 1600 us from the frame's start";
constexpr char const* kNone = "no sample within the tolerance of the frame's start";

INSTANTIATE_TEST_SUITE_P(
    All, Judgement,
    testing::Values(
        Case{"StartAtTheCandidate", {true, false, true}, Told(1, 5, true, true), Match::kStart, "1 5 400 400 ", ""},
        Case{"StartAtTheNextEntry", {true, true, true}, Told(2, 5, true, true), Match::kStart, "2 5 250 -250 ", ""},
        Case{"Carried", {true, true, false}, Told(0, 3, false, true), Match::kCarried, "0 3 8000 8000 ", kNear},
        Case{"NoStart", {true, false, false}, Told(0, 0, false, false), Match::kNoStart, "- - - - ", kNear},
        Case{"StartAtTheLastEntry",
             {true, false, true},
             Told(2, 2, true, false),
             Match::kSingle,
             "2 2 250 -250 ",
             "the span has one entry"},
        Case{"CarriedToOneEntry",
             {true, true, false},
             Told(0, 0, false, false),
             Match::kSingle,
             "0 0 8000 8000 ",
             "the span has one entry; the nearest sample is 1600 us from the frame's start"},
        // At log level 0 a failed span is silent.
        Case{"SilentStart", {true, true, true}, {}, Match::kSingle, "- - - - ", "the span has one entry"},
        Case{"SilentNoStart", {true, false, false}, {}, Match::kNoStart, "- - - - ", kNone},
        Case{"TooLittleHistory",
             {true, true, false},
             Nothing(99),
             Match::kNoSamples,
             "- - - - ",
             "too little history: 99 of 100 samples"},
        Case{"NothingThere",
             {true, true, false},
             Nothing(100),
             Match::kNoSamples,
             "- - - - ",
             "nothing at or after the frame's time"},
        Case{"NothingToldWhy",
             {true, true, false},
             Nothing({}),
             Match::kNoSamples,
             "- - - - ",
             "nothing at or after the frame's time or too little history"},
        Case{"ZeroTime", {true, false, false}, ZeroTime(), Match::kNoSamples, "- - - - ", "the frame's time is 0"},
        Case{"NotSupported",
             {false, false, false},
             {},
             Match::kOff,
             "- - - - ",
             "the camera is not in the device's sensor map"},
        Case{"NotRegistered",
             {true, false, false},
             NotRegistered(),
             Match::kOff,
             "- - - - ",
             "the camera has no monitor"}),
    [](auto const& one) { return one.param.name; });

}  // namespace
}  // namespace shadingctl
