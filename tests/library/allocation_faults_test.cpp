// Every allocation of a session fails once, in turn, alone and in bursts, each in a process of its own. After one that
// may return null the call gives its documented answer and the session goes on; any other ends the process at once.
// Nothing hangs.
#include <fcntl.h>
#include <unistd.h>

#include <climits>

#include "tests/library/FailingMemory.h"
#include "tests/library/FaultHost.h"
#include "tests/support/MountedCalibration.h"

namespace {

using faults::Allocations;
using faults::FailAllocations;
using faults::FaultHost;

std::string Try(int first, int count) {
  // std::terminate tells what it ends for; here it is expected.
  dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
  FaultHost host;
  FailAllocations(first, count);
  std::string const problem = faults::JudgeAnswers(host.RunSession(0));
  faults::StopFailing();
  return problem.empty() ? host.UseAfterwards() : problem;
}

TEST(AllocationFaults, EveryOneGivesItsDocumentedAnswerOrEndsTheProcess) {
  MountedCalibration const calibrationFiles;
  if (testing::Test::IsSkipped()) return;
  Allocations& allocations = FailAllocations(INT_MAX, 1);
  ASSERT_EQ(faults::InAProcess([] {
              FaultHost host;
              return faults::JudgeAnswers(host.RunSession(0));
            }),
            "");
  int const total = allocations.seen;
  ASSERT_GT(total, 40);
  int ended = 0;
  int answered = 0;
  for (int const burst : {1, 2, 5, INT_MAX}) {
    for (int first = 0; first < total; ++first) {
      FailAllocations(first, burst);
      std::string const outcome = faults::InAProcess([&] { return Try(first, burst); });
      if (allocations.thrown > 0) {
        EXPECT_EQ(outcome, "signal 6") << "allocation " << first << ", " << burst << " in a row";
        ++ended;
      } else {
        EXPECT_EQ(outcome, "") << "allocation " << first << ", " << burst << " in a row";
        ++answered;
      }
    }
  }
  RecordProperty("allocations", total);
  EXPECT_GT(ended, total);
  EXPECT_GT(answered, total / 4);
}

}  // namespace
