// Cameras' calibration for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "tools/shadingctl/calibration/CameraCalibration.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {

// The document of `shadingctl calibration`, from which the other formats are made. `device` says in words whose cameras
// they are.
Json CalibrationJson(std::string const& device, std::vector<CameraCalibration> const& cameras);

std::string CalibrationText(Json const& document);
std::string CalibrationCsv(Json const& document);
// The document's text, with every row of a block on one line.
std::string CalibrationJsonText(Json const& document);

}  // namespace shadingctl
