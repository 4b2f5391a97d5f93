// The OIS hall dump files of a directory, and where the library puts them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/shadingctl/dumps/HallDumpFile.h"

namespace shadingctl {

// Where the library writes below its working directory.
constexpr char kDumpDirectory[] = "data/vendor/camera_dump";

struct NamedDump {
  std::string file;  // with its directory
  HallDump dump;
};

// Reads one file. Throws BrokenDump when its name or its text is none of a dump.
HallDump ReadDump(std::string const& file);

// Adds the dump with that name, or those in the directory of that name, or, if that has a folder
// data/vendor/camera_dump, in there. `complain` gets every file that is no dump: "FILE:LINE: expected ...". Throws
// UnusableInput when the directory cannot be read, and Interrupted.
void ReadDumps(std::string const& name, std::vector<NamedDump>& dumps,
               std::function<void(std::string const&)> const& complain);

// Makes the library's dumps go below `directory` from now on: makes the folder there, as the library does not, and goes
// to `directory`. Whatever is opened by a relative path is opened before. Throws UnusableInput when that is not
// possible, or when there is something in the folder already, which would mix with what is to come.
void SendDumpsBelow(std::string const& directory);

}  // namespace shadingctl
