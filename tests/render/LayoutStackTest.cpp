#include "render/Layout.h"
#include "tests/render/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace ui;

using namespace render;
using namespace render::testing;

namespace {

// 10 points: 5 a character, 12 high, the baseline at 9.
View text(const char* s, double size = 10) {
    return Text(Verbatim{s}).font(Font::system(size));
}

}  // namespace

TEST(LayoutStack, SharesOutTheLengthAndAlignsTheChildren) {
    const View eight = text("a a a a a a a a");  // 75 wide; 35 per line offered 35, 25 at 25
    const View big = text("Big", 20);            // 30 × 24, the baseline at 18
    auto row = [](VerticalAlignment alignment, std::vector<View> children) {
        return HStack({.alignment = alignment, .spacing = 0}, std::move(children));
    };
    auto column = [](HorizontalAlignment alignment) {
        return VStack({.alignment = alignment, .spacing = 0}, {text("a"), text("bbb")});
    };
    const auto center = VerticalAlignment::center, baseline = VerticalAlignment::firstTextBaseline;
    const LayoutCase cases[] = {
        // The least flexible child first: "bbb" is offered half and takes 15 of it.
        {"least flexible first",
         row(center, {eight, text("bbb")}),
         {50, 100},
         {{"Text \"a", {0, 38, 35, 24}}, {"Text \"bbb", {35, 44, 15, 12}}}},
        // Spacers last: the text is offered all but the spacer's minimum 8.
        {"spacers last",
         row(center, {Spacer(), eight}),
         {50, 100},
         {{"Spacer", {0, 50, 15, 0}}, {"Text", {15, 38, 35, 24}}}},
        // Each an equal share of what is left: 20, 45 / 2, 30.
        {"equal shares",
         row(center, {text("a a a a"), text("b b b b"), text("c c c c")}),
         {60, 100},
         {{"Text \"a", {2.5, 38, 15, 24}},
          {"Text \"b", {17.5, 38, 15, 24}},
          {"Text \"c", {32.5, 38, 25, 24}}}},
        {"leading",
         column(HorizontalAlignment::leading),
         {100, 100},
         {{"Text \"a\"", {42.5, 38, 5, 12}}}},
        {"center",
         column(HorizontalAlignment::center),
         {100, 100},
         {{"Text \"a\"", {47.5, 38, 5, 12}}}},
        {"trailing",
         column(HorizontalAlignment::trailing),
         {100, 100},
         {{"Text \"a\"", {52.5, 38, 5, 12}}}},
        {"top",
         row(VerticalAlignment::top, {big, text("s")}),
         {100, 100},
         {{"Text \"s\"", {62.5, 38, 5, 12}}}},
        {"bottom",
         row(VerticalAlignment::bottom, {big, text("s")}),
         {100, 100},
         {{"Text \"s\"", {62.5, 50, 5, 12}}}},
        // Baselines line up: 18 - 9 lower.
        {"first text baseline",
         row(baseline, {big, text("s")}),
         {100, 100},
         {{"Text \"s\"", {62.5, 47, 5, 12}}}},
        // A padded child's baseline moves down by the top inset, a framed one's by its place
        // in the frame.
        {"padded baseline",
         row(baseline, {text("Buy").padding(Edges::vertical, 2), text("78", 20)}),
         {100, 100},
         {{"padding", {32.5, 45, 15, 16}},
          {"Text \"Buy\"", {32.5, 47, 15, 12}},
          {"Text \"78\"", {47.5, 38, 20, 24}}}},
        {"framed baseline",
         row(baseline, {text("a").frame({.minHeight = 30, .alignment = Alignment::bottom}), big}),
         {100, 100},
         {{"Text \"a\"", {32.5, 51.5, 5, 12}}, {"Text \"Big\"", {37.5, 42.5, 30, 24}}}},
    };
    for (const LayoutCase& c : cases) expectFrames(c);
}
