// Where a result goes: a file that appears whole or not at all, or standard output; never over a file in use.
#pragma once

#include <exception>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosting/FileDescriptor.h"

namespace shadingctl {

// The names of the streams, wherever the name of a file is asked for.
constexpr char kStandardInput[] = "-";
constexpr char kStandardOutput[] = "-";

// From now on kStandardOutput stays what standard output is now, whatever else is done with that stream.
void KeepStandardOutput();

// Thrown when the reader of standard output is gone.
class ReaderIsGone : public std::exception {};

// Collects a file beside its target, under another name, and renames it when it is complete: until then, and after any
// failure, the target holds what it held before. A target that is no regular file (a pipe, a terminal, /dev/null) is
// written directly, as standard output is. A symbolic link stays one; the file that it names is the target.
//
// The directory is found when the object is made: a later change of the working directory or of what is mounted where
// does not matter.
//
// A killed run leaves at most a file .shadingctl-N, which a later run with an output in that directory removes.
//
// Everything that fails (no such directory, a full disk) throws UnusableInput: "FILE: cannot be written: REASON".
class OutputFile {
 public:
  // `path` may be kStandardOutput.
  explicit OutputFile(std::string const& path);
  ~OutputFile();
  OutputFile(OutputFile&&) = delete;

  void Write(std::string_view text);
  // For callers that may not throw: a failure is kept for Finish.
  void WriteQuietly(std::string_view text) noexcept;

  // Hands everything to the system and gives the file its name.
  void Finish() { FinishAll({this}); }
  // Finishes files that belong together: none gets its name before all are complete. Null pointers are passed over.
  static void FinishAll(std::initializer_list<OutputFile*> files);

  std::string const& Name() const { return mName; }

  // False for standard output, pipes, devices: what was written there can be seen already.
  bool IsHeldBack() const { return mDirectory.Number() >= 0; }
  bool IsTerminal() const { return mIsTerminal; }
  // Columns; empty for what is no terminal, or one that does not say.
  std::optional<std::size_t> TerminalWidth() const;

 private:
  void OpenBesideTarget(std::string const& target, bool exists, unsigned int mode);
  void OpenTemporary();
  void WriteOut();
  void Complete();
  void Publish();
  [[noreturn]] void Fail(int error) const;

  std::string mName;  // for messages
  bool mIsStandardOutput = false;
  bool mIsTerminal = false;
  std::string mBuffer;
  int mKeptError = 0;
  hosting::FileDescriptor mFile;
  hosting::FileDescriptor mDirectory;  // of the target, where that is renamed to
  std::string mTarget;                 // names in it
  std::string mTemporary;              // empty once it has been renamed
};

// Throws UnusableInput when one of `outputs` is the same file as one of `inputs` or another output, under whatever
// name, or the file that standard output or standard error goes to. Opens nothing; files that do not exist yet are
// compared by their path from the nearest directory that does. Devices may be named more than once; empty names are
// passed over.
void RefuseOverwriting(std::vector<std::string> const& inputs, std::vector<std::string> const& outputs);

}  // namespace shadingctl
