#include "tools/shadingctl/commands/completion/ManPage.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace shadingctl {
namespace {

constexpr char const* kProgramName = "shadingctl";
constexpr char const* kExamples = "Examples:";
constexpr char const* kExitCodes = "Exit codes:";

// Hyphens stay what a user types, and no line begins with a command of the manual's language.
std::string Escaped(std::string const& text) {
  std::string escaped;
  for (char const c : text) {
    bool const beginsLine = escaped.empty() || escaped.back() == '\n';
    if (beginsLine && (c == '.' || c == '\'')) escaped += "\\&";
    if (c == '-') {
      escaped += "\\-";
    } else if (c == '\\') {
      escaped += "\\e";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string AsTyped(std::string const& text) { return ".nf\n" + Escaped(text) + "\n.fi\n"; }

std::string Bold(std::string const& text) { return "\\fB" + Escaped(text) + "\\fR"; }
std::string Italic(std::string const& text) { return "\\fI" + Escaped(text) + "\\fR"; }

// A sentence that says which others an option needs or excludes.
std::string Others(char const* words, std::vector<std::string> const& names) {
  return names.empty() ? std::string()
                       : fmt::format("\n{} {}.", words, Escaped(fmt::format("{}", fmt::join(names, ", "))));
}

std::string OptionText(OptionEntry const& option) {
  std::string heading;
  for (std::string const& name : option.names) heading += (heading.empty() ? "" : ", ") + Bold(name);
  if (!option.argument.empty()) heading = Italic(option.argument) + (option.isRepeated ? "..." : "");
  if (!option.names.empty() && !option.value.empty()) heading += " " + Italic(option.value);
  std::string text = ".TP\n" + heading + "\n" + Escaped(option.description) + ".";
  if (!option.choices.empty()) text += "\nOne of: " + Escaped(fmt::format("{}", fmt::join(option.choices, ", "))) + ".";
  if (!option.standard.empty()) text += "\nBy default " + Escaped(option.standard) + ".";
  if (option.isRequired) text += "\nRequired.";
  return text + Others("Only with", option.needs) + Others("Not with", option.excludes) + "\n";
}

std::string Synopsis(CommandEntry const& command) {
  std::string text = Bold(command.name.empty() ? kProgramName : fmt::format("{} {}", kProgramName, command.name));
  text += " [" + Italic("OPTION") + "...]";
  if (command.name.empty()) return text + " " + Italic("COMMAND") + " [" + Italic("ARGUMENT") + "...]";
  for (OptionEntry const& option : command.options) {
    if (option.argument.empty()) continue;
    std::string const argument = Italic(option.argument) + (option.isRepeated ? "..." : "");
    text += option.isRequired ? " " + argument : " [" + argument + "]";
  }
  return text;
}

// The paragraphs of a footer that have no section of their own.
std::string Explanation(std::string const& footer) {
  std::string text;
  for (std::size_t begin = 0; begin < footer.size();) {
    std::size_t const end = std::min(footer.find("\n\n", begin), footer.size());
    std::string const paragraph = footer.substr(begin, end - begin);
    if (paragraph.rfind(kExamples, 0) != 0 && paragraph.rfind(kExitCodes, 0) != 0) text += ".PP\n" + AsTyped(paragraph);
    begin = end + 2;
  }
  return text;
}

std::string Section(char const* title, std::string const& text) {
  return text.empty() ? std::string() : fmt::format(".SH {}\n{}", title, text);
}

std::string Page(CommandTable const& table, CommandEntry const& command, std::string const& version) {
  bool const isProgram = command.name.empty();
  std::string const title = isProgram ? kProgramName : fmt::format("{}-{}", kProgramName, command.name);
  std::string capitals = title;
  std::transform(title.begin(), title.end(), capitals.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  std::string text = fmt::format(".TH {} 1 \"\" \"{}\" \"User commands\"\n", Escaped(capitals), Escaped(version));
  text += Section("NAME", fmt::format("{} \\- {}\n", Escaped(title), Escaped(command.description)));
  text += Section("SYNOPSIS", Synopsis(command) + "\n");
  bool const isSentence = !command.description.empty() && command.description.back() == '.';
  text +=
      Section("DESCRIPTION", Escaped(command.description) + (isSentence ? "\n" : ".\n") + Explanation(command.footer));
  std::string options;
  for (OptionEntry const& option : command.options) options += OptionText(option);
  text += Section("OPTIONS", options);
  if (isProgram) {
    std::string commands;
    for (CommandEntry const& other : table.commands) {
      commands += fmt::format(".TP\n{}\n{}.\n", Bold(other.name), Escaped(other.description));
    }
    text += Section("COMMANDS", commands);
  }
  std::string const examples = Paragraph(command.footer, kExamples);
  text += Section("EXAMPLES", examples.empty() ? examples : AsTyped(examples));
  std::string const codes = Paragraph(table.program.footer, kExitCodes);
  text += Section("EXIT STATUS", codes.empty() ? codes : Escaped(codes) + "\n");
  std::string others = isProgram ? "" : Bold(kProgramName) + "(1)";
  for (CommandEntry const& other : table.commands) {
    if (other.name == command.name) continue;
    others += (others.empty() ? "" : ",\n") + Bold(fmt::format("{}-{}", kProgramName, other.name)) + "(1)";
  }
  return text + Section("SEE ALSO", others + "\n");
}

}  // namespace

std::string ManPage(CommandTable const& table, std::string const& name, std::string const& version) {
  if (name.empty()) return Page(table, table.program, version);
  auto const found = std::find_if(table.commands.begin(), table.commands.end(),
                                  [&](CommandEntry const& command) { return command.name == name; });
  return Page(table, *found, version);
}

std::string ManPageFile(std::string const& name) {
  return fmt::format("{}{}{}.1", kProgramName, name.empty() ? "" : "-", name);
}

}  // namespace shadingctl
