// The files of a recording that is written while it happens. docs/recording-format.md describes them.
#pragma once

#include <cstdint>
#include <string>

#include "hosting/FileDescriptor.h"
#include "recording/Session.h"

namespace capture {

class RecordingFiles {
 public:
  // Creates the directory and its files. Throws std::system_error.
  RecordingFiles(std::string const& directory, recording::SessionSettings const& settings);

  // Appends whole lines to hall.csv, then to calls.csv. On failure (a full disk) answers false with errno set, and both
  // files end where they ended before.
  bool Append(std::string const& samples, std::string const& calls);

  // Updates recording.csv in place.
  void Write(recording::Capture const& capture);

 private:
  struct File {
    hosting::FileDescriptor descriptor;
    std::int64_t size = 0;
  };

  std::string mSettings;
  File mSamples, mCalls, mRecording;
};

}  // namespace capture
