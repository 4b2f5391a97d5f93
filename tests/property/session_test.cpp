// Generated sessions: the shipped library does, letter for letter, what the reference model does.
//
// RC_PARAMS ("seed=7 max_success=50000") asks for other or more sessions than those of the fixed seed.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstdlib>

#include "tests/property/Comparison.h"

TEST(Session, LibraryAgreesWithReferenceModel) {
  property::Reached reached;
  ASSERT_TRUE(rc::check([&] {
    property::Session const session = *property::AnySession();
    property::Comparison comparison(session, reached);
    for (property::Step const& step : session.steps) comparison.Play(step);
    comparison.CompareBufferedFrames();
  }));

  std::uint64_t const sessions = reached.sessions;
  RecordProperty("sessions", std::to_string(sessions));
  if (sessions < 1000) return;  // one that is reproduced
  EXPECT_GT(reached.splits, sessions);
  EXPECT_GT(reached.discards, sessions / 2);
  EXPECT_GT(reached.fullHistories, sessions / 2);
  EXPECT_GT(reached.windows, sessions / 2);
  EXPECT_GT(reached.starts, sessions);
  for (std::uint64_t const positions : reached.positions) EXPECT_GT(positions, sessions / 10);
  EXPECT_GT(reached.oldestPositions, sessions / 20);
}

int main(int argc, char** argv) {
  setenv("RC_PARAMS", "seed=20260731 max_success=2000 max_size=200", 0);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
