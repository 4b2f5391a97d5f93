// The files of a recording that is written while it happens. docs/recording-format.md describes them.
#pragma once

#include <cstdint>
#include <string>

#include "hosting/FileDescriptor.h"
#include "recording/Session.h"

namespace capture {

// What recording.csv says about a capture, besides its settings.
struct CaptureState {
  std::uint64_t lostCalls = 0;    // made by the host and not in calls.csv
  std::uint64_t lostSamples = 0;  // delivered and not in hall.csv
  char const* state = "running";  // "running", "complete", or "broken": a file could not be written

  bool operator==(CaptureState const& other) const {
    return lostCalls == other.lostCalls && lostSamples == other.lostSamples && state == other.state;
  }
};

class RecordingFiles {
 public:
  // Creates the directory and its files. Throws std::system_error.
  RecordingFiles(std::string const& directory, recording::SessionSettings const& settings);

  // Appends whole lines to hall.csv, then to calls.csv. On failure (a full disk) answers false with errno set, and both
  // files end where they ended before.
  bool Append(std::string const& samples, std::string const& calls);

  // Updates recording.csv in place: its size never changes, so a full disk has room for it.
  void Write(CaptureState const& state);

 private:
  struct File {
    hosting::FileDescriptor descriptor;
    std::int64_t size = 0;
  };

  std::string mSettings;
  File mSamples, mCalls, mRecording;
};

}  // namespace capture
