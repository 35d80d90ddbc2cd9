#include "render/Layout.h"
#include "tests/render/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace render;
using namespace render::testing;

namespace {

View text(const char* s, double size = 10) {
    return Text(Verbatim{s}).font(Font::system(size));
}

struct Row {
    std::string name;
    [[nodiscard]] std::string id() const { return name; }
};

}  // namespace

TEST(LayoutStack, SpacersShareTheFreeLengthDownToTheirMinimum) {
    // Texts 10 pt: 5 points a character, 12 high.
    const View stack = VStack({.alignment = HorizontalAlignment::leading, .spacing = 4},
                              {text("Title"), Spacer(), text("Body text"), Spacer(0), text("End")});

    // Room to spare: 100 - 4 × 4 spacing - 3 × 12 texts leaves 48, shared by the two spacers.
    const auto roomy = layOut(stack, {100, 100});
    EXPECT_TRUE(sameRect(rectOf(roomy, "VStack"), {27.5, 0, 45, 100}));
    EXPECT_TRUE(sameRect(rectOf(roomy, "Text \"Title\""), {27.5, 0, 25, 12}));
    const auto roomySpacers = rectsOf(roomy, "Spacer");
    ASSERT_EQ(roomySpacers.size(), 2u);
    EXPECT_TRUE(sameRect(roomySpacers[0], {27.5, 16, 0, 24}));
    EXPECT_TRUE(sameRect(rectOf(roomy, "Text \"Body text\""), {27.5, 44, 45, 12}));
    EXPECT_TRUE(sameRect(roomySpacers[1], {27.5, 60, 0, 24}));
    EXPECT_TRUE(sameRect(rectOf(roomy, "Text \"End\""), {27.5, 88, 15, 12}));

    // Too little room: the default spacer keeps its 8, the other shrinks to nothing, and the
    // stack overflows its proposal, centred on it.
    const auto tight = layOut(stack, {100, 50});
    EXPECT_TRUE(sameRect(rectOf(tight, "VStack"), {27.5, -5, 45, 60}));
    const auto tightSpacers = rectsOf(tight, "Spacer");
    ASSERT_EQ(tightSpacers.size(), 2u);
    EXPECT_TRUE(sameRect(tightSpacers[0], {27.5, 11, 0, 8}));
    EXPECT_TRUE(sameRect(tightSpacers[1], {27.5, 39, 0, 0}));
    EXPECT_TRUE(sameRect(rectOf(tight, "Text \"End\""), {27.5, 43, 15, 12}));

    // Proposed nothing along its axis, a stack takes its children's ideal lengths and the
    // spacers their minimum; the default spacing is 8.
    EXPECT_EQ(fit(HStack({}, {text("ab"), Spacer(), text("cd")}), {}), (Size{44, 12}));
    EXPECT_EQ(fit(HStack({}, {text("ab"), Spacer(3), text("cd")}), ProposedSize{std::nullopt, 40}),
              (Size{39, 12}));
}

TEST(LayoutStack, LeastFlexibleChildrenAreSizedFirst) {
    // Each text is offered an equal share of what is left; the less flexible one goes first
    // although it is written second. "xxxxxxxxxx yy" (65 wide, 50 at the least) is offered
    // 55 and wraps; "aaaa bbbb cccc dddd" (95 wide, 20 at the least) then gets 60 and wraps.
    const auto result = layOut(HStack({.alignment = VerticalAlignment::top, .spacing = 0},
                                      {text("aaaa bbbb cccc dddd"), text("xxxxxxxxxx yy")}),
                               {110, 100});
    EXPECT_TRUE(sameRect(rectOf(result, "Text \"aaaa"), {7.5, 38, 45, 24}));
    EXPECT_TRUE(sameRect(rectOf(result, "Text \"xxxx"), {52.5, 38, 50, 24}));

    // A text next to a spacer keeps all the room the spacer can give up.
    const auto withSpacer =
        layOut(HStack({.spacing = 0}, {text("aaaa bbbb cccc"), Spacer()}), {100, 20});
    EXPECT_TRUE(sameRect(rectOf(withSpacer, "Text"), {0, 4, 70, 12}));
    EXPECT_TRUE(sameRect(rectOf(withSpacer, "Spacer"), {70, 10, 30, 0}));

    // Two spacers split the rest evenly; a flexible frame is a child like any other.
    const auto split =
        layOut(HStack({.spacing = 0}, {Spacer(0), text("ab"), Spacer(0)}), {100, 12});
    EXPECT_TRUE(sameRect(rectOf(split, "Text"), {45, 0, 10, 12}));
    const auto framed = layOut(
        HStack({.spacing = 10}, {text("ab"), text("cd").frame({.maxWidth = infinity})}), {100, 12});
    EXPECT_TRUE(sameRect(rectOf(framed, "frame"), {20, 0, 80, 12}));
    EXPECT_TRUE(sameRect(rectOf(framed, "Text \"cd\""), {55, 0, 10, 12}));
}

TEST(LayoutStack, CrossAxisAlignment) {
    const View column = VStack({.alignment = HorizontalAlignment::trailing, .spacing = 0},
                               {text("a"), text("bbbb"), text("cc")});
    const auto trailing = layOut(column, {100, 100});
    EXPECT_TRUE(sameRect(rectOf(trailing, "Text \"a\""), {55, 32, 5, 12}));
    EXPECT_TRUE(sameRect(rectOf(trailing, "Text \"bbbb\""), {40, 44, 20, 12}));
    EXPECT_TRUE(sameRect(rectOf(trailing, "Text \"cc\""), {50, 56, 10, 12}));
    const auto centred =
        layOut(VStack({.spacing = 0}, {text("a"), text("bbbb"), text("cc")}), {100, 100});
    EXPECT_TRUE(sameRect(rectOf(centred, "Text \"a\""), {47.5, 32, 5, 12}));

    // A 20-point text (24 high, baseline at 18) beside a 10-point one (12 high, baseline 9).
    const std::vector<View> mixed{text("Big", 20), text("small")};
    const auto centre = layOut(HStack({.spacing = 4}, mixed), {100, 100});
    EXPECT_TRUE(sameRect(rectOf(centre, "Text \"Big\""), {20.5, 38, 30, 24}));
    EXPECT_TRUE(sameRect(rectOf(centre, "Text \"small\""), {54.5, 44, 25, 12}));
    const auto bottom =
        layOut(HStack({.alignment = VerticalAlignment::bottom, .spacing = 4}, mixed), {100, 100});
    EXPECT_TRUE(sameRect(rectOf(bottom, "Text \"small\""), {54.5, 50, 25, 12}));

    // On the first baseline: the small text drops by 18 - 9; the stack is 18 above the
    // baseline and 6 below it.
    const auto baseline =
        layOut(HStack({.alignment = VerticalAlignment::firstTextBaseline, .spacing = 4}, mixed),
               {100, 100});
    EXPECT_TRUE(sameRect(rectOf(baseline, "HStack"), {20.5, 38, 59, 24}));
    EXPECT_TRUE(sameRect(rectOf(baseline, "Text \"Big\""), {20.5, 38, 30, 24}));
    EXPECT_TRUE(sameRect(rectOf(baseline, "Text \"small\""), {54.5, 47, 25, 12}));

    // A stack's baseline is its first child's; a symbol's is 0.8 of its height; a spacer
    // has no text and lines up its bottom.
    const auto nested =
        layOut(HStack({.alignment = VerticalAlignment::firstTextBaseline, .spacing = 0},
                      {VStack({.spacing = 2}, {text("A"), text("B", 30)}), Spacer(0), text("C", 20),
                       Image(SystemName{"star"}).font(Font::system(10))}),
               {100, 100});
    // Ascent 18 (C's); the column's baseline is A's, 9, and it reaches 41 below it; the
    // row is 59 high.
    EXPECT_TRUE(sameRect(rectOf(nested, "HStack"), {0, 20.5, 100, 59}));
    EXPECT_TRUE(sameRect(rectOf(nested, "VStack"), {0, 29.5, 15, 50}));
    EXPECT_TRUE(sameRect(rectOf(nested, "Spacer"), {15, 38.5, 65, 0}));
    EXPECT_TRUE(sameRect(rectOf(nested, "Text \"C\""), {80, 20.5, 10, 24}));
    EXPECT_TRUE(sameRect(rectOf(nested, "Image"), {90, 30.5, 10, 10}));
}

TEST(LayoutStack, EmptyViewsGroupsAndRepetitionsAreSplicedIntoTheStack) {
    const std::vector<Row> rows{{"r1"}, {"r2"}};
    const View stack = VStack(
        {.alignment = HorizontalAlignment::leading, .spacing = 10},
        {Empty(), text("a"), Empty(),
         Group({Text(Verbatim{"b"}), Empty(), Group({Text(Verbatim{"c"})})}).font(Font::system(20)),
         ForEach(rows, [](const Row& row) { return text(row.name.c_str()); }), Empty()});
    const auto result = layOut(stack, {100, 200});
    // Five texts, four gaps of 10: 12 + 24 + 24 + 12 + 12 + 40.
    EXPECT_TRUE(sameRect(rectOf(result, "VStack"), {45, 38, 10, 124}));
    EXPECT_TRUE(sameRect(rectOf(result, "Text \"a\""), {45, 38, 5, 12}));
    // The group's font reaches its children, nested groups included.
    EXPECT_TRUE(sameRect(rectOf(result, "Text \"b\" 20"), {45, 60, 10, 24}));
    EXPECT_TRUE(sameRect(rectOf(result, "Text \"c\" 20"), {45, 94, 10, 24}));
    EXPECT_TRUE(sameRect(rectOf(result, "Text \"r1\""), {45, 128, 10, 12}));
    EXPECT_TRUE(sameRect(rectOf(result, "Text \"r2\""), {45, 150, 10, 12}));
    EXPECT_TRUE(rectsOf(result, "Group").empty());
    EXPECT_TRUE(rectsOf(result, "ForEach").empty());
    EXPECT_TRUE(rectsOf(result, "EmptyView").empty());
    // Spliced children are direct children: one level below the stack.
    for (const auto& frame : result.frames)
        EXPECT_EQ(frame.depth, frame.description.starts_with("VStack") ? 0 : 1);

    // A stack of nothing takes no room.
    EXPECT_EQ(fit(HStack({}, {Empty(), Group({Empty()})}), {100, 100}), (Size{0, 0}));
}

TEST(LayoutStack, DividersSpanTheStackAsAHairline) {
    // In a column: as wide as proposed, one device pixel high, in the separator colour.
    const auto column =
        layOut(VStack({.spacing = 0}, {text("abc"), Divider(), text("de")}), {100, 50}, {}, 2);
    EXPECT_TRUE(sameRect(rectOf(column, "Divider"), {0, 24.75, 100, 0.5}));
    EXPECT_TRUE(sameRect(rectOf(column, "VStack"), {0, 12.75, 100, 24.5}));
    const auto fills = commandsOf<FillShape>(column);
    ASSERT_EQ(fills.size(), 1u);
    EXPECT_EQ(fills[0].color, defaults::separator(ColorScheme::dark));

    // In a row: as high as proposed; at scale 3 a third of a point wide. Its background is
    // the divider's size.
    const auto row = layOut(
        HStack({.spacing = 0},
               {text("abc"), Divider().background(Color::white().opacity(0.04)), text("de")}),
        {100, 50}, {.colorScheme = ColorScheme::light}, 3);
    const Rect divider = rectOf(row, "Divider");
    EXPECT_NEAR(divider.width, 1.0 / 3, 1e-12);
    EXPECT_EQ(divider.height, 50);
    EXPECT_TRUE(sameRect(rectOf(row, "background"), divider));
    const auto rowFills = commandsOf<FillShape>(row);
    ASSERT_EQ(rowFills.size(), 2u);
    EXPECT_EQ(rowFills[0].color, Color::white().opacity(0.04));
    EXPECT_EQ(rowFills[1].color, defaults::separator(ColorScheme::light));
}
