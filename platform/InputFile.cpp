#include "platform/InputFile.h"

#include "platform/OwnedFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace platform {

Result<std::string> readInputFile(const std::filesystem::path& path, std::size_t limit) {
    const std::string name = "\"" + path.string() + "\": ";
    // Non-blocking, so that opening a FIFO with no writer returns at once.
    const OwnedFd file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!file.valid()) return Error{name + "cannot be read: " + std::strerror(errno)};
    const int fd = file.get();

    struct stat status {};
    if (::fstat(fd, &status) != 0) return Error{name + "cannot be read: " + std::strerror(errno)};
    if (!S_ISREG(status.st_mode)) return Error{name + "not a regular file"};
    const auto tooLarge = [&] {
        return Error{name + "larger than " + std::to_string(limit) + " bytes"};
    };
    if (std::size_t(status.st_size) > limit) return tooLarge();

    // The file may grow while it is read: one byte past the limit is enough to know.
    std::string bytes(std::size_t(status.st_size) + 1, '\0');
    std::size_t got = 0;
    while (true) {
        if (got == bytes.size()) {
            if (bytes.size() > limit) return tooLarge();
            bytes.resize(std::min(bytes.size() * 2, limit + 1));
        }
        const ssize_t n = ::read(fd, bytes.data() + got, bytes.size() - got);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return Error{name + "cannot be read: " + std::strerror(errno)};
        if (n == 0) break;
        got += std::size_t(n);
    }
    if (got > limit) return tooLarge();
    bytes.resize(got);
    return bytes;
}

}  // namespace platform
