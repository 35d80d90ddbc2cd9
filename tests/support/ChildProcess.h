#pragma once

// Another process for a test to run beside itself (the store writer), with its standard output
// readable line by line. A child still running when the object goes is killed.

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

extern char** environ;

namespace childprocess {

class ChildProcess {
public:
    // Starts `arguments[0]` with the test's environment. Aborts when it cannot be started.
    explicit ChildProcess(const std::vector<std::string>& arguments) {
        int output[2];
        if (::pipe(output) != 0) std::abort();
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        ::posix_spawn_file_actions_addclose(&actions, output[0]);
        ::posix_spawn_file_actions_addclose(&actions, output[1]);
        std::vector<char*> argv;
        for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        const int spawned = ::posix_spawn(&m_pid, argv[0], &actions, nullptr, argv.data(), environ);
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(output[1]);
        m_output = output[0];
        if (spawned != 0) std::abort();
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            (void)wait();
        }
        ::close(m_output);
    }

    // The next line of its standard output without the line break; empty at its end.
    std::string readLine() {
        std::string line;
        char c = 0;
        while (true) {
            const ssize_t got = ::read(m_output, &c, 1);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0 || c == '\n') return line;
            line += c;
        }
    }

    // Waits for it to end: its exit status, or 128 + the signal that ended it.
    int wait() {
        int status = 0;
        while (::waitpid(m_pid, &status, 0) < 0)
            if (errno != EINTR) return -1;
        m_pid = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

private:
    pid_t m_pid = 0;
    int m_output = -1;
};

}  // namespace childprocess
