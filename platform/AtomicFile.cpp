#include "platform/AtomicFile.h"

#include "platform/OwnedFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace platform {
namespace {

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes.remove_prefix(std::size_t(n));
    }
    return true;
}

// The folder of `path` as a path that can be opened ("." for a bare file name).
std::filesystem::path folderOf(const std::filesystem::path& path) {
    const auto parent = path.parent_path();
    return parent.empty() ? std::filesystem::path(".") : parent;
}

}  // namespace

Result<void> writeFileAtomically(const std::filesystem::path& path, std::string_view bytes) {
    const auto fail = [&](int error) {
        return Error{"cannot write \"" + path.string() + "\": " + std::strerror(error)};
    };
    if (path.filename().empty()) return fail(EISDIR);
    const auto folder = folderOf(path);
    OwnedFd directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() < 0) return fail(errno);

    // A file of no name vanishes by itself if the process dies before it is linked in. Naming
    // it takes /proc (a bare chroot or an early boot has none): without it, a hidden file.
    std::string temporary;
    int fd = ::access("/proc/self/fd", X_OK) == 0
                 ? ::openat(directory.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0644)
                 : (errno = EOPNOTSUPP, -1);
    if (fd < 0) {
        if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return fail(errno);
        temporary = (folder / ("." + path.filename().string() + ".XXXXXX")).string();
        fd = ::mkostemp(temporary.data(), O_CLOEXEC);
        if (fd < 0) return fail(errno);
    }
    OwnedFd file(fd);
    const auto abandon = [&](int error) {
        if (!temporary.empty()) ::unlink(temporary.c_str());
        return fail(error);
    };
    // Neither the umask nor mkstemp's private mode decides who may read the result.
    if (!writeAll(file.get(), bytes) || ::fchmod(file.get(), 0644) != 0 || ::fsync(file.get()) != 0)
        return abandon(errno);

    if (temporary.empty()) {
        // Give the finished file a name: a unique hidden one, then the rename replaces the
        // target (linkat cannot).
        const std::string self = "/proc/self/fd/" + std::to_string(file.get());
        for (int attempt = 0; temporary.empty(); ++attempt) {
            const std::string name = "." + path.filename().string() + "." +
                                     std::to_string(::getpid()) + "." + std::to_string(attempt);
            if (::linkat(AT_FDCWD, self.c_str(), directory.get(), name.c_str(),
                         AT_SYMLINK_FOLLOW) == 0)
                temporary = (folder / name).string();
            else if (errno != EEXIST || attempt > 100)
                return fail(errno);
        }
    }
    if (!file.close()) return abandon(errno);
    if (::rename(temporary.c_str(), path.c_str()) != 0) return abandon(errno);
    if (::fsync(directory.get()) != 0) return fail(errno);
    return {};
}

}  // namespace platform
