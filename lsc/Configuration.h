// How cameras are named and configured.
#pragma once

// The sensor index of a sensor-device mask: the number of its trailing zero bits, so the lowest set bit counts; -1 for
// a mask of 0. Only 0 to kSensorSlotCount - 1 name a camera; see HasSensorSlot.
int SensorDevToIndex(int sensorDev);

// Whether a sensor index has a slot in the tables of cameras.
bool HasSensorSlot(int sensorIndex);
