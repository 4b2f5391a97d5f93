// What a terminal or Markdown would act upon is shown instead.
#include "hosting/QuotedText.h"

#include <gtest/gtest.h>

#include <string>

namespace hosting {
namespace {

TEST(QuotedText, IsShownAsItIs) {
  struct {
    std::string text;
    char const* escaped;
    char const* markdown;
  } const rows[] = {{"", "", ""},
                    {"\xc3\xa4 \xe2\x82\xac \xf0\x9f\x93\xb7", "\xc3\xa4 \xe2\x82\xac \xf0\x9f\x93\xb7",
                     "\xc3\xa4 \xe2\x82\xac \xf0\x9f\x93\xb7"},
                    {"\x1b[2J\r\n\t\x7f", R"(\x1b[2J\x0d\n\t\x7f)", R"(`\x1b[2J\x0d\n\t\x7f`)"},
                    {std::string(1, '\0'), R"(\x00)", R"(`\x00`)"},
                    {"\xc2\x9b", R"(\u009b)", R"(`\u009b`)"},               // a control character of 8 bits
                    {"a\xe2\x80\xae\x62", R"(a\u202eb)", R"(`a\u202eb`)"},  // right-to-left override
                    {"\xe2\x81\xa6\xef\xbb\xbf", R"(\u2066\ufeff)", R"(`\u2066\ufeff`)"},
                    {"\xff\xc3", R"(\xff\xc3)", R"(`\xff\xc3`)"},
                    {"\xc0\x9b", R"(\xc0\x9b)", R"(`\xc0\x9b`)"},              // an overlong form
                    {"\xed\xa0\x80", R"(\xed\xa0\x80)", R"(`\xed\xa0\x80`)"},  // half a surrogate pair
                    {"\xf4\x90\x80\x80", R"(\xf4\x90\x80\x80)", R"(`\xf4\x90\x80\x80`)"},
                    {"https://x", "https://x", "`https://x`"},
                    {"a@b", "a@b", "`a@b`"},
                    {"`<b>|[x](y)", "`<b>|[x](y)", R"(`\x60<b>\x7c[x](y)`)"}};
  for (auto const& [text, escaped, markdown] : rows) {
    EXPECT_EQ(Escaped(text), escaped);
    EXPECT_EQ(Markdown(text), markdown) << escaped;
  }
}

}  // namespace
}  // namespace hosting
