// Cameras' calibration for people and for programs.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/shadingctl/calibration/CameraCalibration.h"
#include "tools/shadingctl/output/Json.h"

namespace shadingctl {

constexpr std::size_t kBlockRows = 9;  // of a PNC block

// Kinds of blocks of which the caller gets nothing: the member "kind" of a block.
constexpr char kUntouched[] = "untouched";
constexpr char kNotAsked[] = "not asked";

// The document of `shadingctl calibration`, from which the other formats are made. `device` says in words whose cameras
// they are.
Json CalibrationJson(std::string const& device, std::vector<CameraCalibration> const& cameras);

std::string CalibrationText(Json const& document);
std::string CalibrationCsv(Json const& document);

}  // namespace shadingctl
