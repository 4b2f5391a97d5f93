// A host whose platform or memory fails: one short session of a camera, checked answer by answer, in a child process.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/library/HostView.h"

namespace faults {

// The results of one call, as a host sees them.
struct Answer {
  std::string call;
  std::string answer;
};

// True on this thread while it is inside a call of the library.
extern thread_local bool isInsideLibrary;

// Empty when every answer is the usual one or a documented default.
std::string JudgeAnswers(std::vector<Answer> const& answers);

class FaultHost {
 public:
  // Loads the library on the built-in device; `logLevel` 4 with the file sink on, so that every message is formatted.
  FaultHost();

  // Creates the object and goes through every operation of the table once, and through update and calc until there are
  // positions. `sensorId` 0 or 2.
  std::vector<Answer> RunSession(int sensorId);

  // The single calls of a session.
  std::string Create();
  std::string Register(int sensorId);
  std::string Start(int sensorId);
  std::string StoreRollingShutter(int sensorId);
  std::string Update(int sensorId, unsigned int frame);
  std::string Calc(int sensorId, unsigned int frame);
  std::string AskSamples(int sensorId, unsigned int frame);
  std::string AskTable(int camera);
  std::string AskBlock(int camera);
  std::string Stop(int sensorId);

  // After a session with a failure: empty when another camera works as usual and no lock is still held.
  std::string UseAfterwards();

  SharedObject const& Library() const { return mLibrary; }

 private:
  int SensorType(int sensorId) const { return sensorId == 0 ? 3 : 5; }
  std::string Provider(int sensorId) const;

  SharedObject mLibrary;
  ShadingTable* mTable = nullptr;
};

// How a process ended: "" when `run` returned "", else what it returned, "signal N", or "hangs" after 20 s.
std::string InAProcess(std::function<std::string()> const& run);

}  // namespace faults
