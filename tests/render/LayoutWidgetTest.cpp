#include "render/FrameDump.h"
#include "render/Layout.h"
#include "style/Palette.h"
#include "tests/render/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace ui;
using namespace timeline;

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
    }
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
    EXPECT_EQ(dumpFrames(result, Palette::names),
              R"(containerBackground Palette.background (0, 0, 170 × 170)
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
