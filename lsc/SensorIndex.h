// From the sensor-device mask by which the calibration operations name a camera to the index of its tables.
#pragma once

// Number of cameras that the calibration operations tell apart.
constexpr int kSensorSlotCount = 14;

// The number of trailing zero bits of the mask, so the lowest set bit counts; -1 for a mask of 0. Only 0 to
// kSensorSlotCount - 1 name a camera; see HasSensorSlot.
constexpr int SensorDevToIndex(int sensorDev) {
  return sensorDev == 0 ? -1 : __builtin_ctz(static_cast<unsigned int>(sensorDev));
}

// Whether a sensor index has a slot in the tables of cameras.
constexpr bool HasSensorSlot(int sensorIndex) { return sensorIndex >= 0 && sensorIndex < kSensorSlotCount; }
