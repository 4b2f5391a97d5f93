#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "hosting/Interruption.h"
#include "tools/shadingctl/commands/Commands.h"
#include "tools/shadingctl/output/Console.h"
#include "tools/shadingctl/output/OutputFile.h"

namespace shadingctl {
namespace {

// Edit distance with swaps of neighbours.
std::size_t Distance(std::string const& one, std::string const& other) {
  std::vector<std::vector<std::size_t>> steps(one.size() + 1, std::vector<std::size_t>(other.size() + 1));
  for (std::size_t i = 0; i <= one.size(); ++i) {
    for (std::size_t j = 0; j <= other.size(); ++j) {
      if (i == 0 || j == 0) {
        steps[i][j] = i + j;
        continue;
      }
      std::size_t const change = one[i - 1] == other[j - 1] ? 0 : 1;
      steps[i][j] = std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + change});
      bool const isSwap = i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
      if (isSwap) steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
    }
  }
  return steps[one.size()][other.size()];
}

// The command or option that the first unknown argument may stand for, as a line: the one with the fewest letters that
// differ, are too many, missing, or changed places; empty when even that one differs in more than a third of its
// letters.
std::string SuggestionFor(CLI::App const& app) {
  std::vector<std::string> const unknown = app.remaining(true);
  if (unknown.empty()) return {};
  std::vector<CLI::App*> const commands = app.get_subcommands();
  std::vector<std::string> candidates;
  if (unknown.front()[0] == '-') {
    CLI::App const& command = commands.empty() ? app : *commands.front();
    for (CLI::Option const* const option : command.get_options()) {
      for (std::string const& name : option->get_lnames()) candidates.push_back("--" + name);
    }
  } else if (commands.empty()) {
    for (CLI::App const* const command : app.get_subcommands({})) candidates.push_back(command->get_name());
  }
  std::string const typed = unknown.front().substr(0, unknown.front().find('='));
  std::map<std::size_t, std::string> near;  // by distance, the first of each
  for (std::string const& candidate : candidates) {
    std::size_t const distance = Distance(typed, candidate);
    if (3 * distance <= candidate.size()) near.emplace(distance, candidate);
  }
  return near.empty() ? std::string() : "Did you mean " + near.begin()->second + "?\n";
}

// If the parent process has closed a standard stream, the first file opened would get its number. The placeholder is
// opened in the opposite direction, so that using the stream fails as it should.
void OccupyStandardStreams() {
  for (int const stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

}  // namespace

int AnswerParseError(CLI::App const& app, CLI::ParseError const& error) {
  std::ostringstream asked;
  std::ostringstream refused;
  int const code = app.exit(error, asked, refused);
  std::string told = refused.str();
  if (code != 0) told.insert(std::min(told.find('\n') + 1, told.size()), SuggestionFor(app));
  TellPlainly(told);
  OutputFile console(kStandardOutput);
  console.Write(asked.str());
  console.Finish();
  return code == 0 ? kExitDone : kExitUsage;
}

int RunProgram(std::function<int()> const& work) {
  OccupyStandardStreams();
  hosting::RememberInterruptions();
  signal(SIGPIPE, SIG_IGN);  // writing then fails, and what was begun is cleaned up
  signal(SIGXFSZ, SIG_IGN);
  try {
    return work();
  } catch (hosting::Interrupted const&) {
    Tell("interrupted; nothing was written");
    return kExitSignal + hosting::InterruptedBy();
  } catch (ReaderIsGone const&) {
    // Everything is cleaned up; end like any program whose reader is gone.
    signal(SIGPIPE, SIG_DFL);
    raise(SIGPIPE);
    return kExitUnusable;
  } catch (std::exception const& error) {
    Tell(error.what());
    return kExitUnusable;
  }
}

}  // namespace shadingctl
