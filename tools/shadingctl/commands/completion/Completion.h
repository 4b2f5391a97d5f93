// Completion of command lines in shells, made from the table of commands.
#pragma once

#include <string>

#include "tools/shadingctl/commands/completion/CommandTable.h"

namespace shadingctl {

// Scripts that complete commands, options and the values of options: listed ones, files and directories. The one for
// bash needs nothing but bash 4.4.
std::string BashCompletion(CommandTable const& table);
std::string ZshCompletion(CommandTable const& table);

}  // namespace shadingctl
