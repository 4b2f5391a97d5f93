#include "lsc/VeyraShadingUtil.h"

#include <new>

int gLogLevel = 1;
int g_oisDebug = 1;
int g_preOisDump = 0;
int g_capOisDump = 0;

std::atomic<VeyraShadingUtil*> VeyraShadingUtil::mSingleInstance = nullptr;
lsc::Mutex VeyraShadingUtil::mSingleMutex;

// Double-checked locking: a thread that reads the pointer with acquire ordering sees the constructed object.
VeyraShadingUtil* createInstance() {
  VeyraShadingUtil* instance = VeyraShadingUtil::mSingleInstance.load(std::memory_order_acquire);
  if (instance != nullptr) return instance;

  lsc::MutexLock const lock(VeyraShadingUtil::mSingleMutex);
  instance = VeyraShadingUtil::mSingleInstance.load(std::memory_order_relaxed);
  if (instance == nullptr) {
    instance = new (std::nothrow) VeyraShadingUtil;
    VeyraShadingUtil::mSingleInstance.store(instance, std::memory_order_release);
  }
  return instance;
}

VeyraShadingUtil::VeyraShadingUtil() noexcept : mMultiTableIdxLoaded{} {
  for (auto& index : mMultiTableIdx) index.store(1, std::memory_order_relaxed);
  ReadProperties();
  ReadSensorMap(__func__);
}

VeyraShadingUtil::~VeyraShadingUtil() {
  decltype(mSensorMaps)().swap(mSensorMaps);  // clear() would keep the memory until after the monitors are gone
  // A vector would destroy its first element first.
  while (!mSensorMonitors.empty()) mSensorMonitors.pop_back();
}
