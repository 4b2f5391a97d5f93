// Eight host threads at once. Under a thread sanitizer it shows that no access races and that locks are always taken in
// one order; everywhere that no call hangs and no answer is mixed up.
//
// SHADING_STRESS_ROUNDS asks for another number of calls per thread than the fixed one.
#include <cstdlib>

#include "tests/library/HostThreads.h"
#include "tests/support/MountedCalibration.h"

TEST(HostThreads, OverlappingCamerasGiveOnlyAnswersThatSomeOrderExplains) {
  MountedCalibration const calibrationFiles;
  if (testing::Test::IsSkipped()) return;
  SharedObject const library;
  char const* const asked = std::getenv("SHADING_STRESS_ROUNDS");
  unsigned int const rounds = asked == nullptr ? 4000 : static_cast<unsigned int>(std::atoi(asked));
  stress::Counts counts;
  stress::RunHostThreads(library, rounds, counts);
  EXPECT_EQ(counts.wrongAnswers, 0U);
  // All of it happened, and often.
  EXPECT_GT(counts.registered, rounds / 4);
  EXPECT_GT(counts.refused, rounds / 100);
  EXPECT_GT(counts.positions, rounds / 20);
  EXPECT_GT(counts.samples, rounds / 20);
  EXPECT_GT(counts.rollingShutters, rounds / 20);
  EXPECT_GT(counts.calibrations, rounds / 4);
}
