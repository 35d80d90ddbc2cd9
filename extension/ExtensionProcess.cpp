#include "extension/ExtensionProcess.h"

#include "extension/ExtensionServer.h"
#include "ipc/ExtensionLimits.h"
#include "platform/Confinement.h"
#include "platform/UserFolders.h"
#include "store/StoreLocation.h"

#include <fontconfig/fontconfig.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
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
    rules.dataLimitBytes = ipc::extensionMemoryLimit;
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

int tryRunning() {
    char program[] = "/bin/true";
    char* argv[] = {program, nullptr};
    pid_t pid = -1;
    if (const int error = ::posix_spawn(&pid, program, nullptr, nullptr, argv, environ))
        return error;
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 127 ? EPERM : 0;
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
    report("write in the store folder", tryWriting(store));
    report("write in the home folder", tryWriting(platform::homeFolder()));
    report("write in /tmp", tryWriting("/tmp"));
    report("listen on a TCP port", tryListening());
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
