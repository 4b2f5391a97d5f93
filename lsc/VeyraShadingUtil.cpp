#include "lsc/VeyraShadingUtil.h"

#include <algorithm>
#include <iterator>
#include <new>

int gLogLevel = 1;
int g_oisDebug = 1;
int g_preOisDump = 0;
int g_capOisDump = 0;

VeyraShadingUtil* VeyraShadingUtil::mSingleInstance = nullptr;
lsc::Mutex VeyraShadingUtil::mSingleMutex;

VeyraShadingUtil* createInstance() {
  // The exported member is a plain pointer; the ordering that double-checked locking needs comes from the accesses.
  VeyraShadingUtil* instance = __atomic_load_n(&VeyraShadingUtil::mSingleInstance, __ATOMIC_ACQUIRE);
  if (instance != nullptr) return instance;

  lsc::MutexLock const lock(VeyraShadingUtil::mSingleMutex);
  if (VeyraShadingUtil::mSingleInstance == nullptr) {
    instance = new (std::nothrow) VeyraShadingUtil;
    __atomic_store_n(&VeyraShadingUtil::mSingleInstance, instance, __ATOMIC_RELEASE);
  }
  return VeyraShadingUtil::mSingleInstance;
}

VeyraShadingUtil::VeyraShadingUtil() : mMultiTableIdxLoaded{} {
  std::fill(std::begin(mMultiTableIdx), std::end(mMultiTableIdx), 1);
  ReadProperties();
  ReadSensorMap(__func__);
}

VeyraShadingUtil::~VeyraShadingUtil() {
  decltype(mSensorMaps)().swap(mSensorMaps);  // clear() would keep the memory until after the monitors are gone
  // A vector would release its first element first.
  while (!mSensorMonitors.empty()) mSensorMonitors.pop_back();
}
