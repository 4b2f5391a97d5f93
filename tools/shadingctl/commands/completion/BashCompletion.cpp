#include <fmt/format.h>

#include "tools/shadingctl/commands/completion/Completion.h"

namespace shadingctl {
namespace {

// With --format=csv the shell hands over three words; what is typed of the last one is completed either way.
constexpr char const* kBeginning = R"(# Completion of shadingctl for bash; made by `shadingctl completion bash`.

_shadingctl_names() {  # ACTION: what compgen calls files or directories
  compopt -o filenames
  mapfile -t COMPREPLY < <(compgen -A "$1" -- "$current")
}

_shadingctl() {
  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command= words= i
  COMPREPLY=()
  if [[ $current == = ]]; then
    current=
  elif [[ $before == = ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for ((i = 1; i < COMP_CWORD; ++i)); do
    if [[ ${COMP_WORDS[i]} != -* ]]; then
      command=${COMP_WORDS[i]}
      break
    fi
  done
  case "$command $before" in
)";

constexpr char const* kMiddle = R"(    *)
      if [[ $current == -* ]]; then
        case $command in
)";

constexpr char const* kArguments = R"(        esac
      else
        case $command in
)";

constexpr char const* kEnd = R"(        esac
      fi
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _shadingctl shadingctl
)";

std::string Joined(std::vector<std::string> const& words) { return fmt::format("{}", fmt::join(words, " ")); }

// The statements that answer what an option or argument takes.
std::string Answer(OptionEntry const& option) {
  if (!option.choices.empty()) return fmt::format("words='{}'", Joined(option.choices));
  if (option.value == "DIR") return "_shadingctl_names directory; return";
  // An argument is a file unless it is known to be something else.
  if (option.value == "FILE" || !option.argument.empty()) return "_shadingctl_names file; return";
  return "return";
}

std::string ValueCases(CommandEntry const& command) {
  std::string text;
  for (OptionEntry const& option : command.options) {
    if (option.names.empty() || option.value.empty()) continue;
    std::string patterns;
    for (std::string const& name : option.names) {
      patterns += fmt::format("{}'{} {}'", patterns.empty() ? "" : " | ", command.name, name);
    }
    text += fmt::format("    {}) {} ;;\n", patterns, Answer(option));
  }
  return text;
}

std::string OptionCase(CommandEntry const& command) {
  std::vector<std::string> names;
  for (OptionEntry const& option : command.options) names.insert(names.end(), option.names.begin(), option.names.end());
  return fmt::format("          '{}') words='{}' ;;\n", command.name, Joined(names));
}

std::string ArgumentCase(CommandEntry const& command) {
  for (OptionEntry const& option : command.options) {
    if (!option.argument.empty()) return fmt::format("          '{}') {} ;;\n", command.name, Answer(option));
  }
  return {};
}

}  // namespace

std::string BashCompletion(CommandTable const& table) {
  std::string values;
  std::string options = OptionCase(table.program);
  std::string arguments;
  std::vector<std::string> names;
  for (CommandEntry const& command : table.commands) {
    values += ValueCases(command);
    options += OptionCase(command);
    arguments += ArgumentCase(command);
    names.push_back(command.name);
  }
  arguments = fmt::format("          '') words='{}' ;;\n", Joined(names)) + arguments;
  return kBeginning + values + kMiddle + options + kArguments + arguments + kEnd;
}

}  // namespace shadingctl
