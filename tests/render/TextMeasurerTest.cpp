#include "render/PangoTextMeasurer.h"

#include "style/Palette.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>
#include <vector>

using namespace render;

namespace {

TextStyle style(Font font, std::optional<int> lineLimit = std::nullopt) {
    return {font, Palette::textPrimary, lineLimit};
}

TextMetrics measure(std::string_view text, const TextStyle& s,
                    std::optional<double> width = std::nullopt) {
    return pangoTextMeasurer().measure(text, s, width);
}

const std::string summary =
    "Momentum stays constructive after the earnings beat, with margins widening for a third "
    "quarter "
    "and guidance raised above the consensus range.";

}  // namespace

TEST(TextMeasurer, UsesTheSystemAndMonospacedFonts) {
    EXPECT_EQ(describeTextLayout("Watchlist", style(Font::system(13)), std::nullopt).family,
              "Inter");
    EXPECT_EQ(
        describeTextLayout(
            "AAPL", style(Font::system(13, FontWeight::bold, FontDesign::monospaced)), std::nullopt)
            .family,
        "JetBrains Mono");

    const TextStyle body = style(Font::system(13));
    EXPECT_GT(measure("Watchlist glance", body).size.width, measure("Watchlist", body).size.width);
    EXPECT_GT(measure("Watchlist", style(Font::system(13, FontWeight::bold))).size.width,
              measure("Watchlist", body).size.width);
    EXPECT_GT(measure("Watchlist", style(Font::system(13, FontWeight::semibold))).size.width,
              measure("Watchlist", style(Font::system(13, FontWeight::medium))).size.width);
    EXPECT_GT(measure("Watchlist", style(Font::system(26))).size.height,
              1.9 * measure("Watchlist", body).size.height);

    // Monospaced figures all advance the same, so columns of prices line up.
    const TextStyle mono = style(Font::system(12, FontWeight::regular, FontDesign::monospaced));
    const double ones = measure("1111.11", mono).size.width;
    EXPECT_EQ(measure("8888.88", mono).size.width, ones);
    EXPECT_EQ(measure("+0.00%", mono).size.width, measure("-9.99%", mono).size.width);
}

TEST(TextMeasurer, WrapsToTheWidthAndKeepsTheLinesWhenDrawnAtItsSize) {
    const TextStyle body = style(Font::system(11));
    const TextMetrics ideal = measure(summary, body);
    EXPECT_EQ(describeTextLayout(summary, body, std::nullopt).lineCount, 1);
    EXPECT_EQ(ideal.firstBaseline, ideal.lastBaseline);
    EXPECT_GT(ideal.firstBaseline, 0.6 * ideal.size.height);
    EXPECT_LT(ideal.firstBaseline, ideal.size.height);

    for (double width : {300.0, 180.5, 97.0, 40.25}) {
        const TextMetrics wrapped = measure(summary, body, width);
        const int lines = describeTextLayout(summary, body, width).lineCount;
        EXPECT_GT(lines, 1) << width;
        EXPECT_LE(wrapped.size.width, width);
        EXPECT_NEAR(wrapped.size.height, lines * ideal.size.height, 0.01 * lines) << width;
        EXPECT_NEAR(wrapped.lastBaseline - wrapped.firstBaseline, (lines - 1) * ideal.size.height,
                    0.01 * lines);
        EXPECT_EQ(wrapped.size.width, std::ceil(wrapped.size.width)) << "whole points";
        // The painter wraps at the measured width: the same lines, the same size.
        EXPECT_EQ(describeTextLayout(summary, body, wrapped.size.width).lineCount, lines) << width;
        EXPECT_EQ(measure(summary, body, wrapped.size.width), wrapped) << width;
    }
    // A word longer than the width still breaks, between characters.
    EXPECT_GT(describeTextLayout("Supercalifragilistic", body, 30).lineCount, 1);
    EXPECT_LE(measure("Supercalifragilistic", body, 30).size.width, 30);
    // A width absent or infinite is the ideal size; no width at all still gives a line.
    EXPECT_EQ(measure(summary, body, INFINITY), ideal);
    EXPECT_EQ(describeTextLayout(summary, body, 0).lineCount > 1, true);
    const TextMetrics empty = measure("", body);
    EXPECT_EQ(empty.size.width, 0);
    EXPECT_NEAR(empty.size.height, ideal.size.height, 1e-9);
}

TEST(TextMeasurer, LineLimitCutsWithAnEllipsis) {
    const TextMetrics oneLine = measure("Daily", style(Font::system(11)));

    for (int limit : {1, 3}) {
        const TextStyle limited = style(Font::system(11), limit);
        const TextMetrics cut = measure(summary, limited, 150);
        EXPECT_NEAR(cut.size.height, limit * oneLine.size.height, 1e-6) << limit;
        const TextLayoutFacts facts = describeTextLayout(summary, limited, 150);
        EXPECT_EQ(facts.lineCount, limit);
        EXPECT_TRUE(facts.ellipsized);
    }
    // A limit the text does not reach changes nothing.
    const TextStyle roomy = style(Font::system(11), 20);
    EXPECT_EQ(measure(summary, roomy, 150), measure(summary, style(Font::system(11)), 150));
    EXPECT_FALSE(describeTextLayout(summary, roomy, 150).ellipsized);
    EXPECT_FALSE(describeTextLayout("Short", style(Font::system(11), 1), 150).ellipsized);

    // Line breaks in the text count against the limit too.
    const TextStyle two = style(Font::system(11), 2);
    for (std::optional<double> width : {std::optional<double>(150), std::optional<double>()}) {
        const TextLayoutFacts facts = describeTextLayout("First\nSecond\nThird", two, width);
        EXPECT_EQ(facts.lineCount, 2);
        EXPECT_TRUE(facts.ellipsized);
        EXPECT_NEAR(measure("First\nSecond\nThird", two, width).size.height,
                    2 * oneLine.size.height, 1e-6);
    }
    EXPECT_FALSE(describeTextLayout("First\nSecond", two, 150).ellipsized);
}

TEST(TextMeasurer, MeasuresAlikeOnEveryThread) {
    const std::vector<std::pair<std::string, TextStyle>> cases = {
        {summary, style(Font::system(12), 8)},
        {"NVDA", style(Font::system(13, FontWeight::bold, FontDesign::monospaced))},
        {"Strong Buy", style(Font::system(9, FontWeight::semibold))},
    };
    std::vector<TextMetrics> expected;
    for (const auto& [text, s] : cases) expected.push_back(measure(text, s, 200));

    std::vector<std::thread> threads;
    std::vector<int> mismatches(4, 0);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 50; ++round)
                for (std::size_t i = 0; i < cases.size(); ++i)
                    mismatches[t] += measure(cases[i].first, cases[i].second, 200) != expected[i];
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (int m : mismatches) EXPECT_EQ(m, 0);

    // Bytes that are not UTF-8 are shown as replacement characters, not refused.
    EXPECT_GT(measure("AB\xff\xfe", style(Font::system(11))).size.width,
              measure("AB", style(Font::system(11))).size.width);
}
