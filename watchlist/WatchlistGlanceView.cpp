#include "watchlist/WatchlistGlanceView.h"

#include "platform/Formatters.h"
#include "style/Palette.h"
#include "timeline/AppDeepLink.h"
#include "watchlist/WatchlistRows.h"

#include <algorithm>
#include <cstddef>

namespace watchlist {

using namespace ui;
using namespace timeline;

using AppGroupContainer::WatchlistRow;

namespace {

constexpr std::string_view dashboardLink = "velmora://stock-universe-dashboard?tab=watchlist";

constexpr std::size_t mediumRowCount = 4;
constexpr std::size_t largeRowCount = 5;

// The first `count` rows worth showing.
std::vector<WatchlistRow> shownRows(const WatchlistEntry& entry, std::size_t count) {
    std::vector<WatchlistRow> rows = displayRows(entry.rows);
    if (rows.size() > count) rows.resize(count);
    return rows;
}

// The large list: each shown row's line (and divider), identified by the row's id.
View largeRowList(const std::vector<WatchlistRow>& rows) {
    ForEachNode lines;
    for (std::size_t position = 0; position < rows.size(); ++position) {
        lines.ids.push_back(rows[position].id());
        lines.children.push_back(largeRowLine(rows[position], position, rows));
    }
    return VStack({.alignment = HorizontalAlignment::center, .spacing = 0},
                  {View{std::move(lines), {}}});
}

}  // namespace

std::vector<WatchlistRow> displayRows(const std::vector<WatchlistRow>& rows) {
    std::vector<WatchlistRow> retained;
    // `price > 0` is false for NaN, so an unpriced row needs a signal to stay.
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(retained),
                 [](const WatchlistRow& row) { return row.price > 0 || row.signal.has_value(); });
    if (retained.empty()) return rows;
    return retained;
}

std::string relativeTimeText(platform::Date date, const EnvironmentValues& env) {
    return platform::formatRelativeDateTime(date, env.now, env.locale);
}

std::optional<platform::Url> dashboardWatchlistURL() {
    return platform::Url::parse(dashboardLink);
}

View watchlistHeader(platform::Date entryDate, bool withSymbol, const EnvironmentValues& env) {
    std::vector<View> children;
    if (withSymbol) {
        children.push_back(Image(SystemName{"chart.line.uptrend.xyaxis"})
                               .foregroundColor(Palette::accent)
                               .font(Font::system(11, FontWeight::semibold)));
    }
    children.push_back(Text("Watchlist")
                           .font(Font::system(11, FontWeight::semibold))
                           .foregroundColor(Palette::textPrimary));
    children.push_back(Spacer());
    children.push_back(Text(Verbatim{relativeTimeText(entryDate, env)})
                           .font(Font::system(9))
                           .foregroundColor(Palette::textSecondary));
    return HStack({.alignment = VerticalAlignment::center}, std::move(children));
}

View emptyWatchlistState() {
    return VStack({.alignment = HorizontalAlignment::center, .spacing = 4},
                  {
                      // No font of its own: the environment's default.
                      Image(SystemName{"star"}).foregroundColor(Palette::textSecondary),
                      Text("Open the dashboard to add tickers to a watchlist.")
                          .font(Font::system(9))
                          .foregroundColor(Palette::textSecondary)
                          .multilineTextAlignment(TextAlignment::center),
                  })
        .frame({.maxWidth = infinity, .maxHeight = infinity, .alignment = Alignment::center});
}

// Without a row there is nothing to open, so the widget gets no link (a link of none, as
// for a ticker that makes no valid URL).
View smallLayout(const WatchlistEntry& entry, const EnvironmentValues&) {
    const std::vector<WatchlistRow> rows = shownRows(entry, 1);
    if (rows.empty()) {
        return VStack({.alignment = HorizontalAlignment::leading, .spacing = 4},
                      {Text("No watchlist yet")
                           .font(Font::system(11))
                           .foregroundColor(Palette::textSecondary)})
            .padding(Edges::vertical, 4)
            .widgetURL(std::nullopt);
    }
    const WatchlistRow& row = rows.front();
    return VStack({.alignment = HorizontalAlignment::leading, .spacing = 4}, {smallRowBlock(row)})
        .padding(Edges::vertical, 4)
        .widgetURL(stockDetailURL(row.ticker));
}

View mediumLayout(const WatchlistEntry& entry, const EnvironmentValues& env) {
    const std::vector<WatchlistRow> rows = shownRows(entry, mediumRowCount);
    View content = rows.empty()
                       ? emptyWatchlistState()
                       : LazyVGrid({.columns = {GridItem::flexible(10), GridItem::flexible(10)},
                                    .alignment = HorizontalAlignment::center,
                                    .spacing = 6},
                                   {ForEach(rows, mediumRowCell)});
    return VStack({.alignment = HorizontalAlignment::leading, .spacing = 8},
                  {watchlistHeader(entry.date, true, env), std::move(content)})
        .widgetURL(dashboardWatchlistURL());
}

View largeLayout(const WatchlistEntry& entry, const EnvironmentValues& env) {
    const std::vector<WatchlistRow> rows = shownRows(entry, largeRowCount);
    std::vector<View> children;
    // `> 0` also keeps a NaN total out.
    if (entry.portfolio && entry.portfolio->totalValue > 0)
        children.push_back(portfolioSummary(*entry.portfolio, env));
    children.push_back(watchlistHeader(entry.date, false, env));
    children.push_back(rows.empty() ? emptyWatchlistState() : largeRowList(rows));
    children.push_back(Spacer());
    return VStack({.alignment = HorizontalAlignment::leading, .spacing = 10}, std::move(children))
        .widgetURL(dashboardWatchlistURL());
}

View WatchlistGlanceView::body(const EnvironmentValues& env) const {
    switch (env.widgetFamily) {
        case WidgetFamily::systemSmall:
            return smallLayout(entry, env);
        case WidgetFamily::systemLarge:
            return largeLayout(entry, env);
        case WidgetFamily::systemMedium:
            break;
    }
    // Medium, and any family beyond the three.
    return mediumLayout(entry, env);
}

}  // namespace watchlist
