#pragma once

#include "host/ExtensionChannel.h"
#include "host/ExtensionProtocol.h"
#include "host/Placement.h"
#include "host/WidgetHost.h"
#include "platform/Result.h"
#include "render/Geometry.h"
#include "widgets/AnyEntry.h"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// The platform's limits for an extension process.
inline constexpr std::chrono::milliseconds extensionReplyTime{2000};  // a whole answer
inline constexpr std::chrono::milliseconds extensionIdleTime{30000};  // then it ends itself
// Its memory: the kernel's bound on private writable memory (RLIMIT_DATA: allocations and
// stacks), the limit where no cgroup holds the extension. An extension whose allocation fails
// exits with extensionOutOfMemoryStatus (prepareExtensionMemory).
inline constexpr std::uint64_t extensionMemoryLimit = 30ULL << 20;

// How a host launches its extension.
struct ExtensionSettings {
    std::string program;
    std::vector<std::string> arguments;  // after the program's name
    std::chrono::milliseconds replyTime = extensionReplyTime;
    std::uint64_t memoryLimit = extensionMemoryLimit;
};

// The extension of a host drawing with `settings`: this program's `extension` command, or the
// program that VELMORA_EXTENSION names, handed the same arguments.
[[nodiscard]] ExtensionSettings extensionSettings(const HostSettings& settings);

// An image the extension drew, mapped read-only from the memfd it came in; unmapped with this
// object.
class ExtensionImage {
public:
    ExtensionImage() = default;
    ExtensionImage(const void* data, std::size_t size) : m_data(data), m_size(size) {}
    ExtensionImage(ExtensionImage&& other) noexcept
        : m_data(std::exchange(other.m_data, nullptr)), m_size(std::exchange(other.m_size, 0)) {}
    ExtensionImage& operator=(ExtensionImage&& other) noexcept;
    ~ExtensionImage();

    [[nodiscard]] const unsigned char* data() const {
        return static_cast<const unsigned char*>(m_data);
    }
    [[nodiscard]] std::string_view bytes() const {
        return {static_cast<const char*>(m_data), m_size};
    }

private:
    const void* m_data = nullptr;
    std::size_t m_size = 0;
};

// An entry drawn by the extension: the image (ARGB32 rows or a PNG file's bytes), its size in
// pixels and points, and the widget's tap link.
struct ExtensionDrawing {
    ExtensionImage image;
    ImageEncoding encoding = ImageEncoding::argb32;
    int width = 0;
    int height = 0;
    int stride = 0;
    render::Size canvas;
    std::optional<std::string> url;
};

// A host's extension process. Launched for the first request, held to the memory limit, kept
// while requests come (it ends itself after its idle time), and ended by the host when a
// request goes wrong: no whole answer within the reply time, the process exits (out of memory
// among others) or is killed, or a reply that does not parse. Each failure is an error saying
// what happened; the next request launches a new process. One request at a time, from one
// thread.
class Extension {
public:
    explicit Extension(ExtensionSettings settings) : m_settings(std::move(settings)) {}
    Extension(const Extension&) = delete;
    Extension& operator=(const Extension&) = delete;
    ~Extension() { end(); }

    [[nodiscard]] platform::Result<widgets::AnyTimeline> request(const Placement& placement,
                                                                 Request request,
                                                                 platform::Date now);
    [[nodiscard]] platform::Result<ExtensionDrawing> draw(const Placement& placement,
                                                          const widgets::AnyEntry& entry,
                                                          platform::Date now, double scale,
                                                          ImageEncoding encoding);

    // The running process, if one runs.
    [[nodiscard]] std::optional<pid_t> processId() const;

    // Ends the running process, if any.
    void end();

private:
    platform::Result<ReceivedMessage> exchange(const ExtensionMessage& request);
    platform::Result<void> launch();
    platform::Result<ReceivedMessage> awaitReply(std::uint32_t id);
    // Waits for the process to end, killing it unless it ends itself within a moment.
    struct Ending {
        int status = 0;
        bool ownEnd = false;
    };
    Ending reap(bool mayEndItself);
    // Ends the process after a failure and says what happened: `what`, or, when it `closed` its
    // socket and died, its own end followed by `closed` (" without answering").
    platform::Error fail(const std::string& what, std::optional<std::string> closed = std::nullopt);

    ExtensionSettings m_settings;
    pid_t m_pid = -1;
    OwnedFd m_pidFd;
    std::optional<ExtensionChannel> m_channel;
    std::uint32_t m_lastId = 0;
};

}  // namespace host
