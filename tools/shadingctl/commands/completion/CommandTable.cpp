#include "tools/shadingctl/commands/completion/CommandTable.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <set>

namespace shadingctl {
namespace {

std::vector<std::string> NamesOf(std::set<CLI::Option*> const& options) {
  std::vector<std::string> names;
  for (CLI::Option const* const option : options) names.push_back(option->get_name());
  std::sort(names.begin(), names.end());  // the set is ordered by address
  return names;
}

// The type's name is followed by the values that a check lists: "TEXT:{table,csv,json}".
void SplitType(std::string const& type, OptionEntry& entry) {
  std::size_t const open = type.find(":{");
  entry.value = type.substr(0, open);
  if (open == std::string::npos) return;
  std::size_t const first = open + 2;
  entry.choices = CLI::detail::split(type.substr(first, type.find('}', first) - first), ',');
}

OptionEntry EntryOf(CLI::Option const& option) {
  OptionEntry entry;
  for (std::string const& name : option.get_snames()) entry.names.push_back("-" + name);
  for (std::string const& name : option.get_lnames()) entry.names.push_back("--" + name);
  if (!option.nonpositional()) entry.argument = option.get_name(true);
  if (option.get_items_expected_max() > 0) SplitType(option.get_type_name(), entry);
  entry.standard = option.get_default_str();
  entry.description = option.get_description();
  entry.needs = NamesOf(option.get_needs());
  entry.excludes = NamesOf(option.get_excludes());
  entry.isRequired = option.get_required();
  entry.isRepeated = option.get_items_expected_max() > 1;
  return entry;
}

CommandEntry EntryOf(CLI::App const& app) {
  CommandEntry entry{{}, app.get_description(), app.get_footer(), {}};
  for (CLI::Option const* const option : app.get_options()) {
    if (!option->get_group().empty()) entry.options.push_back(EntryOf(*option));
  }
  return entry;
}

}  // namespace

CommandTable MakeCommandTable(CLI::App const& app) {
  CommandTable table{EntryOf(app), {}};
  for (CLI::App const* const command : app.get_subcommands({})) {
    table.commands.push_back(EntryOf(*command));
    table.commands.back().name = command->get_name();
  }
  return table;
}

std::string Paragraph(std::string const& footer, std::string const& title) {
  std::string const text = "\n" + footer + "\n\n";
  std::size_t const begin = text.find("\n" + title);
  if (begin == std::string::npos) return {};
  std::size_t const first = text.find_first_not_of(" \n", begin + 1 + title.size());
  std::size_t const end = text.find("\n\n", begin + 1);
  if (first >= end) return {};
  std::string const paragraph = text.substr(first, end - first);
  return CLI::detail::find_and_replace(paragraph, "\n  ", "\n");
}

}  // namespace shadingctl
