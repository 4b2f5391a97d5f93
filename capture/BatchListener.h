// How the provider's tap hands batches to the library's tap.
#pragma once

#include <cstddef>

#include "platform/SensorProvider.h"

// Gets every batch that the platform delivers, in its order, on the thread that pulls it and before the pull returns.
using BatchListener = void (*)(NSCam::Utils::SensorData const* samples, std::size_t count) noexcept;

// Exported by the provider's tap. Null ends listening.
extern "C" __attribute__((visibility("default"))) void SetBatchListener(BatchListener listener) noexcept;
