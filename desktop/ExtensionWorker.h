#pragma once

#include "hosting/Extension.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>

namespace desktop {

// Runs the board's reloads in the extension on a thread of its own, one job at a time in order,
// so that a slow or hung extension (2 s at most a request) never holds up the window. What a job
// returns then runs on the main loop.
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
    void work(const std::stop_token& stop);

    static constexpr std::chrono::seconds reapInterval{1};

    hosting::Extension m_extension;
    std::mutex m_mutex;
    std::condition_variable_any m_wake;
    std::deque<Job> m_jobs;
    std::jthread m_thread;  // last: it starts once the rest is made, and ends first
};

}  // namespace desktop
