#include "widgets/Widgets.h"

#include "dailybrief/DailyBriefTimelineProvider.h"
#include "dailybrief/DailyBriefView.h"
#include "style/Palette.h"
#include "watchlist/WatchlistGlanceView.h"
#include "watchlist/WatchlistTimelineProvider.h"

namespace widgets {

using namespace ui;
using namespace timeline;
using namespace dailybrief;
using namespace watchlist;

StaticConfiguration WatchlistGlanceWidget::body() const {
    return StaticConfiguration(kind, WatchlistTimelineProvider(),
                               [](const WatchlistEntry& entry, const EnvironmentValues& env) {
                                   return WatchlistGlanceView{entry}.body(env).containerBackground(
                                       Palette::background, ContainerBackgroundPlacement::widget);
                               })
        .configurationDisplayName("Watchlist Glance")
        .description("Live prices and signals for your top watchlist tickers.")
        .supportedFamilies(
            {WidgetFamily::systemSmall, WidgetFamily::systemMedium, WidgetFamily::systemLarge});
}

StaticConfiguration DailyBriefWidget::body() const {
    return StaticConfiguration(kind, DailyBriefTimelineProvider(),
                               [](const DailyBriefEntry& entry, const EnvironmentValues& env) {
                                   return DailyBriefView{entry}.body(env).containerBackground(
                                       Palette::background, ContainerBackgroundPlacement::widget);
                               })
        .configurationDisplayName("Daily Brief")
        .description(
            "A 50-word AI take on your watchlist's headline ticker, refreshed every morning.")
        .supportedFamilies({WidgetFamily::systemMedium, WidgetFamily::systemLarge});
}

std::vector<StaticConfiguration> VelmoraWidgetsBundle::body() const {
    std::vector<StaticConfiguration> widgets;
    widgets.push_back(WatchlistGlanceWidget().body());
    widgets.push_back(DailyBriefWidget().body());
    return widgets;
}

}  // namespace widgets
