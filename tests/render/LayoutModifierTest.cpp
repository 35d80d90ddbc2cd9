#include "render/Layout.h"
#include "tests/render/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace render;
using namespace render::testing;

namespace {

View text(const char* s, double size = 10) {
    return Text(Verbatim{s}).font(Font::system(size));
}

}  // namespace

TEST(LayoutFrame, InfiniteMaximumsTakeTheProposalAndAlignTheChild) {
    // "ab" is 10 × 12; the frame fills the 100 × 60 canvas.
    struct Case {
        Alignment alignment;
        Point child;
    };
    const Case cases[] = {
        {Alignment::topLeading, {0, 0}},
        {Alignment::top, {45, 0}},
        {{HorizontalAlignment::trailing, VerticalAlignment::top}, {90, 0}},
        {Alignment::leading, {0, 24}},
        {Alignment::center, {45, 24}},
        {Alignment::trailing, {90, 24}},
        {{HorizontalAlignment::leading, VerticalAlignment::bottom}, {0, 48}},
        {Alignment::bottom, {45, 48}},
        {{HorizontalAlignment::trailing, VerticalAlignment::bottom}, {90, 48}},
    };
    for (const auto& c : cases) {
        const auto result =
            layOut(text("ab").frame(
                       {.maxWidth = infinity, .maxHeight = infinity, .alignment = c.alignment}),
                   {100, 60});
        SCOPED_TRACE(dumpFrames(result));
        EXPECT_TRUE(sameRect(rectOf(result, "frame"), {0, 0, 100, 60}));
        EXPECT_TRUE(sameRect(rectOf(result, "Text"), {c.child.x, c.child.y, 10, 12}));
    }
}

TEST(LayoutFrame, BoundsClampTheChildAndFollowItWhereAbsent) {
    // A minimum widens a narrow child; the height follows the child.
    const auto widened =
        layOut(text("ab").frame({.minWidth = 56, .alignment = Alignment::leading}), {100, 60});
    EXPECT_TRUE(sameRect(rectOf(widened, "frame"), {22, 24, 56, 12}));
    EXPECT_TRUE(sameRect(rectOf(widened, "Text"), {22, 24, 10, 12}));
    const auto trailing =
        layOut(text("ab").frame({.minWidth = 56, .alignment = Alignment::trailing}), {100, 60});
    EXPECT_TRUE(sameRect(rectOf(trailing, "Text"), {68, 24, 10, 12}));
    // A child wider than the minimum keeps its width.
    EXPECT_EQ(fit(text("abcdefghijklm").frame({.minWidth = 56}), {100, 60}), (Size{65, 12}));

    // A finite maximum is proposed to the child, which wraps to it; the frame then hugs it.
    const auto narrowed = layOut(text("aaaa bbbb").frame({.maxWidth = 30}), {100, 60});
    EXPECT_TRUE(sameRect(rectOf(narrowed, "frame"), {40, 18, 20, 24}));
    EXPECT_EQ(fit(text("ab").frame({.minWidth = 40, .maxWidth = 60}), {100, 60}), (Size{40, 12}));

    // Infinite maximums take the proposal only where there is one; else the child's size.
    const View greedy = text("ab").frame({.maxWidth = infinity, .maxHeight = infinity});
    EXPECT_EQ(fit(greedy, {}), (Size{10, 12}));
    EXPECT_EQ(fit(greedy, {100, std::nullopt}), (Size{100, 12}));
    EXPECT_EQ(fit(greedy, {std::nullopt, 50}), (Size{10, 50}));
    // A proposal below the minimum still gets the minimum.
    EXPECT_EQ(fit(text("ab").frame({.minWidth = 56, .maxWidth = infinity}), {30, 20}),
              (Size{56, 12}));
    EXPECT_EQ(fit(text("ab").frame({.minHeight = 30}), {100, 20}), (Size{10, 30}));
}

TEST(LayoutModifiers, PaddingThenBackgroundThenClip) {
    // The signal label: "Buy" 15 × 12, padded 5 on the sides and 2 above and below.
    const Color fill = Color::rgb8(34, 197, 94).opacity(0.18);
    auto label = [&](double radius) {
        return text("Buy")
            .padding(Edges::horizontal, 5)
            .padding(Edges::vertical, 2)
            .background(fill)
            .clipShape(RoundedRectangle{radius, RoundedCornerStyle::continuous});
    };
    const auto result = layOut(label(3), {100, 100});
    const Rect padded{37.5, 42, 25, 16};
    EXPECT_TRUE(sameRect(rectOf(result, "clipShape"), padded));
    EXPECT_TRUE(sameRect(rectOf(result, "background"), padded));
    EXPECT_TRUE(sameRect(rectOf(result, "padding(top 2, bottom 2)"), padded));
    EXPECT_TRUE(sameRect(rectOf(result, "padding(leading 5, trailing 5)"), {37.5, 44, 25, 12}));
    EXPECT_TRUE(sameRect(rectOf(result, "Text"), {42.5, 44, 15, 12}));

    // Clip, fill of the whole padded rect, text, end of clip, in that order.
    const auto& commands = result.drawList.commands;
    ASSERT_EQ(commands.size(), 4u);
    const auto* clip = std::get_if<PushClip>(&commands[0]);
    ASSERT_NE(clip, nullptr);
    EXPECT_TRUE(sameRect(clip->rect, padded));
    EXPECT_EQ(clip->cornerRadius, 3);
    EXPECT_EQ(clip->cornerStyle, RoundedCornerStyle::continuous);
    const auto* background = std::get_if<FillShape>(&commands[1]);
    ASSERT_NE(background, nullptr);
    EXPECT_TRUE(sameRect(background->rect, padded));
    EXPECT_EQ(background->color, fill);
    EXPECT_EQ(background->cornerRadius, 0);
    ASSERT_TRUE(std::holds_alternative<DrawText>(commands[2]));
    EXPECT_TRUE(std::holds_alternative<PopClip>(commands[3]));

    // A radius beyond half the shorter side is clamped to it.
    const auto capsule = commandsOf<PushClip>(layOut(label(20), {100, 100}));
    ASSERT_EQ(capsule.size(), 1u);
    EXPECT_EQ(capsule[0].cornerRadius, 8);

    // Padding shrinks the proposal: the text wraps inside 50 - 2 × 10.
    const auto wrapped = layOut(text("aaaa bbbb").padding(10), {50, 100});
    EXPECT_TRUE(sameRect(rectOf(wrapped, "padding(10)"), {5, 28, 40, 44}));
    EXPECT_TRUE(sameRect(rectOf(wrapped, "Text"), {15, 38, 20, 24}));
}

TEST(LayoutModifiers, ModifiersWithoutLayoutEffectPassThrough) {
    const auto url = platform::Url::parse("velmora://stock-detail?ticker=NVDA");
    const View plain = HStack({}, {text("ab"), Spacer(), text("cd")});
    const View linked = HStack({}, {text("ab").widgetURL(url), Spacer(), text("cd")})
                            .widgetURL(url)
                            .textCase(std::nullopt);
    const auto a = layOut(plain, {100, 40});
    const auto b = layOut(linked, {100, 40});
    EXPECT_EQ(a.frames, b.frames);
    EXPECT_EQ(a.drawList.commands, b.drawList.commands);
    EXPECT_EQ(b.drawList.url, url);
}
