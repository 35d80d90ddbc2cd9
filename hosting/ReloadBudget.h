#pragma once

#include "platform/Date.h"

#include <algorithm>
#include <chrono>

namespace hosting {

// The platform's daily reload budget of a widget, as a host that plays the platform applies it:
// the reloads of each placement are spread over the day, a day divided by `perDay` apart at
// least, so that none is reloaded more than `perDay` times in any 24 hours. A timeline that asks
// for an earlier reload waits until its turn: the reload is late, and the reloads it would have
// had in between are skipped.
struct ReloadBudget {
    static constexpr int fewestPerDay = 1;
    static constexpr int mostPerDay = 24 * 60;

    int perDay = 40;  // the platform's budgets lie between 40 and 70

    // Rounded up, so that `perDay` + 1 reloads never fit in a day.
    [[nodiscard]] std::chrono::microseconds spacing() const {
        const std::chrono::microseconds day = std::chrono::hours(24);
        return (day + std::chrono::microseconds(perDay - 1)) / perDay;
    }
    // When a reload asked for `asked` is made, the placement's last reload having been made at
    // `last`.
    [[nodiscard]] platform::Date granted(platform::Date asked, platform::Date last) const {
        return std::max(asked, last + spacing());
    }

    bool operator==(const ReloadBudget&) const = default;
};

}  // namespace hosting
