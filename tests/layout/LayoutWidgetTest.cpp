#include "layout/Layout.h"
#include "style/Palette.h"
#include "tests/layout/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace ui;
using namespace timeline;

using namespace layout;
using namespace layout::testing;

TEST(LayoutWidget, ContainerBackgroundFillsTheCanvasAndContentTheCanvasLessTheMargins) {
    const View content =
        Text(Verbatim{"x"})
            .frame({.maxWidth = infinity, .maxHeight = infinity})
            .containerBackground(Palette::background, ContainerBackgroundPlacement::widget);
    for (const auto& [family, canvas] : {std::pair{WidgetFamily::systemSmall, Size{170, 170}},
                                         {WidgetFamily::systemMedium, Size{364, 170}},
                                         {WidgetFamily::systemLarge, Size{364, 382}}}) {
        SCOPED_TRACE(std::string(name(family)));
        const auto result = layoutWidget(content, {.widgetFamily = family}, fakeMeasurer());
        EXPECT_EQ(result.drawList.canvas, canvas);
        const auto* background = std::get_if<FillShape>(&result.drawList.commands.front());
        ASSERT_NE(background, nullptr);  // drawn first, under everything
        EXPECT_TRUE(sameRect(background->rect, {0, 0, canvas.width, canvas.height}));
        EXPECT_TRUE(
            sameRect(rectOf(result, "frame"), {16, 16, canvas.width - 32, canvas.height - 32}));
    }
}
