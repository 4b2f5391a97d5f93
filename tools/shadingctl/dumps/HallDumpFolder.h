// The OIS hall dump files of a directory, where the library puts them, and whether it has written them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/shadingctl/dumps/HallDumpFile.h"
#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {

// Where the library writes below its working directory.
constexpr char kDumpDirectory[] = "data/vendor/camera_dump";

// Reads one file. Throws BrokenDump when its name or its content is not that of a dump.
HallDump ReadDump(std::string const& file);

// Adds the dump with that name, or those in the directory of that name, or, if that has a folder
// data/vendor/camera_dump, in there. `complain` gets every file that is no dump: "FILE:LINE: expected ...". Throws
// UnusableInput when the directory cannot be read, and Interrupted.
void ReadDumps(std::string const& name, std::vector<HallDump>& dumps,
               std::function<void(std::string const&)> const& complain);

// Writes the dumps as a table to read, a line per frame, or JSON; `withSamples` lists the samples of the spans in
// formats that otherwise omit them.
void WriteDumps(Format format, OutputFile& output, std::vector<HallDump> const& dumps, bool withSamples);

// Redirects the library's dumps below `directory` from now on: creates the dump folder, which the library does not, and
// changes the working directory to `directory`; open relative paths before. Throws UnusableInput when that fails, or
// when the folder is not empty, since old and new dumps could not be told apart.
void SendDumpsBelow(std::string const& directory);

// Looks at the dump of each frame right after the frame, in the folder below the working directory: the library reports
// no failure to write it.
class HallDumpAudit {
 public:
  // The frame got a position, so that its dump should be there and whole.
  void Expect(DumpName const& name);

  // The dumps missing or short below `directory`, with the system's reason; empty when all are complete.
  std::string Complaint(std::string const& directory) const;

 private:
  std::uint64_t mExpected = 0;
  std::uint64_t mMissing = 0;
  std::uint64_t mCut = 0;
  std::string mReason;  // asked for at the first dump that was missing or cut
};

}  // namespace shadingctl
