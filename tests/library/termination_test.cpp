// An exception from the platform or from an allocation ends the process where it reaches the library, whatever the host
// would have caught, with the operation still on the stack.

#include <execinfo.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <ostream>
#include <stdexcept>

#include "platform/desktop/Device.h"
#include "tests/library/HostView.h"
#include "tests/library/ThrowingNew.h"
#include "tests/support/MountedCalibration.h"

namespace {

using Samples = std::vector<NSCam::Utils::SensorData>;

char const* throwingCall = "";

void ThrowFromCall(char const* call) {
  if (*throwingCall != '\0' && std::strncmp(call, throwingCall, std::strlen(throwingCall)) == 0) {
    throw std::runtime_error(call);
  }
}

// Writes the names of the functions on the stack to standard error, without operator new. An address on the stack is
// that of the instruction after the call.
[[noreturn]] void TellStack() {
  void* frames[64];
  int const count = backtrace(frames, 64);
  for (int i = 0; i < count; ++i) {
    Dl_info function = {};
    if (dladdr(static_cast<char*>(frames[i]) - 1, &function) != 0 && function.dli_sname != nullptr) {
      dprintf(STDERR_FILENO, "%s\n", function.dli_sname);
    }
  }
  std::abort();
}

struct Host {
  SharedObject library;
  ShadingTable* shading = nullptr;
  Samples samples;
  std::vector<double> x, y;

  void Query() {
    library.Find<void (*)(ShadingTable*, Samples&, int, unsigned int, unsigned long)>(kQuerySensorData)(
        shading, samples, 0, 1, 0);
  }
  void Calc() {
    FrameInput input = {{1'000'000'000'000, 0, 0}, {4'000'000, 0, 0}};
    int matched = 0;
    shading->Calc(0, input, &x, &y, 1U, 0, matched);
  }
};

struct Operation {
  char const* name;
  char const* throwingCall;  // empty: no memory
  char const* onTheStack;
  void (*run)(Host&);

  friend std::ostream& operator<<(std::ostream& out, Operation const& operation) { return out << operation.name; }
};

Operation const kOperations[] = {
    {"CreateReadsAProperty", "property_get_int32", "createInstance", [](Host& host) { host.library.Create(); }},
    {"CreateReadsTheSensorMap", "GetValuesCount", "createInstance", [](Host& host) { host.library.Create(); }},
    {"Register", "", "21RegisterSensorMonitorEii", [](Host& host) { host.shading->Register(2, 5); }},
    {"RegisterWritesAMessage", "isLogDetailsEnabled", "21RegisterSensorMonitorEii",
     [](Host& host) { host.shading->Register(2, 5); }},
    {"StartObtainsAProvider", "createInstance", "18StartSensorMonitorEii",
     [](Host& host) { host.shading->RegisterAndStart(2, 5); }},
    {"StartEnables", "enableSensor", "18StartSensorMonitorEii",
     [](Host& host) { host.shading->RegisterAndStart(2, 5); }},
    {"StopDisables", "disableSensor", "17StopSensorMonitorEii", [](Host& host) { host.shading->Stop(0, 3); }},
    {"UpdatePulls", "getAllSensorData", "16UpdateSensorDataEijm", [](Host& host) { host.shading->Update(0, 2, 1); }},
    {"Update", "", "16UpdateSensorDataEijm", [](Host& host) { host.shading->Update(0, 2, 1); }},
    {"StoreOpensTheSensor", "openSensor", "19StoreRollingShutterEij",
     [](Host& host) { host.shading->StoreRollingShutter(0, 0); }},
    {"StoreAsksTheDriver", "sendCommand", "19StoreRollingShutterEij",
     [](Host& host) { host.shading->StoreRollingShutter(0, 0); }},
    {"Query", "", "15QuerySensorDataE", [](Host& host) { host.Query(); }},
    {"QueryWritesAMessage", "isFileModeEnabled", "15QuerySensorDataE", [](Host& host) { host.Query(); }},
    {"Calc", "", "12CalcOISValueE", [](Host& host) { host.Calc(); }},
    {"CalcWritesAMessage", "logNormalDetails", "12CalcOISValueE", [](Host& host) { host.Calc(); }},
    {"TableReadsTheConfiguration", "GetIntegerConfiguration", "23VeyraGetMultiTableIndexERii",
     [](Host& host) {
       int index = 0;
       host.shading->MultiTableIndex(index, 1);
     }},
    {"BlockReadsTheFeature", "GetKeyCount", "19VeyraGetPNCCaliDataEPvi",
     [](Host& host) { host.shading->PncCalibration(&host, 1); }},
    {"BlockAsksForTheMirror", "staticInformation", "19VeyraGetPNCCaliDataEPvi",
     [](Host& host) {
       std::vector<unsigned char> out(4096);
       host.shading->PncCalibration(out.data(), 1);
     }},
};

// Runs the operation on a camera that has samples, as a host that catches everything.
void RunAsHost(Operation const& operation) {
  MountedCalibration const calibrationFiles;
  desktop::Device& device = desktop::Device::Get();
  desktop::DeviceSettings settings = desktop::BuiltInDevice();
  settings.properties["vendor.veyra.3a.lscutil.log"] = 1;
  settings.log = {false, true, 5};
  device.Configure(settings);
  std::set_terminate(TellStack);
  try {
    Host host;
    bool const isCreated = std::strncmp(operation.name, "Create", 6) != 0;
    if (isCreated) {
      host.shading = host.library.Create();
      host.shading->RegisterAndStart(0, 3);
      Samples samples(300);
      for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i].timestamp = 999'850'000'000 + static_cast<std::int64_t>(i) * 1'000'000;
      }
      host.shading->StoreRollingShutter(0, 0);
      device.QueueSamples("OIS_MONITOR-0-3", samples);
      host.shading->Update(0, 1, 1);
      device.QueueSamples("OIS_MONITOR-0-3", Samples(1000));
    }
    throwingCall = operation.throwingCall;
    if (*throwingCall == '\0') {
      throwingNew = true;
    } else {
      device.RecordCalls(true, true);
      device.WatchCalls(ThrowFromCall);
    }
    operation.run(host);
  } catch (std::exception const& error) {
    throwingNew = false;
    std::fprintf(stderr, "an exception came back: %s\n", error.what());
  }
  std::_Exit(0);
}

class Termination : public testing::TestWithParam<Operation> {};

TEST_P(Termination, IsWhereTheExceptionReachesTheLibrary) {
  if (!CanMountCalibration()) GTEST_SKIP() << "no private mount namespace for the host";
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(RunAsHost(GetParam()), testing::KilledBySignal(SIGABRT), GetParam().onTheStack);
}

INSTANTIATE_TEST_SUITE_P(All, Termination, testing::ValuesIn(kOperations),
                         [](auto const& row) { return std::string(row.param.name); });

}  // namespace
