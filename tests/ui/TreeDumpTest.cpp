#include "ui/TreeDump.h"

#include "style/Palette.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace ui;

namespace {

struct Ticker {
    std::string symbol;
    [[nodiscard]] const std::string& id() const { return symbol; }
};

// A tree of what the widgets' golden dumps do not show: the values that mean "none", colours
// outside the palette, fractional sizes, a grid column's maximum, minimum frames, the container
// background, an empty view and texts that need escaping. The rest of every primitive and
// modifier is in those dumps.
View everyPrimitive() {
    const std::vector<Ticker> tickers{{"AAPL"}, {"NVDA"}};
    return VStack(
               {.alignment = HorizontalAlignment::leading, .spacing = 8},
               {
                   Text(LocalizedStringKey("%lld", std::int64_t{-3})).lineLimit(std::nullopt),
                   Text("Open Velmora to set a ticker \u2014 the morning brief will appear here.")
                       .multilineTextAlignment(TextAlignment::center)
                       .textCase(std::nullopt),
                   Image(SystemName{"sparkles"})
                       .font(Font::system(12.5))
                       .frame(
                           {.minHeight = 20, .maxHeight = 40, .alignment = Alignment::topLeading}),
                   Spacer(0).widgetURL(std::nullopt),
                   Divider().background(Color::white().opacity(0.04)),
                   LazyVGrid({.columns = {GridItem::flexible(), GridItem::flexible(10, 120)},
                              .spacing = 6},
                             {ForEach(tickers,
                                      [](const Ticker& t) {
                                          return Text(Verbatim{t.symbol})
                                              .frame(
                                                  {.minWidth = 56, .alignment = Alignment::leading})
                                              .padding(6);
                                      })}),
                   Group({Empty(), Text(Verbatim{"line\nbreak \"quoted\" \\ \u2028"})}),
               })
        .frame({.maxWidth = infinity, .maxHeight = infinity, .alignment = Alignment::center})
        .widgetURL(platform::Url::parse("velmora://stock-detail?ticker=NVDA"))
        .containerBackground(Palette::background, ContainerBackgroundPlacement::widget);
}

}  // namespace

TEST(TreeDump, WritesEveryPrimitiveAndModifier) {
    const std::string expected = R"(VStack(alignment: leading, spacing: 8)
  .frame(maxWidth: infinity, maxHeight: infinity, alignment: center)
  .widgetURL(velmora://stock-detail?ticker=NVDA)
  .containerBackground(Palette.background, for: widget)
  Text("%lld", -3)
    .lineLimit(none)
  Text("Open Velmora to set a ticker — the morning brief will appear here.")
    .multilineTextAlignment(center)
    .textCase(none)
  Image(systemName: "sparkles")
    .font(system(size: 12.5, weight: regular, design: default))
    .frame(minHeight: 20, maxHeight: 40, alignment: topLeading)
  Spacer(minLength: 0)
    .widgetURL(none)
  Divider()
    .background(#FFFFFF.opacity(0.04))
  LazyVGrid(columns: [flexible(minimum: 10), flexible(minimum: 10, maximum: 120)], alignment: center, spacing: 6)
    ForEach(ids: [AAPL, NVDA])
      Text(verbatim: "AAPL")
        .frame(minWidth: 56, alignment: leading)
        .padding(6)
      Text(verbatim: "NVDA")
        .frame(minWidth: 56, alignment: leading)
        .padding(6)
  Group()
    EmptyView()
    Text(verbatim: "line\nbreak \"quoted\" \\ \u{2028}")
)";
    EXPECT_EQ(dumpTree(everyPrimitive(), Palette::names), expected);
}

TEST(TreeDump, DistinguishesWhatTheViewsDistinguish) {
    // Values that compare unequal must dump differently, or golden tests would miss changes.
    const std::vector<std::pair<View, View>> pairs{
        {Text("NVDA"), Text(Verbatim{"NVDA"})},
        {Text(LocalizedStringKey("%lld", std::int64_t{7})),
         Text(LocalizedStringKey("%lld", std::string("7")))},
        {Spacer(), Spacer(8)},
        {VStack({}, {}), VStack({.spacing = 8}, {})},
        {HStack({}, {}), HStack({.alignment = VerticalAlignment::top}, {})},
        {Divider().widgetURL(std::nullopt), Divider()},
        {Divider().padding(0), Divider()},
        {Divider().background(Palette::neutral),
         Divider().background(Palette::neutral.opacity(1.0 - 1e-9))},
        {Divider().clipShape({3, RoundedCornerStyle::continuous}),
         Divider().clipShape({3, RoundedCornerStyle::circular})},
        {Divider().padding(Edges::top, 2).padding(Edges::leading, 3),
         Divider().padding(Edges::leading, 3).padding(Edges::top, 2)},
        {Group({Text("a")}), Group({Text("a").lineLimit(1)})},
        {ForEach(std::vector<Ticker>{{"A, B"}}, [](const Ticker&) { return Empty(); }),
         ForEach(std::vector<Ticker>{{"A"}, {"B"}}, [](const Ticker&) { return Empty(); })},
    };
    for (const auto& [a, b] : pairs) {
        ASSERT_NE(a, b);
        EXPECT_NE(dumpTree(a), dumpTree(b)) << dumpTree(a);
    }
}

TEST(TreeDump, NamesColoursAndAlignments) {
    EXPECT_EQ(dumpColor(Color::white()), "#FFFFFF");
    EXPECT_EQ(dumpColor(Color::rgb8(84, 84, 88).opacity(0.6)), "#545458.opacity(0.6)");

    const auto frame = [](Alignment alignment) {
        return dumpTree(Divider().frame({.alignment = alignment}));
    };
    EXPECT_EQ(frame({HorizontalAlignment::trailing, VerticalAlignment::bottom}),
              "Divider()\n  .frame(alignment: bottomTrailing)\n");
    EXPECT_EQ(frame(Alignment::top), "Divider()\n  .frame(alignment: top)\n");
    EXPECT_EQ(frame({HorizontalAlignment::leading, VerticalAlignment::firstTextBaseline}),
              "Divider()\n  .frame(alignment: leadingFirstTextBaseline)\n");

    EXPECT_EQ(dumpNumber(-infinity), "-infinity");
}

TEST(TreeDump, QuotesIdentitiesOnlyWhenNeeded) {
    const auto ids = [](std::vector<Ticker> tickers) {
        return dumpTree(ForEach(tickers, [](const Ticker&) { return Empty(); }));
    };
    EXPECT_EQ(ids({{"BRK.B"}, {"^GSPC"}}),
              "ForEach(ids: [BRK.B, ^GSPC])\n  EmptyView()\n  EmptyView()\n");
    const std::string quoted = ids({{""}, {"A B"}, {"A,B"}, {"x]"}, {"\u00C4"}});
    EXPECT_EQ(quoted.substr(0, quoted.find('\n') + 1),
              "ForEach(ids: [\"\", \"A B\", \"A,B\", \"x]\", \"\u00C4\"])\n");
    EXPECT_EQ(ids({}), "ForEach(ids: [])\n");
}
