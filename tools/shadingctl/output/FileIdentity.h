// Recognises different names of one file, so that no output overwrites an input or another output.
#pragma once

#include <string>
#include <vector>

namespace shadingctl {

// The name of standard input, wherever the name of a file is asked for.
constexpr char kStandardInput[] = "-";

// The file that a chain of symbolic links ends at, whether it exists or not; `path` itself when it is no link.
std::string WithoutLinks(std::string const& path);

// Throws UnusableInput when one of `outputs` is the same file as one of `inputs` or another output, under whatever
// name, or the file that standard output or standard error goes to. kStandardInput and kStandardOutput are
// the streams. Opens nothing; files that do not exist yet are compared by their path from the nearest directory that
// does. Devices may be named more than once.
void RefuseOverwriting(std::vector<std::string> const& inputs, std::vector<std::string> const& outputs);

}  // namespace shadingctl
