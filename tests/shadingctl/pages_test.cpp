// Manual pages and completions against what the program itself understands.
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <regex>
#include <set>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

std::set<std::string> OptionsIn(std::string const& text) {
  std::regex const option("--[a-z][a-z0-9-]*");
  std::set<std::string> names;
  for (std::sregex_iterator found(text.begin(), text.end(), option), end; found != end; ++found) {
    names.insert(found->str());
  }
  return names;
}

TEST(ManPages, ThereIsOneOfEveryCommandWithAllItsOptions) {
  if (RunScript("command -v help2man").exitCode != 0) GTEST_SKIP() << "without help2man there are none";
  std::size_t pages = 0;
  for (std::string const& line : Lines(RunTool("help").out)) {
    std::smatch command;
    if (!std::regex_search(line, command, std::regex("^ {2}([a-z]+) {2,}"))) continue;
    std::string const name = command[1];
    std::string const page = Replaced(ReadFile(PAGES "/man1/shadingctl-" + name + ".1"), "\\-", "-");
    EXPECT_EQ(OptionsIn(page), OptionsIn(RunTool(name + " --help").out)) << name;
    EXPECT_EQ(page.find(".TH SHADINGCTL"), page.find(".TH ")) << page;
    ++pages;
  }
  EXPECT_GE(pages, 8U);
}

struct Typed {
  char const* words;  // of the command line so far, as the shell splits it; the last one is being typed
  char const* offered;
};

std::ostream& operator<<(std::ostream& stream, Typed const& typed) { return stream << typed.words; }

class BashCompletion : public testing::TestWithParam<Typed> {};

TEST_P(BashCompletion, Offers) {
  TemporaryDirectory const directory;
  directory.Write("some file.csv", "");
  std::filesystem::create_directory(directory.Path() + "/device");
  std::string const script = R"(cd ')" + directory.Path() + R"(' && shadingctl completion bash >completion && bash -c '
    compopt() { :; }  # nobody types
    . ./completion; rm completion
    COMP_WORDS=()" + std::string(GetParam().words) +
                             R"()
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _shadingctl
    printf "%s;" "${COMPREPLY[@]}"')";
  Outcome const outcome = RunScript(script);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out, GetParam().offered);
}

INSTANTIATE_TEST_SUITE_P(
    All, BashCompletion,
    testing::Values(Typed{"shadingctl ca", "calibration;"}, Typed{"shadingctl --v", "--version;"},
                    Typed{"shadingctl replay --res", "--reset-matched;"},
                    Typed{"shadingctl replay --format \"\"", "table;csv;json;"},
                    Typed{"shadingctl replay --format =", "table;csv;json;"},
                    Typed{"shadingctl replay --format = j", "json;"}, Typed{"shadingctl replay s", "some file.csv;"},
                    Typed{"shadingctl replay --device \"\"", "device;"},
                    Typed{"shadingctl replay -o s", "some file.csv;"}, Typed{"shadingctl replay --camera s", ";"},
                    Typed{"shadingctl help dum", "dumps;"}, Typed{"shadingctl replay --quiet --only start", "start;"}));

}  // namespace
}  // namespace shadingctl
