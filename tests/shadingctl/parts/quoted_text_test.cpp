// What a terminal or Markdown would act upon is shown instead.
#include "hosting/QuotedText.h"

#include <gtest/gtest.h>

#include <string>

namespace hosting {
namespace {

struct Case {
  std::string text;
  char const* escaped;
  char const* markdown;
};

class QuotedText : public testing::TestWithParam<Case> {};

TEST_P(QuotedText, IsShownAsItIs) {
  EXPECT_EQ(Escaped(GetParam().text), GetParam().escaped);
  EXPECT_EQ(Markdown(GetParam().text), GetParam().markdown);
}

INSTANTIATE_TEST_SUITE_P(
    All, QuotedText,
    testing::Values(Case{"", "", ""},
                    Case{"\xc3\xa4 \xe2\x82\xac \xf0\x9f\x93\xb7", "\xc3\xa4 \xe2\x82\xac \xf0\x9f\x93\xb7",
                         "\xc3\xa4 \xe2\x82\xac \xf0\x9f\x93\xb7"},
                    Case{"\x1b[2J\r\n\t\x7f", R"(\x1b[2J\x0d\n\t\x7f)", R"(`\x1b[2J\x0d\n\t\x7f`)"},
                    Case{std::string(1, '\0'), R"(\x00)", R"(`\x00`)"},
                    Case{"\xc2\x9b", R"(\u009b)", R"(`\u009b`)"},               // a control character of 8 bits
                    Case{"a\xe2\x80\xae\x62", R"(a\u202eb)", R"(`a\u202eb`)"},  // right-to-left override
                    Case{"\xe2\x81\xa6\xef\xbb\xbf", R"(\u2066\ufeff)", R"(`\u2066\ufeff`)"},
                    Case{"\xff\xc3", R"(\xff\xc3)", R"(`\xff\xc3`)"},
                    Case{"\xc0\x9b", R"(\xc0\x9b)", R"(`\xc0\x9b`)"},              // an overlong form
                    Case{"\xed\xa0\x80", R"(\xed\xa0\x80)", R"(`\xed\xa0\x80`)"},  // half a surrogate pair
                    Case{"\xf4\x90\x80\x80", R"(\xf4\x90\x80\x80)", R"(`\xf4\x90\x80\x80`)"},
                    Case{"https://x", "https://x", "`https://x`"}, Case{"a@b", "a@b", "`a@b`"},
                    Case{"`<b>|[x](y)", "`<b>|[x](y)", R"(`\x60<b>\x7c[x](y)`)"}));

}  // namespace
}  // namespace hosting
