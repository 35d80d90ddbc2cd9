#include "platform/WakeTimer.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace platform {

Result<WakeTimer> WakeTimer::create() {
    const int fd = ::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC);
    if (fd < 0) return Error{std::string("cannot make a timer: ") + std::strerror(errno)};
    return WakeTimer(fd);
}

Result<void> WakeTimer::wakeAt(Date date) {
    using namespace std::chrono;
    const auto sinceEpoch = date.time_since_epoch();
    // A zero it_value would disarm the timer: the earliest date fires at the epoch's first
    // nanosecond instead, long past.
    auto whole = floor<seconds>(sinceEpoch);
    auto nanos = duration_cast<nanoseconds>(sinceEpoch - whole).count();
    if (whole.count() <= 0) {
        whole = seconds(0);
        nanos = 1;
    }
    itimerspec deadline{};
    deadline.it_value.tv_sec = static_cast<time_t>(whole.count());
    deadline.it_value.tv_nsec = static_cast<long>(nanos);
    // A clock change not yet read out may refuse the setting; reading it clears that.
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (::timerfd_settime(m_fd.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &deadline,
                              nullptr) == 0)
            return {};
        if (errno != ECANCELED) break;
        acknowledge();
    }
    return Error{std::string("cannot set the timer: ") + std::strerror(errno)};
}

void WakeTimer::acknowledge() const {
    // The expiry count, or ECANCELED when the clock was set; either way the descriptor is
    // quiet again until the next setting.
    std::uint64_t expirations = 0;
    while (::read(m_fd.get(), &expirations, sizeof expirations) < 0 && errno == EINTR) {
    }
}

}  // namespace platform
