#include "platform/OwnedFd.h"

#include <unistd.h>

namespace platform {

OwnedFd& OwnedFd::operator=(OwnedFd&& other) noexcept {
    if (this != &other) {
        if (m_fd >= 0) ::close(m_fd);
        m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
}

OwnedFd::~OwnedFd() {
    if (m_fd >= 0) ::close(m_fd);
}

bool OwnedFd::close() {
    return ::close(std::exchange(m_fd, -1)) == 0;
}

}  // namespace platform
