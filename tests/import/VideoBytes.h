// Makes VideoIMUCapture recordings, by the schema that the import reads them with.
#pragma once

#include <string>
#include <vector>

#include "video_capture.pb.h"

namespace shadingctl {

// One piece of the file: a frame, as a recorder appends it.
std::string Piece(videoimu::VideoFrameMetaData const& frame);

// Frame 41: its exposure begins at 1000 ns and takes 500 ns, its readout 300 ns; two samples.
videoimu::VideoFrameMetaData FirstFrame();

// Frame 43: begins at 2000 ns, and has the third sample.
videoimu::VideoFrameMetaData SecondFrame();

// Fields that an import passes over, one of each wire type: a number, eight bytes, a text, four bytes.
std::vector<std::string> OtherFields();

}  // namespace shadingctl
