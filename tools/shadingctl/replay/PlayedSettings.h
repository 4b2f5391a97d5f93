// The device that a session is played on.
#pragma once

#include "platform/desktop/Device.h"
#include "recording/Session.h"

namespace shadingctl {

// `device` with the cameras and the calculation mode that the session was recorded with, the library at this log level,
// and a log that tells all of its messages.
desktop::DeviceSettings PlayedSettings(desktop::DeviceSettings device, recording::SessionSettings const& recorded,
                                       int logLevel);

}  // namespace shadingctl
