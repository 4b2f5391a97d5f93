// Cameras' calibration, as a table to read, a line per camera, or JSON.
#pragma once

#include <string>
#include <vector>

#include "tools/shadingctl/calibration/CameraCalibration.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {

// `device` says in words whose cameras they are.
void WriteCalibration(Format format, OutputFile& output, std::string const& device,
                      std::vector<CameraCalibration> const& cameras);

}  // namespace shadingctl
