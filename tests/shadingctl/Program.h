// Runs shadingctl and captures its output.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace shadingctl {

struct Outcome {
  int exitCode = -1;
  std::string out;
  std::string err;
};

// A temporary directory, deleted at destruction.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(TemporaryDirectory const&) = delete;
  TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;

  std::string const& Path() const { return mPath; }
  void Write(std::string const& name, std::string const& text) const;

 private:
  std::string mPath;
};

// Runs the program with arguments in the shell's syntax, without a device in its environment.
Outcome RunTool(std::string const& arguments);

// Runs a shell script, in which `shadingctl` is the program, in the current directory.
Outcome RunScript(std::string const& script);

// Why the program cannot mount calibration data here, in its words; empty where it can. Tests of them skip with it.
std::string const& MountRefusal();

// The program at work in the background, with its standard output in a pipe.
class StartedTool {
 public:
  explicit StartedTool(std::string const& arguments);
  ~StartedTool();
  StartedTool(StartedTool const&) = delete;
  StartedTool& operator=(StartedTool const&) = delete;

  // Waits until it has written so many bytes.
  void Await(std::size_t bytes);
  void Signal(int signal) const;
  bool IsRunning() const;
  // Reads the rest and waits for the end.
  Outcome Finish();

 private:
  TemporaryDirectory const mDirectory;
  int mProcess = -1;
  int mPipe = -1;
  Outcome mOutcome;
};

std::string ReadFile(std::string const& path);

// Compares a text with the golden file of that name. With UPDATE_GOLDEN in the environment the file is written instead
// and the test fails, so that nobody takes the renewal for a comparison.
void ExpectGolden(std::string const& text, std::string const& name);

std::vector<std::string> Lines(std::string const& text);

// The cells of each line of CSV, by the names of their columns.
std::vector<std::map<std::string, std::string>> Rows(std::string const& csv);

// Of every row the cells of these columns, "match,hall_x": a line each.
std::string Columns(std::string const& csv, std::string const& names);

// The first line that begins with this after blanks; empty if there is none.
std::string LineOf(std::string const& text, std::string const& key);

// A summary without the lines that tell durations.
std::string WithoutDurations(std::string const& summary);

// With "#" for each number, where standard libraries have random numbers of their own.
std::string WithoutNumbers(std::string const& text);

// `text` with every `from` replaced.
std::string Replaced(std::string text, std::string const& from, std::string const& to);

// A recording of one frame, number 7 at 1000 s, whose answer can be worked out by hand: exposure 10 ms, readout 20 ms,
// and 120 samples, one every ms, of which number k (-60 to 59) is taken at 999984402000 ns + k ms with the position
// (k * k, -k).
//
// The offset is -0.5432 * 10000 - 166 = -5598 us, so sample k has the aligned time 999990000 us + k ms; the frame
// starts at 999990000 us. Sample 16 is the first one after 1000 s, its index is 76; the window of 100 around it is
// samples -40 to 59. Entry 39 (k = -1) is the first one within 1500 us of the frame's start, entry 40 (k = 0) is
// nearer; entry 60 (k = 20) is at the end of the readout. The span is entries 40 to 60: k from 0 to 20.
void WriteWorkedRecording(TemporaryDirectory const& directory);

}  // namespace shadingctl
