// The library's table alone, to be linked for a phone in each form in which its linkers store relocations.
namespace std {
template <class T>
class allocator;
template <class T, class A = allocator<T>>
class vector;
}  // namespace std

enum CustShadingType : int {};
struct CalcOISValueInput;

class __attribute__((visibility("default"))) VeyraShadingUtil {
 public:
  VeyraShadingUtil();
  virtual void VeyraGetMultiTableIndex(int& multiTableIndex, int sensorDev);
  virtual void VeyraGetPNCCaliData(void* out, int sensorDev);
  __attribute__((visibility("hidden"))) virtual ~VeyraShadingUtil();
  virtual bool RegisterAndStartSensorMonitor(int sensorId, int sensorType);
  virtual bool RegisterSensorMonitor(int sensorId, int sensorType);
  virtual bool StartSensorMonitor(int sensorId, int sensorType);
  virtual void StopSensorMonitor(int sensorId, int sensorType);
  virtual void UpdateSensorData(int sensorId, unsigned int frameNumber, unsigned long timestamp);
  virtual unsigned int StoreRollingShutter(int sensorId, unsigned int sensorMode);
  virtual unsigned int QueryRollingShutter(int sensorId);
  virtual bool IsSupportSensor(int sensorId);
  virtual void CalcOISValue(CustShadingType type, CalcOISValueInput& input, std::vector<double>* outOisX,
                            std::vector<double>* outOisY, unsigned int const& frameId, int const& sensorId,
                            int& oisMatched);
};

void operator delete(void*, unsigned long) noexcept {}

VeyraShadingUtil::VeyraShadingUtil() {}
VeyraShadingUtil::~VeyraShadingUtil() {}
void VeyraShadingUtil::VeyraGetMultiTableIndex(int&, int) {}
void VeyraShadingUtil::VeyraGetPNCCaliData(void*, int) {}
bool VeyraShadingUtil::RegisterAndStartSensorMonitor(int, int) { return true; }
bool VeyraShadingUtil::RegisterSensorMonitor(int, int) { return true; }
bool VeyraShadingUtil::StartSensorMonitor(int, int) { return true; }
void VeyraShadingUtil::StopSensorMonitor(int, int) {}
void VeyraShadingUtil::UpdateSensorData(int, unsigned int, unsigned long) {}
unsigned int VeyraShadingUtil::StoreRollingShutter(int, unsigned int) { return 0; }
unsigned int VeyraShadingUtil::QueryRollingShutter(int) { return 0; }
bool VeyraShadingUtil::IsSupportSensor(int) { return true; }
void VeyraShadingUtil::CalcOISValue(CustShadingType, CalcOISValueInput&, std::vector<double>*, std::vector<double>*,
                                    unsigned int const&, int const&, int&) {}

extern "C" __attribute__((visibility("default"))) VeyraShadingUtil* createInstance() { return nullptr; }
