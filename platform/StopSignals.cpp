#include "platform/StopSignals.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace platform {
namespace {

sigset_t stopSignalSet() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

}  // namespace

void blockStopSignals() {
    const sigset_t set = stopSignalSet();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGXFSZ, SIG_IGN);
}

void unblockStopSignals() {
    const sigset_t set = stopSignalSet();
    ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

Result<StopSignals> StopSignals::open() {
    const sigset_t set = stopSignalSet();
    const int fd = ::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
    if (fd < 0)
        return Error{std::string("cannot take SIGINT and SIGTERM: ") + std::strerror(errno)};
    return StopSignals(fd);
}

std::optional<std::string_view> StopSignals::take() const {
    signalfd_siginfo info{};
    ssize_t n = 0;
    do n = ::read(m_fd.get(), &info, sizeof info);
    while (n < 0 && errno == EINTR);
    if (n != sizeof info) return std::nullopt;
    return info.ssi_signo == SIGINT ? "SIGINT" : "SIGTERM";
}

}  // namespace platform
