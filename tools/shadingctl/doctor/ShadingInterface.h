// What every build of the shading library exports and needs, for every processor and standard library.
#pragma once

#include <array>
#include <cstdint>

namespace shadingctl {

constexpr char kLibraryName[] = "libvcam_shadingutil.so";
constexpr char kTableName[] = "_ZTV16VeyraShadingUtil";

// Offset to top and type information, before the first entry.
constexpr std::uint64_t kTableHeadBytes = 16;

// The entries of the table in their order, demangled alike for every standard library. An empty one is a destructor,
// which no build exports.
constexpr std::array<char const*, 13> kTableEntries = {
    "VeyraShadingUtil::VeyraGetMultiTableIndex(int&, int)",
    "VeyraShadingUtil::VeyraGetPNCCaliData(void*, int)",
    "",
    "",
    "VeyraShadingUtil::RegisterAndStartSensorMonitor(int, int)",
    "VeyraShadingUtil::RegisterSensorMonitor(int, int)",
    "VeyraShadingUtil::StartSensorMonitor(int, int)",
    "VeyraShadingUtil::StopSensorMonitor(int, int)",
    "VeyraShadingUtil::UpdateSensorData(int, unsigned int, unsigned long)",
    "VeyraShadingUtil::StoreRollingShutter(int, unsigned int)",
    "VeyraShadingUtil::QueryRollingShutter(int)",
    "VeyraShadingUtil::IsSupportSensor(int)",
    "VeyraShadingUtil::CalcOISValue(CustShadingType, CalcOISValueInput&, std::vector<double>*, std::vector<double>*, "
    "unsigned int const&, int const&, int&)",
};

// The exports besides the entries of the table. A constructor is exported twice, as the constructor of complete objects
// and of base-class subobjects, and is listed twice.
constexpr std::array<char const*, 20> kFurtherExports = {
    "createInstance",
    "gLogLevel",
    "g_oisDebug",
    "g_preOisDump",
    "g_capOisDump",
    "vtable for VeyraShadingUtil",
    "VeyraShadingUtil::VeyraShadingUtil()",
    "VeyraShadingUtil::VeyraShadingUtil()",
    "VeyraShadingUtil::mSingleInstance",
    "VeyraShadingUtil::mSingleMutex",
    "VeyraShadingUtil::VeyraSwapPNCCaliData(char*, int)",
    "VeyraShadingUtil::QuerySensorData(std::vector<NSCam::Utils::SensorData>&, int, unsigned int, unsigned long)",
    "VeyraShadingUtil::IsEnabled(int)",
    "VeyraShadingUtil::VeyraSensorData::pushValue(unsigned int, std::vector<NSCam::Utils::SensorData>&)",
    "VeyraShadingUtil::VeyraSensorData::getDataByFrame(unsigned int, std::vector<NSCam::Utils::SensorData>&)",
    "VeyraShadingUtil::VeyraSensorData::getDataByTimestamp(unsigned long, std::vector<NSCam::Utils::SensorData>&)",
    "VeyraShadingUtil::VeyraSensorMonitor::enableSensor()",
    "VeyraShadingUtil::VeyraSensorMonitor::disableSensor()",
    "VeyraShadingUtil::VeyraSensorMonitor::updateSensorData(unsigned int, unsigned long)",
    "VeyraShadingUtil::VeyraSensorMonitor::getSensorData(std::vector<NSCam::Utils::SensorData>&, unsigned int, "
    "unsigned long)",
};

constexpr std::array<char const*, 6> kPlatformLibraries = {"liblog.so",
                                                           "libvcam_vlog.so",
                                                           "libcam.utils.so",
                                                           "libhwconfigurationutil.so",
                                                           "libcam.utils.sensorprovider.so",
                                                           "libcam.halsensor.so"};

// The run time of C and C++ by the names that it has on a phone, and on a desk alone.
constexpr std::array<char const*, 5> kPhoneRunTime = {"libc.so", "libm.so", "libdl.so", "libc++.so",
                                                      "libc++_shared.so"};
constexpr std::array<char const*, 10> kDeskRunTime = {
    "libc.so.6",      "libm.so.6",      "libstdc++.so.6",  "libgcc_s.so.1",        "libc++.so.1",
    "libc++abi.so.1", "libunwind.so.1", "libpthread.so.0", "ld-linux-x86-64.so.2", "ld-linux-aarch64.so.1"};

}  // namespace shadingctl
