// Manual pages and completions against what the program itself understands.
#include <gtest/gtest.h>

#include <filesystem>
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

TEST(BashCompletion, OffersWhatTheWordsSoFarAllow) {
  struct {
    char const* words;  // of the command line so far, as the shell splits it; the last one is being typed
    char const* offered;
  } const rows[] = {{"shadingctl ca", "calibration;"},
                    {"shadingctl --v", "--version;"},
                    {"shadingctl replay --res", "--reset-matched;"},
                    {"shadingctl replay --format \"\"", "table;csv;json;"},
                    {"shadingctl replay --format =", "table;csv;json;"},
                    {"shadingctl replay --format = j", "json;"},
                    {"shadingctl replay s", "some file.csv;"},
                    {"shadingctl replay --device \"\"", "device;"},
                    {"shadingctl replay -o s", "some file.csv;"},
                    {"shadingctl replay --camera s", ";"},
                    {"shadingctl help dum", "dumps;"},
                    {"shadingctl replay --quiet --only start", "start;"}};
  TemporaryDirectory const directory;
  directory.Write("some file.csv", "");
  std::filesystem::create_directory(directory.Path() + "/device");
  for (auto const& [words, offered] : rows) {
    Outcome const outcome = RunScript("cd '" + directory.Path() +
                                      R"(' && shadingctl completion bash >completion && bash -c '
    compopt() { :; }  # nobody types
    . ./completion; rm completion
    COMP_WORDS=()" + words + R"()
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _shadingctl
    printf "%s;" "${COMPREPLY[@]}"')");
    EXPECT_EQ(outcome.err, "") << words;
    EXPECT_EQ(outcome.out, offered) << words;
  }
}

}  // namespace
}  // namespace shadingctl
