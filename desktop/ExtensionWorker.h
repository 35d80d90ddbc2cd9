#pragma once

#include "hosting/Extension.h"
#include "platform/OwnedFd.h"

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace desktop {

// Runs the board's reloads in the extension on a thread of its own, one job at a time in order,
// so that a slow or hung extension (2 s at most a request) never holds up the window. What a job
// returns then runs on the main loop. Between jobs the thread sleeps until a job comes or the
// extension ends (after its idle time), when it reaps it at once: nothing wakes in between.
class ExtensionWorker {
public:
    using Job = std::function<std::function<void()>(hosting::Extension&)>;

    explicit ExtensionWorker(hosting::ExtensionSettings settings);
    // Stops within moments whatever the extension does: its process is killed from here, so the
    // job in flight fails at once, as do its requests left, and the thread ends.
    ~ExtensionWorker();
    ExtensionWorker(const ExtensionWorker&) = delete;
    ExtensionWorker& operator=(const ExtensionWorker&) = delete;

    void post(Job job);

private:
    void wake() const;
    void work();

    hosting::Extension m_extension;
    platform::OwnedFd m_wake;  // an eventfd: jobs posted, or the stop
    std::atomic<bool> m_stopping = false;
    std::mutex m_mutex;
    std::deque<Job> m_jobs;
    std::thread m_thread;  // last: it starts once the rest is made
};

}  // namespace desktop
