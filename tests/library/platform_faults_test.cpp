// Every platform call of a session fails once, alone and in pairs. Answers that depend on it are the documented
// defaults, all others are unchanged, nothing hangs, and a camera that is used afterwards works as usual.
#include <algorithm>
#include <array>
#include <map>

#include "platform/desktop/Device.h"
#include "tests/library/FaultHost.h"
#include "tests/support/MountedCalibration.h"

namespace {

using faults::Answer;
using faults::FaultHost;

// Numbers of the platform calls that fail, counted from the load of the library on; -1: none.
std::array<int, 2> failing = {-1, -1};
int callNumber = 0;

void FailOnDemand(char const*) {
  bool const fails = std::find(failing.begin(), failing.end(), callNumber++) != failing.end();
  for (std::size_t fault = 0; fault < desktop::kFaultCount; ++fault) {
    desktop::Device::Get().SetFault(static_cast<desktop::Fault>(fault), fails);
  }
}

// Empty when a session in which these calls fail goes as documented.
std::string Try(std::array<int, 2> calls) {
  FaultHost host;
  desktop::Device& device = desktop::Device::Get();
  callNumber = 0;
  failing = calls;
  device.WatchCalls(FailOnDemand);
  std::vector<Answer> const answers = host.RunSession(0);
  device.WatchCalls(nullptr);
  for (std::size_t fault = 0; fault < desktop::kFaultCount; ++fault) {
    device.SetFault(static_cast<desktop::Fault>(fault), false);
  }
  if (device.OpenSensorHandles() != 0) return "a sensor handle stays open";
  if (std::string const problem = faults::JudgeAnswers(answers); !problem.empty()) return problem;
  return host.UseAfterwards();
}

TEST(PlatformFaults, EveryCallFailsAloneAndInPairs) {
  MountedCalibration const calibrationFiles;
  if (testing::Test::IsSkipped()) return;
  int calls = 0;
  {
    // In this process: how many calls there are, and what they answer when none fails.
    FaultHost host;
    desktop::Device::Get().WatchCalls(FailOnDemand);
    std::map<std::string, std::string> last;
    for (Answer const& answer : host.RunSession(0)) last[answer.call] = answer.answer;
    desktop::Device::Get().WatchCalls(nullptr);
    calls = callNumber;
    std::map<std::string, std::string> const expected = {
        {"create", "object"}, {"register", "true"}, {"start", "true"}, {"store", "15980096"},   {"calc", "1.000000"},
        {"samples", "16"},    {"table", "2"},       {"block", "4457"}, {"stopped", "untouched"}};
    ASSERT_EQ(last, expected);
    ASSERT_GT(calls, 25);
  }
  for (int first = 0; first < calls; ++first) {
    for (int second = -1; second < first; ++second) {
      std::string const problem = faults::InAProcess([&] { return Try({first, second}); });
      EXPECT_EQ(problem, "") << "platform calls " << first << " and " << second << " fail";
    }
  }
}

}  // namespace
