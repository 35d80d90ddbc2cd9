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

TEST(LocalizedString, FixedTextsShowAsWrittenWithoutATranslation) {
    EXPECT_TRUE(builtInStringTable().empty());
    EXPECT_EQ(resolveText(key("Watchlist"), std::nullopt, "en_US"), "Watchlist");
    EXPECT_EQ(resolveText(key("Watchlist"), std::nullopt, "de_DE"), "Watchlist");
    // Without an argument a key is not a format: a lone percent sign stays.
    EXPECT_EQ(resolveText(key("100% sure"), std::nullopt, "en_US"), "100% sure");
}

TEST(LocalizedString, ArgumentsFillTheirPlaceholders) {
    EXPECT_EQ(resolveText(key("%lld", std::int64_t{78}), std::nullopt, "en_US"), "78");
    EXPECT_EQ(resolveText(key("%lld", std::int64_t{-3}), std::nullopt, "en_US"), "-3");
    // Plain decimal: no grouping, whatever the locale.
    EXPECT_EQ(resolveText(key("%lld", std::int64_t{1234567}), std::nullopt, "de_DE"), "1234567");
    EXPECT_EQ(
        resolveText(key("%lld", std::numeric_limits<std::int64_t>::min()), std::nullopt, "en_US"),
        "-9223372036854775808");
    EXPECT_EQ(
        resolveText(key("Daily Brief · %@", std::string("Nov 16, 6:30 AM")), std::nullopt, "en_US"),
        "Daily Brief · Nov 16, 6:30 AM");
    // "%%" is a percent sign once the key is a format; an unknown directive stays.
    EXPECT_EQ(resolveText(key("%lld%% of %d", std::int64_t{5}), std::nullopt, "en_US"), "5% of %d");
    // The argument is not itself read as a format.
    EXPECT_EQ(resolveText(key("%@!", std::string("%@ %lld")), std::nullopt, "en_US"), "%@ %lld!");
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
