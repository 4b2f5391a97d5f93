// Relocations in each form in which a linker stores them: what the loader will write into a table of pointers.
#pragma once

#include <cstdint>
#include <map>

#include "tools/shadingctl/doctor/ElfFile.h"
#include "tools/shadingctl/doctor/ElfImage.h"

namespace shadingctl {

// The relocated pointers at `address` and in the `bytes` after it, by their addresses.
std::map<std::uint64_t, ElfPointer> ReadPointers(ElfImage const& image, std::uint64_t address, std::uint64_t bytes);

}  // namespace shadingctl
