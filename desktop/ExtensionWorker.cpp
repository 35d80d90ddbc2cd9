#include "desktop/ExtensionWorker.h"

#include <glib.h>

#include <memory>

namespace desktop {

ExtensionWorker::ExtensionWorker(hosting::ExtensionSettings settings)
    : m_extension(std::move(settings)),
      m_thread([this](const std::stop_token& stop) { work(stop); }) {}

ExtensionWorker::~ExtensionWorker() {
    m_thread.request_stop();
    m_extension.stop();
}

void ExtensionWorker::post(Job job) {
    const std::lock_guard lock(m_mutex);
    m_jobs.push_back(std::move(job));
    m_wake.notify_one();
}

void ExtensionWorker::work(const std::stop_token& stop) {
    while (true) {
        Job job;
        {
            std::unique_lock lock(m_mutex);
            const auto posted = [&] { return !m_jobs.empty(); };
            // While an extension runs, the worker looks every second whether it ended (after its
            // idle time): an ended one is reaped then, no zombie for longer.
            if (m_extension.processId() ? !m_wake.wait_for(lock, stop, reapInterval, posted)
                                        : !m_wake.wait(lock, stop, posted)) {
                if (stop.stop_requested()) return;
                m_extension.reapEnded();
                continue;
            }
            job = std::move(m_jobs.front());
            m_jobs.pop_front();
        }
        g_idle_add_once(
            [](gpointer done) {
                std::unique_ptr<std::function<void()>> then(
                    static_cast<std::function<void()>*>(done));
                (*then)();
            },
            new std::function<void()>(job(m_extension)));
    }
}

}  // namespace desktop
