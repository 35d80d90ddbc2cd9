#include "desktop/DesktopCells.h"
#include "desktop/DesktopLayer.h"
#include "desktop/ShapeRuns.h"

#include <glib-unix.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

// Xlib's headers define macros (None, Bool, Status, Success) that no other header should see.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/shape.h>

using hosting::DesktopCell;
using hosting::DrawnWidget;
using layout::Point;
using layout::Size;

namespace desktop {

namespace {

constexpr const char* logDomain = "velmora-desktop";
constexpr double dragDistance = 6;  // points the pointer goes with the button held to drag
constexpr int highestScale = 3;     // of GDK_SCALE

// ---- Xlib's handlers ----------------------------------------------------------------------------

// Xlib has one error handler and one I/O error handler for the whole process, called on the
// thread that reads the connection: the main loop's, for the toolkit's display and the layer's
// alike. Errors on the layer's displays are logged and the layer goes on (a window the window
// manager destroyed is no reason to stop); the others go to the handlers that were there before,
// the toolkit's when it runs on X11 too.
thread_local std::vector<Display*> layerDisplays;

bool isLayerDisplay(Display* display) {
    return std::find(layerDisplays.begin(), layerDisplays.end(), display) != layerDisplays.end();
}

int onError(Display* display, XErrorEvent* error);
int onIOError(Display* display);

struct XlibHandlers {
    XErrorHandler error;
    XIOErrorHandler io;
};

// Installed once, with the first layer, and kept: a handler installed after them may have
// saved them to put back.
const XlibHandlers& previousHandlers() {
    static const XlibHandlers previous{XSetErrorHandler(onError), XSetIOErrorHandler(onIOError)};
    return previous;
}

int onError(Display* display, XErrorEvent* error) {
    if (isLayerDisplay(display)) {
        std::array<char, 160> text{};
        XGetErrorText(display, error->error_code, text.data(), int(text.size()));
        g_log(logDomain, G_LOG_LEVEL_WARNING,
              "X11 desktop layer: %s (request %d.%d on resource 0x%lx)", text.data(),
              int(error->request_code), int(error->minor_code), error->resourceid);
        return 0;
    }
    const XErrorHandler previous = previousHandlers().error;
    return previous != nullptr ? previous(display, error) : 0;
}

// The layer's own connection lost: its exit handler (the layer's) ends the layer, not the process.
int onIOError(Display* display) {
    if (isLayerDisplay(display)) return 0;
    const XIOErrorHandler previous = previousHandlers().io;
    return previous != nullptr ? previous(display) : 0;
}

// ---- What the layer asks the server ---------------------------------------------------------

enum AtomName : std::size_t {
    netSupportingWmCheck,
    netSupported,
    netWmState,
    netWmStateBelow,
    netWmStateSticky,
    netWmStateSkipTaskbar,
    netWmStateSkipPager,
    netWmDesktop,
    netWmName,
    netWmPid,
    netWmWindowType,
    netWmWindowTypeNormal,
    motifWmHints,
    utf8String,
    compositingManager,  // _NET_WM_CM_S<screen>: the selection a compositing manager owns
    atomCount,
};

using Atoms = std::array<Atom, atomCount>;

std::optional<Atoms> internAtoms(Display* display, int screen) {
    std::array<std::string, atomCount> names{"_NET_SUPPORTING_WM_CHECK",
                                             "_NET_SUPPORTED",
                                             "_NET_WM_STATE",
                                             "_NET_WM_STATE_BELOW",
                                             "_NET_WM_STATE_STICKY",
                                             "_NET_WM_STATE_SKIP_TASKBAR",
                                             "_NET_WM_STATE_SKIP_PAGER",
                                             "_NET_WM_DESKTOP",
                                             "_NET_WM_NAME",
                                             "_NET_WM_PID",
                                             "_NET_WM_WINDOW_TYPE",
                                             "_NET_WM_WINDOW_TYPE_NORMAL",
                                             "_MOTIF_WM_HINTS",
                                             "UTF8_STRING",
                                             "_NET_WM_CM_S" + std::to_string(screen)};
    std::array<char*, atomCount> pointers{};
    for (std::size_t i = 0; i < atomCount; ++i) pointers[i] = names[i].data();
    Atoms atoms{};
    if (XInternAtoms(display, pointers.data(), int(atomCount), False, atoms.data()) == 0)
        return std::nullopt;
    return atoms;
}

// The 32-bit items of a window's property of `type`; none when it is missing, of another type
// or format, or the window is gone.
std::vector<unsigned long> property32(Display* display, Window window, Atom name, Atom type) {
    Atom actualType = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(display, window, name, 0, 4096, False, type, &actualType, &format,
                           &count, &after, &data) != Success)
        return {};
    std::vector<unsigned long> items;
    if (data != nullptr && actualType == type && format == 32) {
        const auto* words = reinterpret_cast<const unsigned long*>(data);
        items.assign(words, words + count);
    }
    if (data != nullptr) XFree(data);
    return items;
}

// An EWMH window manager runs: the root names its check window, which names itself, and it
// keeps windows below the others.
bool ewmhWindowManagerRuns(Display* display, Window root, const Atoms& atoms) {
    const auto check = property32(display, root, atoms[netSupportingWmCheck], XA_WINDOW);
    if (check.size() != 1 || check[0] == None) return false;
    const auto itself =
        property32(display, Window(check[0]), atoms[netSupportingWmCheck], XA_WINDOW);
    if (itself.size() != 1 || itself[0] != check[0]) return false;
    const auto supported = property32(display, root, atoms[netSupported], XA_ATOM);
    return std::find(supported.begin(), supported.end(), atoms[netWmStateBelow]) != supported.end();
}

// Windows of `depth` on `visual` take Cairo's ARGB32 words as they are: TrueColor, red, green
// and blue in the usual bytes, 32 bits a pixel.
bool takesArgb32(Display* display, int depth, const Visual* visual) {
    if (visual->c_class != TrueColor || visual->red_mask != 0xff0000 ||
        visual->green_mask != 0xff00 || visual->blue_mask != 0xff)
        return false;
    int count = 0;
    XPixmapFormatValues* formats = XListPixmapFormats(display, &count);
    bool fits = false;
    for (int i = 0; i < count; ++i)
        if (formats[i].depth == depth) fits = formats[i].bits_per_pixel == 32;
    if (formats != nullptr) XFree(formats);
    return fits;
}

// GDK_SCALE, a whole number from 1 to 3, as the toolkit reads it; 1 when it is not set.
int scaleFromEnvironment() {
    const char* text = std::getenv("GDK_SCALE");
    if (text == nullptr) return 1;
    const std::string_view value = text;
    int scale = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), scale);
    if (error != std::errc{} || end != value.data() + value.size() || scale < 1 ||
        scale > highestScale)
        return 1;
    return scale;
}

// ---- The layer --------------------------------------------------------------------------------

// A widget's window.
struct Surface {
    Window window = None;  // none once the window manager destroyed it
    GC gc = nullptr;
    int depth = 0;
    Size size;                  // points
    int width = 0, height = 0;  // pixels
    DesktopCell cell;
    bool mapped = false;
    std::optional<DrawnWidget> drawing;  // the last one, painted again on every exposure
};

// The left button held on a widget: where the pointer and the window were, on the screen, and
// whether it is being dragged.
struct Press {
    std::size_t index = 0;
    Window window = None;
    int pointerX = 0, pointerY = 0;
    int originX = 0, originY = 0;
    bool dragging = false;
};

// How the windows are made: with an alpha channel a compositing manager blends over the
// desktop, or on the screen's own visual with their outline cut to the drawing's corners.
struct Look {
    Visual* visual = nullptr;
    int depth = 0;
    Colormap colormap = None;  // of the alpha visual
    bool alpha = false;
};

class X11DesktopLayer final : public DesktopLayer {
public:
    X11DesktopLayer(Display* display, DesktopLayerEvents events, const DesktopSettings& settings)
        : m_display(display),
          m_events(std::move(events)),
          m_settings(settings),
          m_screen(DefaultScreen(display)),
          m_root(RootWindow(display, m_screen)),
          m_scale(scaleFromEnvironment()) {
        XSetIOErrorExitHandler(
            display,
            [](Display*, void* layer) { static_cast<X11DesktopLayer*>(layer)->m_broken = true; },
            this);
    }
    ~X11DesktopLayer() override;
    X11DesktopLayer(const X11DesktopLayer&) = delete;
    X11DesktopLayer& operator=(const X11DesktopLayer&) = delete;

    // Checks the session and watches the connection; false when it has no layer to offer.
    bool start();

    void place(const std::vector<DesktopWidget>& widgets) override;
    void show(std::size_t index, const DrawnWidget& drawn) override;
    [[nodiscard]] int scale() const override { return m_scale; }
    [[nodiscard]] std::string_view kind() const override { return "X11 windows kept below"; }

private:
    void dispatch();
    void handle(XEvent& event);
    bool connected();
    void flush();
    void destroyWindows();
    [[nodiscard]] Look look();
    void makeWindow(std::size_t index, const Look& look);
    void describe(const Surface& surface, const std::string& title);
    void cutShape(const Surface& surface);
    void paint(const Surface& surface, int x, int y, int width, int height);
    void moveTo(Surface& surface, Point origin);
    [[nodiscard]] Size outputSize() const;
    [[nodiscard]] std::optional<std::size_t> indexOf(Window window) const;
    void pressed(const XButtonEvent& event);
    void dragged(XEvent& motion);
    void released(const XButtonEvent& event);

    Display* m_display;
    DesktopLayerEvents m_events;
    DesktopSettings m_settings;
    int m_screen;
    Window m_root;
    int m_scale;
    Atoms m_atoms{};
    bool m_shape = false;   // the server cuts windows to a shape
    bool m_broken = false;  // the connection is lost: nothing more is asked of it
    Colormap m_alphaColormap = None;
    std::vector<DesktopWidget> m_widgets;
    std::vector<Surface> m_surfaces;  // one per widget
    std::optional<Press> m_press;
    int m_rootWidth = 0, m_rootHeight = 0;
    guint m_source = 0;   // the connection's
    guint m_queued = 0;   // an idle source for events read while waiting for a reply
    guint m_replace = 0;  // an idle source that places the widgets again
    // Expires with the layer: a handler of its events may end it.
    std::shared_ptr<const bool> m_alive = std::make_shared<const bool>(true);
};

X11DesktopLayer::~X11DesktopLayer() {
    for (guint source : {m_source, m_queued, m_replace})
        if (source != 0) g_source_remove(source);
    if (!m_broken) {
        destroyWindows();
        if (m_alphaColormap != None) XFreeColormap(m_display, m_alphaColormap);
    }
    XCloseDisplay(m_display);
    std::erase(layerDisplays, m_display);
}

bool X11DesktopLayer::start() {
    const auto atoms = internAtoms(m_display, m_screen);
    if (!atoms || !ewmhWindowManagerRuns(m_display, m_root, *atoms)) return false;
    m_atoms = *atoms;
    if (!takesArgb32(m_display, DefaultDepth(m_display, m_screen),
                     DefaultVisual(m_display, m_screen))) {
        g_log(logDomain, G_LOG_LEVEL_MESSAGE,
              "X11 desktop layer: the screen's visual is not 24-bit true colour");
        return false;
    }
    int shapeEvent = 0, shapeError = 0;
    m_shape = XShapeQueryExtension(m_display, &shapeEvent, &shapeError) != 0;
    m_rootWidth = DisplayWidth(m_display, m_screen);
    m_rootHeight = DisplayHeight(m_display, m_screen);
    XSelectInput(m_display, m_root, StructureNotifyMask);  // the screen's size
    m_source = g_unix_fd_add(
        ConnectionNumber(m_display), GIOCondition(G_IO_IN | G_IO_ERR | G_IO_HUP),
        [](int, GIOCondition, gpointer layer) {
            static_cast<X11DesktopLayer*>(layer)->dispatch();
            return gboolean(G_SOURCE_CONTINUE);  // the layer removes it when it is lost
        },
        this);
    flush();
    return connected();
}

// Whether the connection is still there; once it is lost, the layer stops watching it.
bool X11DesktopLayer::connected() {
    if (!m_broken) return true;
    if (m_source != 0) {
        g_log(logDomain, G_LOG_LEVEL_WARNING,
              "the connection to the X server is lost: the widgets leave the desktop");
        for (guint* source : {&m_source, &m_queued, &m_replace})
            if (*source != 0) g_source_remove(std::exchange(*source, 0));
    }
    return false;
}

// Sends what was asked. Replies waited for may have brought events along, read from the
// connection already: they are handled as soon as the main loop is idle, not at the next event.
void X11DesktopLayer::flush() {
    if (!connected()) return;
    XFlush(m_display);
    if (!connected() || XQLength(m_display) == 0 || m_queued != 0) return;
    m_queued = g_idle_add_once(
        [](gpointer layer) {
            static_cast<X11DesktopLayer*>(layer)->m_queued = 0;
            static_cast<X11DesktopLayer*>(layer)->dispatch();
        },
        this);
}

void X11DesktopLayer::dispatch() {
    const std::weak_ptr<const bool> alive = m_alive;
    while (connected() && XPending(m_display) > 0) {
        XEvent event;
        XNextEvent(m_display, &event);
        handle(event);
        if (alive.expired()) return;
    }
    // A lost connection is noticed here at the latest: the main loop stops watching it.
    if (connected()) XFlush(m_display);
    connected();
}

void X11DesktopLayer::handle(XEvent& event) {
    switch (event.type) {
        case Expose:
            if (const auto index = indexOf(event.xexpose.window);
                index && m_surfaces[*index].drawing) {
                const XExposeEvent& exposed = event.xexpose;
                paint(m_surfaces[*index], exposed.x, exposed.y, exposed.width, exposed.height);
            }
            break;
        case DestroyNotify:
            if (const auto index = indexOf(event.xdestroywindow.window)) {
                Surface& surface = m_surfaces[*index];
                XFreeGC(m_display, surface.gc);
                surface.gc = nullptr;
                surface.window = None;
                if (m_press && m_press->index == *index) m_press.reset();
            }
            break;
        case ConfigureNotify:
            // The screen grew or shrank: the widgets are placed again on what there is now.
            if (event.xconfigure.window == m_root && (event.xconfigure.width != m_rootWidth ||
                                                      event.xconfigure.height != m_rootHeight)) {
                m_rootWidth = event.xconfigure.width;
                m_rootHeight = event.xconfigure.height;
                if (m_replace == 0 && !m_widgets.empty())
                    m_replace = g_idle_add_once(
                        [](gpointer data) {
                            auto* layer = static_cast<X11DesktopLayer*>(data);
                            layer->m_replace = 0;
                            std::vector<std::optional<DrawnWidget>> drawings;
                            for (const auto& surface : layer->m_surfaces)
                                drawings.push_back(surface.drawing);
                            layer->place(layer->m_widgets);
                            for (std::size_t i = 0; i < drawings.size(); ++i)
                                if (drawings[i]) layer->show(i, *drawings[i]);
                        },
                        this);
            }
            break;
        case ButtonPress:
            pressed(event.xbutton);
            break;
        case MotionNotify:
            dragged(event);
            break;
        case ButtonRelease:
            released(event.xbutton);
            break;
        default:
            break;
    }
}

std::optional<std::size_t> X11DesktopLayer::indexOf(Window window) const {
    for (std::size_t i = 0; i < m_surfaces.size(); ++i)
        if (m_surfaces[i].window == window && window != None) return i;
    return std::nullopt;
}

void X11DesktopLayer::destroyWindows() {
    for (auto& surface : m_surfaces) {
        if (surface.window == None) continue;
        XFreeGC(m_display, surface.gc);
        XDestroyWindow(m_display, surface.window);
    }
    m_surfaces.clear();
    m_press.reset();
}

// The whole X screen is the one output: a widget's cell names a monitor only where the
// session tells them apart (Wayland), so every output name falls back to it here.
Size X11DesktopLayer::outputSize() const {
    return {double(m_rootWidth) / m_scale, double(m_rootHeight) / m_scale};
}

// The compositing manager, if one runs now, blends windows with an alpha channel over the
// desktop; it is asked afresh each time the widgets are placed.
Look X11DesktopLayer::look() {
    Look plain{DefaultVisual(m_display, m_screen), DefaultDepth(m_display, m_screen), None, false};
    if (XGetSelectionOwner(m_display, m_atoms[compositingManager]) == None) return plain;
    XVisualInfo info{};
    if (XMatchVisualInfo(m_display, m_screen, 32, TrueColor, &info) == 0 ||
        !takesArgb32(m_display, 32, info.visual))
        return plain;
    if (m_alphaColormap == None)
        m_alphaColormap = XCreateColormap(m_display, m_root, info.visual, AllocNone);
    return {info.visual, 32, m_alphaColormap, true};
}

void X11DesktopLayer::place(const std::vector<DesktopWidget>& widgets) {
    if (!connected()) return;
    destroyWindows();
    m_widgets = widgets;
    std::vector<std::optional<DesktopCell>> given;
    std::vector<Size> sizes;
    for (const auto& widget : widgets) {
        given.push_back(widget.cell);
        sizes.push_back(widget.size);
    }
    const auto cells = arrangedCells(given, sizes, outputSize(), m_settings);
    const Look windows = look();
    m_surfaces.resize(widgets.size());
    for (std::size_t i = 0; i < widgets.size(); ++i) {
        Surface& surface = m_surfaces[i];
        surface.size = widgets[i].size;
        surface.width = std::max(1, int(std::lround(widgets[i].size.width * m_scale)));
        surface.height = std::max(1, int(std::lround(widgets[i].size.height * m_scale)));
        surface.cell = cells[i];
        surface.cell.output.clear();
        makeWindow(i, windows);
        describe(surface, widgets[i].title);
    }
    g_log(logDomain, G_LOG_LEVEL_DEBUG, "X11 desktop layer: %zu windows, %s, scale %d",
          widgets.size(),
          windows.alpha ? "blended by the compositing manager"
                        : (m_shape ? "cut to their shape" : "square"),
          m_scale);
    flush();
}

// An unmapped window at the widget's cell, shown once its drawing comes.
void X11DesktopLayer::makeWindow(std::size_t index, const Look& look) {
    Surface& surface = m_surfaces[index];
    const Point origin = cellOrigin(surface.cell, m_settings);
    XSetWindowAttributes attributes{};
    unsigned long mask = CWEventMask;
    attributes.event_mask =
        ButtonPressMask | ButtonReleaseMask | ButtonMotionMask | ExposureMask | StructureNotifyMask;
    if (look.alpha) {
        attributes.colormap = look.colormap;
        attributes.border_pixel = 0;
        attributes.background_pixel = 0;
        mask |= CWColormap | CWBorderPixel | CWBackPixel;
    } else {
        attributes.background_pixmap = None;  // the drawing paints it all, without a flash
        mask |= CWBackPixmap;
    }
    surface.depth = look.depth;
    surface.window = XCreateWindow(m_display, m_root, int(std::lround(origin.x * m_scale)),
                                   int(std::lround(origin.y * m_scale)), unsigned(surface.width),
                                   unsigned(surface.height), 0, look.depth, InputOutput,
                                   look.visual, mask, &attributes);
    surface.gc = XCreateGC(m_display, surface.window, 0, nullptr);
}

// What the window manager is told before the window is mapped: no frame, below the other
// windows on every workspace, out of the task bar and the pager, never the keyboard's, and
// where it stands, which it keeps.
void X11DesktopLayer::describe(const Surface& surface, const std::string& title) {
    const Window window = surface.window;
    const Point origin = cellOrigin(surface.cell, m_settings);

    const long motif[5] = {2, 0, 0, 0, 0};  // flags: decorations; decorations: none
    XChangeProperty(m_display, window, m_atoms[motifWmHints], m_atoms[motifWmHints], 32,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(motif), 5);
    const long states[] = {long(m_atoms[netWmStateBelow]), long(m_atoms[netWmStateSticky]),
                           long(m_atoms[netWmStateSkipTaskbar]),
                           long(m_atoms[netWmStateSkipPager])};
    XChangeProperty(m_display, window, m_atoms[netWmState], XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(states), 4);
    const long type = long(m_atoms[netWmWindowTypeNormal]);
    XChangeProperty(m_display, window, m_atoms[netWmWindowType], XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&type), 1);
    const long everyDesktop = 0xFFFFFFFF;
    XChangeProperty(m_display, window, m_atoms[netWmDesktop], XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&everyDesktop), 1);
    const long pid = long(getpid());
    XChangeProperty(m_display, window, m_atoms[netWmPid], XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&pid), 1);
    XChangeProperty(m_display, window, m_atoms[netWmName], m_atoms[utf8String], 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(title.data()), int(title.size()));

    XSizeHints size{};
    size.flags = USPosition | PPosition | PSize | PMinSize | PMaxSize | PWinGravity;
    size.x = int(std::lround(origin.x * m_scale));
    size.y = int(std::lround(origin.y * m_scale));
    size.width = size.min_width = size.max_width = surface.width;
    size.height = size.min_height = size.max_height = surface.height;
    size.win_gravity = NorthWestGravity;
    XWMHints hints{};
    hints.flags = InputHint | StateHint;
    hints.input = False;
    hints.initial_state = NormalState;
    std::string name = "velmora-widgets", className = "Velmora Widgets";
    XClassHint classHint{name.data(), className.data()};
    // WM_NAME and WM_ICON_NAME in the text encoding older window managers read, WM_CLASS,
    // WM_CLIENT_MACHINE, WM_NORMAL_HINTS and WM_HINTS.
    Xutf8SetWMProperties(m_display, window, title.c_str(), title.c_str(), nullptr, 0, &size, &hints,
                         &classHint);
}

void X11DesktopLayer::show(std::size_t index, const DrawnWidget& drawn) {
    if (!connected() || index >= m_surfaces.size()) return;
    Surface& surface = m_surfaces[index];
    if (surface.window == None) return;
    // Nothing the extension drew is trusted: a drawing that is not the window's size would be
    // read past its end.
    if (drawn.pixels == nullptr || drawn.width != surface.width || drawn.height != surface.height ||
        drawn.stride < 4 * drawn.width || drawn.stride % 4 != 0) {
        g_log(logDomain, G_LOG_LEVEL_WARNING,
              "%s: a drawing of %d x %d pixels (%d bytes a row) does not fit its %d x %d window",
              drawn.label.c_str(), drawn.width, drawn.height, drawn.stride, surface.width,
              surface.height);
        return;
    }
    surface.drawing = drawn;
    if (surface.depth != 32) cutShape(surface);
    if (!std::exchange(surface.mapped, true)) XMapWindow(m_display, surface.window);
    paint(surface, 0, 0, surface.width, surface.height);
    // On the screen once the server has taken it; an unmapped window paints on its first
    // exposure.
    XSync(m_display, False);
    flush();
    if (connected() && m_events.presented) m_events.presented();
}

// Without a compositing manager the window is cut to the pixels at least half opaque: the
// desktop shows outside the corners, and nothing needs blending.
void X11DesktopLayer::cutShape(const Surface& surface) {
    if (!m_shape) return;
    const DrawnWidget& drawn = *surface.drawing;
    const auto runs = shapeRuns({drawn.pixels.get(), drawn.width, drawn.height, drawn.stride});
    std::vector<XRectangle> rectangles;
    rectangles.reserve(runs.size());
    for (const auto& run : runs)
        rectangles.push_back(
            {short(run.x), short(run.y), static_cast<unsigned short>(run.width), 1});
    // The runs go row by row, left to right: the order the server takes fastest.
    XShapeCombineRectangles(m_display, surface.window, ShapeBounding, 0, 0, rectangles.data(),
                            int(rectangles.size()), ShapeSet, YXBanded);
}

// The part of the drawing from (x, y), straight from its pixels: an image of 32-bit words in
// the host's byte order, as Cairo leaves them.
void X11DesktopLayer::paint(const Surface& surface, int x, int y, int width, int height) {
    const DrawnWidget& drawn = *surface.drawing;
    x = std::clamp(x, 0, drawn.width);
    y = std::clamp(y, 0, drawn.height);
    width = std::clamp(width, 0, drawn.width - x);
    height = std::clamp(height, 0, drawn.height - y);
    if (width == 0 || height == 0) return;
    XImage image{};
    image.width = drawn.width;
    image.height = drawn.height;
    image.format = ZPixmap;
    // Xlib only reads it.
    image.data = const_cast<char*>(reinterpret_cast<const char*>(drawn.pixels.get()));
    image.byte_order = std::endian::native == std::endian::little ? LSBFirst : MSBFirst;
    image.bitmap_unit = 32;
    image.bitmap_bit_order = image.byte_order;
    image.bitmap_pad = 32;
    image.depth = surface.depth;
    image.bytes_per_line = drawn.stride;
    image.bits_per_pixel = 32;
    image.red_mask = 0xff0000;
    image.green_mask = 0xff00;
    image.blue_mask = 0xff;
    if (XInitImage(&image) == 0) return;
    XPutImage(m_display, surface.window, surface.gc, &image, x, y, x, y, unsigned(width),
              unsigned(height));
}

void X11DesktopLayer::moveTo(Surface& surface, Point origin) {
    XMoveWindow(m_display, surface.window, int(std::lround(origin.x * m_scale)),
                int(std::lround(origin.y * m_scale)));
}

void X11DesktopLayer::pressed(const XButtonEvent& event) {
    if (event.button != Button1 || m_press) return;
    const auto index = indexOf(event.window);
    if (!index) return;
    // The window's corner on the screen, wherever the window manager put it.
    m_press = Press{*index,       event.window,           event.x_root,
                    event.y_root, event.x_root - event.x, event.y_root - event.y,
                    false};
}

// While the button is held the pointer belongs to the widget pressed: it follows the pointer
// once it has gone far enough to be a drag.
void X11DesktopLayer::dragged(XEvent& motion) {
    if (!m_press || motion.xmotion.window != m_press->window) return;
    // Only where the pointer is now matters, not where it went on the way.
    while (XCheckTypedWindowEvent(m_display, m_press->window, MotionNotify, &motion) != 0) {
    }
    const XMotionEvent& event = motion.xmotion;
    const int dx = event.x_root - m_press->pointerX, dy = event.y_root - m_press->pointerY;
    if (!m_press->dragging && std::hypot(dx, dy) < dragDistance * m_scale) return;
    m_press->dragging = true;
    XMoveWindow(m_display, event.window, m_press->originX + dx, m_press->originY + dy);
}

void X11DesktopLayer::released(const XButtonEvent& event) {
    if (event.button != Button1 || !m_press || event.window != m_press->window) return;
    const Press press = *std::exchange(m_press, std::nullopt);
    Surface& surface = m_surfaces[press.index];
    if (!press.dragging) {
        const bool over =
            event.x >= 0 && event.y >= 0 && event.x < surface.width && event.y < surface.height;
        if (over && m_events.activated) m_events.activated(press.index);
        return;
    }
    const Point dropped{double(press.originX + event.x_root - press.pointerX) / m_scale,
                        double(press.originY + event.y_root - press.pointerY) / m_scale};
    const DesktopCell cell = snappedCell(dropped, surface.size, outputSize(), m_settings);
    surface.cell = cell;
    m_widgets[press.index].cell = cell;
    moveTo(surface, cellOrigin(cell, m_settings));
    flush();
    if (m_events.moved) m_events.moved(press.index, cell);
}

}  // namespace

std::unique_ptr<DesktopLayer> openX11DesktopLayer(DesktopLayerEvents events,
                                                  const DesktopSettings& settings) {
    const char* name = std::getenv("DISPLAY");
    if (name == nullptr || *name == '\0') return nullptr;
    previousHandlers();
    Display* display = XOpenDisplay(nullptr);
    if (display == nullptr) return nullptr;
    layerDisplays.push_back(display);
    auto layer = std::make_unique<X11DesktopLayer>(display, std::move(events), settings);
    if (!layer->start()) return nullptr;
    return layer;
}

}  // namespace desktop
