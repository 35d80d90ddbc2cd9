#pragma once

#include <utility>

namespace platform {

// A file descriptor this object closes when it goes: a socket, a memfd, a signalfd, a timer, a
// file being written. Move-only.
class OwnedFd {
public:
    OwnedFd() = default;
    explicit OwnedFd(int fd) : m_fd(fd) {}
    OwnedFd(OwnedFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    OwnedFd& operator=(OwnedFd&& other) noexcept;
    OwnedFd(const OwnedFd&) = delete;
    OwnedFd& operator=(const OwnedFd&) = delete;
    ~OwnedFd();

    [[nodiscard]] int get() const { return m_fd; }
    [[nodiscard]] bool valid() const { return m_fd >= 0; }
    // Closes it now, saying whether close succeeded: it reports the last write errors of some
    // file systems (NFS).
    [[nodiscard]] bool close();

private:
    int m_fd = -1;
};

}  // namespace platform
