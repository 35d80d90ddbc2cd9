#include "extension/ExtensionServer.h"

#include "ipc/ExtensionLimits.h"
#include "layout/ReadingOrder.h"
#include "platform/Overloaded.h"
#include "render/Painter.h"

#include <fcntl.h>
#include <glib.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

using namespace timeline;
using namespace widgets;
using namespace ipc;

namespace extension {
namespace {

// The stack of each thread the libraries start (Pango sorts fonts on one).
constexpr std::size_t threadStackBytes = std::size_t(512) * 1024;

[[noreturn]] void outOfMemory() {
    static constexpr char line[] = "velmora-widgets extension: error: out of memory\n";
    (void)!::write(STDERR_FILENO, line, sizeof line - 1);
    ::_exit(extensionOutOfMemoryStatus);
}

FailureReply failed(std::uint32_t id, std::string description) {
    return {id, std::move(description)};
}

// A placement this bundle can answer for, or why not.
std::optional<std::string> unknownPlacement(const WidgetHost& widgets, const Placement& placement) {
    const auto* widget = widgets.widget(placement.kind);
    if (widget == nullptr) return "no widget of kind \"" + placement.kind + "\"";
    if (!widget->supports(placement.family))
        return placement.kind + " is not offered in " + std::string(name(placement.family));
    return std::nullopt;
}

// A memfd of `size` bytes that `write` fills, then sealed so that the host may map it safely:
// it can neither shrink under the host's mapping nor be written again. (F_SEAL_WRITE would say
// the same, but the kernel makes it wait for the pages just unmapped to settle: 5 to 20 ms a
// drawing, several times the drawing itself.)
platform::Result<OwnedFd> sealedImage(
    std::size_t size, const std::function<std::optional<std::string>(void*)>& write) {
    OwnedFd fd(::memfd_create("velmora-drawing", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!fd.valid()) return platform::Error{std::string("memfd: ") + std::strerror(errno)};
    if (::ftruncate(fd.get(), off_t(size)) != 0)
        return platform::Error{std::string("memfd size: ") + std::strerror(errno)};
    void* memory =
        ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, fd.get(), 0);
    if (memory == MAP_FAILED)
        return platform::Error{std::string("memfd mapping: ") + std::strerror(errno)};
    const auto error = write(memory);
    ::munmap(memory, size);
    if (error) return platform::Error{*error};
    if (::fcntl(fd.get(), F_ADD_SEALS,
                F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_FUTURE_WRITE | F_SEAL_SEAL) != 0)
        return platform::Error{std::string("memfd seals: ") + std::strerror(errno)};
    return fd;
}

}  // namespace

void prepareExtensionMemory() {
    pthread_attr_t threads;
    pthread_attr_init(&threads);
    pthread_attr_setstacksize(&threads, threadStackBytes);
    pthread_setattr_default_np(&threads);
    pthread_attr_destroy(&threads);
    std::set_new_handler(outOfMemory);
    // GLib's allocator reports a failure as a fatal error of its own domain, then aborts.
    g_log_set_handler(
        "GLib", GLogLevelFlags(G_LOG_LEVEL_ERROR | G_LOG_FLAG_FATAL),
        [](const gchar*, GLogLevelFlags, const gchar* message, gpointer) {
            if (message != nullptr && std::strstr(message, "failed to allocate") != nullptr)
                outOfMemory();
        },
        nullptr);
}

ExtensionServer::~ExtensionServer() {
    for (const auto& [id, mapping] : m_buffers) ::munmap(mapping.data, mapping.size);
}

unsigned char* ExtensionServer::buffer(const ReloadRequest& request, const OwnedFd& fd) {
    // A host keeps a few buffers; one that has more in use is refused rather than mapped.
    constexpr std::size_t mostBuffers = 64;
    if (auto known = m_buffers.find(request.buffer); known != m_buffers.end())
        return known->second.size >= request.bufferSize
                   ? static_cast<unsigned char*>(known->second.data)
                   : nullptr;
    struct stat info {};
    if (!fd.valid() || m_buffers.size() >= mostBuffers || ::fstat(fd.get(), &info) != 0 ||
        std::uint64_t(info.st_size) < request.bufferSize)
        return nullptr;
    void* data =
        ::mmap(nullptr, request.bufferSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    if (data == MAP_FAILED) return nullptr;
    m_buffers[request.buffer] = {data, std::size_t(request.bufferSize)};
    return static_cast<unsigned char*>(data);
}

ExtensionServer::Answer ExtensionServer::answer(const ExtensionMessage& request, OwnedFd fd) {
    if (const auto* reload = std::get_if<ReloadRequest>(&request))
        return this->reload(*reload, std::move(fd));
    if (const auto* describe = std::get_if<DescribeRequest>(&request))
        return {DescribeReply{describe->id, m_widgets.describe()}, {}};
    return {failed(0, "not a request"), {}};
}

ExtensionServer::Answer ExtensionServer::reload(const ReloadRequest& r, OwnedFd fd) {
    if (auto unknown = unknownPlacement(m_widgets, r.placement))
        return {failed(r.id, *unknown), {}};
    if (!(r.scale >= 1 && r.scale <= 3)) return {failed(r.id, "a scale outside 1 to 3"), {}};
    if (!(r.cornerRadius >= 0 && r.cornerRadius <= maximumCornerRadius))
        return {failed(r.id, "a corner radius outside 0 to " +
                                 std::to_string(int(maximumCornerRadius)) + " points"),
                {}};
    if (r.cornerRadius > 0 && r.encoding == ImageEncoding::png)
        return {failed(r.id, "corners are cut in ARGB32 drawings only"), {}};
    const platform::FixedClock clock(r.now);
    const auto timeline = m_widgets.request(r.placement, r.request, clock);
    ReloadReply reply{r.id, timelineDates(timeline), std::nullopt};
    if (r.encoding == ImageEncoding::none) return {std::move(reply), {}};

    // The entry a host shows, built into a view once: laid out, painted and read out.
    const auto view = m_widgets.content(r.placement, timeline.entries.front(), r.now);
    const auto layout = m_widgets.layOut(view, r.placement.family, r.now, r.scale);
    const auto& list = layout.drawList;
    Drawing& drawing = reply.drawing.emplace();
    drawing.encoding = r.encoding;
    drawing.canvasWidth = list.canvas.width;
    drawing.canvasHeight = list.canvas.height;
    if (list.url && list.url->text().size() <= drawingUrlLimit) drawing.url = list.url->text();
    for (const auto& text : layout::readingOrderTexts(view, m_widgets.settings().locale))
        drawing.texts += (drawing.texts.empty() ? "" : "\n") + text;
    if (drawing.texts.size() > drawingTextsLimit) {
        // Cut where a character starts, never inside one.
        std::size_t end = drawingTextsLimit;
        while (end > 0 && (static_cast<unsigned char>(drawing.texts[end]) & 0xC0) == 0x80) --end;
        drawing.texts.resize(end);
    }
    const auto size = render::pixelSize(list, r.scale);
    if (!size) return {failed(r.id, "a canvas that cannot be drawn"), {}};
    drawing.width = size->width;
    drawing.height = size->height;
    drawing.stride = size->stride;

    platform::Result<OwnedFd> image = OwnedFd();
    if (r.encoding == ImageEncoding::argb32) {
        drawing.byteCount = std::uint64_t(size->stride) * std::uint64_t(size->height);
        unsigned char* pixels = r.bufferSize >= drawing.byteCount ? buffer(r, fd) : nullptr;
        if (pixels == nullptr) return {failed(r.id, "no buffer for the drawing"), {}};
        if (auto painted = render::paintPixels(list, r.scale,
                                               {pixels, size->width, size->height, size->stride});
            !painted)
            return {failed(r.id, painted.error().description), {}};
        if (r.cornerRadius > 0)
            if (auto cut =
                    render::cutContinuousCorners({pixels, size->width, size->height, size->stride},
                                                 list.canvas, r.scale, r.cornerRadius);
                !cut)
                return {failed(r.id, cut.error().description), {}};
    } else {
        auto png = render::paintToBytes(list, render::ImageFormat::png, r.scale);
        if (!png) return {failed(r.id, png.error().description), {}};
        const auto& bytes = *png;
        drawing.byteCount = bytes.size();
        image = sealedImage(bytes.size(), [&](void* memory) -> std::optional<std::string> {
            std::memcpy(memory, bytes.data(), bytes.size());
            return std::nullopt;
        });
    }
    if (!image) return {failed(r.id, image.error().description), {}};
    return {std::move(reply), std::move(image).value()};
}

platform::Result<void> ExtensionServer::serve(ExtensionChannel& channel,
                                              std::chrono::milliseconds idle) {
    while (true) {
        auto received = channel.receive(std::chrono::steady_clock::now() + idle);
        if (!received) {
            const auto& error = received.error();
            if (error.kind == ChannelError::Kind::closed) return {};
            if (error.kind == ChannelError::Kind::timedOut) {
                (void)channel.send(Goodbye{});  // the host may be gone already
                return {};
            }
            return platform::Error{error.description};
        }
        const auto& request = received->message;
        if (!std::holds_alternative<ReloadRequest>(request) &&
            !std::holds_alternative<DescribeRequest>(request))
            return platform::Error{"the host sent what only an extension sends"};
        auto answer = this->answer(request, std::move(received.value().fd));
        if (auto sent = channel.send(answer.reply, answer.image.get()); !sent) {
            if (sent.error().kind == ChannelError::Kind::closed) return {};
            return platform::Error{sent.error().description};
        }
    }
}

}  // namespace extension
