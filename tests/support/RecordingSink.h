#pragma once

// A log sink that keeps its lines, for tests that check what a read logs.

#include "platform/Logger.h"

#include <mutex>
#include <string>
#include <vector>

namespace recording {

class RecordingSink final : public platform::LogSink {
public:
    explicit RecordingSink(bool enabled = true) : m_enabled(enabled) {}

    bool isEnabled(platform::LogLevel level) const override {
        std::lock_guard lock(m_mutex);
        ++m_enabledQueries;
        return m_enabled && level == platform::LogLevel::error;
    }
    void write(platform::LogLevel, std::string_view subsystem, std::string_view category,
               std::string_view message) const override {
        std::lock_guard lock(m_mutex);
        m_lines.push_back(std::string(subsystem) + "[" + std::string(category) + "] " +
                          std::string(message));
    }

    std::vector<std::string> lines() const {
        std::lock_guard lock(m_mutex);
        return m_lines;
    }
    int enabledQueries() const {
        std::lock_guard lock(m_mutex);
        return m_enabledQueries;
    }

private:
    bool m_enabled;
    mutable std::mutex m_mutex;
    mutable std::vector<std::string> m_lines;
    mutable int m_enabledQueries = 0;
};

}  // namespace recording
