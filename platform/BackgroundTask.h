#pragma once

#include "platform/OwnedFd.h"
#include "platform/Result.h"

#include <functional>
#include <thread>

namespace platform {

// A function run once on a thread of its own, whose end is a file descriptor to poll beside
// others (an eventfd written when the function has returned). The host runs provider requests
// and drawing this way, so that its main thread stays free to take a stop signal while a store
// read waits for a writer's lock. Move-only: it owns its thread and its descriptor.
class BackgroundTask {
public:
    [[nodiscard]] static Result<BackgroundTask> start(std::function<void()> work);
    BackgroundTask(BackgroundTask&& other) noexcept = default;
    BackgroundTask& operator=(BackgroundTask&&) = delete;
    BackgroundTask(const BackgroundTask&) = delete;
    BackgroundTask& operator=(const BackgroundTask&) = delete;
    // Waits for the function to return. A caller that cannot wait (the function is stuck in a
    // library) leaves the process with std::_Exit instead.
    ~BackgroundTask();

    // Readable once the function has returned; after that, what it wrote is visible here.
    [[nodiscard]] int fd() const { return m_fd.get(); }

private:
    BackgroundTask(int fd, std::thread thread) : m_fd(fd), m_thread(std::move(thread)) {}
    OwnedFd m_fd;  // closed after the thread is joined
    std::thread m_thread;
};

}  // namespace platform
