// Checks that the library has written its dumps, since it does not report a failure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/shadingctl/dumps/HallDumpFile.h"

namespace shadingctl {

// Looks at the dump of each frame right after the frame, in the folder below the working directory.
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
