#include "dailybrief/DailyBriefView.h"

#include "platform/Formatters.h"
#include "style/Palette.h"
#include "style/SignalColor.h"
#include "style/SignalLabel.h"
#include "timeline/AppDeepLink.h"

#include <cmath>
#include <string>

namespace dailybrief {

using namespace ui;
using namespace timeline;
using namespace style;

namespace {

using AppGroupContainer::DailyBrief;

constexpr std::string_view dashboardLink = "velmora://stock-universe-dashboard";
constexpr std::string_view footerTimePattern = "MMM d, h:mm a";

View scoreText(const DailyBrief& brief) {
    const auto integer = briefScoreInteger(brief.score);
    View text = integer ? Text(LocalizedStringKey("%lld", *integer)) : Text(Verbatim{"—"});
    return std::move(text)
        .font(Font::system(14, FontWeight::bold, FontDesign::monospaced))
        .foregroundColor(signalColor(brief.signal));
}

}  // namespace

// Inside the range the score is truncated toward zero, as the host app's own screens do.
// A score outside it (NaN, ±infinity, beyond ±2^63) has no integer: converting it would be
// undefined behaviour, and clamping would show a number the host app never wrote. Such a
// score shows as an em dash in the score's place and colour instead, so a damaged record
// still draws a sensible widget.
std::optional<std::int64_t> briefScoreInteger(double score) {
    // -2^63 is a double exactly; 2^63 is the first double above the range. NaN fails both.
    constexpr double lowest = -9223372036854775808.0;
    constexpr double beyondHighest = 9223372036854775808.0;
    if (!(score >= lowest && score < beyondHighest)) return std::nullopt;
    return static_cast<std::int64_t>(score);
}

std::optional<platform::Url> briefDetailURL(std::string_view ticker) {
    return stockDetailURL(ticker);
}

std::optional<platform::Url> briefDashboardURL() {
    return platform::Url::parse(dashboardLink);
}

View briefTopRow(const DailyBrief& brief) {
    std::vector<View> names;
    names.push_back(Text(Verbatim{brief.ticker})
                        .font(Font::system(18, FontWeight::bold, FontDesign::monospaced))
                        .foregroundColor(Palette::textPrimary));
    // A company name of blanks is still a name; only an absent or empty one is left out.
    if (brief.companyName && !brief.companyName->empty()) {
        names.push_back(Text(Verbatim{*brief.companyName})
                            .font(Font::system(9))
                            .foregroundColor(Palette::textSecondary)
                            .lineLimit(1));
    }
    return HStack(
        {.alignment = VerticalAlignment::firstTextBaseline},
        {
            VStack({.alignment = HorizontalAlignment::leading, .spacing = 1}, std::move(names)),
            Spacer(),
            VStack({.alignment = HorizontalAlignment::trailing, .spacing = 2},
                   {signalLabel(brief.signal, SignalLabelMetrics{}), scoreText(brief)}),
        });
}

View briefFooter(const DailyBrief& brief, const EnvironmentValues& env) {
    const std::string time =
        platform::formatDatePattern(brief.generatedAt, footerTimePattern, env.locale, env.timeZone);
    std::vector<View> children;
    children.push_back(Text(LocalizedStringKey("Daily Brief · %@", time))
                           .font(Font::system(8, FontWeight::medium))
                           .foregroundColor(Palette::textSecondary)
                           .textCase(TextCase::uppercase));
    children.push_back(Spacer());
    if (env.widgetFamily == WidgetFamily::systemLarge) {
        children.push_back(Text("Read full analysis →")
                               .font(Font::system(9, FontWeight::medium))
                               .foregroundColor(Palette::accent));
    }
    return HStack({.alignment = VerticalAlignment::center}, std::move(children));
}

View briefLayout(const DailyBrief& brief, const EnvironmentValues& env) {
    const bool large = env.widgetFamily == WidgetFamily::systemLarge;
    return VStack({.alignment = HorizontalAlignment::leading, .spacing = 8},
                  {
                      briefTopRow(brief),
                      Text(Verbatim{brief.summary})
                          .font(Font::system(large ? 12 : 11))
                          .foregroundColor(Palette::textPrimary)
                          .lineLimit(large ? 8 : 5),
                      Spacer(0),
                      briefFooter(brief, env),
                  })
        .widgetURL(briefDetailURL(brief.ticker));
}

View emptyBriefState() {
    return VStack({.alignment = HorizontalAlignment::center, .spacing = 6},
                  {
                      Image(SystemName{"sparkles"})
                          .foregroundColor(Palette::accent)
                          .font(Font::system(24)),
                      // No colour of its own: the widget's default foreground.
                      Text("Daily Brief").font(Font::system(11, FontWeight::semibold)),
                      Text("Open Velmora to set a ticker — the morning brief will appear here.")
                          .font(Font::system(9))
                          .foregroundColor(Palette::textSecondary)
                          .multilineTextAlignment(TextAlignment::center)
                          .padding(Edges::horizontal, 8),
                  })
        .frame({.maxWidth = infinity, .maxHeight = infinity, .alignment = Alignment::center})
        .widgetURL(briefDashboardURL());
}

View DailyBriefView::body(const EnvironmentValues& env) const {
    if (entry.brief) return briefLayout(*entry.brief, env);
    return emptyBriefState();
}

}  // namespace dailybrief
