// Command lines that are understood, and those that are not.
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

struct CommandLine {
  char const* arguments;
  int exitCode;
  char const* told;  // part of what is written
};

std::ostream& operator<<(std::ostream& stream, CommandLine const& line) { return stream << line.arguments; }

class Usage : public testing::TestWithParam<CommandLine> {};

TEST_P(Usage, IsAnswered) {
  Outcome const outcome = RunTool(GetParam().arguments);
  EXPECT_EQ(outcome.exitCode, GetParam().exitCode);
  std::string const& text = outcome.exitCode == 0 ? outcome.out : outcome.err;
  EXPECT_NE(text.find(GetParam().told), std::string::npos) << text;
}

INSTANTIATE_TEST_SUITE_P(
    All, Usage,
    testing::Values(
        CommandLine{"--help", 0, "Examples:\n"}, CommandLine{"--version", 0, "shadingctl 1."},
        CommandLine{"replay --help", 0, "oldest end of the window"}, CommandLine{"generate --help", 0, "--hall-rate"},
        CommandLine{"", 2, "subcommand is required"}, CommandLine{"repaly", 2, "repaly"},
        CommandLine{"replay --mode median", 2, "median"}, CommandLine{"replay --type 2", 2, "--type"},
        CommandLine{"replay --format xml", 2, "xml"}, CommandLine{"replay --log-level -1", 2, "--log-level"},
        CommandLine{"generate", 2, "DIR is required"}, CommandLine{"generate x --drop 0.9", 2, "--drop"},
        CommandLine{"replay --device /no/device", 3, "/no/device/device.json: cannot be read"},
        CommandLine{"replay --library /no/library.so", 3,
                    "/no/library.so: cannot be loaded: /no/library.so: cannot open shared object file"},
        CommandLine{"replay --library " GOLDEN "/builtin.csv", 3, "invalid ELF header"},
        CommandLine{"replay --library " OTHER_LIBRARY, 3, "liblog.so: is no shading library: "},
        CommandLine{"replay -o /no/result.csv", 3, "/no/result.csv: cannot be written: No such file or directory"},
        CommandLine{"replay --format csv -o /dev/full", 3, "/dev/full: cannot be written: No space left on device"},
        CommandLine{"replay --log /dev/full", 3, "/dev/full: cannot be written: No space left on device"},
        CommandLine{"generate /proc/session", 3, "/proc/session: cannot be made: "},
        CommandLine{"replay --dump preview", 2, "--dump-dir"}, CommandLine{"replay --dump-dir none", 2, "--dump"},
        CommandLine{"dumps", 2, "DIR"}, CommandLine{"doctor", 2, "LIBRARY is required"},
        CommandLine{"calibration --camera 14", 2, "--camera"}, CommandLine{"calibration --camera -1", 2, "--camera"},
        CommandLine{"calibration --all --camera 1", 2, "excludes"},
        CommandLine{"calibration --raw block.bin", 2, "--camera"}, CommandLine{"calibration --format xml", 2, "xml"},
        CommandLine{"calibration --device /no/device", 3, "/no/device/device.json: cannot be read"},
        CommandLine{"calibration --library /no/library.so", 3, "/no/library.so: cannot be loaded"},
        CommandLine{"calibration -o /dev/full", 3, "/dev/full: cannot be written"},
        CommandLine{"calibration --camera 0 --raw /dev/full", 3, "/dev/full: cannot be written"}));

}  // namespace
}  // namespace shadingctl
