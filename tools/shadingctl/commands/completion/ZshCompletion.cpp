#include <fmt/format.h>

#include "tools/shadingctl/commands/completion/Completion.h"

namespace shadingctl {
namespace {

// Inside single quotes, where _arguments gives colons and brackets a meaning.
std::string Quoted(std::string const& text) {
  std::string quoted;
  for (char const c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      if (c == ':' || c == '[' || c == ']' || c == '\\') quoted += '\\';
      quoted += c;
    }
  }
  return quoted;
}

std::string Values(OptionEntry const& option) {
  if (!option.choices.empty()) return fmt::format("({})", fmt::join(option.choices, " "));
  if (option.value == "DIR") return "_files -/";
  // An argument is a file unless it is known to be something else.
  return option.value == "FILE" || !option.argument.empty() ? "_files" : " ";
}

// One line for _arguments: '(-o --output)'{-o,--output}'[description]:FILE:_files'
std::string Argument(OptionEntry const& option) {
  if (!option.argument.empty()) {
    return fmt::format("'{}:{}:{}'", option.isRepeated ? "*" : "", Quoted(option.argument), Values(option));
  }
  std::string const value = option.value.empty() ? "" : fmt::format(":{}:{}", Quoted(option.value), Values(option));
  std::string const description = Quoted(option.description);
  if (option.names.size() == 1) return fmt::format("'{}[{}]{}'", option.names.front(), description, value);
  return fmt::format("'({})'{{{}}}'[{}]{}'", fmt::join(option.names, " "), fmt::join(option.names, ","), description,
                     value);
}

std::string Arguments(CommandEntry const& command, std::string const& indent) {
  std::string text;
  for (OptionEntry const& option : command.options) text += fmt::format(" \\\n{}  {}", indent, Argument(option));
  return text;
}

}  // namespace

std::string ZshCompletion(CommandTable const& table) {
  std::string text = "#compdef shadingctl\n# Made by `shadingctl completion zsh`.\n\n_shadingctl() {\n";
  text += "  local context state state_descr line\n  typeset -A opt_args\n  local -a commands=(\n";
  for (CommandEntry const& command : table.commands) {
    text += fmt::format("    '{}:{}'\n", command.name, Quoted(command.description));
  }
  text += "  )\n  _arguments -C" + Arguments(table.program, "  ");
  text += " \\\n    '1: :->command' \\\n    '*:: :->arguments'\n  case $state in\n";
  text += "    command) _describe command commands ;;\n    arguments)\n      case $words[1] in\n";
  for (CommandEntry const& command : table.commands) {
    text += fmt::format("        {}) _arguments{} ;;\n", command.name, Arguments(command, "         "));
  }
  return text + "      esac\n      ;;\n  esac\n}\n\n_shadingctl \"$@\"\n";
}

}  // namespace shadingctl
