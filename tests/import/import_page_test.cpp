// The worked examples, as their page shows them.
#include <gtest/gtest.h>

#include <string>

#include "tests/import/VideoBytes.h"
#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

// What stands below `cat FILE` in the page is in that file; a file that a command has written is compared.
TEST(ImportPage, ShowsWhatTheCommandsPrint) {
  TemporaryDirectory const directory;
  directory.Write("video_meta.pb3", Piece(FirstFrame()) + Piece(SecondFrame()));
  std::string const page = ReadFile(IMPORT_PAGE);
  std::string const prompt = "\n$ ";
  int compared = 0;
  for (std::size_t at = page.find(prompt); at != std::string::npos; at = page.find(prompt, at + 1)) {
    std::size_t const begin = at + prompt.size();
    std::size_t const end = page.find('\n', begin);
    std::string const command = page.substr(begin, end - begin);
    std::string const shown = page.substr(end + 1, std::min(page.find("\n```", end), page.find(prompt, end)) - end);
    bool const isInput = command == "cat frames.txt" || command == "cat ois.csv";
    if (isInput) directory.Write(command.substr(4), shown);
    Outcome const outcome = RunScript("cd '" + directory.Path() + "' && { " + command + "; } 2>&1");
    EXPECT_EQ(outcome.out, shown) << command;
    ++compared;
  }
  EXPECT_EQ(compared, 5);
}

}  // namespace
}  // namespace shadingctl
