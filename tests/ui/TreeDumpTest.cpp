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

// A tree that uses every primitive and every modifier once at least.
View everyPrimitive() {
    const std::vector<Ticker> tickers{{"AAPL"}, {"NVDA"}};
    return VStack(
               {.alignment = HorizontalAlignment::leading, .spacing = 8},
               {
                   HStack({.alignment = VerticalAlignment::firstTextBaseline},
                          {
                              Text(Verbatim{"NVDA"})
                                  .font(Font::system(18, FontWeight::bold, FontDesign::monospaced))
                                  .foregroundColor(Palette::textPrimary),
                              Spacer(),
                              Text(Verbatim{"Buy"})
                                  .font(Font::system(9, FontWeight::semibold))
                                  .padding(Edges::horizontal, 5)
                                  .padding(Edges::vertical, 2)
                                  .background(Palette::bullish.opacity(0.18))
                                  .foregroundColor(Palette::bullish)
                                  .clipShape({3, RoundedCornerStyle::continuous}),
                          }),
                   Text(LocalizedStringKey("Daily Brief \u00B7 %@", std::string("NOV 16, 6:30 AM")))
                       .font(Font::system(8, FontWeight::medium))
                       .textCase(TextCase::uppercase)
                       .lineLimit(5),
                   Text(LocalizedStringKey("%lld", std::int64_t{-3})).lineLimit(std::nullopt),
                   Text("Open Velmora to set a ticker \u2014 the morning brief will appear here.")
                       .multilineTextAlignment(TextAlignment::center)
                       .textCase(std::nullopt),
                   Image(SystemName{"sparkles"})
                       .foregroundColor(Palette::accent)
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
  HStack(alignment: firstTextBaseline)
    Text(verbatim: "NVDA")
      .font(system(size: 18, weight: bold, design: monospaced))
      .foregroundColor(Palette.textPrimary)
    Spacer()
    Text(verbatim: "Buy")
      .font(system(size: 9, weight: semibold, design: default))
      .padding(leading: 5, trailing: 5)
      .padding(top: 2, bottom: 2)
      .background(Palette.bullish.opacity(0.18))
      .foregroundColor(Palette.bullish)
      .clipShape(RoundedRectangle(cornerRadius: 3, style: continuous))
  Text("Daily Brief · %@", "NOV 16, 6:30 AM")
    .font(system(size: 8, weight: medium, design: default))
    .textCase(uppercase)
    .lineLimit(5)
  Text("%lld", -3)
    .lineLimit(none)
  Text("Open Velmora to set a ticker — the morning brief will appear here.")
    .multilineTextAlignment(center)
    .textCase(none)
  Image(systemName: "sparkles")
    .foregroundColor(Palette.accent)
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
    EXPECT_EQ(dumpColor(Palette::bearish, Palette::names), "Palette.bearish");
    EXPECT_EQ(dumpColor(Palette::bearish.opacity(0.18), Palette::names),
              "Palette.bearish.opacity(0.18)");
    EXPECT_EQ(dumpColor(Color::white()), "#FFFFFF");
    EXPECT_EQ(dumpColor(Color::black().opacity(0.85)), "#000000.opacity(0.85)");
    EXPECT_EQ(dumpColor(Color::rgb8(84, 84, 88).opacity(0.6)), "#545458.opacity(0.6)");

    const auto frame = [](Alignment alignment) {
        return dumpTree(Divider().frame({.alignment = alignment}));
    };
    EXPECT_EQ(frame(Alignment::topLeading), "Divider()\n  .frame(alignment: topLeading)\n");
    EXPECT_EQ(frame({HorizontalAlignment::trailing, VerticalAlignment::bottom}),
              "Divider()\n  .frame(alignment: bottomTrailing)\n");
    EXPECT_EQ(frame(Alignment::top), "Divider()\n  .frame(alignment: top)\n");
    EXPECT_EQ(frame({HorizontalAlignment::leading, VerticalAlignment::firstTextBaseline}),
              "Divider()\n  .frame(alignment: leadingFirstTextBaseline)\n");

    EXPECT_EQ(dumpNumber(8), "8");
    EXPECT_EQ(dumpNumber(0.18), "0.18");
    EXPECT_EQ(dumpNumber(12.5), "12.5");
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
