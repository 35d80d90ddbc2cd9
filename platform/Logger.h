#pragma once

#include <concepts>
#include <cstdio>
#include <string>
#include <string_view>

namespace platform {

enum class LogLevel { debug, info, error, fault };

// Where log messages go. A sink is shared by every thread that logs: `write` must be safe to
// call concurrently.
class LogSink {
public:
    virtual ~LogSink() = default;
    [[nodiscard]] virtual bool isEnabled(LogLevel level) const = 0;
    virtual void write(LogLevel level, std::string_view subsystem, std::string_view category,
                       std::string_view message) const = 0;
};

// One line per message on a stdio stream: "SUBSYSTEM[CATEGORY] error: MESSAGE". Control
// characters inside the message become spaces, so a message is always exactly one line.
class StreamLogSink final : public LogSink {
public:
    explicit StreamLogSink(std::FILE* stream) : m_stream(stream) {}
    [[nodiscard]] bool isEnabled(LogLevel) const override { return true; }
    void write(LogLevel level, std::string_view subsystem, std::string_view category,
               std::string_view message) const override;

private:
    std::FILE* m_stream;
};

enum class LogSinkKind { journal, standardError, off };

// The sink a process uses: VELMORA_LOG=journal|stderr|off decides when set to one of these;
// otherwise the systemd journal when its socket is reachable, else standard error.
[[nodiscard]] LogSinkKind chooseLogSink(const char* velmoraLog, bool journalIsReachable);

// Whether /run/systemd/journal/socket exists and is a socket.
[[nodiscard]] bool journalReachable();

// The process-wide sink, chosen once (from the environment) on first use.
[[nodiscard]] const LogSink& processLogSink();

// The unified log's logger: a subsystem and a category over a sink. The process-wide sink by
// default; tests hand their own.
class Logger {
public:
    Logger(std::string subsystem, std::string category);
    Logger(std::string subsystem, std::string category, const LogSink& sink);

    [[nodiscard]] bool isEnabled(LogLevel level) const { return m_sink->isEnabled(level); }
    void write(LogLevel level, std::string_view message) const;

    // Logs at level error. The message is built only when that level is enabled.
    template <std::invocable MakeMessage>
    void error(MakeMessage&& makeMessage) const {
        if (isEnabled(LogLevel::error)) write(LogLevel::error, makeMessage());
    }

    [[nodiscard]] const std::string& subsystem() const { return m_subsystem; }
    [[nodiscard]] const std::string& category() const { return m_category; }

private:
    std::string m_subsystem;
    std::string m_category;
    const LogSink* m_sink;
};

}  // namespace platform
