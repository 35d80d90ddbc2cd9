#include "platform/BackgroundTask.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <system_error>
#include <utility>

namespace platform {

Result<BackgroundTask> BackgroundTask::start(std::function<void()> work) {
    const int fd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (fd < 0) return Error{std::string("cannot start a worker: ") + std::strerror(errno)};
    try {
        std::thread thread([fd, work = std::move(work)] {
            work();
            const std::uint64_t done = 1;
            while (::write(fd, &done, sizeof done) < 0 && errno == EINTR) {
            }
        });
        return BackgroundTask(fd, std::move(thread));
    } catch (const std::system_error& error) {
        ::close(fd);
        return Error{std::string("cannot start a worker: ") + error.what()};
    }
}

BackgroundTask::~BackgroundTask() {
    if (m_thread.joinable()) m_thread.join();
}

}  // namespace platform
