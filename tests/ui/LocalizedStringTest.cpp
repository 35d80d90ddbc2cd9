#include "ui/LocalizedString.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

using namespace ui;

namespace {

TextNode key(std::string text, std::optional<LocalizedStringKey::Argument> argument = {}) {
    return TextNode{LocalizedStringKey(std::move(text), std::move(argument))};
}

}  // namespace

// Without a translation a key shows as written. Without an argument a key is not a format (a
// lone percent sign stays); with one, "%%" is a percent sign, an unknown directive stays, the
// argument is not itself read as a format, and integers are plain decimals in any locale.
TEST(LocalizedString, FixedTextsShowAsWrittenAndArgumentsFillTheirPlaceholders) {
    const struct {
        TextNode node;
        const char* locale;
        const char* shown;
    } cases[] = {
        {key("Watchlist"), "de_DE", "Watchlist"},
        {key("100% sure"), "en_US", "100% sure"},
        {key("%lld", std::int64_t{-3}), "en_US", "-3"},
        {key("%lld", std::int64_t{1234567}), "de_DE", "1234567"},
        {key("%lld", std::numeric_limits<std::int64_t>::min()), "en_US", "-9223372036854775808"},
        {key("Daily Brief · %@", std::string("Nov 16, 6:30 AM")), "en_US",
         "Daily Brief · Nov 16, 6:30 AM"},
        {key("%lld%% of %d", std::int64_t{5}), "en_US", "5% of %d"},
        {key("%@!", std::string("%@ %lld")), "en_US", "%@ %lld!"}};
    for (const auto& c : cases) EXPECT_EQ(resolveText(c.node, std::nullopt, c.locale), c.shown);
}

TEST(LocalizedString, TranslationsComeFromTheTableByLocaleThenLanguage) {
    const StringTable table{
        {"de", {{"Watchlist", "Beobachtungsliste"}, {"Daily Brief · %@", "Tagesbericht · %1$@"}}},
        {"pt_BR", {{"Portfolio", "Carteira"}}},
        {"pt", {{"Portfolio", "Portefólio"}}},
    };
    EXPECT_EQ(resolveText(key("Watchlist"), std::nullopt, "de_CH", table), "Beobachtungsliste");
    EXPECT_EQ(
        resolveText(key("Daily Brief · %@", std::string("16. Nov.")), std::nullopt, "de", table),
        "Tagesbericht · 16. Nov.");
    EXPECT_EQ(resolveText(key("Portfolio"), std::nullopt, "pt_BR", table), "Carteira");
    EXPECT_EQ(resolveText(key("Portfolio"), std::nullopt, "pt_PT", table), "Portefólio");
    EXPECT_EQ(resolveText(key("Portfolio"), std::nullopt, "fr_FR", table), "Portfolio");
    // A record's text is never looked up, even when a key of the same spelling exists.
    EXPECT_EQ(resolveText(TextNode{Verbatim{"Watchlist"}}, std::nullopt, "de_DE", table),
              "Watchlist");
    EXPECT_EQ(lookUpTranslation(table, "Portfolio", "pt_BR"), "Carteira");
    EXPECT_EQ(lookUpTranslation(table, "Missing", "pt_BR"), std::nullopt);
}

TEST(LocalizedString, LetterCaseFollowsTheLocale) {
    EXPECT_EQ(resolveText(key("Daily Brief · %@", std::string("Nov 16, 6:30 AM")),
                          TextCase::uppercase, "en_US"),
              "DAILY BRIEF · NOV 16, 6:30 AM");
    EXPECT_EQ(resolveText(TextNode{Verbatim{"Strong Buy"}}, TextCase::lowercase, "en_US"),
              "strong buy");
    // Full mappings, not byte-wise ones.
    EXPECT_EQ(applyTextCase("straße", TextCase::uppercase, "de_DE"), "STRASSE");
    EXPECT_EQ(applyTextCase("déjà vu", TextCase::uppercase, "fr_FR"), "DÉJÀ VU");
    EXPECT_EQ(applyTextCase("istanbul", TextCase::uppercase, "tr_TR"), "İSTANBUL");
    EXPECT_EQ(applyTextCase("istanbul", TextCase::uppercase, "en_US"), "ISTANBUL");
    EXPECT_EQ(applyTextCase("ΟΔΟΣ", TextCase::lowercase, "el_GR"), "οδος");
}
