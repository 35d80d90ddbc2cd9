#pragma once

#include "platform/Date.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>

namespace hosting {

// When to ask again for a placement whose request or drawing failed: a second after its first
// failure, twice as long after each further failure in a row up to five minutes, and never
// later than the placement's next reload date, when it would be asked anyway.
class RetryBackoff {
public:
    static constexpr std::chrono::seconds first{1};
    static constexpr std::chrono::seconds longest{300};

    // The placement (by index) failed at `now`: when to ask again.
    [[nodiscard]] platform::Date failed(std::size_t placement, platform::Date now,
                                        std::optional<platform::Date> nextReload) {
        const int row = m_failures[placement]++;
        const auto wait =
            row >= 9 ? longest : std::min<std::chrono::seconds>(first * (1 << row), longest);
        const platform::Date retry = now + wait;
        return nextReload && *nextReload > now ? std::min(retry, *nextReload) : retry;
    }

    // The placement was answered and drawn: its next failure waits a second again.
    void succeeded(std::size_t placement) { m_failures.erase(placement); }

private:
    std::map<std::size_t, int> m_failures;  // failures in a row, per placement
};

}  // namespace hosting
