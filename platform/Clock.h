#pragma once

#include "platform/Date.h"

namespace platform {

// Where "now" comes from. Providers and views read the clock the host hands them; the
// command line's --at and the tests use a fixed one, the simulating host a virtual one.
class Clock {
public:
    virtual ~Clock() = default;
    [[nodiscard]] virtual Date now() const = 0;
};

class SystemClock final : public Clock {
public:
    [[nodiscard]] Date now() const override {
        return std::chrono::time_point_cast<std::chrono::microseconds>(
            std::chrono::system_clock::now());
    }
};

class FixedClock final : public Clock {
public:
    explicit FixedClock(Date at) : m_at(at) {}
    [[nodiscard]] Date now() const override { return m_at; }

private:
    Date m_at;
};

// A clock that is moved by hand: the simulating host's virtual time.
class ManualClock final : public Clock {
public:
    explicit ManualClock(Date at) : m_at(at) {}
    [[nodiscard]] Date now() const override { return m_at; }
    void set(Date at) { m_at = at; }

private:
    Date m_at;
};

// The process-wide system clock, created once.
[[nodiscard]] inline const Clock& systemClock() {
    static const SystemClock clock;
    return clock;
}

}  // namespace platform
