// A session that an import reads, and what there is to say of it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "recording/Session.h"
#include "tools/shadingctl/commands/import/ImportArguments.h"

namespace shadingctl {

class ImportedSession {
 public:
  virtual ~ImportedSession() = default;

  virtual recording::Session& Session() = 0;

  // What the recording lacks, in sentences; complete once the session has been read to its end.
  virtual std::vector<std::string> Remarks() const = 0;
};

// The end of the first line's exposure, which is the frame's timestamp for the library. nullopt beyond 63 bits.
std::optional<std::uint64_t> EndOfExposureNs(std::int64_t timeNs, std::int64_t exposureNs, bool timeIsStart);

// A position times the scale of its axis, as the nearest single-precision number; may be infinite.
float Scaled(float position, double scale);

// Both throw UnusableInput where a file cannot be read or used; the session does where it comes to that place.
std::unique_ptr<ImportedSession> OpenCsv(ImportArguments const& arguments);
std::unique_ptr<ImportedSession> OpenVideo(ImportArguments const& arguments);
std::unique_ptr<ImportedSession> OpenLog(ImportArguments const& arguments);

}  // namespace shadingctl
