#include "desktop/ExtensionWorker.h"

#include <glib.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <memory>

namespace desktop {

ExtensionWorker::ExtensionWorker(hosting::ExtensionSettings settings)
    : m_extension(std::move(settings)),
      m_wake(::eventfd(0, EFD_CLOEXEC)),
      m_thread([this] { work(); }) {}

ExtensionWorker::~ExtensionWorker() {
    m_stopping = true;
    wake();
    m_extension.stop();
    m_thread.join();
}

void ExtensionWorker::post(Job job) {
    {
        const std::lock_guard lock(m_mutex);
        m_jobs.push_back(std::move(job));
    }
    wake();
}

void ExtensionWorker::wake() const {
    const std::uint64_t one = 1;
    (void)!::write(m_wake.get(), &one, sizeof one);
}

void ExtensionWorker::work() {
    while (!m_stopping) {
        // Its jobs, and the end of the extension while one runs (its process descriptor).
        pollfd watched[2] = {{m_wake.get(), POLLIN, 0}, {m_extension.endFd(), POLLIN, 0}};
        if (::poll(watched, 2, -1) < 0 && errno != EINTR) return;
        if (watched[1].revents != 0) m_extension.reapEnded();
        if (watched[0].revents != 0) {
            std::uint64_t posted = 0;
            (void)!::read(m_wake.get(), &posted, sizeof posted);
        }
        while (!m_stopping) {
            Job job;
            {
                const std::lock_guard lock(m_mutex);
                if (m_jobs.empty()) break;
                job = std::move(m_jobs.front());
                m_jobs.pop_front();
            }
            auto then = job(m_extension);
            if (m_stopping) break;  // the board is going: nothing of it is left to call
            // At the default priority, ahead of the toolkit's next frame: new pixels go into
            // that frame rather than the one after it.
            g_idle_add_full(
                G_PRIORITY_DEFAULT,
                [](gpointer done) {
                    (*static_cast<std::function<void()>*>(done))();
                    return G_SOURCE_REMOVE;
                },
                new std::function<void()>(std::move(then)),
                [](gpointer done) { delete static_cast<std::function<void()>*>(done); });
        }
    }
}

}  // namespace desktop
