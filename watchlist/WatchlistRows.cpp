#include "watchlist/WatchlistRows.h"

#include "style/Palette.h"
#include "style/SignalColor.h"
#include "style/SignalLabel.h"
#include "watchlist/Formatting.h"

#include <string>

namespace watchlist {

using namespace ui;
using namespace timeline;
using namespace style;

using AppGroupContainer::PortfolioSnapshot;
using AppGroupContainer::WatchlistRow;

namespace {

constexpr SignalLabelMetrics metricsOf(SignalBadgeSize size) {
    switch (size) {
        case SignalBadgeSize::small:
            return {8, 4, 2, 3};
        case SignalBadgeSize::medium:
            return {7, 3, 1, 2};
        case SignalBadgeSize::large:
            return {8, 4, 2, 3};
    }
    return {8, 4, 2, 3};
}

bool hasText(const std::optional<std::string>& text) {
    return text && !text->empty();
}

Font mono(double size, FontWeight weight) {
    return Font::system(size, weight, FontDesign::monospaced);
}

View changeText(double changePct, double size) {
    return Text(Verbatim{formatChangePercent(changePct)})
        .font(mono(size, FontWeight::semibold))
        .foregroundColor(changeColor(changePct));
}

// The company name on one line, in the secondary colour.
View companyText(const std::string& name, double size) {
    return Text(Verbatim{name})
        .font(Font::system(size))
        .foregroundColor(Palette::textSecondary)
        .lineLimit(1);
}

}  // namespace

View signalBadge(std::string_view signal, SignalBadgeSize size) {
    return signalLabel(signal, metricsOf(size));
}

View smallRowBlock(const WatchlistRow& row) {
    std::vector<View> tickerLine;
    tickerLine.push_back(Text(Verbatim{row.ticker})
                             .font(mono(18, FontWeight::bold))
                             .foregroundColor(Palette::textPrimary));
    tickerLine.push_back(Spacer());
    // Any present signal gets a badge here, the empty one too (an empty neutral pill).
    if (row.signal) tickerLine.push_back(signalBadge(*row.signal, SignalBadgeSize::small));

    std::vector<View> children;
    children.push_back(HStack({.alignment = VerticalAlignment::center}, std::move(tickerLine)));
    if (row.companyName) children.push_back(companyText(*row.companyName, 9));
    children.push_back(Spacer(0));
    if (row.price > 0) {
        children.push_back(Text(Verbatim{formatPrice(row.price)})
                               .font(mono(16, FontWeight::semibold))
                               .foregroundColor(Palette::textPrimary));
    }
    children.push_back(changeText(row.changePct, 11));
    return Group(std::move(children));
}

View mediumRowCell(const WatchlistRow& row) {
    std::vector<View> leading;
    leading.push_back(Text(Verbatim{row.ticker})
                          .font(mono(12, FontWeight::bold))
                          .foregroundColor(Palette::textPrimary));
    if (row.price > 0) {
        leading.push_back(Text(Verbatim{formatPrice(row.price)})
                              .font(mono(9, FontWeight::regular))
                              .foregroundColor(Palette::textSecondary));
    }
    std::vector<View> trailing;
    trailing.push_back(changeText(row.changePct, 10));
    if (hasText(row.signal)) trailing.push_back(signalBadge(*row.signal, SignalBadgeSize::medium));

    return HStack({.alignment = VerticalAlignment::center, .spacing = 6},
                  {
                      VStack({.alignment = HorizontalAlignment::leading, .spacing = 1},
                             std::move(leading)),
                      Spacer(),
                      VStack({.alignment = HorizontalAlignment::trailing, .spacing = 1},
                             std::move(trailing)),
                  })
        .padding(6)
        .background(Palette::surface)
        .clipShape(RoundedRectangle{6, RoundedCornerStyle::continuous});
}

View largeRowLine(const WatchlistRow& row, std::size_t position,
                  const std::vector<WatchlistRow>& shownRows) {
    std::vector<View> line;
    // The ticker sets no colour: it takes the widget's default foreground.
    line.push_back(Text(Verbatim{row.ticker})
                       .font(mono(12, FontWeight::bold))
                       .frame({.minWidth = 56, .alignment = Alignment::leading}));
    if (hasText(row.companyName)) line.push_back(companyText(*row.companyName, 10));
    line.push_back(Spacer());
    if (hasText(row.signal)) line.push_back(signalBadge(*row.signal, SignalBadgeSize::large));
    line.push_back(
        changeText(row.changePct, 10).frame({.minWidth = 56, .alignment = Alignment::trailing}));

    std::vector<View> children;
    children.push_back(
        HStack({.alignment = VerticalAlignment::center, .spacing = 8}, std::move(line))
            .padding(Edges::vertical, 4));
    if (position + 1 < shownRows.size())
        children.push_back(Divider().background(Color::white().opacity(0.04)));
    return Group(std::move(children));
}

View portfolioSummary(const PortfolioSnapshot& portfolio, const EnvironmentValues& env) {
    return HStack(
        {.alignment = VerticalAlignment::center},
        {
            VStack({.alignment = HorizontalAlignment::leading, .spacing = 1},
                   {
                       Text("Portfolio")
                           .font(Font::system(9, FontWeight::semibold))
                           .foregroundColor(Palette::textSecondary),
                       // No colour of its own: the widget's default foreground.
                       Text(Verbatim{formatPortfolioValue(portfolio.totalValue, env.locale)})
                           .font(Font::system(16, FontWeight::bold)),
                   }),
            Spacer(),
            changeText(portfolio.totalReturn, 12),
        });
}

}  // namespace watchlist
