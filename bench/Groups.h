// What is measured, group by group.
#pragma once

#include <cstddef>
#include <string>

#include "bench/Library.h"
#include "bench/Table.h"

namespace bench {

// Update, calc and both at every rate, in order and overlapping, and on the recording in the directory unless that is
// empty. False, with a message on standard error, when two variants answer differently.
bool MeasureStreams(Library& library, std::string const& recording, std::size_t rounds, Table& table);

// Levels and sinks, look-ups, the first frame, several cameras and threads, at 1 kHz in order.
void MeasureSurroundings(Library& library, std::size_t rounds, Table& table);

}  // namespace bench
