#include "style/SignalColor.h"

#include "style/Palette.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

using namespace ui;
using namespace style;

namespace {

// Names the colour so a failure reads "bullish" rather than four doubles.
std::string colorName(std::optional<std::string_view> signal) {
    const std::string name = dumpColor(signalColor(signal), Palette::names);
    return name.starts_with("Palette.") ? name.substr(8) : "not a palette colour: " + name;
}

void expectAll(std::initializer_list<std::string_view> signals, std::string_view expected) {
    for (const std::string_view signal : signals) {
        EXPECT_EQ(colorName(signal), expected) << "signal \"" << signal << '"';
    }
}

}  // namespace

// Single words match whole, phrases anywhere; letter case and padding of Unicode space
// separators (Zs: no-break, ideographic, em, thin, narrow no-break and Ogham spaces) are ignored.
TEST(SignalColor, WordsIgnoreCaseAndPaddingPhrasesCountAnywhere) {
    EXPECT_EQ(colorName(std::nullopt), "neutral");
    expectAll({"", " ", "  \t \t  "}, "neutral");
    expectAll({"Buy", "BUY", "bUy", "  buy  ", "\tBuy", "Buy\t\t", "\u00A0Buy\u00A0",
               "\u3000buy\u3000", "\u2003BUY", "\u2009buy", "\u1680buy"},
              "bullish");
    expectAll({"Sell", " SELL ", "sell", "\tsElL ", "sell\u202F", "\u3000\tSELL\u00A0 "},
              "bearish");
    expectAll({"Strong Buy", "STRONG BUY", "Not a strong buy", "strong buy (upgraded)",
               "  Strong Buy\t", "strong buy\n", "\nstrong buy"},
              "bullish");
    expectAll({"Strong Sell", "strong sell today", "analysts say STRONG SELL", "strong sell\n"},
              "bearish");
}

TEST(SignalColor, BullishTestsRunFirst) {
    EXPECT_EQ(colorName("strong buy / strong sell"), "bullish");
    EXPECT_EQ(colorName("strong sell / strong buy"), "bullish");
    // The single word "sell" is not a substring test, so it never outranks a phrase.
    EXPECT_EQ(colorName("strong sell"), "bearish");
}

// Line breaks are not trimmed, nor spaces outside Zs: zero-width space (Cf), byte-order mark,
// the line separator (Zl).
TEST(SignalColor, NearMissesLineBreaksAndOtherSpacesAreNeutral) {
    expectAll(
        {"buy!",        "buyback",    "Buy (upgraded)", "sell-off",  "strongbuy", "strong  buy",
         "strong\tbuy", "strong sel", "b uy",           "buy buy",   "sells",     "Hold",
         "N/A",         "buy\n",      "\nbuy",          "buy\r\n",   "sell\n",    "\u2029sell",
         "buy\v",       "buy\u0085",  "\u200Bbuy",      "\uFEFFbuy", "buy\u2028", "\u00A0buy\n"},
        "neutral");
}

TEST(SignalColor, LowerCasesBeyondAscii) {
    // Full lower-casing in the root locale: fullwidth letters stay fullwidth (so no match),
    // other scripts around a phrase do not disturb the search.
    EXPECT_EQ(colorName("\uFF22\uFF35\uFF39"), "neutral");  // ＢＵＹ
    EXPECT_EQ(colorName("\u00C9TAT: STRONG BUY"), "bullish");
    EXPECT_EQ(colorName("STRONG SELL \u0130STANBUL"), "bearish");  // İ lowers to two code points
    // The Kelvin sign lower-cases to an ASCII k, the long s stays itself.
    EXPECT_EQ(colorName("STRONG BUY \u212A"), "bullish");
    EXPECT_EQ(colorName("\u017Fell"), "neutral");
    // Invalid UTF-8 does not break the comparison of the valid rest.
    EXPECT_EQ(colorName("\xFF strong buy"), "bullish");
    EXPECT_EQ(colorName("buy\xFF"), "neutral");
}
