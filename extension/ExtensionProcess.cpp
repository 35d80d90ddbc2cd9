#include "extension/ExtensionProcess.h"

#include "extension/ExtensionServer.h"
#include "ipc/ExtensionLimits.h"
#include "platform/Confinement.h"
#include "platform/Deployment.h"
#include "platform/UserFolders.h"
#include "render/PangoTextMeasurer.h"
#include "store/StoreLocation.h"

#include <fontconfig/fontconfig.h>

#include <fcntl.h>
#include <linux/if_ether.h>
#include <linux/netlink.h>
#include <netinet/in.h>
#include <sched.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>

extern char** environ;

using namespace timeline;
using namespace widgets;
using namespace ipc;

namespace extension {
namespace {

void warn(const std::string& message) {
    std::fprintf(stderr, "velmora-widgets extension: warning: %s\n", message.c_str());
}

// Adds the paths of `list`, and where one is a symbolic link (fontconfig's conf.d holds links
// into conf.avail) the folder of what it points to.
void addStrings(std::vector<std::filesystem::path>& paths, FcStrList* list) {
    if (list == nullptr) return;
    while (FcChar8* item = FcStrListNext(list)) {
        const std::filesystem::path path(reinterpret_cast<char*>(item));
        paths.push_back(path);
        std::error_code ignored;
        if (std::filesystem::is_symlink(path, ignored))
            paths.push_back(std::filesystem::canonical(path, ignored).parent_path());
    }
    FcStrListDone(list);
}

// What the extension may read: the app group's store folder, and what drawing needs: fonts,
// their configuration and caches, time-zone data and the libraries it loads, which it may also
// map as code. Text is drawn with the user's own fontconfig configuration, whose fallback fonts
// cover every script, so fontconfig itself says which files and folders that takes (loading the
// configuration here only does early what the first drawing would do). The usual folders are
// listed too, for a configuration that adds a folder only once it exists.
platform::ConfinementRules confinementRules(const std::filesystem::path& store) {
    platform::ConfinementRules rules;
    const auto home = platform::homeFolder();
    rules.readable = {store,
                      "/etc/fonts",
                      "/usr/share/fontconfig",
                      "/usr/share/fonts",
                      "/usr/local/share/fonts",
                      platform::userFolder(platform::UserFolder::data) / "fonts",
                      home / ".fonts",
                      "/var/cache/fontconfig",
                      platform::userFolder(platform::UserFolder::cache) / "fontconfig",
                      platform::userFolder(platform::UserFolder::config) / "fontconfig",
                      home / ".fontconfig",
                      home / ".fonts.conf",
                      "/usr/share/zoneinfo",
                      "/etc/localtime",
                      "/etc/timezone",
                      "/usr/share/icu",
                      "/usr/share/locale",
                      "/usr/lib/locale",
                      "/etc/ld.so.cache",
                      "/sys/devices/system/cpu"};
    if (const char* file = std::getenv("FONTCONFIG_FILE")) rules.readable.emplace_back(file);
    if (FcConfig* fonts = FcConfigGetCurrent()) {
        addStrings(rules.readable, FcConfigGetConfigFiles(fonts));
        addStrings(rules.readable, FcConfigGetConfigDirs(fonts));
        addStrings(rules.readable, FcConfigGetFontDirs(fonts));
        addStrings(rules.readable, FcConfigGetCacheDirs(fonts));
    }
    rules.executable = {"/usr/lib", "/lib", "/usr/lib64", "/lib64", "/usr/local/lib"};
    if (const char* paths = std::getenv("LD_LIBRARY_PATH")) {
        std::stringstream list(paths);
        for (std::string path; std::getline(list, path, ':');)
            if (!path.empty()) rules.executable.emplace_back(path);
    }
    // A store database reached through a symbolic link out of the folder is read where it lies,
    // and SQLite looks for its journal beside it there.
    for (const auto domain : {platform::appGroupIdentifier(), platform::bundleIdentifier()}) {
        const auto file = store::domainFile(store, domain);
        std::error_code error;
        if (!std::filesystem::is_symlink(file, error)) continue;
        if (const auto target = std::filesystem::canonical(file, error); !error)
            rules.readable.push_back(target.parent_path());
    }
    rules.memoryLimitBytes = ipc::extensionMemoryLimit;
    return rules;
}

// Confines this process, or says why it runs unconfined or partly confined.
platform::Result<void, ProcessFailure> confine(const std::filesystem::path& store) {
    if (const char* sandbox = std::getenv("VELMORA_SANDBOX");
        sandbox != nullptr && std::string_view(sandbox) == "off") {
        warn("running unconfined (VELMORA_SANDBOX=off)");
        return {};
    }
    const platform::ConfinementRules rules = confinementRules(store);
    auto confined = platform::confineProcess(rules);
    if (!confined)
        return ProcessFailure::failure("cannot confine the extension: " +
                                       confined.error().description);
    if (const auto missing = confined->missing(rules); !missing.empty()) {
        std::string parts;
        for (const auto& part : missing) parts += (parts.empty() ? "" : ", ") + part;
        warn("running without " + parts);
    }
    return {};
}

// One line per action a confined extension must not be able to take, and one for the read it
// must: "write in /tmp: refused (Permission denied)".
void report(const std::string& action, int error) {
    std::printf("%s: %s%s%s\n", action.c_str(), error == 0 ? "allowed" : "refused (",
                error == 0 ? "" : std::strerror(error), error == 0 ? "" : ")");
}

int tryWriting(const std::filesystem::path& folder) {
    const auto file = folder / (".velmora-extension-probe-" + std::to_string(::getpid()));
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) return errno;
    ::close(fd);
    ::unlink(file.c_str());
    return 0;
}

// Opens `file` for writing, and writes nothing.
int tryOpeningToWrite(const std::filesystem::path& file) {
    const int fd = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) return errno;
    ::close(fd);
    return 0;
}

int tryListening() {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return errno;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int result = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                               ::listen(fd, 1) == 0
                           ? 0
                           : errno;
    ::close(fd);
    return result;
}

int trySocket(int domain, int type, int protocol) {
    const int fd = ::socket(domain, type | SOCK_CLOEXEC, protocol);
    if (fd < 0) return errno;
    ::close(fd);
    return 0;
}

int tryConnecting(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return ENAMETOOLONG;
    path.copy(address.sun_path, path.size());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return errno;
    const int result =
        ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
    ::close(fd);
    return result;
}

int trySocketPair() {
    int fds[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) return errno;
    ::close(fds[0]);
    ::close(fds[1]);
    return 0;
}

// TIOCSTI on a pipe: refused by the kernel as no terminal, unless the filter refuses it first.
int tryTypingIntoATerminal() {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) return errno;
    const char typed = ' ';
    const int result = ::ioctl(fds[0], TIOCSTI, &typed) == 0 ? 0 : errno;
    ::close(fds[0]);
    ::close(fds[1]);
    return result;
}

int tryMapping(std::size_t size, int protection, int flags, int fd = -1) {
    void* memory = ::mmap(nullptr, size, protection, flags, fd, 0);
    if (memory == MAP_FAILED) return errno;
    ::munmap(memory, size);
    return 0;
}

int tryMakingExecutable() {
    constexpr std::size_t page = 4096;
    void* memory =
        ::mmap(nullptr, page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return errno;
    const int result = ::mprotect(memory, page, PROT_READ | PROT_EXEC) == 0 ? 0 : errno;
    ::munmap(memory, page);
    return result;
}

// A memfd of `size` bytes, mapped as code when `execute`.
int tryMemfd(std::size_t size, bool execute) {
    const int fd = ::memfd_create("velmora-probe", MFD_CLOEXEC);
    if (fd < 0) return errno;
    int result = ::ftruncate(fd, off_t(size)) == 0 ? 0 : errno;
    if (result == 0 && execute) result = tryMapping(size, PROT_READ | PROT_EXEC, MAP_SHARED, fd);
    ::close(fd);
    return result;
}

enum class Lock { record, openFileDescription, whole };

// A shared lock on `file`, as a reader of SQLite's takes one, released at once.
int tryLocking(const std::filesystem::path& file, Lock lock) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return errno;
    struct flock range {};
    range.l_type = F_RDLCK;
    range.l_whence = SEEK_SET;
    int result = 0;
    switch (lock) {
        case Lock::record:
            result = ::fcntl(fd, F_SETLK, &range);
            break;
        case Lock::openFileDescription:
            result = ::fcntl(fd, F_OFD_SETLK, &range);
            break;
        case Lock::whole:
            result = ::flock(fd, LOCK_SH | LOCK_NB);
            break;
    }
    result = result == 0 ? 0 : errno;
    ::close(fd);
    return result;
}

// Starts a program: the error that kept it from running, 0 when it ran.
int tryRunning() {
    char program[] = "/bin/true";
    char* argv[] = {program, nullptr};
    pid_t pid = -1;
    if (const int error = ::posix_spawn(&pid, program, nullptr, nullptr, argv, environ))
        return error;
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 127 ? ENOEXEC : 0;
}

// What the descriptor is, in a word or two.
std::string kindOf(int fd) {
    struct stat info {};
    if (::fstat(fd, &info) != 0) return "closed";
    if (::isatty(fd)) return "a terminal";
    if (S_ISFIFO(info.st_mode)) return "a pipe";
    if (S_ISSOCK(info.st_mode)) return "a socket";
    if (S_ISCHR(info.st_mode)) return "a device";
    return "a file";
}

// The descriptors open besides standard input, output and error: "none", or "3, 7".
std::string otherDescriptors() {
    std::string open;
    const long last = std::min(::sysconf(_SC_OPEN_MAX), 1L << 16);
    for (int fd = STDERR_FILENO + 1; fd < last; ++fd)
        if (::fcntl(fd, F_GETFD) >= 0) open += (open.empty() ? "" : ", ") + std::to_string(fd);
    return open.empty() ? "none" : open;
}

// What the process has of its host's, then each thing it must not do, tried.
platform::Result<void, ProcessFailure> probe(const widgets::WidgetHost& widgets,
                                             const platform::Clock& clock,
                                             const std::filesystem::path& store) {
    std::printf("descriptors besides 0, 1 and 2: %s\n", otherDescriptors().c_str());
    const auto output = kindOf(STDOUT_FILENO);
    const auto error = kindOf(STDERR_FILENO);
    std::printf("standard output and error: %s\n",
                (output == error ? output : output + ", " + error).c_str());
    std::printf("session: %s\n", ::getsid(0) == ::getpid() ? "its own" : "another's");
    report("type into a terminal", tryTypingIntoATerminal());

    const auto storeFile = store::domainFile(store, platform::appGroupIdentifier());
    report("write in the store folder", tryWriting(store));
    report("write to the store's file", tryOpeningToWrite(storeFile));
    report("write in the home folder", tryWriting(platform::homeFolder()));
    report("write in /tmp", tryWriting("/tmp"));
    report("lock the store's file", tryLocking(storeFile, Lock::record));
    report("lock the store's file for its open file description",
           tryLocking(storeFile, Lock::openFileDescription));
    report("lock the store's file whole", tryLocking(storeFile, Lock::whole));

    report("listen on a TCP port", tryListening());
    const char* agent = std::getenv("SSH_AUTH_SOCK");
    report("connect to a Unix socket by path",
           tryConnecting(agent != nullptr ? agent : "/run/dbus/system_bus_socket"));
    report("open a netlink socket", trySocket(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE));
    report("open a packet socket", trySocket(AF_PACKET, SOCK_RAW, htons(ETH_P_ALL)));
    report("make a socket pair", trySocketPair());

    constexpr std::size_t page = 4096;
    const std::size_t pastTheLimit =
        std::max<std::uint64_t>(ipc::extensionMemoryLimit, 30 << 20) + (1 << 20);
    report("map memory writable and executable",
           tryMapping(page, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS));
    report("make memory executable", tryMakingExecutable());
    report("map a memfd executable", tryMemfd(page, true));
    report("map shared anonymous memory past the memory limit",
           tryMapping(pastTheLimit, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS));
    report("grow a memfd past the memory limit", tryMemfd(pastTheLimit, false));

    report("run a program", tryRunning());
    report("make a namespace", ::unshare(CLONE_NEWUSER) == 0 ? 0 : errno);
    const auto snapshot = widgets.request({"DailyBrief", timeline::WidgetFamily::systemMedium},
                                          widgets::Request::snapshot, clock);
    const auto& brief = std::get<dailybrief::DailyBriefEntry>(snapshot.entries.front()).brief;
    std::printf("read the store: %s\n",
                brief ? ("allowed (vmDailyBrief: " + brief->ticker + ")").c_str() : "nothing read");
    return {};
}

}  // namespace

platform::Result<void, ProcessFailure> runExtensionProcess(widgets::WidgetHost widgets,
                                                           const platform::Clock& clock,
                                                           const ProcessOptions& options) {
    prepareExtensionMemory();
    const auto store = store::storeDirectory(widgets.settings().storeDirectory);
    if (auto confined = confine(store); !confined) return confined;
    if (options.probe) return probe(widgets, clock, store);
    // Pango reads the font configuration on a thread of its own; the first request is read and
    // its entry made meanwhile.
    render::prepareTextMeasurer();

    struct stat input {};
    if (::fstat(STDIN_FILENO, &input) != 0 || !S_ISSOCK(input.st_mode))
        return ProcessFailure::usageFault(
            "the extension speaks on its standard input, which must be the host's socket");
    ipc::ExtensionChannel channel{platform::OwnedFd(STDIN_FILENO)};
    ExtensionServer server(std::move(widgets));
    if (auto served = server.serve(channel, options.idleTime); !served)
        return ProcessFailure::failure("extension: " + served.error().description);
    return {};
}

}  // namespace extension
