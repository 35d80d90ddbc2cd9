#include "host/Extension.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

extern char** environ;

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

// An extension that closed its socket has this long to finish dying before it is killed.
constexpr int exitGraceMilliseconds = 200;

std::string megabytes(std::uint64_t bytes) {
    return std::to_string((bytes + (1 << 19)) >> 20) + " MB";
}

std::string seconds(std::chrono::milliseconds time) {
    const auto count = time.count();
    return count % 1000 == 0 ? std::to_string(count / 1000) + " s" : std::to_string(count) + " ms";
}

// What a reaped process's status says: "exited with status 3", "was killed by signal 11
// (Segmentation fault)", "ran out of its 30 MB of memory".
std::string endOf(int status, std::uint64_t memoryLimit) {
    if (WIFEXITED(status) && WEXITSTATUS(status) == extensionOutOfMemoryStatus)
        return "ran out of its " + megabytes(memoryLimit) + " of memory";
    if (WIFEXITED(status)) return "exited with status " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status))
        return "was killed by signal " + std::to_string(WTERMSIG(status)) + " (" +
               ::strsignal(WTERMSIG(status)) + ")";
    return "ended";
}

// The image a drawing reply points at: a sealed memfd as large as the reply says, mapped.
platform::Result<ExtensionImage> mapImage(const DrawingReply& reply, const OwnedFd& fd,
                                          ImageEncoding asked) {
    using platform::Error;
    if (!fd.valid()) return Error{"a drawing without its image"};
    if (reply.encoding != asked) return Error{"a drawing in another encoding"};
    constexpr int largest = 1 << 14;
    if (reply.width <= 0 || reply.height <= 0 || reply.width > largest || reply.height > largest ||
        reply.stride < 4 * reply.width)
        return Error{"a drawing of " + std::to_string(reply.width) + " × " +
                     std::to_string(reply.height) + " pixels"};
    const std::uint64_t rows = std::uint64_t(reply.stride) * std::uint64_t(reply.height);
    if (reply.byteCount == 0 || reply.byteCount > rows ||
        (reply.encoding == ImageEncoding::argb32 && reply.byteCount != rows))
        return Error{"a drawing of " + std::to_string(reply.byteCount) + " bytes"};
    // Sealed against shrinking, a mapping can never reach past the file's end; sealed against
    // writing, the image cannot change under the host.
    const int seals = ::fcntl(fd.get(), F_GET_SEALS);
    if (seals < 0 || (seals & (F_SEAL_SHRINK | F_SEAL_WRITE)) != (F_SEAL_SHRINK | F_SEAL_WRITE))
        return Error{"a drawing in memory that is not sealed"};
    struct stat info {};
    if (::fstat(fd.get(), &info) != 0 || std::uint64_t(info.st_size) < reply.byteCount)
        return Error{"a drawing in memory smaller than it says"};
    void* data = ::mmap(nullptr, reply.byteCount, PROT_READ, MAP_SHARED, fd.get(), 0);
    if (data == MAP_FAILED)
        return Error{std::string("a drawing that cannot be mapped: ") + std::strerror(errno)};
    return ExtensionImage(data, reply.byteCount);
}

// The request a message answers (or asks); 0 for a goodbye.
std::uint32_t messageId(const ExtensionMessage& message) {
    return std::visit(
        [](const auto& m) -> std::uint32_t {
            if constexpr (requires { m.id; }) return m.id;
            return 0;
        },
        message);
}

}  // namespace

ExtensionSettings extensionSettings(const HostSettings& settings) {
    ExtensionSettings extension;
    const char* other = std::getenv("VELMORA_EXTENSION");
    extension.program = other != nullptr && *other != '\0' ? other : "/proc/self/exe";
    if (!settings.storeDirectory.empty())
        extension.arguments = {"--store-dir", settings.storeDirectory};
    for (const auto& argument :
         {std::string("--locale"), settings.locale, std::string("--time-zone"), settings.timeZone,
          std::string("extension")})
        extension.arguments.push_back(argument);
    return extension;
}

ExtensionImage& ExtensionImage::operator=(ExtensionImage&& other) noexcept {
    if (this != &other) {
        if (m_data != nullptr) ::munmap(const_cast<void*>(m_data), m_size);
        m_data = std::exchange(other.m_data, nullptr);
        m_size = std::exchange(other.m_size, 0);
    }
    return *this;
}

ExtensionImage::~ExtensionImage() {
    if (m_data != nullptr) ::munmap(const_cast<void*>(m_data), m_size);
}

std::optional<pid_t> Extension::processId() const {
    if (m_pid < 0) return std::nullopt;
    return m_pid;
}

platform::Result<void> Extension::launch() {
    int sockets[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
        return platform::Error{std::string("cannot make its socket: ") + std::strerror(errno)};
    OwnedFd ours(sockets[0]);
    OwnedFd theirs(sockets[1]);

    // The extension reads its requests from standard input and writes nothing on the host's
    // output; it runs in a process group of its own, so a terminal's Ctrl-C reaches the host
    // alone, and with no signal blocked.
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, theirs.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, STDERR_FILENO, STDOUT_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(
        &attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);

    std::vector<char*> argv{m_settings.program.data()};
    for (auto& argument : m_settings.arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int spawned =
        ::posix_spawn(&pid, m_settings.program.c_str(), &files, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    if (spawned != 0)
        return platform::Error{"cannot be launched (" + m_settings.program +
                               "): " + std::strerror(spawned)};
    m_pid = pid;
    m_pidFd = OwnedFd(int(::syscall(SYS_pidfd_open, pid, 0)));
    m_channel.emplace(std::move(ours));
    // Whatever program runs, its memory is bounded before it is asked anything.
    const rlimit limit{m_settings.memoryLimit, m_settings.memoryLimit};
    ::prlimit(pid, RLIMIT_DATA, &limit, nullptr);
    return {};
}

Extension::Ending Extension::reap(bool mayEndItself) {
    m_channel.reset();  // a live extension sees its socket close and leaves
    pollfd exited{m_pidFd.get(), POLLIN, 0};
    const bool ownEnd =
        mayEndItself && m_pidFd.valid() && ::poll(&exited, 1, exitGraceMilliseconds) > 0;
    if (!ownEnd) ::kill(m_pid, SIGKILL);
    int status = 0;
    while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
    }
    m_pid = -1;
    m_pidFd = OwnedFd();
    return {status, ownEnd};
}

void Extension::end() {
    if (m_pid >= 0) (void)reap(true);
}

platform::Error Extension::fail(const std::string& what, std::optional<std::string> closed) {
    if (m_pid < 0) return platform::Error{what};
    const auto ending = reap(closed.has_value());
    if (!ending.ownEnd) return platform::Error{what};
    return platform::Error{"the extension " + endOf(ending.status, m_settings.memoryLimit) +
                           *closed};
}

platform::Result<ReceivedMessage> Extension::awaitReply(std::uint32_t id) {
    auto received = m_channel->receive(Clock::now() + m_settings.replyTime);
    if (received) {
        const std::uint32_t answered = messageId(received->message);
        if (!std::holds_alternative<Goodbye>(received->message) && answered != id)
            return fail("the extension answered request " + std::to_string(answered) +
                        " when asked " + std::to_string(id));
        return std::move(received).value();
    }
    const auto& error = received.error();
    switch (error.kind) {
        case ChannelError::Kind::timedOut:
            return fail("the extension gave no whole answer within " +
                        seconds(m_settings.replyTime));
        case ChannelError::Kind::closed: {
            const std::string when = error.description.ends_with("message")
                                         ? " in the middle of an answer"
                                         : " without answering";
            return fail("the extension closed its socket" + when, when);
        }
        case ChannelError::Kind::malformed:
            return fail("the extension sent a reply that does not parse: " + error.description);
        case ChannelError::Kind::failed:
            break;
    }
    return fail(error.description);
}

platform::Result<ReceivedMessage> Extension::exchange(const ExtensionMessage& request) {
    // An extension that said goodbye is launched again, once, for the same request.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (m_pid < 0)
            if (auto launched = launch(); !launched) return fail(launched.error().description);
        auto sent = m_channel->send(request);
        // A closed socket may hold the goodbye of an extension that ended itself.
        auto reply = sent || sent.error().kind == ChannelError::Kind::closed
                         ? awaitReply(messageId(request))
                         : platform::Result<ReceivedMessage>(fail(sent.error().description));
        if (!reply || !std::holds_alternative<Goodbye>(reply->message)) return reply;
        end();
    }
    return fail("the extension ended itself twice without answering");
}

platform::Result<widgets::AnyTimeline> Extension::request(const Placement& placement,
                                                          Request request, platform::Date now) {
    auto reply = exchange(ProviderRequest{++m_lastId, placement, request, now});
    if (!reply) return reply.error();
    if (auto* failure = std::get_if<FailureReply>(&reply->message))
        return platform::Error{failure->description};
    auto* timeline = std::get_if<TimelineReply>(&reply->message);
    if (timeline == nullptr) return fail("the extension answered a request with something else");
    if (timeline->timeline.entries.empty()) return fail("the extension answered with no entry");
    return std::move(timeline->timeline);
}

platform::Result<ExtensionDrawing> Extension::draw(const Placement& placement,
                                                   const widgets::AnyEntry& entry,
                                                   platform::Date now, double scale,
                                                   ImageEncoding encoding) {
    auto reply = exchange(DrawRequest{++m_lastId, placement, entry, now, scale, encoding});
    if (!reply) return reply.error();
    if (auto* failure = std::get_if<FailureReply>(&reply->message))
        return platform::Error{failure->description};
    auto* drawing = std::get_if<DrawingReply>(&reply->message);
    if (drawing == nullptr) return fail("the extension answered a drawing with something else");
    auto image = mapImage(*drawing, reply->fd, encoding);
    if (!image) return fail("the extension sent " + image.error().description);
    return ExtensionDrawing{std::move(image).value(),
                            drawing->encoding,
                            drawing->width,
                            drawing->height,
                            drawing->stride,
                            {drawing->canvasWidth, drawing->canvasHeight},
                            drawing->url};
}

}  // namespace host
