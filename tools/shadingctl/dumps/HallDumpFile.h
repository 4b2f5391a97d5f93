// OIS hall dump files (docs/dump-file.md): their names and contents, those of a directory, where the library puts them,
// and whether it has written them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {

constexpr std::size_t kMaxSpan = 100;  // entries of the library's table

// Larger than any dump: 207 lines of at most 340 characters.
constexpr std::size_t kLargestDump = std::size_t{128} * 1024;

enum class DumpKind { kPreview, kCapture };
char const* Name(DumpKind kind);  // "preview", "capture"

struct DumpName {
  DumpKind kind = DumpKind::kPreview;
  std::int32_t camera = 0;
  std::int32_t printedFrame = 0;               // as in the name: negative from frame 2147483648 on
  std::optional<std::int64_t> startOfFrameUs;  // captures only

  std::uint32_t Frame() const { return static_cast<std::uint32_t>(printedFrame); }
};

// Parses a file's name; nullopt when the library gives no file such a name.
std::optional<DumpName> ParseDumpName(std::string_view name);
std::string FileNameOf(DumpName const& name);

struct Position {
  double x = 0;
  double y = 0;
};

struct HallDump {
  std::string file;  // with its directory; of a dump that was read from one
  DumpName name;
  std::vector<Position> samples;  // of the span, 2 to kMaxSpan
  Position hall0;                 // the result
  Position hall1;
  std::int64_t exposureUs = 0;
  std::int32_t shutterUs = 0;
};

// Thrown for text that is not a dump. what() is "expected EXPECTATION, found FINDING".
class BrokenDump : public std::runtime_error {
 public:
  BrokenDump(std::size_t line, std::string const& what) : std::runtime_error(what), mLine(line) {}
  std::size_t Line() const { return mLine; }  // counted from 1

 private:
  std::size_t mLine;
};

// Reads the whole text of a dump file with this name. Throws BrokenDump at the first line that is not as the library
// writes it.
HallDump ParseDump(DumpName const& name, std::string_view text);

// What is wrong with the position: "expected ..., found ..."; empty when one of the library's calculations (mean,
// maximum, middle, last) gives it, for both axes the same. Samples and position are printed with six decimals, so a
// mean may differ by that.
std::optional<std::string> CheckPosition(HallDump const& dump);

// Adds the dump with that name, or those in the directory of that name, or, if that has a folder
// data/vendor/camera_dump, in there. `complain` gets every file that is no dump: "FILE:LINE: expected ...". Throws
// UnusableInput when the directory cannot be read, and Interrupted.
void ReadDumps(std::string const& name, std::vector<HallDump>& dumps,
               std::function<void(std::string const&)> const& complain);

// Writes the dumps as a table or CSV, a line per frame, or as JSON; `withSamples` lists the samples of the spans in the
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
