// Cameras' calibration for people and for programs.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "tools/shadingctl/calibration/CameraCalibration.h"

namespace shadingctl {

// The document of `shadingctl calibration`, from which the other formats are made. `device` says in words whose cameras
// they are.
nlohmann::ordered_json CalibrationJson(std::string const& device, std::vector<CameraCalibration> const& cameras);

std::string CalibrationText(nlohmann::ordered_json const& document);
std::string CalibrationCsv(nlohmann::ordered_json const& document);
// The document's text, with every row of a block on one line.
std::string CalibrationJsonText(nlohmann::ordered_json const& document);

}  // namespace shadingctl
