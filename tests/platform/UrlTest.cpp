#include "platform/Url.h"

#include <gtest/gtest.h>

#include <string>

using platform::Url;

TEST(Url, AcceptsTheDeepLinksAsWritten) {
    for (const char* text :
         {"velmora://stock-detail?ticker=NVDA", "velmora://stock-universe-dashboard",
          "velmora://stock-universe-dashboard?tab=watchlist", "velmora://stock-detail?ticker=BRK.B",
          "velmora://stock-detail?ticker=BRK/B", "velmora://stock-detail?ticker=A%20B",
          "velmora://stock-detail?ticker=", "https://example.com:8443/a/b?c=d#e",
          "mailto:someone@example.com", "http://[::1]/"}) {
        const auto url = Url::parse(text);
        ASSERT_TRUE(url.has_value()) << text;
        EXPECT_EQ(url->text(), text);
    }
}

// No normalisation: letter case and escapes stay as the caller wrote them.
TEST(Url, KeepsTheTickerUnchanged) {
    EXPECT_EQ(Url::parse("VELMORA://Stock-Detail?ticker=Nv%2fDa")->text(),
              "VELMORA://Stock-Detail?ticker=Nv%2fDa");
    EXPECT_NE(Url::parse("velmora://stock-detail?ticker=nvda"),
              Url::parse("velmora://stock-detail?ticker=NVDA"));
}

TEST(Url, RejectsTextThatIsNotAWholeUriWithAScheme) {
    const std::string rejected[] = {
        "",                                                       // nothing at all
        "velmora://stock-detail?ticker=nv da",                    // a space inside
        "velmora://stock-detail?ticker=NVDA ",                    // a trailing space
        " velmora://stock-detail?ticker=NVDA",                    // a leading space
        "velmora://stock-detail?ticker=NVDA\n",                   // a line break
        "velmora://stock-detail?ticker=\xC3\x84",                 // non-ASCII is not RFC 3986
        "velmora://stock-detail?ticker=%zz",                      // a broken escape
        "velmora://stock-detail?ticker=%4",                       // a truncated escape
        "velmora://stock-detail?ticker=A#B#C",                    // a second fragment mark
        "velmora://stock-detail?ticker=<NVDA>",                   // characters outside the grammar
        "velmora://stock-detail?ticker=\"NVDA\"",                 //
        "velmora://host:port/",                                   // a port must be digits
        "1velmora://stock-detail",                                // a scheme starts with a letter
        std::string("velmora://stock-detail?ticker=NV\0DA", 35),  // an embedded NUL
        "stock-detail?ticker=NVDA",                               // no scheme, in any form
        "//stock-detail?ticker=NVDA",
        "/stock-detail",
        "?ticker=NVDA",
        "#top",
    };
    for (const std::string& text : rejected)
        EXPECT_FALSE(Url::parse(text).has_value()) << '"' << text << '"';
}
