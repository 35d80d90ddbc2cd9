#include "platform/WakeTimer.h"

#include <gtest/gtest.h>

#include <poll.h>

#include <string>

namespace {

using namespace std::chrono_literals;
using platform::Date;

// Whether the timer's descriptor turns readable within `wait`.
bool fires(const platform::WakeTimer& timer, std::chrono::milliseconds wait) {
    pollfd ready{timer.fd(), POLLIN, 0};
    return ::poll(&ready, 1, int(wait.count())) == 1 && (ready.revents & POLLIN);
}

// A date long past fires at once, the epoch and dates before it included (the kernel takes a
// zero deadline for "disarm" and refuses a negative one); a date ahead does not, and setting
// one replaces a past date whose firing was not yet read.
TEST(WakeTimer, FiresAtOnceForEveryPastDateAndNotBeforeADateAhead) {
    const Date epoch{};
    const Date now =
        std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    const std::pair<std::string, Date> past[] = {
        {"the epoch", epoch},
        {"half a second after the epoch", epoch + 500ms},
        {"a microsecond before the epoch", epoch - 1us},
        {"a day before the epoch", epoch - std::chrono::days(1)},
        {"the first date a text can name", platform::firstDate},
        {"an hour ago", now - 1h},
    };
    auto timer = platform::WakeTimer::create().value();
    for (const auto& [what, date] : past) {
        SCOPED_TRACE(what);
        const auto set = timer.wakeAt(date);
        ASSERT_TRUE(set) << set.error().description;
        EXPECT_TRUE(fires(timer, 2s));
        timer.acknowledge();
        EXPECT_FALSE(fires(timer, 0ms));
    }

    ASSERT_TRUE(timer.wakeAt(epoch));
    ASSERT_TRUE(timer.wakeAt(now + 1h));
    EXPECT_FALSE(fires(timer, 100ms));
}

}  // namespace
