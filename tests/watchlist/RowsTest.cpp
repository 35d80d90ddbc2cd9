#include "watchlist/WatchlistRows.h"

#include "style/Palette.h"
#include "tests/support/ViewQuery.h"

#include <gtest/gtest.h>

#include <array>

using namespace ui;
using namespace timeline;
using namespace watchlist;

using namespace viewquery;
using AppGroupContainer::WatchlistRow;

namespace {

WatchlistRow apple() {
    return {"AAPL", "Apple Inc.", 187.456, 0.84, "Buy"};
}

std::vector<const View*> badges(const View& root) {
    // A badge is the one node clipped to a radius below 6 (cells clip at 6).
    return nodesWhere(root, [](const View& v) {
        auto clip = modifierOf<ClipShapeModifier>(v);
        return clip && clip->shape.cornerRadius < 6;
    });
}

}  // namespace

TEST(SignalBadge, PresenceDependsOnTheForm) {
    auto forms = [&](const WatchlistRow& r) {
        return std::array<View, 3>{smallRowBlock(r), mediumRowCell(r), largeRowLine(r, 0, {r})};
    };
    for (const View& form : forms(apple())) EXPECT_EQ(badges(form).size(), 1u);

    // An empty signal: only the small form shows a badge, empty and neutral.
    WatchlistRow emptySignal = apple();
    emptySignal.signal = "";
    auto withEmpty = forms(emptySignal);
    ASSERT_EQ(badges(withEmpty[0]).size(), 1u);
    EXPECT_EQ(textOf(*badges(withEmpty[0]).front()), "");
    EXPECT_EQ(modifierOf<BackgroundModifier>(*badges(withEmpty[0]).front())->fill,
              Palette::neutral.opacity(0.18));
    EXPECT_TRUE(badges(withEmpty[1]).empty());
    EXPECT_TRUE(badges(withEmpty[2]).empty());

    WatchlistRow noSignal = apple();
    noSignal.signal = std::nullopt;
    for (const View& form : forms(noSignal)) EXPECT_TRUE(badges(form).empty());
}
