#include "desktop/DesktopCells.h"
#include "desktop/DesktopLayer.h"

#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#include "xdg-output-unstable-v1-client-protocol.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <glib.h>
#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <wayland-cursor.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using hosting::DesktopCell;
using hosting::DrawnWidget;
using layout::Point;
using layout::Size;

namespace desktop {

namespace {

constexpr const char* logDomain = "velmora-desktop";
constexpr const char* surfaceNamespace = "velmora-widgets";
constexpr double dragDistance = 6;  // points the pointer goes with the button held to drag
constexpr int cursorSize = 24;      // points, the usual default of cursor themes

class WaylandDesktopLayer;

// A monitor as the compositor describes it: its connector's name, scale and size.
struct Output {
    WaylandDesktopLayer* layer = nullptr;
    std::uint32_t globalName = 0;
    wl_output* output = nullptr;
    zxdg_output_v1* xdgOutput = nullptr;
    std::string connector;
    int scale = 1;
    int modeWidth = 0, modeHeight = 0;        // pixels
    int logicalWidth = 0, logicalHeight = 0;  // points, when the compositor says

    [[nodiscard]] Size size() const {
        if (logicalWidth > 0 && logicalHeight > 0)
            return {double(logicalWidth), double(logicalHeight)};
        return {double(modeWidth) / scale, double(modeHeight) / scale};
    }
};

// A buffer of pixels shared with the compositor: a memfd of ours, mapped for as long as the
// buffer lives. The compositor reads it from the commit that shows it until it releases it.
struct ShmBuffer {
    wl_buffer* buffer = nullptr;
    void* data = nullptr;
    std::size_t size = 0;
    int width = 0, height = 0, stride = 0;
    bool busy = false;

    ShmBuffer() = default;
    ShmBuffer(const ShmBuffer&) = delete;
    ShmBuffer& operator=(const ShmBuffer&) = delete;
    ~ShmBuffer() {
        if (buffer != nullptr) wl_buffer_destroy(buffer);
        if (data != nullptr) munmap(data, size);
    }
};

// A widget's surface on the desktop layer.
struct Surface {
    WaylandDesktopLayer* layer = nullptr;
    std::size_t index = 0;
    Size size;  // points
    Output* output = nullptr;
    DesktopCell cell;
    Point origin;  // points from the output's top-left corner
    wl_surface* surface = nullptr;
    zwlr_layer_surface_v1* layerSurface = nullptr;
    bool configured = false;
    std::optional<DrawnWidget> drawing;  // the last one, shown once the surface is configured
    // Two at most: the one the compositor shows, and the next drawing's.
    std::vector<std::unique_ptr<ShmBuffer>> buffers;
};

// The left button held on a widget: where it was pressed, and whether it is being dragged.
struct Press {
    Surface* surface = nullptr;
    Point local;  // the pointer on the surface when pressed
    bool dragging = false;
};

class WaylandDesktopLayer final : public DesktopLayer {
public:
    WaylandDesktopLayer(wl_display* display, DesktopLayerEvents events,
                        const DesktopSettings& settings)
        : m_display(display), m_events(std::move(events)), m_settings(settings) {}
    ~WaylandDesktopLayer() override;
    WaylandDesktopLayer(const WaylandDesktopLayer&) = delete;
    WaylandDesktopLayer& operator=(const WaylandDesktopLayer&) = delete;

    // Binds what the layer needs; false when the compositor lacks a part of it.
    bool start();

    void place(const std::vector<DesktopWidget>& widgets) override;
    void show(std::size_t index, const DrawnWidget& drawn) override;
    [[nodiscard]] int scale() const override { return m_scale; }
    [[nodiscard]] int scaleOf(std::size_t index) const override {
        return index < m_surfaces.size() ? m_surfaces[index]->output->scale : m_scale;
    }
    [[nodiscard]] std::string_view kind() const override { return "Wayland layer shell"; }

private:
    friend struct Listeners;

    void global(wl_registry* registry, std::uint32_t name, const char* interface,
                std::uint32_t version);
    void globalRemoved(std::uint32_t name);
    void watchOutput(Output& output);
    void outputChanged();
    void destroySurfaces();
    void configured(Surface& surface, std::uint32_t serial);
    void closed();
    void attach(Surface& surface);
    ShmBuffer* freeBuffer(Surface& surface, const DrawnWidget& drawn);
    void moveTo(Surface& surface, Point origin);
    void updateScale();
    void loadCursor();
    void seatCapabilities(std::uint32_t capabilities);
    void pointerEntered(std::uint32_t serial, wl_surface* entered, Point at);
    void pointerMoved(Point at);
    void pointerButton(std::uint32_t button, std::uint32_t state);
    void flush() { wl_display_flush(m_display); }
    void replaceLater();

    wl_display* m_display;
    DesktopLayerEvents m_events;
    DesktopSettings m_settings;
    wl_registry* m_registry = nullptr;
    wl_compositor* m_compositor = nullptr;
    wl_shm* m_shm = nullptr;
    zwlr_layer_shell_v1* m_layerShell = nullptr;
    zxdg_output_manager_v1* m_outputManager = nullptr;
    wl_seat* m_seat = nullptr;
    wl_pointer* m_pointer = nullptr;
    std::vector<std::unique_ptr<Output>> m_outputs;  // in the order the compositor gave them
    std::vector<DesktopWidget> m_widgets;
    std::vector<std::unique_ptr<Surface>> m_surfaces;  // one per widget, on an output
    Surface* m_pointerSurface = nullptr;
    Point m_pointerAt;
    std::optional<Press> m_press;
    wl_cursor_theme* m_cursorTheme = nullptr;
    wl_surface* m_cursorSurface = nullptr;
    int m_cursorScale = 0;
    int m_scale = 1;
    std::vector<int> m_scales;  // each surface's, when last told
    guint m_source = 0;
    guint m_replace = 0;  // an idle source that places the widgets again
};

// ---- The protocol's listeners: each hands its event to the layer -----------------------------

struct Listeners {
    static constexpr wl_registry_listener registry{
        [](void* layer, wl_registry* registry, std::uint32_t name, const char* interface,
           std::uint32_t version) {
            static_cast<WaylandDesktopLayer*>(layer)->global(registry, name, interface, version);
        },
        [](void* layer, wl_registry*, std::uint32_t name) {
            static_cast<WaylandDesktopLayer*>(layer)->globalRemoved(name);
        }};

    static constexpr wl_output_listener output{
        [](void*, wl_output*, std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
           const char*, const char*, std::int32_t) {},
        [](void* data, wl_output*, std::uint32_t flags, std::int32_t width, std::int32_t height,
           std::int32_t) {
            if ((flags & WL_OUTPUT_MODE_CURRENT) == 0) return;
            auto* output = static_cast<Output*>(data);
            output->modeWidth = width;
            output->modeHeight = height;
        },
        [](void* data, wl_output*) { static_cast<Output*>(data)->layer->outputChanged(); },
        [](void* data, wl_output*, std::int32_t scale) {
            static_cast<Output*>(data)->scale = std::clamp(scale, 1, 8);
        },
        [](void* data, wl_output*, const char* name) {
            static_cast<Output*>(data)->connector = name;
        },
        [](void*, wl_output*, const char*) {}};

    static constexpr zxdg_output_v1_listener xdgOutput{
        [](void*, zxdg_output_v1*, std::int32_t, std::int32_t) {},
        [](void* data, zxdg_output_v1*, std::int32_t width, std::int32_t height) {
            auto* output = static_cast<Output*>(data);
            output->logicalWidth = width;
            output->logicalHeight = height;
        },
        [](void*, zxdg_output_v1*) {},
        [](void* data, zxdg_output_v1*, const char* name) {
            static_cast<Output*>(data)->connector = name;
        },
        [](void*, zxdg_output_v1*, const char*) {}};

    static constexpr zwlr_layer_surface_v1_listener layerSurface{
        [](void* data, zwlr_layer_surface_v1*, std::uint32_t serial, std::uint32_t, std::uint32_t) {
            auto* surface = static_cast<Surface*>(data);
            surface->layer->configured(*surface, serial);
        },
        [](void* data, zwlr_layer_surface_v1*) { static_cast<Surface*>(data)->layer->closed(); }};

    static constexpr wl_buffer_listener buffer{
        [](void* data, wl_buffer*) { static_cast<ShmBuffer*>(data)->busy = false; }};

    static constexpr wl_callback_listener frame{[](void* layer, wl_callback* callback,
                                                   std::uint32_t) {
        wl_callback_destroy(callback);
        if (const auto& presented = static_cast<WaylandDesktopLayer*>(layer)->m_events.presented)
            presented();
    }};

    static constexpr wl_seat_listener seat{
        [](void* layer, wl_seat*, std::uint32_t capabilities) {
            static_cast<WaylandDesktopLayer*>(layer)->seatCapabilities(capabilities);
        },
        [](void*, wl_seat*, const char*) {}};

    static Point at(wl_fixed_t x, wl_fixed_t y) {
        return {wl_fixed_to_double(x), wl_fixed_to_double(y)};
    }

    static constexpr wl_pointer_listener pointer{
        .enter =
            [](void* layer, wl_pointer*, std::uint32_t serial, wl_surface* surface, wl_fixed_t x,
               wl_fixed_t y) {
                static_cast<WaylandDesktopLayer*>(layer)->pointerEntered(serial, surface, at(x, y));
            },
        .leave =
            [](void* layer, wl_pointer*, std::uint32_t, wl_surface*) {
                static_cast<WaylandDesktopLayer*>(layer)->m_pointerSurface = nullptr;
            },
        .motion =
            [](void* layer, wl_pointer*, std::uint32_t, wl_fixed_t x, wl_fixed_t y) {
                static_cast<WaylandDesktopLayer*>(layer)->pointerMoved(at(x, y));
            },
        .button =
            [](void* layer, wl_pointer*, std::uint32_t, std::uint32_t, std::uint32_t button,
               std::uint32_t state) {
                static_cast<WaylandDesktopLayer*>(layer)->pointerButton(button, state);
            },
        .axis = [](void*, wl_pointer*, std::uint32_t, std::uint32_t, wl_fixed_t) {},
        .frame = [](void*, wl_pointer*) {},
        .axis_source = [](void*, wl_pointer*, std::uint32_t) {},
        .axis_stop = [](void*, wl_pointer*, std::uint32_t, std::uint32_t) {},
        .axis_discrete = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
    };
};

// ---- The layer --------------------------------------------------------------------------------

WaylandDesktopLayer::~WaylandDesktopLayer() {
    if (m_source != 0) g_source_remove(m_source);
    if (m_replace != 0) g_source_remove(m_replace);
    destroySurfaces();
    if (m_cursorSurface != nullptr) wl_surface_destroy(m_cursorSurface);
    if (m_cursorTheme != nullptr) wl_cursor_theme_destroy(m_cursorTheme);
    if (m_pointer != nullptr) wl_pointer_destroy(m_pointer);
    if (m_seat != nullptr) wl_seat_destroy(m_seat);
    for (auto& output : m_outputs) {
        if (output->xdgOutput != nullptr) zxdg_output_v1_destroy(output->xdgOutput);
        wl_output_destroy(output->output);
    }
    if (m_outputManager != nullptr) zxdg_output_manager_v1_destroy(m_outputManager);
    if (m_layerShell != nullptr) zwlr_layer_shell_v1_destroy(m_layerShell);
    if (m_shm != nullptr) wl_shm_destroy(m_shm);
    if (m_compositor != nullptr) wl_compositor_destroy(m_compositor);
    if (m_registry != nullptr) wl_registry_destroy(m_registry);
    wl_display_disconnect(m_display);
}

bool WaylandDesktopLayer::start() {
    m_registry = wl_display_get_registry(m_display);
    wl_registry_add_listener(m_registry, &Listeners::registry, this);
    // The globals, then what the outputs say of themselves.
    if (wl_display_roundtrip(m_display) < 0) return false;
    if (m_compositor == nullptr || m_shm == nullptr || m_layerShell == nullptr) return false;
    if (wl_display_roundtrip(m_display) < 0) return false;
    m_source = g_unix_fd_add(
        wl_display_get_fd(m_display), GIOCondition(G_IO_IN | G_IO_ERR | G_IO_HUP),
        [](int, GIOCondition condition, gpointer data) {
            auto* layer = static_cast<WaylandDesktopLayer*>(data);
            if ((condition & (G_IO_ERR | G_IO_HUP)) != 0 ||
                wl_display_dispatch(layer->m_display) < 0) {
                g_log(logDomain, G_LOG_LEVEL_WARNING,
                      "the connection to the Wayland compositor is lost (%s): the widgets leave "
                      "the desktop",
                      std::strerror(wl_display_get_error(layer->m_display)));
                layer->m_source = 0;
                return gboolean(G_SOURCE_REMOVE);
            }
            layer->flush();
            return gboolean(G_SOURCE_CONTINUE);
        },
        this);
    wl_display_dispatch_pending(m_display);
    flush();
    return true;
}

void WaylandDesktopLayer::global(wl_registry* registry, std::uint32_t name, const char* interface,
                                 std::uint32_t version) {
    const auto bind = [&](const wl_interface* type, std::uint32_t highest) {
        return wl_registry_bind(registry, name, type, std::min(version, highest));
    };
    const std::string_view offered = interface;
    if (offered == wl_compositor_interface.name) {
        m_compositor = static_cast<wl_compositor*>(bind(&wl_compositor_interface, 4));
    } else if (offered == wl_shm_interface.name) {
        m_shm = static_cast<wl_shm*>(bind(&wl_shm_interface, 1));
    } else if (offered == zwlr_layer_shell_v1_interface.name) {
        m_layerShell = static_cast<zwlr_layer_shell_v1*>(bind(&zwlr_layer_shell_v1_interface, 4));
    } else if (offered == zxdg_output_manager_v1_interface.name) {
        m_outputManager =
            static_cast<zxdg_output_manager_v1*>(bind(&zxdg_output_manager_v1_interface, 3));
        for (auto& output : m_outputs) watchOutput(*output);
    } else if (offered == wl_seat_interface.name && m_seat == nullptr) {
        m_seat = static_cast<wl_seat*>(bind(&wl_seat_interface, 5));
        wl_seat_add_listener(m_seat, &Listeners::seat, this);
    } else if (offered == wl_output_interface.name) {
        auto output = std::make_unique<Output>();
        output->layer = this;
        output->globalName = name;
        output->output = static_cast<wl_output*>(bind(&wl_output_interface, 4));
        wl_output_add_listener(output->output, &Listeners::output, output.get());
        watchOutput(*output);
        m_outputs.push_back(std::move(output));
    }
}

// The output's connector name and size in points, from the output manager once it is bound.
void WaylandDesktopLayer::watchOutput(Output& output) {
    if (m_outputManager == nullptr || output.xdgOutput != nullptr) return;
    output.xdgOutput = zxdg_output_manager_v1_get_xdg_output(m_outputManager, output.output);
    zxdg_output_v1_add_listener(output.xdgOutput, &Listeners::xdgOutput, &output);
}

void WaylandDesktopLayer::globalRemoved(std::uint32_t name) {
    const auto found = std::find_if(m_outputs.begin(), m_outputs.end(),
                                    [&](const auto& output) { return output->globalName == name; });
    if (found == m_outputs.end()) return;
    // Its widgets go to another output: placed anew once the output is gone.
    destroySurfaces();
    if ((*found)->xdgOutput != nullptr) zxdg_output_v1_destroy((*found)->xdgOutput);
    wl_output_destroy((*found)->output);
    m_outputs.erase(found);
    replaceLater();
}

// An output came, or one changed its scale or size: the widgets are placed again, a widget that
// names a monitor plugged in only now going there.
void WaylandDesktopLayer::outputChanged() {
    if (!m_surfaces.empty() || !m_widgets.empty()) replaceLater();
}

void WaylandDesktopLayer::replaceLater() {
    if (m_replace != 0) return;
    m_replace = g_idle_add_once(
        [](gpointer data) {
            auto* layer = static_cast<WaylandDesktopLayer*>(data);
            layer->m_replace = 0;
            std::vector<std::optional<DrawnWidget>> drawings;
            for (const auto& surface : layer->m_surfaces) drawings.push_back(surface->drawing);
            layer->place(layer->m_widgets);
            for (std::size_t i = 0; i < drawings.size() && i < layer->m_surfaces.size(); ++i)
                if (drawings[i]) layer->show(i, *drawings[i]);
        },
        this);
}

void WaylandDesktopLayer::destroySurfaces() {
    for (auto& surface : m_surfaces) {
        zwlr_layer_surface_v1_destroy(surface->layerSurface);
        wl_surface_destroy(surface->surface);
        surface->buffers.clear();
    }
    m_surfaces.clear();
    m_pointerSurface = nullptr;
    m_press.reset();
}

void WaylandDesktopLayer::place(const std::vector<DesktopWidget>& widgets) {
    destroySurfaces();
    m_widgets = widgets;
    if (m_outputs.empty()) return;  // placed when an output comes

    // Each widget on the output it names, else on the first; cells found for those without.
    std::vector<Output*> outputs;
    for (const auto& widget : widgets) {
        Output* on = m_outputs.front().get();
        if (widget.cell && !widget.cell->output.empty())
            for (const auto& output : m_outputs)
                if (output->connector == widget.cell->output) on = output.get();
        outputs.push_back(on);
    }
    std::vector<DesktopCell> cells(widgets.size());
    for (const auto& output : m_outputs) {
        std::vector<std::size_t> here;
        std::vector<std::optional<DesktopCell>> given;
        std::vector<Size> sizes;
        for (std::size_t i = 0; i < widgets.size(); ++i)
            if (outputs[i] == output.get()) {
                here.push_back(i);
                given.push_back(widgets[i].cell);
                sizes.push_back(widgets[i].size);
            }
        // A cell the output no longer holds whole (it was made smaller, or scaled up): the
        // nearest that it does, for as long as it stays so.
        for (std::size_t k = 0; k < here.size(); ++k)
            if (given[k])
                given[k] = snappedCell(cellOrigin(*given[k], m_settings), sizes[k], output->size(),
                                       m_settings);
        const auto arranged = arrangedCells(given, sizes, output->size(), m_settings);
        for (std::size_t k = 0; k < here.size(); ++k) cells[here[k]] = arranged[k];
    }

    for (std::size_t i = 0; i < widgets.size(); ++i) {
        auto surface = std::make_unique<Surface>();
        surface->layer = this;
        surface->index = i;
        surface->size = widgets[i].size;
        surface->output = outputs[i];
        surface->cell = cells[i];
        surface->cell.output = outputs[i]->connector;
        surface->origin = cellOrigin(cells[i], m_settings);
        surface->surface = wl_compositor_create_surface(m_compositor);
        wl_surface_set_user_data(surface->surface, surface.get());
        surface->layerSurface = zwlr_layer_shell_v1_get_layer_surface(
            m_layerShell, surface->surface, outputs[i]->output, ZWLR_LAYER_SHELL_V1_LAYER_BOTTOM,
            surfaceNamespace);
        zwlr_layer_surface_v1_add_listener(surface->layerSurface, &Listeners::layerSurface,
                                           surface.get());
        zwlr_layer_surface_v1_set_size(surface->layerSurface, std::uint32_t(widgets[i].size.width),
                                       std::uint32_t(widgets[i].size.height));
        zwlr_layer_surface_v1_set_anchor(
            surface->layerSurface,
            ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT);
        zwlr_layer_surface_v1_set_keyboard_interactivity(
            surface->layerSurface, ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
        zwlr_layer_surface_v1_set_margin(surface->layerSurface, int(surface->origin.y), 0, 0,
                                         int(surface->origin.x));
        wl_surface_commit(surface->surface);  // the first, with no buffer: configure me
        m_surfaces.push_back(std::move(surface));
    }
    updateScale();
    flush();
}

void WaylandDesktopLayer::moveTo(Surface& surface, Point origin) {
    surface.origin = origin;
    zwlr_layer_surface_v1_set_margin(surface.layerSurface, int(std::lround(origin.y)), 0, 0,
                                     int(std::lround(origin.x)));
    wl_surface_commit(surface.surface);
}

void WaylandDesktopLayer::configured(Surface& surface, std::uint32_t serial) {
    zwlr_layer_surface_v1_ack_configure(surface.layerSurface, serial);
    const bool first = !surface.configured;
    surface.configured = true;
    if (first && surface.drawing) attach(surface);
}

// The compositor closed a surface (its output went): the widgets are placed again.
void WaylandDesktopLayer::closed() {
    replaceLater();
}

void WaylandDesktopLayer::show(std::size_t index, const DrawnWidget& drawn) {
    if (index >= m_surfaces.size()) return;
    auto& surface = *m_surfaces[index];
    // Nothing the extension drew is trusted: a buffer that is not the surface's size at a whole
    // scale would end the connection.
    const int width = int(surface.size.width), height = int(surface.size.height);
    const int scale = width > 0 ? drawn.width / width : 0;
    if (drawn.pixels == nullptr || scale < 1 || scale > 8 || drawn.width != width * scale ||
        drawn.height != height * scale || drawn.stride < 4 * drawn.width) {
        g_log(logDomain, G_LOG_LEVEL_WARNING,
              "%s: a drawing of %d x %d pixels does not fit %d x %d points", drawn.label.c_str(),
              drawn.width, drawn.height, width, height);
        return;
    }
    surface.drawing = drawn;
    if (surface.configured) attach(surface);
    flush();
}

// A buffer of the drawing's size that the compositor does not hold: one kept from an earlier
// drawing, else a new one. The extension keeps its own buffer mapped, so the pixels checked here
// are copied once, to memory nobody else writes.
ShmBuffer* WaylandDesktopLayer::freeBuffer(Surface& surface, const DrawnWidget& drawn) {
    auto& buffers = surface.buffers;
    std::erase_if(buffers, [&](const auto& buffer) {
        return !buffer->busy && (buffer->width != drawn.width || buffer->height != drawn.height ||
                                 buffer->stride != drawn.stride);
    });
    for (auto& buffer : buffers)
        if (!buffer->busy) return buffer.get();
    if (buffers.size() >= 2) return nullptr;  // both held: the compositor has stalled

    auto made = std::make_unique<ShmBuffer>();
    made->size = std::size_t(drawn.stride) * std::size_t(drawn.height);
    const int fd = memfd_create("velmora-widget", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd < 0 || ftruncate(fd, off_t(made->size)) != 0) {
        g_log(logDomain, G_LOG_LEVEL_WARNING, "%s: no memory for its pixels: %s",
              drawn.label.c_str(), std::strerror(errno));
        if (fd >= 0) close(fd);
        return nullptr;
    }
    // The compositor maps the pool writable, so it can be sealed against shrinking alone.
    fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL);
    void* data = mmap(nullptr, made->size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (data == MAP_FAILED) {
        g_log(logDomain, G_LOG_LEVEL_WARNING, "%s: cannot map its pixels: %s", drawn.label.c_str(),
              std::strerror(errno));
        close(fd);
        return nullptr;
    }
    made->data = data;
    wl_shm_pool* pool = wl_shm_create_pool(m_shm, fd, std::int32_t(made->size));
    made->buffer = wl_shm_pool_create_buffer(pool, 0, drawn.width, drawn.height, drawn.stride,
                                             WL_SHM_FORMAT_ARGB8888);
    wl_shm_pool_destroy(pool);
    close(fd);
    made->width = drawn.width;
    made->height = drawn.height;
    made->stride = drawn.stride;
    wl_buffer_add_listener(made->buffer, &Listeners::buffer, made.get());
    buffers.push_back(std::move(made));
    return buffers.back().get();
}

void WaylandDesktopLayer::attach(Surface& surface) {
    const auto& drawn = *surface.drawing;
    ShmBuffer* buffer = freeBuffer(surface, drawn);
    if (buffer == nullptr) return;
    std::memcpy(buffer->data, drawn.pixels.get(), buffer->size);
    buffer->busy = true;
    wl_surface_set_buffer_scale(surface.surface, drawn.width / int(surface.size.width));
    wl_surface_attach(surface.surface, buffer->buffer, 0, 0);
    wl_surface_damage_buffer(surface.surface, 0, 0, INT32_MAX, INT32_MAX);
    wl_callback_add_listener(wl_surface_frame(surface.surface), &Listeners::frame, this);
    wl_surface_commit(surface.surface);
}

// The scales the drawings are wanted at, each surface's its output's: the board hears of a change.
void WaylandDesktopLayer::updateScale() {
    std::vector<int> scales;
    int scale = 1;
    for (const auto& surface : m_surfaces) {
        scales.push_back(surface->output->scale);
        scale = std::max(scale, surface->output->scale);
    }
    loadCursor();
    if (scales == m_scales) return;
    m_scales = std::move(scales);
    m_scale = scale;
    if (m_events.scaleChanged) m_events.scaleChanged();
}

// The pointer over a widget is the theme's arrow, at the highest scale of the outputs.
void WaylandDesktopLayer::loadCursor() {
    int scale = 1;
    for (const auto& output : m_outputs) scale = std::max(scale, output->scale);
    if (scale == m_cursorScale) return;
    m_cursorScale = scale;
    if (m_cursorTheme != nullptr) wl_cursor_theme_destroy(m_cursorTheme);
    const char* size = std::getenv("XCURSOR_SIZE");
    const int points = size != nullptr && std::atoi(size) > 0 ? std::atoi(size) : cursorSize;
    m_cursorTheme = wl_cursor_theme_load(std::getenv("XCURSOR_THEME"), points * scale, m_shm);
    if (m_cursorSurface == nullptr) m_cursorSurface = wl_compositor_create_surface(m_compositor);
}

void WaylandDesktopLayer::seatCapabilities(std::uint32_t capabilities) {
    const bool pointer = (capabilities & WL_SEAT_CAPABILITY_POINTER) != 0;
    if (pointer && m_pointer == nullptr) {
        m_pointer = wl_seat_get_pointer(m_seat);
        wl_pointer_add_listener(m_pointer, &Listeners::pointer, this);
    } else if (!pointer && m_pointer != nullptr) {
        wl_pointer_release(m_pointer);
        m_pointer = nullptr;
        m_pointerSurface = nullptr;
        m_press.reset();
    }
}

void WaylandDesktopLayer::pointerEntered(std::uint32_t serial, wl_surface* entered, Point at) {
    m_pointerSurface = nullptr;
    for (const auto& surface : m_surfaces)
        if (surface->surface == entered) m_pointerSurface = surface.get();
    m_pointerAt = at;
    if (m_pointerSurface == nullptr || m_cursorTheme == nullptr) return;
    wl_cursor* cursor = wl_cursor_theme_get_cursor(m_cursorTheme, "left_ptr");
    if (cursor == nullptr) cursor = wl_cursor_theme_get_cursor(m_cursorTheme, "default");
    if (cursor == nullptr || cursor->image_count == 0) return;
    wl_cursor_image* image = cursor->images[0];
    wl_surface_set_buffer_scale(m_cursorSurface, m_cursorScale);
    wl_surface_attach(m_cursorSurface, wl_cursor_image_get_buffer(image), 0, 0);
    wl_surface_damage_buffer(m_cursorSurface, 0, 0, INT32_MAX, INT32_MAX);
    wl_surface_commit(m_cursorSurface);
    wl_pointer_set_cursor(m_pointer, serial, m_cursorSurface,
                          std::int32_t(image->hotspot_x) / m_cursorScale,
                          std::int32_t(image->hotspot_y) / m_cursorScale);
}

// While the button is held the compositor sends the pointer to the widget pressed, wherever it
// goes; the widget stays put until it is dropped, as compositors differ on whether the pointer's
// place on a surface that moves under an implicit grab follows the surface.
void WaylandDesktopLayer::pointerMoved(Point at) {
    m_pointerAt = at;
    if (m_press && std::hypot(at.x - m_press->local.x, at.y - m_press->local.y) >= dragDistance)
        m_press->dragging = true;
}

void WaylandDesktopLayer::pointerButton(std::uint32_t button, std::uint32_t state) {
    if (button != BTN_LEFT) return;
    if (state == WL_POINTER_BUTTON_STATE_PRESSED) {
        if (m_pointerSurface != nullptr) m_press = Press{m_pointerSurface, m_pointerAt, false};
        return;
    }
    if (!m_press) return;
    const Press press = *m_press;
    m_press.reset();
    Surface& surface = *press.surface;
    if (!press.dragging) {
        if (m_pointerSurface == &surface && m_events.activated) m_events.activated(surface.index);
        return;
    }
    const Point dropped{surface.origin.x + m_pointerAt.x - press.local.x,
                        surface.origin.y + m_pointerAt.y - press.local.y};
    auto cell = snappedCell(dropped, surface.size, surface.output->size(), m_settings);
    cell.output = surface.output->connector;
    surface.cell = cell;
    moveTo(surface, cellOrigin(cell, m_settings));
    m_widgets[surface.index].cell = cell;
    if (m_events.moved) m_events.moved(surface.index, cell);
}

}  // namespace

std::unique_ptr<DesktopLayer> openWaylandDesktopLayer(DesktopLayerEvents events,
                                                      const DesktopSettings& settings) {
    wl_display* display = wl_display_connect(nullptr);
    if (display == nullptr) return nullptr;
    auto layer = std::make_unique<WaylandDesktopLayer>(display, std::move(events), settings);
    if (!layer->start()) return nullptr;
    return layer;
}

}  // namespace desktop
