// The library as seen by a host that knows only the shared object and the order of its virtual table. Neither this file
// nor its users include a header of the library.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

// The exported operation QuerySensorData; a standard library's vector is part of its name.
#ifdef _LIBCPP_VERSION
constexpr char kQuerySensorData[] =
    "_ZN16VeyraShadingUtil15QuerySensorDataERNSt3__16vectorIN5NSCam5Utils10SensorDataENS0_9allocatorIS4_EEEEijm";
#else
constexpr char kQuerySensorData[] =
    "_ZN16VeyraShadingUtil15QuerySensorDataERSt6vectorIN5NSCam5Utils10SensorDataESaIS3_EEijm";
#endif

struct FrameInput {
  std::uint64_t timestampNs[3];
  std::uint64_t exposureNs[3];
};

class ShadingTable {
 public:
  virtual void MultiTableIndex(int& index, int mask) = 0;
  virtual void PncCalibration(void* out, int mask) = 0;
  virtual ~ShadingTable() = default;  // two entries
  virtual bool RegisterAndStart(int sensorId, int sensorType) = 0;
  virtual bool Register(int sensorId, int sensorType) = 0;
  virtual bool Start(int sensorId, int sensorType) = 0;
  virtual void Stop(int sensorId, int sensorType) = 0;
  virtual void Update(int sensorId, unsigned int frame, unsigned long timestampNs) = 0;
  virtual unsigned int StoreRollingShutter(int sensorId, unsigned int mode) = 0;
  virtual unsigned int QueryRollingShutter(int sensorId) = 0;
  virtual bool IsSupported(int sensorId) = 0;
  virtual void Calc(std::int32_t type, FrameInput& input, std::vector<double>* x, std::vector<double>* y,
                    unsigned int const& frame, int const& sensorId, int& matched) = 0;
};

struct SharedObject {
  SharedObject() : handle(dlopen(File(), RTLD_NOW | RTLD_LOCAL)) { EXPECT_NE(handle, nullptr) << dlerror(); }

  static char const* File() {
    char const* const other = std::getenv("SHADING_LIBRARY");  // the built one with a tap in its place, for example
    return other != nullptr ? other : LIBRARY_FILE;
  }

  template <typename T>
  T Find(char const* name) const {
    void* const symbol = dlsym(handle, name);
    EXPECT_NE(symbol, nullptr) << name;
    return reinterpret_cast<T>(symbol);
  }

  ShadingTable* Create() const { return Find<ShadingTable* (*)()>("createInstance")(); }

  void* handle;
};
