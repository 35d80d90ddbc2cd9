#pragma once

#include "ipc/ExtensionChannel.h"
#include "ipc/ExtensionLimits.h"
#include "ipc/ExtensionProtocol.h"
#include "layout/Geometry.h"
#include "platform/Result.h"
#include "timeline/Placement.h"
#include "timeline/Request.h"
#include "timeline/WidgetDescription.h"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hosting {

// How a host launches its extension.
struct ExtensionSettings {
    std::string program;
    std::vector<std::string> arguments;  // after the program's name
    std::chrono::milliseconds replyTime = ipc::extensionReplyTime;
    std::uint64_t memoryLimit = ipc::extensionMemoryLimit;
};

// Where the extension's widgets read their store and in which locale and time zone they speak;
// empty: as the environment says.
struct ExtensionOptions {
    std::string storeDirectory;
    std::string locale;
    std::string timeZone;
    std::string appearance;  // "light" or "dark"
};

// The extension of a host: this program's `extension` command, or the program that
// VELMORA_EXTENSION names, handed the same arguments.
[[nodiscard]] ExtensionSettings extensionSettings(const ExtensionOptions& options);

// A memfd mapped into the host: a buffer the extension draws into, or the memfd a PNG came in.
// Unmapped when the last image that shows it goes.
struct ExtensionMemory;

// An image the extension drew, in memory shared with it. While an image shows a buffer, the
// extension is not asked to draw into that buffer again.
class ExtensionImage {
public:
    ExtensionImage() = default;
    ExtensionImage(std::shared_ptr<const ExtensionMemory> memory, std::size_t size);

    [[nodiscard]] const unsigned char* data() const;
    [[nodiscard]] std::string_view bytes() const {
        return {reinterpret_cast<const char*>(data()), m_size};
    }

private:
    std::shared_ptr<const ExtensionMemory> m_memory;
    std::size_t m_size = 0;
};

// An entry drawn by the extension: the image (ARGB32 rows or a PNG file's bytes), its size in
// pixels and points, and the widget's tap link.
struct ExtensionDrawing {
    ExtensionImage image;
    ipc::ImageEncoding encoding = ipc::ImageEncoding::argb32;
    int width = 0;
    int height = 0;
    int stride = 0;
    layout::Size canvas;
    std::optional<std::string> url;
    std::string texts;  // what the widget says in reading order, a line each
};

// What a reload brought: the timeline (its entries' dates and reload policy), and the drawing of
// its first entry when one was asked.
struct ExtensionReload {
    ipc::TimelineDates timeline;
    std::optional<ExtensionDrawing> drawing;
};

// A host's extension process. Launched for the first request, held to the memory limit, kept
// while requests come (it ends itself after its idle time), and ended by the host when a
// request goes wrong: no whole answer within the reply time, the process exits (out of memory
// among others) or is killed, or a reply that does not parse or that is more than was asked.
// Each failure is an error saying what happened; the next request launches a new process. One
// request at a time, from one thread; only stop() may come from another.
class Extension {
public:
    explicit Extension(ExtensionSettings settings) : m_settings(std::move(settings)) {}
    Extension(const Extension&) = delete;
    Extension& operator=(const Extension&) = delete;
    ~Extension() { end(); }

    // One reload, one exchange: the placement's placeholder, snapshot or timeline at `now`, and
    // unless `encoding` is none the drawing of its first entry at `scale`, with its corners cut
    // at `cornerRadius` points when that is above 0 (ARGB32 only).
    [[nodiscard]] platform::Result<ExtensionReload> reload(const timeline::Placement& placement,
                                                           timeline::Request request,
                                                           platform::Date now, double scale,
                                                           ipc::ImageEncoding encoding,
                                                           double cornerRadius = 0);

    // The bundle's widgets: each kind once, each offering a family at least.
    [[nodiscard]] platform::Result<std::vector<timeline::WidgetDescription>> describe();

    // The running process, if one runs.
    [[nodiscard]] std::optional<pid_t> processId() const;

    // Ends the running process, if any.
    void end();

    // Reaps the process if it ended (after its idle time, or of a fault) and forgets it, without
    // waiting: every request does so first, and a host that sleeps does when endFd() turns
    // readable or, lacking one, now and then, so an ended extension is no zombie for longer.
    void reapEnded();
    // A descriptor that turns readable when the running process ends; -1 when none runs (or the
    // kernel offers none).
    [[nodiscard]] int endFd() const { return m_pidFd.get(); }

    // Safe from any thread: kills the running process and refuses every later request, so a
    // request in flight returns at once with an error. For a host that stops.
    void stop();

private:
    platform::Result<ipc::ReceivedMessage> exchange(const ipc::ExtensionMessage& request,
                                                    int fd = -1);
    // A buffer no image shows, for the next drawing.
    [[nodiscard]] platform::Result<std::shared_ptr<ExtensionMemory>> freeBuffer();
    platform::Result<void> launch();
    platform::Result<ipc::ReceivedMessage> awaitReply(std::uint32_t id);
    // Waits for the process to end, killing it unless it ends itself within a moment.
    struct Ending {
        int status = 0;
        bool ownEnd = false;
    };
    Ending reap(bool mayEndItself);
    // Writes what the ended process wrote on its standard output and error on the host's
    // standard error, line by line.
    // Writes what the extension wrote as lines of the host's standard error: its whole lines,
    // and when it has `ended`, the rest. At most forwardedBytes a process.
    void forwardLog(bool ended);
    // Ends the process after a failure and says what happened: `what`, or, when it `closed` its
    // socket and died, its own end followed by `closed` (" without answering").
    platform::Error fail(const std::string& what, std::optional<std::string> closed = std::nullopt);

    // Makes the launched process one that stop() may kill; false once stopped.
    bool letStop();

    ExtensionSettings m_settings;
    // The process as stop() sees it: set after the launch, cleared before the process is reaped,
    // under the lock, so that a stop never signals a pid that was reaped and given to another.
    std::mutex m_stopLock;
    pid_t m_stoppable = -1;
    bool m_stopped = false;
    pid_t m_pid = -1;
    platform::OwnedFd m_pidFd;
    platform::OwnedFd m_log;   // the read end of its standard output and error
    std::string m_logPending;  // read, not yet a whole line
    std::size_t m_logForwarded = 0;
    std::optional<ipc::ExtensionChannel> m_channel;
    std::uint32_t m_lastId = 0;
    std::vector<std::shared_ptr<ExtensionMemory>> m_buffers;
};

}  // namespace hosting
