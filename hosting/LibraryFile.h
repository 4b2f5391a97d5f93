// A shared object on disk, looked at before the loader maps it.
#pragma once

#include <string>

namespace hosting {

// Throws UnusableInput when `path` is not a shared object for this processor, or is shorter than its headers say: the
// loader would be killed by a signal at the first missing page.
void CheckLibraryFile(std::string const& path);

}  // namespace hosting
