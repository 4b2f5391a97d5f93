// A shared object on disk, looked at before the loader maps it.
#pragma once

#include <string>

namespace hosting {

// Throws UnusableInput when `path` is no shared object for this processor or not as long as its headers say: the loader
// would end the process with a signal at the first page that is missing.
void CheckLibraryFile(std::string const& path);

}  // namespace hosting
