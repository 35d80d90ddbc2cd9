#include "render/FrameDump.h"
#include "render/Layout.h"
#include "style/Palette.h"
#include "tests/render/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace render;
using namespace render::testing;

namespace {

std::optional<platform::Url> url(const char* text) {
    auto parsed = platform::Url::parse(text);
    EXPECT_TRUE(parsed) << text;
    return parsed;
}

LayoutResult widget(const View& content, WidgetFamily family = WidgetFamily::systemMedium) {
    return layoutWidget(content, {.widgetFamily = family}, fakeMeasurer());
}

}  // namespace

TEST(LayoutWidget, ContainerBackgroundFillsTheCanvasAndContentSitsInTheMargins) {
    const struct {
        WidgetFamily family;
        Size canvas;
    } families[] = {{WidgetFamily::systemSmall, {170, 170}},
                    {WidgetFamily::systemMedium, {364, 170}},
                    {WidgetFamily::systemLarge, {364, 382}}};
    for (const auto& [family, canvas] : families) {
        SCOPED_TRACE(std::string(name(family)));
        // The default 13-point "x" is 6.5 × 15.6, centred in the canvas less 16 each side.
        const auto small = widget(
            Text(Verbatim{"x"})
                .containerBackground(Palette::background, ContainerBackgroundPlacement::widget),
            family);
        EXPECT_EQ(small.drawList.canvas, canvas);
        ASSERT_EQ(small.drawList.commands.size(), 2u);
        const auto* background = std::get_if<FillShape>(&small.drawList.commands[0]);
        ASSERT_NE(background, nullptr);
        EXPECT_TRUE(sameRect(background->rect, {0, 0, canvas.width, canvas.height}));
        EXPECT_EQ(background->color, Palette::background);
        const auto* text = std::get_if<DrawText>(&small.drawList.commands[1]);
        ASSERT_NE(text, nullptr);
        EXPECT_TRUE(sameRect(text->frame,
                             {(canvas.width - 6.5) / 2, (canvas.height - 15.6) / 2, 6.5, 15.6}));

        // Greedy content fills exactly the area inside the margins.
        const auto greedy = widget(
            Text(Verbatim{"x"}).frame({.maxWidth = infinity, .maxHeight = infinity}), family);
        EXPECT_TRUE(
            sameRect(rectOf(greedy, "frame"), {16, 16, canvas.width - 32, canvas.height - 32}));
        EXPECT_TRUE(commandsOf<FillShape>(greedy).empty());
    }

    // A container background anywhere in the content's own chain still fills the canvas
    // first; the modifiers around it keep their effect on the content.
    const auto wrapped =
        widget(Text(Verbatim{"x"})
                   .padding(4)
                   .containerBackground(Palette::surface, ContainerBackgroundPlacement::widget)
                   .padding(6),
               WidgetFamily::systemSmall);
    const auto fills = commandsOf<FillShape>(wrapped);
    ASSERT_EQ(fills.size(), 1u);
    EXPECT_TRUE(sameRect(fills[0].rect, {0, 0, 170, 170}));
    EXPECT_TRUE(std::holds_alternative<FillShape>(wrapped.drawList.commands.front()));
    EXPECT_TRUE(sameRect(rectOf(wrapped, "padding(6)"), {71.75, 67.2, 26.5, 35.6}));
    EXPECT_TRUE(sameRect(rectOf(wrapped, "Text"), {81.75, 77.2, 6.5, 15.6}));
}

TEST(LayoutWidget, TheOutermostWidgetURLIsTheTapLink) {
    const auto detail = url("velmora://stock-detail?ticker=NVDA");
    const auto dashboard = url("velmora://stock-universe-dashboard");
    const View inner = VStack({}, {Text(Verbatim{"a"}).widgetURL(detail), Text(Verbatim{"b"})});
    EXPECT_EQ(widget(inner).drawList.url, detail);
    EXPECT_EQ(widget(inner.widgetURL(dashboard)).drawList.url, dashboard);
    // The last one applied wins.
    EXPECT_EQ(widget(inner.widgetURL(detail).widgetURL(dashboard)).drawList.url, dashboard);
    // A link without a URL leaves the whole widget without one.
    EXPECT_EQ(widget(inner.widgetURL(std::nullopt)).drawList.url, std::nullopt);
    EXPECT_EQ(widget(Text(Verbatim{"a"})).drawList.url, std::nullopt);
    // Of two links at the same depth, the first in the tree.
    const View siblings = HStack(
        {}, {Text(Verbatim{"a"}).widgetURL(dashboard), Text(Verbatim{"b"}).widgetURL(detail)});
    EXPECT_EQ(widget(siblings).drawList.url, dashboard);
}

TEST(LayoutWidget, FramesDumpGolden) {
    const Color signal = Palette::bullish;
    const View content =
        VStack(
            {.alignment = HorizontalAlignment::leading, .spacing = 4},
            {
                HStack({}, {Text(Verbatim{"NVDA"})
                                .font(Font::system(18, FontWeight::bold, FontDesign::monospaced))
                                .foregroundColor(Palette::textPrimary),
                            Spacer(),
                            Text(Verbatim{"Buy"})
                                .font(Font::system(8, FontWeight::semibold))
                                .padding(Edges::horizontal, 4)
                                .padding(Edges::vertical, 2)
                                .background(signal.opacity(0.18))
                                .foregroundColor(signal)
                                .clipShape(RoundedRectangle{3, RoundedCornerStyle::continuous})}),
                Text(Verbatim{"NVIDIA"})
                    .font(Font::system(9))
                    .foregroundColor(Palette::textSecondary)
                    .lineLimit(1),
                Spacer(0),
                Text(Verbatim{"$187.46"})
                    .font(Font::system(16, FontWeight::semibold, FontDesign::monospaced))
                    .foregroundColor(Palette::textPrimary),
                Text(Verbatim{"+1.25%"})
                    .font(Font::system(11, FontWeight::semibold, FontDesign::monospaced))
                    .foregroundColor(signal),
            })
            .padding(Edges::vertical, 4)
            .widgetURL(url("velmora://stock-detail?ticker=NVDA"))
            .containerBackground(Palette::background, ContainerBackgroundPlacement::widget);

    const auto result = widget(content, WidgetFamily::systemSmall);
    EXPECT_EQ(dumpFrames(result), R"(containerBackground Palette.background (0, 0, 170 × 170)
  padding(top 4, bottom 4) (16, 16, 138 × 138)
    VStack(leading, spacing 4) (16, 20, 138 × 130)
      HStack(center) (16, 20, 138 × 21.6)
        Text "NVDA" 18 bold monospaced Palette.textPrimary (16, 20, 36 × 21.6)
        Spacer (60, 30.8, 66 × 0)
        clipShape(RoundedRectangle 3 continuous) (134, 24, 20 × 13.6)
          background Palette.bullish.opacity(0.18) (134, 24, 20 × 13.6)
            padding(top 2, bottom 2) (134, 24, 20 × 13.6)
              padding(leading 4, trailing 4) (134, 26, 20 × 9.6)
                Text "Buy" 8 semibold Palette.bullish (138, 26, 12 × 9.6)
      Text "NVIDIA" 9 regular Palette.textSecondary lineLimit 1 (16, 45.6, 27 × 10.8)
      Spacer(min 0) (16, 60.4, 0 × 49.2)
      Text "$187.46" 16 semibold monospaced Palette.textPrimary (16, 113.6, 56 × 19.2)
      Text "+1.25%" 11 semibold monospaced Palette.bullish (16, 136.8, 33 × 13.2)
)");
    // Deterministic: the same tree gives the same result, dump and draw list alike.
    EXPECT_EQ(widget(content, WidgetFamily::systemSmall), result);
}

TEST(LayoutWidget, DumpPieces) {
    EXPECT_EQ(dumpLength(16), "16");
    EXPECT_EQ(dumpLength(21.6000000001), "21.6");
    EXPECT_EQ(dumpLength(0.125), "0.13");
    EXPECT_EQ(dumpLength(-0.001), "0");
    EXPECT_EQ(dumpLength(-2.5), "-2.5");
    EXPECT_EQ(dumpLength(infinity), "∞");
    EXPECT_EQ(dumpRect({1, 2.25, 1.0 / 3, 100}), "(1, 2.25, 0.33 × 100)");
    EXPECT_EQ(dumpColorName(Palette::accent), "Palette.accent");
    EXPECT_EQ(dumpColorName(Color::white().opacity(0.85)), "#FFFFFF.opacity(0.85)");
    EXPECT_EQ(dumpColorName(Color::rgb8(84, 84, 88).opacity(0.6)), "#545458.opacity(0.6)");
    EXPECT_EQ(dumpQuoted("say \"hi\"\n\\"), R"("say \"hi\"\n\\")");
}
