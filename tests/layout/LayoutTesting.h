#pragma once

// Shared helpers of the layout tests: lay a view out with the fake measurer, find frames by
// their dump description, compare rects to the last bit that matters.

#include "layout/FrameDump.h"
#include "layout/Layout.h"
#include "style/Palette.h"
#include "tests/layout/FakeTextMeasurer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace layout {

namespace testing {

inline const FakeTextMeasurer& fakeMeasurer() {
    static const FakeTextMeasurer measurer;
    return measurer;
}

// A view alone on a canvas, proposed the whole canvas and centred in it.
inline LayoutResult layOut(const ui::View& view, Size canvas, ui::EnvironmentValues env = {},
                           double scale = 2) {
    return layoutView(view, canvas, env, fakeMeasurer(), scale);
}

inline ::testing::AssertionResult sameRect(const Rect& actual, const Rect& expected) {
    auto near = [](double a, double b) { return std::abs(a - b) < 1e-9; };
    if (near(actual.x, expected.x) && near(actual.y, expected.y) &&
        near(actual.width, expected.width) && near(actual.height, expected.height))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "rect " << dumpRect(actual) << ", expected " << dumpRect(expected);
}

// The one rect described as starting with `prefix`, or a failure.
inline Rect rectOf(const LayoutResult& result, std::string_view prefix) {
    std::vector<Rect> rects;
    for (const auto& frame : result.frames)
        if (std::string_view(frame.description).starts_with(prefix)) rects.push_back(frame.rect);
    EXPECT_EQ(rects.size(), 1u) << "frames described as " << prefix << " in\n"
                                << dumpFrames(result, Palette::names);
    return rects.empty() ? Rect{-1, -1, -1, -1} : rects.front();
}

// A view laid out alone on a canvas, and the frames expected of it, each found by a prefix of
// its description that no other frame starts with.
struct LayoutCase {
    const char* name;
    ui::View view;
    Size canvas;
    std::vector<std::pair<std::string_view, Rect>> frames;
};

inline void expectFrames(const LayoutCase& c) {
    const LayoutResult result = layOut(c.view, c.canvas);
    SCOPED_TRACE(std::string(c.name) + "\n" + dumpFrames(result, Palette::names));
    for (const auto& [prefix, rect] : c.frames)
        EXPECT_TRUE(sameRect(rectOf(result, prefix), rect)) << prefix;
}

template <typename Command>
std::vector<Command> commandsOf(const LayoutResult& result) {
    std::vector<Command> found;
    for (const auto& command : result.drawList.commands)
        if (const auto* c = std::get_if<Command>(&command)) found.push_back(*c);
    return found;
}

}  // namespace testing
}  // namespace layout
