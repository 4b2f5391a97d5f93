// Computes a logged call again: the library gets the very window that the log tells.
//
// A log has six decimals, so below 16 a sample stands for several single-precision numbers. A position grows with each
// of its samples in every mode, roundings included: what the library makes of the least of these numbers and of the
// greatest are bounds for what it has made of the true ones. The logged position must lie between them, to half of its
// last decimal; from 16 on both are the same.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lsc/VeyraShadingUtil.h"
#include "platform/desktop/Device.h"
#include "tools/shadingctl/log/LoggedCalls.h"
#include "tools/shadingctl/replay/PlayedDevice.h"

namespace shadingctl {

class Recomputation {
 public:
  // `settings` is the device to play; it gets a camera of its own. `library` is a path.
  Recomputation(desktop::DeviceSettings settings, std::string library);
  ~Recomputation();
  Recomputation(Recomputation const&) = delete;
  Recomputation& operator=(Recomputation const&) = delete;

  enum class Verdict {
    kSame,       // to the last decimal of the log
    kDifferent,  // `difference` says in what
    kNotWhole,   // lines are missing
    kOtherMode,  // the log changes its mode, and this library cannot
  };
  struct Result {
    Verdict verdict = Verdict::kNotWhole;
    std::string difference;
  };

  // Loads the library at the first call that is whole. Throws UnusableInput when it cannot be loaded.
  Result Check(LoggedCall const& call);

 private:
  void Load(int mode);
  FrameMessages const& Play(LoggedCall const& call, std::vector<NSCam::Utils::SensorData> const& window);

  desktop::DeviceSettings mSettings;
  std::string mLibraryPath;
  Camera mCamera;
  VeyraShadingUtil* mLibrary = nullptr;
  int* mModeSwitch = nullptr;  // of the library, where it exports one
  std::optional<int> mMode;
  FrameMessages mMessages;  // of the computation at hand
  bool mIsListening = false;
};

}  // namespace shadingctl
