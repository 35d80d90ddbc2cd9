#include "layout/Layout.h"
#include "tests/layout/LayoutTesting.h"

#include <gtest/gtest.h>

using namespace ui;

using namespace layout;
using namespace layout::testing;

namespace {

// 10 points: 5 a character, 12 high, the baseline at 9.
View text(const char* s, double size = 10) {
    return Text(Verbatim{s}).font(Font::system(size));
}

}  // namespace

TEST(LayoutStack, SharesOutTheLengthAndAlignsTheChildren) {
    const View eight = text("a a a a a a a a");  // 75 wide; 35 per line offered 35, 25 at 25
    const View big = text("Big", 20);            // 30 × 24, the baseline at 18
    auto row = [](VerticalAlignment alignment, std::vector<View> children, double spacing = 0) {
        return HStack({.alignment = alignment, .spacing = spacing}, std::move(children));
    };
    auto column = [](HorizontalAlignment alignment) {
        return VStack({.alignment = alignment, .spacing = 0}, {text("a"), text("bbb")});
    };
    const auto center = VerticalAlignment::center, baseline = VerticalAlignment::firstTextBaseline;
    std::vector<LayoutCase> cases = {
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
        // Two children, one gap: 35 + 10 + 15 fills 60 exactly, so "a a a a" keeps one line.
        {"one gap fewer than children",
         row(center, {text("a a a a"), text("bbb")}, 10),
         {60, 100},
         {{"Text \"a", {0, 44, 35, 12}}, {"Text \"bbb", {45, 44, 15, 12}}}},
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
    // A column aligns "a" over "bbb"; a row aligns "s" beside "Big", baselines 18 - 9 lower.
    for (const auto& [alignment, x] : {std::pair{HorizontalAlignment::leading, 42.5},
                                       {HorizontalAlignment::center, 47.5},
                                       {HorizontalAlignment::trailing, 52.5}})
        cases.push_back(
            {"column", column(alignment), {100, 100}, {{"Text \"a\"", {x, 38, 5, 12}}}});
    for (const auto& [alignment, y] : {std::pair{VerticalAlignment::top, 38.0},
                                       {VerticalAlignment::bottom, 50.0},
                                       {baseline, 47.0}})
        cases.push_back({"row",
                         row(alignment, {big, text("s")}),
                         {100, 100},
                         {{"Text \"s\"", {62.5, y, 5, 12}}}});
    for (const LayoutCase& c : cases) expectFrames(c);
}
