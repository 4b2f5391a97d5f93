#include "tests/library/FaultHost.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <map>
#include <set>

#include "platform/desktop/Device.h"

namespace faults {
namespace {

using Samples = std::vector<NSCam::Utils::SensorData>;

constexpr unsigned int kPatienceSeconds = 20;
constexpr unsigned int kFrames = 8;  // the history has 100 samples after the seventh
constexpr std::int64_t kStartNs = 1'000'000'000'000;
constexpr std::int64_t kFrameNs = 16'000'000;

std::uint64_t TimeOf(unsigned int frame) { return static_cast<std::uint64_t>(kStartNs + frame * kFrameNs); }

std::string Text(bool answer) { return answer ? "true" : "false"; }

// Calls the library.
template <typename Call>
auto Inside(Call const& call) {
  struct Scope {
    Scope() { isInsideLibrary = true; }
    ~Scope() { isInsideLibrary = false; }
  } const scope;
  return call();
}

// The possible answers of each call: first the one without a failure, then its documented defaults. Without memory
// there is no object; without the sensor map nothing is registered; a refused start answers false and the monitor
// stays; samples of a failed pull come with the next batch, and until then a frame may find no position; without static
// information a block is not mirrored.
std::map<std::string, std::set<std::string>> const kAllowed = {
    {"create", {"object", "null"}}, {"register", {"true", "false"}},          {"start", {"true", "false"}},
    {"store", {"15980096", "0"}},   {"calc", {"1.000000", "untouched"}},      {"samples", {"16", "32", "48", "0"}},
    {"table", {"2", "1"}},          {"block", {"4457", "3413", "untouched"}}, {"stopped", {"untouched"}},
};

}  // namespace

thread_local bool isInsideLibrary = false;

std::string JudgeAnswers(std::vector<Answer> const& answers) {
  for (Answer const& answer : answers) {
    if (kAllowed.at(answer.call).count(answer.answer) == 0) return answer.call + " answers " + answer.answer;
  }
  return "";
}

std::string FaultHost::UseAfterwards() {
  if (Create() != "object") return "there is still no object";
  if (Register(2) != "true") return "";  // its construction found no sensor map
  Stop(2);
  std::string position, block;
  for (Answer const& answer : RunSession(2)) {
    if (answer.call == "calc") position = answer.answer;
    if (answer.call == "block") block = answer.answer;
  }
  if (position != "3.000000") return "afterwards calc answers " + position;
  if (block != "4457") return "afterwards the block is " + block;
  return "";
}

FaultHost::FaultHost() {
  desktop::Device& device = desktop::Device::Get();
  desktop::DeviceSettings settings = desktop::BuiltInDevice();
  settings.properties["vendor.veyra.3a.lscutil.log"] = 4;
  settings.log = {false, true, 5};
  device.Configure(settings);
}

std::string FaultHost::Provider(int sensorId) const {
  return "OIS_MONITOR-" + std::to_string(sensorId) + "-" + std::to_string(SensorType(sensorId));
}

std::string FaultHost::Create() {
  auto const createInstance = mLibrary.Find<ShadingTable* (*)()>("createInstance");
  mTable = Inside(createInstance);
  return mTable == nullptr ? "null" : "object";
}

std::string FaultHost::Register(int sensorId) {
  return Text(Inside([&] { return mTable->Register(sensorId, SensorType(sensorId)); }));
}
std::string FaultHost::Start(int sensorId) {
  return Text(Inside([&] { return mTable->Start(sensorId, SensorType(sensorId)); }));
}

std::string FaultHost::StoreRollingShutter(int sensorId) {
  return std::to_string(Inside([&] { return mTable->StoreRollingShutter(sensorId, 0); }));
}

std::string FaultHost::Update(int sensorId, unsigned int frame) {
  Samples samples(16);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i].timestamp = static_cast<std::int64_t>(TimeOf(frame)) + static_cast<std::int64_t>(i) * 1'000'000;
    samples[i].oisHallX = static_cast<float>(sensorId + 1);
  }
  desktop::Device::Get().QueueSamples(Provider(sensorId), samples);
  Inside([&] { mTable->Update(sensorId, frame, TimeOf(frame)); });
  return "";
}

std::string FaultHost::Calc(int sensorId, unsigned int frame) {
  FrameInput input = {{TimeOf(frame), 0, 0}, {4'000'000, 0, 0}};
  std::vector<double> x = {-7.0}, y = {-7.0};
  int matched = 0;
  Inside([&] { mTable->Calc(0, input, &x, &y, frame, sensorId, matched); });
  if (x == std::vector<double>{-7.0} && y == x) return "untouched";
  if (x.size() != 2 || y.size() != 2)
    return "vectors of " + std::to_string(x.size()) + " and " + std::to_string(y.size());
  return std::to_string(x[0]);
}

std::string FaultHost::AskSamples(int sensorId, unsigned int frame) {
  using Query = void (*)(ShadingTable*, Samples&, int, unsigned int, unsigned long);
  auto const query = mLibrary.Find<Query>(kQuerySensorData);
  Samples samples;
  Inside([&] { query(mTable, samples, sensorId, frame, 0); });
  return std::to_string(samples.size());
}

std::string FaultHost::AskTable(int camera) {
  int index = -1;
  Inside([&] { mTable->MultiTableIndex(index, 1 << camera); });
  return std::to_string(index);
}

std::string FaultHost::AskBlock(int camera) {
  std::vector<unsigned char> block(2340, 0xEE);
  Inside([&] { mTable->PncCalibration(block.data(), 1 << camera); });
  if (block == std::vector<unsigned char>(2340, 0xEE)) return "untouched";
  return std::to_string(block[2] + 256 * block[3]);
}

std::string FaultHost::Stop(int sensorId) {
  Inside([&] { mTable->Stop(sensorId, SensorType(sensorId)); });
  return "";
}

std::vector<Answer> FaultHost::RunSession(int sensorId) {
  std::vector<Answer> answers = {{"create", Create()}};
  if (mTable == nullptr) return answers;
  answers.push_back({"register", Register(sensorId)});
  answers.push_back({"start", Start(sensorId)});
  answers.push_back({"store", StoreRollingShutter(sensorId)});
  for (unsigned int frame = 1; frame <= kFrames; ++frame) {
    Update(sensorId, frame);
    answers.push_back({"calc", Calc(sensorId, frame)});
  }
  answers.push_back({"samples", AskSamples(sensorId, kFrames)});
  answers.push_back({"table", AskTable(1)});
  answers.push_back({"block", AskBlock(1)});
  Stop(sensorId);
  answers.push_back({"stopped", Calc(sensorId, kFrames)});
  return answers;
}

std::string InAProcess(std::function<std::string()> const& run) {
  int ends[2];
  if (pipe(ends) != 0) return "no pipe";
  std::fflush(nullptr);
  pid_t const child = fork();
  if (child == 0) {
    close(ends[0]);
    alarm(kPatienceSeconds);
    std::string const problem = run();
    bool const isTold = write(ends[1], problem.data(), problem.size()) == static_cast<ssize_t>(problem.size());
    _exit(problem.empty() && isTold ? 0 : 1);
  }
  close(ends[1]);
  std::string problem;
  char buffer[512];
  for (ssize_t count = 1; count != 0;) {
    count = read(ends[0], buffer, sizeof buffer);
    if (count > 0) problem.append(buffer, static_cast<std::size_t>(count));
    if (count < 0 && errno != EINTR) break;
  }
  close(ends[0]);
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) return "no process";
  if (WIFSIGNALED(status)) {
    return WTERMSIG(status) == SIGALRM ? "hangs" : "signal " + std::to_string(WTERMSIG(status));
  }
  return WEXITSTATUS(status) == 0 || !problem.empty() ? problem : "exit code " + std::to_string(WEXITSTATUS(status));
}

}  // namespace faults
