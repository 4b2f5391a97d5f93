// Manual pages, made from the table of commands.
#pragma once

#include <string>

#include "tools/shadingctl/commands/completion/CommandTable.h"

namespace shadingctl {

// The page of the command, or of the program when `name` is empty, in the manual's own language (man(7)). It holds no
// date, so that the same program always gives the same bytes. Requires: the table has that command.
std::string ManPage(CommandTable const& table, std::string const& name, std::string const& version);

// "shadingctl.1", "shadingctl-replay.1"
std::string ManPageFile(std::string const& name);

}  // namespace shadingctl
