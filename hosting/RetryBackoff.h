#pragma once

#include "platform/Date.h"

#include <chrono>
#include <optional>

namespace hosting {

// When to ask again for a placement whose request or drawing failed: a second after its first
// failure, twice as long after each further failure in a row up to five minutes, and never
// later than the placement's next reload date, when it would be asked anyway. One per placement.
class RetryBackoff {
public:
    static constexpr std::chrono::seconds first{1};
    static constexpr std::chrono::seconds longest{300};

    // The placement failed at `now`: when to ask again.
    [[nodiscard]] platform::Date failed(platform::Date now,
                                        std::optional<platform::Date> nextReload) {
        const int row = m_failures++;
        const auto wait =
            row >= 9 ? longest : std::min<std::chrono::seconds>(first * (1 << row), longest);
        const platform::Date retry = now + wait;
        return nextReload && *nextReload > now ? std::min(retry, *nextReload) : retry;
    }

    // The placement was answered and drawn: its next failure waits a second again.
    void succeeded() { m_failures = 0; }

private:
    int m_failures = 0;  // in a row
};

}  // namespace hosting
