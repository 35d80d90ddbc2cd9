#pragma once

// Another process for a test to run beside itself: the program under test or the store writer.
// Its standard output and error come back through pipes, the output readable line by line while
// it runs; everything else is collected when it ends. A child still running when the object
// goes is killed.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace childprocess {

struct Options {
    // Set (or, with no value, removed) in the child's environment.
    std::vector<std::pair<std::string, std::optional<std::string>>> environment;
    // RLIMIT_FSIZE in bytes, with SIGXFSZ ignored so that a write past it fails instead.
    std::optional<rlim_t> fileSizeLimit;
};

class ChildProcess {
public:
    // Starts `arguments[0]`. Aborts when it cannot be started.
    explicit ChildProcess(const std::vector<std::string>& arguments, const Options& options = {}) {
        int out[2], err[2];
        if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) std::abort();
        std::vector<char*> argv;
        for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        m_pid = ::fork();
        if (m_pid < 0) std::abort();
        if (m_pid == 0) {
            ::dup2(out[1], STDOUT_FILENO);
            ::dup2(err[1], STDERR_FILENO);
            for (const auto& [name, value] : options.environment)
                value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
            if (options.fileSizeLimit) {
                const rlimit limit{*options.fileSizeLimit, *options.fileSizeLimit};
                ::setrlimit(RLIMIT_FSIZE, &limit);
                ::signal(SIGXFSZ, SIG_IGN);
            }
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        ::close(out[1]);
        ::close(err[1]);
        m_out = out[0];
        m_err = err[0];
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            (void)wait();
        }
        ::close(m_out);
        ::close(m_err);
    }

    [[nodiscard]] pid_t pid() const { return m_pid; }
    void signal(int number) const { ::kill(m_pid, number); }

    // The next line of its standard output without the line break; empty at its end.
    std::string readLine() {
        while (true) {
            if (const auto end = m_outText.find('\n', m_lineStart); end != std::string::npos) {
                std::string line = m_outText.substr(m_lineStart, end - m_lineStart);
                m_lineStart = end + 1;
                return line;
            }
            if (!m_outOpen || !(m_outOpen = readSome(m_out, m_outText))) {
                std::string rest = m_outText.substr(m_lineStart);
                m_lineStart = m_outText.size();
                return rest;
            }
        }
    }

    // Waits for it to end, at most `timeout`: its exit status, or 128 + the signal that ended
    // it; none when it is still running.
    std::optional<int> waitFor(std::chrono::milliseconds timeout) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (m_pid > 0) {
            int status = 0;
            const pid_t ended = ::waitpid(m_pid, &status, WNOHANG);
            if (ended == m_pid) {
                m_pid = 0;
                m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
                break;
            }
            if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
            drain(5);
        }
        while (drain(-1)) {
        }
        return m_status;
    }
    int wait() { return *waitFor(std::chrono::hours(1)); }

    // Everything it wrote, once it has ended.
    [[nodiscard]] const std::string& out() const { return m_outText; }
    [[nodiscard]] const std::string& err() const { return m_errText; }

private:
    static bool readSome(int fd, std::string& into) {
        char buffer[4096];
        ssize_t n = 0;
        do n = ::read(fd, buffer, sizeof buffer);
        while (n < 0 && errno == EINTR);
        if (n <= 0) return false;
        into.append(buffer, std::size_t(n));
        return true;
    }
    // Reads what the pipes hold, waiting up to `milliseconds` (-1: until something comes);
    // whether either is still open.
    bool drain(int milliseconds) {
        pollfd fds[2] = {{m_outOpen ? m_out : -1, POLLIN, 0}, {m_errOpen ? m_err : -1, POLLIN, 0}};
        if ((m_outOpen || m_errOpen) && ::poll(fds, 2, milliseconds) > 0) {
            if (fds[0].revents != 0) m_outOpen = readSome(m_out, m_outText);
            if (fds[1].revents != 0) m_errOpen = readSome(m_err, m_errText);
        }
        return m_outOpen || m_errOpen;
    }

    pid_t m_pid = 0;
    int m_status = -1;
    int m_out = -1;
    int m_err = -1;
    bool m_outOpen = true;
    bool m_errOpen = true;
    std::string m_outText;
    std::string m_errText;
    std::size_t m_lineStart = 0;
};

}  // namespace childprocess
