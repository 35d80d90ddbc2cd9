#include "platform/Logger.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <systemd/sd-journal.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace platform {
namespace {

constexpr const char* journalSocket = "/run/systemd/journal/socket";

std::string_view levelName(LogLevel level) {
    switch (level) {
        case LogLevel::debug:
            return "debug";
        case LogLevel::info:
            return "info";
        case LogLevel::error:
            return "error";
        case LogLevel::fault:
            return "fault";
    }
    return "error";
}

// syslog(3) priorities, as the journal's PRIORITY field takes them.
char journalPriority(LogLevel level) {
    switch (level) {
        case LogLevel::debug:
            return '7';
        case LogLevel::info:
            return '6';
        case LogLevel::error:
            return '3';
        case LogLevel::fault:
            return '2';
    }
    return '3';
}

// The journal's writer, from libsystemd, loaded on the first message the journal gets: most
// runs write none, and the library and the six it needs would be loaded and bound at every
// start. None when it cannot be loaded.
decltype(&sd_journal_sendv) journalSend() {
    static const auto send = [] {
        void* library = ::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
        return library == nullptr ? nullptr
                                  : reinterpret_cast<decltype(&sd_journal_sendv)>(
                                        ::dlsym(library, "sd_journal_sendv"));
    }();
    return send;
}

const StreamLogSink& standardErrorSink() {
    static const StreamLogSink sink(stderr);
    return sink;
}

// The systemd journal: MESSAGE and PRIORITY, plus the subsystem and category as fields of
// their own. A message the journal refuses goes to standard error instead.
class JournalLogSink final : public LogSink {
public:
    [[nodiscard]] bool isEnabled(LogLevel) const override { return true; }

    void write(LogLevel level, std::string_view subsystem, std::string_view category,
               std::string_view message) const override {
        const std::string fields[] = {
            "MESSAGE=" + std::string(message),
            std::string("PRIORITY=") + journalPriority(level),
            "SUBSYSTEM=" + std::string(subsystem),
            "CATEGORY=" + std::string(category),
            "SYSLOG_IDENTIFIER=" + std::string(program_invocation_short_name),
        };
        iovec vectors[std::size(fields)];
        for (std::size_t i = 0; i < std::size(fields); ++i)
            vectors[i] = {const_cast<char*>(fields[i].data()), fields[i].size()};
        const auto send = journalSend();
        if (send == nullptr || send(vectors, static_cast<int>(std::size(vectors))) < 0)
            standardErrorSink().write(level, subsystem, category, message);
    }
};

class OffLogSink final : public LogSink {
public:
    [[nodiscard]] bool isEnabled(LogLevel) const override { return false; }
    void write(LogLevel, std::string_view, std::string_view, std::string_view) const override {}
};

}  // namespace

void StreamLogSink::write(LogLevel level, std::string_view subsystem, std::string_view category,
                          std::string_view message) const {
    std::string line;
    line.reserve(subsystem.size() + category.size() + message.size() + 16);
    line.append(subsystem).append("[").append(category).append("] ");
    line.append(levelName(level)).append(": ");
    for (char c : message) line += static_cast<unsigned char>(c) < 0x20 || c == 0x7f ? ' ' : c;
    line += '\n';
    // One call per line: stdio locks the stream, so lines of concurrent writers never mix.
    std::fwrite(line.data(), 1, line.size(), m_stream);
    std::fflush(m_stream);
}

LogSinkKind chooseLogSink(const char* velmoraLog, bool journalIsReachable) {
    if (velmoraLog != nullptr) {
        const std::string_view choice(velmoraLog);
        if (choice == "journal") return LogSinkKind::journal;
        if (choice == "stderr") return LogSinkKind::standardError;
        if (choice == "off") return LogSinkKind::off;
    }
    return journalIsReachable ? LogSinkKind::journal : LogSinkKind::standardError;
}

bool journalReachable() {
    struct stat status {};
    return ::stat(journalSocket, &status) == 0 && S_ISSOCK(status.st_mode);
}

const LogSink& processLogSink() {
    static const JournalLogSink journal;
    static const OffLogSink off;
    static const LogSink& chosen = [&]() -> const LogSink& {
        switch (chooseLogSink(std::getenv("VELMORA_LOG"), journalReachable())) {
            case LogSinkKind::journal:
                return journal;
            case LogSinkKind::off:
                return off;
            case LogSinkKind::standardError:
                break;
        }
        return standardErrorSink();
    }();
    return chosen;
}

Logger::Logger(std::string subsystem, std::string category)
    : Logger(std::move(subsystem), std::move(category), processLogSink()) {}

Logger::Logger(std::string subsystem, std::string category, const LogSink& sink)
    : m_subsystem(std::move(subsystem)), m_category(std::move(category)), m_sink(&sink) {}

void Logger::write(LogLevel level, std::string_view message) const {
    m_sink->write(level, m_subsystem, m_category, message);
}

}  // namespace platform
