#include "hosting/Extension.h"

#include "layout/PlatformDefaults.h"
#include "platform/Deployment.h"
#include "platform/Url.h"

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

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

extern char** environ;

using namespace timeline;
using namespace ipc;

namespace hosting {

struct ExtensionMemory {
    ExtensionMemory(OwnedFd fd, std::uint32_t id, void* data, std::size_t size)
        : fd(std::move(fd)), id(id), data(data), size(size) {}
    ExtensionMemory(const ExtensionMemory&) = delete;
    ExtensionMemory& operator=(const ExtensionMemory&) = delete;
    ~ExtensionMemory() { ::munmap(data, size); }

    OwnedFd fd;            // a buffer's, sent with each drawing into it
    std::uint32_t id = 0;  // a buffer's; 0 for a PNG's memfd
    void* data = nullptr;
    std::size_t size = 0;
};

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

// What the extension writes on its standard output and error reaches the host's standard
// error as lines of the host's own: each one line with the extension's prefix, cut to a
// length, its control characters escaped, so that nothing it writes can move a terminal's
// cursor, type into it or pass for the host.
constexpr std::string_view forwardedPrefix = "velmora-widgets extension: ";
constexpr std::size_t forwardedLineLength = 512;
constexpr std::size_t forwardedBytes = std::size_t(64) << 10;  // a pipe's worth, per process

std::string forwardedLine(std::string_view line) {
    if (line.starts_with(forwardedPrefix)) line.remove_prefix(forwardedPrefix.size());
    const bool cut = line.size() > forwardedLineLength;
    line = line.substr(0, forwardedLineLength);
    std::string text(forwardedPrefix);
    const auto escape = [&](unsigned char c) {
        constexpr char digits[] = "0123456789abcdef";
        text += {'\\', 'x', digits[c >> 4], digits[c & 15]};
    };
    for (std::size_t i = 0; i < line.size(); ++i) {
        const auto c = static_cast<unsigned char>(line[i]);
        const auto next = i + 1 < line.size() ? static_cast<unsigned char>(line[i + 1]) : 0;
        if (c == 0xc2 && next >= 0x80 && next < 0xa0) {  // a C1 control in UTF-8
            escape(c);
            escape(next);
            ++i;
        } else if (c < 0x20 || c == 0x7f || c == '\\') {
            escape(c);
        } else {
            text += char(c);
        }
    }
    return text + (cut ? "…\n" : "\n");
}

// Every buffer the extension draws into holds the largest widget at the largest scale (only
// the pages a drawing touches take memory).
constexpr std::size_t bufferSize = 8 << 20;

// The pixels `points` take at `scale`, rounded as the painter rounds: up, once past a hair's
// breadth over a whole pixel.
int pixelsOf(double points, double scale) {
    return int(std::ceil(points * scale - 1e-9));
}

// The most bytes a PNG of `width` × `height` pixels takes as the painter writes one: rows of
// 8-bit RGBA, each after its filter byte, deflated no worse than by fixed codes (9 bits a byte;
// stored blocks cost less), then zlib's frame, the signature and the chunks around the data,
// with room to spare for ancillary chunks.
std::uint64_t largestPng(int width, int height) {
    const std::uint64_t rows = std::uint64_t(height) * (1 + 4 * std::uint64_t(width));
    return rows + rows / 8 + (64 << 10);
}

// What a drawing reply says of its image, its texts and its link, checked against what was
// asked before anything is mapped: the family's canvas at the scale asked, as many bytes as such
// pixels take, texts and link within their bounds, a link of the app's own. An error naming what
// is wrong.
platform::Result<void> checkDrawing(const Drawing& reply, const ReloadRequest& asked,
                                    std::uint64_t room) {
    using platform::Error;
    if (reply.encoding != asked.encoding) return Error{"a drawing in another encoding"};
    const layout::Size canvas = layout::defaults::canvasSize(asked.placement.family);
    if (reply.canvasWidth != canvas.width || reply.canvasHeight != canvas.height)
        return Error{"a drawing of another canvas than its family's"};
    // The scales a drawing is made at; the extension refuses any other.
    const bool scaled = asked.scale >= 1 && asked.scale <= 3;
    const int width = scaled ? pixelsOf(canvas.width, asked.scale) : 0;
    const int height = scaled ? pixelsOf(canvas.height, asked.scale) : 0;
    if (!scaled || reply.width != width || reply.height != height || reply.stride != 4 * width)
        return Error{"a drawing of " + std::to_string(reply.width) + " × " +
                     std::to_string(reply.height) + " pixels, " + std::to_string(reply.stride) +
                     " bytes a row, when " + std::to_string(width) + " × " +
                     std::to_string(height) + " were asked"};
    const std::uint64_t rows = std::uint64_t(reply.stride) * std::uint64_t(reply.height);
    const std::uint64_t most =
        reply.encoding == ImageEncoding::png ? largestPng(width, height) : rows;
    if (reply.byteCount == 0 || reply.byteCount > most ||
        (reply.encoding == ImageEncoding::argb32 && reply.byteCount != rows))
        return Error{"a drawing of " + std::to_string(reply.byteCount) + " bytes"};
    if (reply.byteCount > room) return Error{"a drawing larger than its buffer"};
    if (reply.texts.size() > drawingTextsLimit)
        return Error{"texts of " + std::to_string(reply.texts.size()) + " bytes"};
    if (reply.url) {
        if (reply.url->size() > drawingUrlLimit)
            return Error{"a link of " + std::to_string(reply.url->size()) + " bytes"};
        const auto url = platform::Url::parse(*reply.url);
        if (!url || url->scheme() != platform::appUrlScheme)
            return Error{"a link that is not one of the app's (" +
                         std::string(platform::appUrlScheme) + ":)"};
    }
    return {};
}

// The PNG a drawing reply points at: a sealed memfd as large as the reply says, mapped.
platform::Result<ExtensionImage> mapImage(const Drawing& reply, const OwnedFd& fd) {
    using platform::Error;
    if (!fd.valid()) return Error{"a drawing without its image"};
    // Sealed against shrinking, a mapping can never reach past the file's end; sealed against
    // writing, the image cannot change under the host.
    const int seals = ::fcntl(fd.get(), F_GET_SEALS);
    if (seals < 0 || (seals & F_SEAL_SHRINK) == 0 ||
        (seals & (F_SEAL_WRITE | F_SEAL_FUTURE_WRITE)) == 0)
        return Error{"a drawing in memory that is not sealed"};
    struct stat info {};
    if (::fstat(fd.get(), &info) != 0 || std::uint64_t(info.st_size) < reply.byteCount)
        return Error{"a drawing in memory smaller than it says"};
    void* data = ::mmap(nullptr, reply.byteCount, PROT_READ, MAP_SHARED, fd.get(), 0);
    if (data == MAP_FAILED)
        return Error{std::string("a drawing that cannot be mapped: ") + std::strerror(errno)};
    return ExtensionImage(std::make_shared<ExtensionMemory>(OwnedFd(), 0, data, reply.byteCount),
                          reply.byteCount);
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

ExtensionSettings extensionSettings(const ExtensionOptions& options) {
    ExtensionSettings extension;
    const char* other = std::getenv("VELMORA_EXTENSION");
    extension.program = other != nullptr && *other != '\0' ? other : "/proc/self/exe";
    const auto option = [&](const char* name, const std::string& value) {
        if (value.empty()) return;
        extension.arguments.emplace_back(name);
        extension.arguments.push_back(value);
    };
    option("--store-dir", options.storeDirectory);
    option("--locale", options.locale);
    option("--time-zone", options.timeZone);
    option("--appearance", options.appearance);
    extension.arguments.emplace_back("extension");
    return extension;
}

ExtensionImage::ExtensionImage(std::shared_ptr<const ExtensionMemory> memory, std::size_t size)
    : m_memory(std::move(memory)), m_size(size) {}

const unsigned char* ExtensionImage::data() const {
    return m_memory ? static_cast<const unsigned char*>(m_memory->data) : nullptr;
}

platform::Result<std::shared_ptr<ExtensionMemory>> Extension::freeBuffer() {
    for (const auto& buffer : m_buffers)
        if (buffer.use_count() == 1) return buffer;
    // Sealed against changes of size: the extension cannot make the host's mapping reach past
    // the file's end.
    OwnedFd fd(::memfd_create("velmora-pixels", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!fd.valid() || ::ftruncate(fd.get(), off_t(bufferSize)) != 0 ||
        ::fcntl(fd.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0)
        return platform::Error{std::string("cannot make a buffer: ") + std::strerror(errno)};
    void* data = ::mmap(nullptr, bufferSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    if (data == MAP_FAILED)
        return platform::Error{std::string("cannot map a buffer: ") + std::strerror(errno)};
    const auto id = std::uint32_t(m_buffers.size() + 1);
    m_buffers.push_back(std::make_shared<ExtensionMemory>(std::move(fd), id, data, bufferSize));
    return m_buffers.back();
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
    // Its standard output and error: a pipe the host reads after each answer and once it has
    // ended. Its end never blocks: what does not fit is lost.
    int log[2];
    if (::pipe2(log, O_CLOEXEC | O_NONBLOCK) != 0)
        return platform::Error{std::string("cannot make its log: ") + std::strerror(errno)};
    OwnedFd logRead(log[0]);
    OwnedFd logWrite(log[1]);

    // The extension reads its requests from standard input and has nothing else of the host's:
    // every other descriptor is closed, whatever the host's caller left open without
    // close-on-exec. It leads a session of its own with no controlling terminal, so it cannot
    // reach the terminal the host runs in and a terminal's Ctrl-C reaches the host alone; and
    // no signal is blocked.
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, theirs.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, logWrite.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, logWrite.get(), STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);

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
    m_log = std::move(logRead);
    // Whatever program runs, its memory is bounded before it is asked anything: its private
    // memory, and each file it grows (a memfd is memory too).
    const rlimit limit{m_settings.memoryLimit, m_settings.memoryLimit};
    if (m_settings.memoryLimit != 0)
        for (const auto resource : {RLIMIT_DATA, RLIMIT_FSIZE})
            ::prlimit(pid, resource, &limit, nullptr);
    return {};
}

Extension::Ending Extension::reap(bool mayEndItself) {
    {
        const std::lock_guard lock(m_stopLock);
        m_stoppable = -1;
    }
    m_channel.reset();  // a live extension sees its socket close and leaves
    pollfd exited{m_pidFd.get(), POLLIN, 0};
    const bool ownEnd =
        mayEndItself && m_pidFd.valid() && ::poll(&exited, 1, exitGraceMilliseconds) > 0;
    // Its whole session goes, whatever it started: while the process is not reaped its id
    // names no other group.
    ::kill(-m_pid, SIGKILL);
    int status = 0;
    while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
    }
    m_pid = -1;
    m_pidFd = OwnedFd();
    forwardLog(true);
    return {status, ownEnd};
}

void Extension::forwardLog(bool ended) {
    if (!m_log.valid()) return;
    char buffer[4096];
    for (ssize_t n; m_logForwarded + m_logPending.size() < forwardedBytes &&
                    (n = ::read(m_log.get(), buffer, sizeof buffer)) > 0;)
        m_logPending.append(buffer, std::size_t(n));
    // Whole lines as they come; the rest once the extension has ended.
    for (std::size_t end; (end = m_logPending.find('\n')) != std::string::npos ||
                          (ended && !m_logPending.empty());) {
        end = std::min(end, m_logPending.size());
        const std::string line = forwardedLine(std::string_view(m_logPending).substr(0, end));
        (void)!::write(STDERR_FILENO, line.data(), line.size());
        m_logForwarded += end + 1;
        m_logPending.erase(0, std::min(end + 1, m_logPending.size()));
    }
    if (ended) {
        m_log = OwnedFd();
        m_logPending.clear();
        m_logForwarded = 0;
    }
}

void Extension::end() {
    if (m_pid >= 0) (void)reap(true);
}

void Extension::reapEnded() {
    if (m_pid < 0) return;
    {
        const std::lock_guard lock(m_stopLock);
        int status = 0;
        if (::waitpid(m_pid, &status, WNOHANG) != m_pid) return;
        m_stoppable = -1;
    }
    m_pid = -1;
    m_pidFd = OwnedFd();
    m_channel.reset();
    forwardLog(true);
}

void Extension::stop() {
    const std::lock_guard lock(m_stopLock);
    m_stopped = true;
    if (m_stoppable >= 0) ::kill(m_stoppable, SIGKILL);
}

bool Extension::letStop() {
    const std::lock_guard lock(m_stopLock);
    if (!m_stopped) m_stoppable = m_pid;
    return !m_stopped;
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

platform::Result<ReceivedMessage> Extension::exchange(const ExtensionMessage& request, int fd) {
    // An extension that said goodbye is launched again, once, for the same request.
    for (int attempt = 0; attempt < 2; ++attempt) {
        reapEnded();  // one that ended while idle is launched again
        if (m_pid < 0) {
            if (!letStop()) return platform::Error{"the host is stopping"};
            if (auto launched = launch(); !launched) return fail(launched.error().description);
            if (!letStop()) return fail("the host is stopping");
        }
        auto sent = m_channel->send(request, fd);
        // A closed socket may hold the goodbye of an extension that ended itself.
        auto reply = sent || sent.error().kind == ChannelError::Kind::closed
                         ? awaitReply(messageId(request))
                         : platform::Result<ReceivedMessage>(fail(sent.error().description));
        forwardLog(false);  // what it wrote while answering, a line at a time
        if (!reply || !std::holds_alternative<Goodbye>(reply->message)) return reply;
        end();
    }
    return fail("the extension ended itself twice without answering");
}

platform::Result<ExtensionReload> Extension::reload(const Placement& placement, Request request,
                                                    platform::Date now, double scale,
                                                    ImageEncoding encoding, double cornerRadius) {
    ReloadRequest asked{++m_lastId, placement, request, now, scale, encoding, cornerRadius};
    std::shared_ptr<ExtensionMemory> buffer;
    if (encoding == ImageEncoding::argb32) {
        auto free = freeBuffer();
        if (!free) return free.error();
        buffer = std::move(free).value();
        asked.buffer = buffer->id;
        asked.bufferSize = buffer->size;
    }
    auto exchanged = exchange(asked, buffer ? buffer->fd.get() : -1);
    if (!exchanged) return exchanged.error();
    ReceivedMessage reply = std::move(exchanged).value();
    if (auto* failure = std::get_if<FailureReply>(&reply.message))
        return platform::Error{failure->description};
    auto* reloaded = std::get_if<ReloadReply>(&reply.message);
    if (reloaded == nullptr) return fail("the extension answered a reload with something else");
    if (reloaded->timeline.entries.empty()) return fail("the extension answered with no entry");
    if (!std::is_sorted(reloaded->timeline.entries.begin(), reloaded->timeline.entries.end()))
        return fail("the extension answered with entries out of date order");
    ExtensionReload answer{std::move(reloaded->timeline), std::nullopt};
    if (encoding == ImageEncoding::none) {
        if (reloaded->drawing) return fail("the extension sent a drawing nobody asked for");
        return answer;
    }
    if (!reloaded->drawing) return fail("the extension answered a reload without its drawing");
    const Drawing& drawing = *reloaded->drawing;
    if (auto checked = checkDrawing(drawing, asked, buffer ? buffer->size : UINT64_MAX); !checked)
        return fail("the extension sent " + checked.error().description);
    auto image = buffer
                     ? platform::Result<ExtensionImage>(ExtensionImage(buffer, drawing.byteCount))
                     : mapImage(drawing, reply.fd);
    if (!image) return fail("the extension sent " + image.error().description);
    answer.drawing = ExtensionDrawing{std::move(image).value(),
                                      drawing.encoding,
                                      drawing.width,
                                      drawing.height,
                                      drawing.stride,
                                      {drawing.canvasWidth, drawing.canvasHeight},
                                      drawing.url,
                                      drawing.texts};
    return answer;
}

platform::Result<std::vector<WidgetDescription>> Extension::describe() {
    auto exchanged = exchange(DescribeRequest{++m_lastId});
    if (!exchanged) return exchanged.error();
    ReceivedMessage reply = std::move(exchanged).value();
    if (auto* failure = std::get_if<FailureReply>(&reply.message))
        return platform::Error{failure->description};
    auto* described = std::get_if<DescribeReply>(&reply.message);
    if (described == nullptr)
        return fail("the extension answered a description request with something else");
    auto& widgets = described->widgets;
    for (auto widget = widgets.begin(); widget != widgets.end(); ++widget) {
        if (widget->kind.empty() || widget->families.empty())
            return fail("the extension described a widget without a kind or a family");
        if (std::find_if(widgets.begin(), widget, [&](const WidgetDescription& earlier) {
                return earlier.kind == widget->kind;
            }) != widget)
            return fail("the extension described " + widget->kind + " twice");
    }
    return std::move(widgets);
}

}  // namespace hosting
