#pragma once

// Instants for tests: a calendar time in UTC, and a clock that tells its reads apart.

#include "platform/Clock.h"

#include <chrono>

namespace testtime {

inline platform::Date utc(int y, unsigned m, unsigned d, int hh = 0, int mm = 0, int ss = 0) {
    using namespace std::chrono;
    return platform::Date(sys_days(year(y) / month(m) / day(d))) + hours(hh) + minutes(mm) +
           seconds(ss);
}

// Moves on by one second every time it is read.
class TickingClock final : public platform::Clock {
public:
    explicit TickingClock(platform::Date first) : m_next(first) {}
    platform::Date now() const override {
        const platform::Date now = m_next;
        m_next += std::chrono::seconds(1);
        return now;
    }

private:
    mutable platform::Date m_next;
};

}  // namespace testtime
