// What error and log lines show of text from outside.
#include "platform/PrintableText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using platform::printableText;

TEST(PrintableText, EscapesControlsAndBytesThatAreNoUtf8AndCutsAtACharacter) {
    const struct {
        std::string text;
        std::size_t limit;
        std::string shown;
    } cases[] = {
        {"plain text, ünïcödé and 株式 kept", 100, "plain text, ünïcödé and 株式 kept"},
        {"two\nlines\r\tand a tab", 100, "two\\nlines\\r\\tand a tab"},
        {"\x1b[2J\x1b]0;title\x07", 100, "\\x1B[2J\\x1B]0;title\\x07"},
        {std::string("nul\0del\x7f", 8), 100, "nul\\x00del\\x7F"},
        {"c1 \xc2\x85 nbsp \xc2\xa0", 100, "c1 \\xC2\\x85 nbsp \xc2\xa0"},
        {"stray \x80, overlong \xc0\xaf, surrogate \xed\xa0\x80, cut \xe6\xa0", 100,
         "stray \\x80, overlong \\xC0\\xAF, surrogate \\xED\\xA0\\x80, cut \\xE6\\xA0"},
        {"abcdef", 6, "abcdef"},
        {"abcdefg", 6, "abcdef…"},
        {"ab株式", 4, "ab…"},  // never half a character
        {"ab株式", 5, "ab株…"},
        {std::string(1 << 20, 'x'), 3, "xxx…"},
    };
    for (const auto& [text, limit, shown] : cases)
        EXPECT_EQ(printableText(text, limit), shown) << text.substr(0, 40);
    EXPECT_EQ(platform::quotedInput("a\nb"), "\"a\\nb\"");
}

}  // namespace
