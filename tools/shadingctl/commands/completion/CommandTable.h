// What the command line understands, as plain values: the one table behind --help, from which manual pages and shell
// completions are made.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace shadingctl {

struct OptionEntry {
  std::vector<std::string> names;    // "-o", "--output"; none for an argument without a name
  std::string argument;              // "RECORDING" for an argument without a name, else empty
  std::string value;                 // "FILE", "DIR", "1..1000"; empty for a flag
  std::vector<std::string> choices;  // the only values that there are, where they are listed
  std::string standard;              // the value without the option; empty: none
  std::string description;
  std::vector<std::string> needs;  // other options, by name
  std::vector<std::string> excludes;
  bool isRequired = false;
  bool isRepeated = false;  // takes any number of values
};

struct CommandEntry {
  std::string name;  // of the program itself: empty
  std::string description;
  std::string footer;  // paragraphs below the options, as --help shows them
  std::vector<OptionEntry> options;
};

struct CommandTable {
  CommandEntry program;
  std::vector<CommandEntry> commands;  // in the order of --help
};

CommandTable MakeCommandTable(CLI::App const& app);

// The paragraph of a footer that begins with `title`, without the title and its lines' common indentation; empty when
// there is none.
std::string Paragraph(std::string const& footer, std::string const& title);

}  // namespace shadingctl
