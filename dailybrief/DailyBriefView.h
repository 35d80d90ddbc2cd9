#pragma once

#include "dailybrief/DailyBriefEntry.h"
#include "platform/Url.h"
#include "records/DailyBrief.h"
#include "ui/EnvironmentValues.h"
#include "ui/View.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace dailybrief {

// The daily brief widget's view: the brief of one ticker (top row with signal label and
// score, summary, footer time) or, without a brief, the empty state. The widget
// configuration puts it on the container background; the view adds none of its own.
struct DailyBriefView {
    DailyBriefEntry entry;

    [[nodiscard]] ui::View body(const ui::EnvironmentValues& env) const;

    bool operator==(const DailyBriefView&) const = default;
};

// The pieces of the body, for the widget configuration's previews and for the tests.
[[nodiscard]] ui::View briefLayout(const AppGroupContainer::DailyBrief& brief,
                                   const ui::EnvironmentValues& env);
[[nodiscard]] ui::View briefTopRow(const AppGroupContainer::DailyBrief& brief);
[[nodiscard]] ui::View briefFooter(const AppGroupContainer::DailyBrief& brief,
                                   const ui::EnvironmentValues& env);
[[nodiscard]] ui::View emptyBriefState();

// The score as the widget shows it: truncated toward zero to a signed 64-bit integer, or
// nothing when the score is NaN, infinite or outside the 64-bit range.
[[nodiscard]] std::optional<std::int64_t> briefScoreInteger(double score);

// The tap links: the ticker's detail page (nothing when the text is not a valid URL) and
// the dashboard of the empty state.
[[nodiscard]] std::optional<platform::Url> briefDetailURL(std::string_view ticker);
[[nodiscard]] std::optional<platform::Url> briefDashboardURL();

}  // namespace dailybrief
