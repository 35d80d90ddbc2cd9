#include "desktop/DesktopApp.h"

#include "desktop/DesktopCells.h"
#include "desktop/DesktopGrid.h"
#include "desktop/DesktopLayer.h"
#include "desktop/DesktopSettings.h"
#include "desktop/ExtensionWorker.h"
#include "hosting/DesktopPlacements.h"
#include "hosting/DrawnWidget.h"
#include "hosting/Extension.h"
#include "hosting/HostingSession.h"
#include "layout/PlatformDefaults.h"
#include "platform/Clock.h"
#include "platform/Date.h"
#include "platform/Deployment.h"
#include "platform/WakeTimer.h"
#include "timeline/WidgetDescription.h"

#include <glib-unix.h>
#include <gtk/gtk.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace timeline;
using namespace ipc;
using namespace hosting;

namespace desktop {

using timeline::WidgetFamily;

namespace {

constexpr const char* logDomain = "velmora-desktop";
constexpr guint messageSeconds = 5;  // how long a message stays on the board

// ---- One widget: its drawing, its link, its context menu --------------------------------------

struct ViewState {
    int width = 0;  // points
    int height = 0;
    GdkTexture* texture = nullptr;
    std::optional<platform::Url> link;
    std::function<void(GtkWidget* view)> activate;
    std::function<void(GtkWidget* view)> remove;  // none: the view has no context menu
    GtkWidget* menu = nullptr;
};

struct VelmoraWidgetView {
    GtkWidget parent_instance;
    ViewState* state;
};
struct VelmoraWidgetViewClass {
    GtkWidgetClass parent_class;
};

G_DEFINE_FINAL_TYPE(VelmoraWidgetView, velmora_widget_view, GTK_TYPE_WIDGET)

ViewState& stateOf(GtkWidget* view) {
    return *reinterpret_cast<VelmoraWidgetView*>(view)->state;
}

void openContextMenu(GtkWidget* view, double x, double y) {
    auto& state = stateOf(view);
    if (!state.remove) return;
    if (state.menu == nullptr) {
        GMenu* model = g_menu_new();
        g_menu_append(model, "Remove Widget", "view.remove");
        state.menu = gtk_popover_menu_new_from_model(G_MENU_MODEL(model));
        g_object_unref(model);
        gtk_popover_set_has_arrow(GTK_POPOVER(state.menu), FALSE);
        gtk_widget_set_parent(state.menu, view);
    }
    const GdkRectangle at{int(x), int(y), 1, 1};
    gtk_popover_set_pointing_to(GTK_POPOVER(state.menu), &at);
    gtk_popover_popup(GTK_POPOVER(state.menu));
}

void viewMeasure(GtkWidget* view, GtkOrientation orientation, int, int* minimum, int* natural, int*,
                 int*) {
    const auto& state = stateOf(view);
    *minimum = *natural = orientation == GTK_ORIENTATION_HORIZONTAL ? state.width : state.height;
}

void viewSnapshot(GtkWidget* view, GtkSnapshot* snapshot) {
    const auto& state = stateOf(view);
    if (state.texture == nullptr) return;
    // The texture holds the widget at the window's scale: one texel to one device pixel.
    const graphene_rect_t bounds =
        GRAPHENE_RECT_INIT(0, 0, float(state.width), float(state.height));
    gtk_snapshot_append_texture(snapshot, state.texture, &bounds);
}

void viewAllocate(GtkWidget* view, int, int, int) {
    if (auto* menu = stateOf(view).menu) gtk_popover_present(GTK_POPOVER(menu));
}

void viewDispose(GObject* object) {
    auto& state = stateOf(GTK_WIDGET(object));
    if (state.menu != nullptr) gtk_widget_unparent(state.menu);
    state.menu = nullptr;
    G_OBJECT_CLASS(velmora_widget_view_parent_class)->dispose(object);
}

void viewFinalize(GObject* object) {
    auto* state = reinterpret_cast<VelmoraWidgetView*>(object)->state;
    if (state->texture != nullptr) g_object_unref(state->texture);
    delete state;
    G_OBJECT_CLASS(velmora_widget_view_parent_class)->finalize(object);
}

gboolean viewActivate(GtkWidget* view, GVariant*, gpointer) {
    if (const auto& activate = stateOf(view).activate) activate(view);
    return TRUE;
}

gboolean viewMenuKey(GtkWidget* view, GVariant*, gpointer) {
    openContextMenu(view, gtk_widget_get_width(view) / 2.0, gtk_widget_get_height(view) / 2.0);
    return TRUE;
}

void velmora_widget_view_class_init(VelmoraWidgetViewClass* viewClass) {
    auto* objectClass = G_OBJECT_CLASS(viewClass);
    objectClass->dispose = viewDispose;
    objectClass->finalize = viewFinalize;
    auto* widgetClass = GTK_WIDGET_CLASS(viewClass);
    widgetClass->measure = viewMeasure;
    widgetClass->snapshot = viewSnapshot;
    widgetClass->size_allocate = viewAllocate;
    gtk_widget_class_set_css_name(widgetClass, "velmora-widget");
    gtk_widget_class_set_accessible_role(widgetClass, GTK_ACCESSIBLE_ROLE_BUTTON);
    for (guint key : {GDK_KEY_Return, GDK_KEY_KP_Enter, GDK_KEY_space})
        gtk_widget_class_add_binding(widgetClass, key, GdkModifierType(0), viewActivate, nullptr);
    gtk_widget_class_add_binding(widgetClass, GDK_KEY_Menu, GdkModifierType(0), viewMenuKey,
                                 nullptr);
    gtk_widget_class_add_binding(widgetClass, GDK_KEY_F10, GDK_SHIFT_MASK, viewMenuKey, nullptr);
    gtk_widget_class_install_action(widgetClass, "view.remove", nullptr,
                                    [](GtkWidget* view, const char*, GVariant*) {
                                        if (const auto& remove = stateOf(view).remove) remove(view);
                                    });
}

void velmora_widget_view_init(VelmoraWidgetView* self) {
    self->state = new ViewState;
    auto* view = GTK_WIDGET(self);
    gtk_widget_set_focusable(view, TRUE);
    gtk_widget_set_cursor_from_name(view, "pointer");

    GtkGesture* click = gtk_gesture_click_new();
    gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(click), 0);
    g_signal_connect(
        click, "pressed",
        G_CALLBACK(+[](GtkGestureClick* gesture, int, double x, double y, gpointer view) {
            if (gtk_gesture_single_get_current_button(GTK_GESTURE_SINGLE(gesture)) ==
                GDK_BUTTON_SECONDARY)
                openContextMenu(GTK_WIDGET(view), x, y);
        }),
        view);
    g_signal_connect(click, "released",
                     G_CALLBACK(+[](GtkGestureClick* gesture, int, double, double, gpointer view) {
                         if (gtk_gesture_single_get_current_button(GTK_GESTURE_SINGLE(gesture)) ==
                             GDK_BUTTON_PRIMARY)
                             viewActivate(GTK_WIDGET(view), nullptr, nullptr);
                     }),
                     view);
    gtk_widget_add_controller(view, GTK_EVENT_CONTROLLER(click));

    GtkGesture* longPress = gtk_gesture_long_press_new();
    gtk_gesture_single_set_touch_only(GTK_GESTURE_SINGLE(longPress), TRUE);
    g_signal_connect(longPress, "pressed",
                     G_CALLBACK(+[](GtkGestureLongPress*, double x, double y, gpointer view) {
                         openContextMenu(GTK_WIDGET(view), x, y);
                     }),
                     view);
    gtk_widget_add_controller(view, GTK_EVENT_CONTROLLER(longPress));
}

// A view of `family`'s size that does `activate` when clicked and, with `remove`, offers to be
// removed from its context menu.
GtkWidget* newWidgetView(WidgetFamily family, std::function<void(GtkWidget*)> activate,
                         std::function<void(GtkWidget*)> remove) {
    GtkWidget* view = GTK_WIDGET(g_object_new(velmora_widget_view_get_type(), nullptr));
    auto& state = stateOf(view);
    const auto canvas = layout::defaults::canvasSize(family);
    state.width = int(canvas.width);
    state.height = int(canvas.height);
    state.activate = std::move(activate);
    state.remove = std::move(remove);
    return view;
}

// Shows `drawn` in `view`, its pixels as they are (no copy), and tells assistive technologies
// what it shows.
void showDrawing(GtkWidget* view, const DrawnWidget& drawn) {
    auto& state = stateOf(view);
    using Pixels = std::shared_ptr<const unsigned char[]>;
    auto* owner = new Pixels(drawn.pixels);
    GBytes* bytes = g_bytes_new_with_free_func(
        owner->get(), std::size_t(drawn.stride) * std::size_t(drawn.height),
        [](gpointer owner) { delete static_cast<Pixels*>(owner); }, owner);
    GdkTexture* texture = gdk_memory_texture_new(drawn.width, drawn.height, GDK_MEMORY_DEFAULT,
                                                 bytes, std::size_t(drawn.stride));
    g_bytes_unref(bytes);
    if (state.texture != nullptr) g_object_unref(state.texture);
    state.texture = texture;
    state.link = drawn.link;
    gtk_accessible_update_property(GTK_ACCESSIBLE(view), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                   drawn.label.c_str(), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                   drawn.description.c_str(), -1);
    gtk_widget_queue_draw(view);
}

// ---- The board: widget views flowed into the desktop grid ---------------------------------------

struct VelmoraBoardGrid {
    GtkWidget parent_instance;
};
struct VelmoraBoardGridClass {
    GtkWidgetClass parent_class;
};

G_DEFINE_FINAL_TYPE(VelmoraBoardGrid, velmora_board_grid, GTK_TYPE_WIDGET)

const DesktopSettings boardSettings;

DesktopGrid gridFor(GtkWidget* board, double width) {
    std::vector<layout::Size> sizes;
    for (GtkWidget* child = gtk_widget_get_first_child(board); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
        int childWidth = 0, childHeight = 0;
        gtk_widget_measure(child, GTK_ORIENTATION_HORIZONTAL, -1, nullptr, &childWidth, nullptr,
                           nullptr);
        gtk_widget_measure(child, GTK_ORIENTATION_VERTICAL, -1, nullptr, &childHeight, nullptr,
                           nullptr);
        sizes.push_back({double(childWidth), double(childHeight)});
    }
    return desktopGrid(sizes, width, boardSettings);
}

void boardMeasure(GtkWidget* board, GtkOrientation orientation, int forSize, int* minimum,
                  int* natural, int*, int*) {
    const auto narrowest = desktopGrid({}, 0, boardSettings).size.width;
    if (orientation == GTK_ORIENTATION_HORIZONTAL)
        *minimum = *natural = int(narrowest);
    else
        *minimum = *natural = int(gridFor(board, forSize < 0 ? narrowest : forSize).size.height);
}

void boardAllocate(GtkWidget* board, int width, int, int) {
    const auto grid = gridFor(board, width);
    std::size_t i = 0;
    for (GtkWidget* child = gtk_widget_get_first_child(board); child != nullptr;
         child = gtk_widget_get_next_sibling(child), ++i) {
        const auto& frame = grid.frames[i];
        const GtkAllocation allocation{int(frame.x), int(frame.y), int(frame.width),
                                       int(frame.height)};
        gtk_widget_size_allocate(child, &allocation, -1);
    }
}

void boardDispose(GObject* object) {
    while (GtkWidget* child = gtk_widget_get_first_child(GTK_WIDGET(object)))
        gtk_widget_unparent(child);
    G_OBJECT_CLASS(velmora_board_grid_parent_class)->dispose(object);
}

void velmora_board_grid_class_init(VelmoraBoardGridClass* gridClass) {
    G_OBJECT_CLASS(gridClass)->dispose = boardDispose;
    auto* widgetClass = GTK_WIDGET_CLASS(gridClass);
    widgetClass->measure = boardMeasure;
    widgetClass->size_allocate = boardAllocate;
    widgetClass->get_request_mode = [](GtkWidget*) { return GTK_SIZE_REQUEST_HEIGHT_FOR_WIDTH; };
    gtk_widget_class_set_css_name(widgetClass, "velmora-board");
    gtk_widget_class_set_accessible_role(widgetClass, GTK_ACCESSIBLE_ROLE_GROUP);
}

void velmora_board_grid_init(VelmoraBoardGrid*) {}

// The board's extension: the command-line program beside it in the build tree, or in the folder
// for programs once installed, which loads none of the toolkit's libraries; the board program
// itself when neither is found.
ExtensionSettings boardExtensionSettings(const ExtensionOptions& options) {
    auto extension = extensionSettings(options);
    if (std::getenv("VELMORA_EXTENSION") != nullptr) return extension;
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const auto& program :
         {folder / "velmora-widgets",
          (folder / VELMORA_DESKTOP_BINDIR_FROM_BOARD / "velmora-widgets").lexically_normal()})
        if (::access(program.c_str(), X_OK) == 0) {
            extension.program = program;
            break;
        }
    return extension;
}

// ---- The application ---------------------------------------------------------------------------

const char* familyCaption(WidgetFamily family) {
    switch (family) {
        case WidgetFamily::systemSmall:
            return "Small";
        case WidgetFamily::systemMedium:
            return "Medium";
        case WidgetFamily::systemLarge:
            return "Large";
    }
    return "";
}

constexpr const char* styleSheet = R"(
velmora-widget { border-radius: 22px; }
velmora-widget:focus-visible { outline: 2px solid @theme_selected_bg_color; outline-offset: 3px; }
velmora-widget:disabled { opacity: 0.35; }
.velmora-message { margin: 12px; }
)";

class BoardApp {
public:
    BoardApp(const ExtensionOptions& extension, const DesktopOptions& options)
        : m_options(options),
          m_placementsFile(options.placementsFile.empty()
                               ? userPlacementsFile()
                               : std::filesystem::path(options.placementsFile)),
          m_worker(std::make_unique<ExtensionWorker>(boardExtensionSettings(extension))) {
        m_app = gtk_application_new(std::string(platform::desktopApplicationId()).c_str(),
                                    G_APPLICATION_DEFAULT_FLAGS);
        g_signal_connect_swapped(m_app, "startup",
                                 G_CALLBACK(+[](BoardApp* self) { self->startup(); }), this);
        g_signal_connect_swapped(m_app, "activate",
                                 G_CALLBACK(+[](BoardApp* self) { self->activate(); }), this);
        GSimpleAction* reload = g_simple_action_new(std::string(platform::reloadActionName).c_str(),
                                                    G_VARIANT_TYPE_STRING);
        g_signal_connect_swapped(reload, "activate",
                                 G_CALLBACK(+[](BoardApp* self, GVariant* kind) {
                                     self->reloadNow(g_variant_get_string(kind, nullptr));
                                 }),
                                 this);
        g_action_map_add_action(G_ACTION_MAP(m_app), G_ACTION(reload));
        g_object_unref(reload);
    }
    ~BoardApp() {
        m_worker.reset();  // ends the extension
        if (m_timerSource != 0) g_source_remove(m_timerSource);
        g_object_unref(m_app);
    }
    BoardApp(const BoardApp&) = delete;
    BoardApp& operator=(const BoardApp&) = delete;

    int run(const char* programName) {
        char* argv[] = {const_cast<char*>(programName), nullptr};
        return g_application_run(G_APPLICATION(m_app), 1, argv);
    }

private:
    void startup() {
        // The board's own texts in the widgets' system font, and its frame as dark as they are.
        g_object_set(gtk_settings_get_default(), "gtk-font-name", "Inter 11",
                     "gtk-application-prefer-dark-theme", TRUE, nullptr);
        GtkCssProvider* css = gtk_css_provider_new();
        gtk_css_provider_load_from_data(css, styleSheet, -1);
        gtk_style_context_add_provider_for_display(gdk_display_get_default(),
                                                   GTK_STYLE_PROVIDER(css),
                                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
        g_object_unref(css);
        const char* addAccels[] = {"<Control>n", nullptr};
        gtk_application_set_accels_for_action(m_app, "win.add-widget", addAccels);
        for (int signal : {SIGINT, SIGTERM})
            g_unix_signal_add(signal, G_SOURCE_FUNC(+[](gpointer app) {
                                  g_application_quit(G_APPLICATION(app));
                                  return G_SOURCE_REMOVE;
                              }),
                              m_app);
        if (!m_options.noDesktopLayer) openDesktopLayer();
        startTimer();
        describe();
    }

    // The widgets go on the desktop layer of the display server the toolkit runs on, if it has
    // one; the application then lives on without a window.
    void openDesktopLayer() {
        DesktopLayerEvents events;
        events.activated = [this](std::size_t index) {
            if (index < m_drawn.size() && m_drawn[index] && m_drawn[index]->link)
                openLink(*m_drawn[index]->link);
        };
        events.moved = [this](std::size_t index, const DesktopCell& cell) {
            if (index >= m_cells.size()) return;
            m_cells[index] = cell;
            save();
        };
        events.scaleChanged = [this] { scaleChanged(); };
        events.presented = [this] { painted(); };
        const std::string display = G_OBJECT_TYPE_NAME(gdk_display_get_default());
        if (display == "GdkWaylandDisplay")
            m_layer = openWaylandDesktopLayer(std::move(events), boardSettings);
        else if (display == "GdkX11Display")
            m_layer = openX11DesktopLayer(std::move(events), boardSettings);
        if (!m_layer) {
            g_log(logDomain, G_LOG_LEVEL_MESSAGE,
                  "no desktop layer on this display: the widgets stand in the board's window");
            return;
        }
        g_log(logDomain, G_LOG_LEVEL_MESSAGE, "the widgets stand on the desktop: %s",
              std::string(m_layer->kind()).c_str());
        g_application_hold(G_APPLICATION(m_app));
    }

    // The first launch opens the window when it is asked for, or when the widgets have nowhere
    // else to stand; every later launch opens it.
    void activate() {
        if (!std::exchange(m_activated, true) && m_layer && !m_options.window) return;
        if (m_window == nullptr) buildWindow();
        gtk_window_present(GTK_WINDOW(m_window));
    }

    void buildWindow() {
        m_window = gtk_application_window_new(m_app);
        gtk_window_set_title(GTK_WINDOW(m_window), "Velmora Widgets");
        // Room for four columns, with a little to spare for the window's frame.
        const double fourColumns = 4 * (boardSettings.columnWidth + boardSettings.gap) -
                                   boardSettings.gap + 2 * boardSettings.margin;
        gtk_window_set_default_size(GTK_WINDOW(m_window), int(fourColumns) + 16, 680);

        GtkWidget* header = gtk_header_bar_new();
        GtkWidget* add = gtk_button_new_with_label("Add Widget");
        gtk_actionable_set_action_name(GTK_ACTIONABLE(add), "win.add-widget");
        gtk_header_bar_pack_start(GTK_HEADER_BAR(header), add);
        gtk_window_set_titlebar(GTK_WINDOW(m_window), header);
        GSimpleAction* addAction = g_simple_action_new("add-widget", nullptr);
        g_signal_connect_swapped(addAction, "activate",
                                 G_CALLBACK(+[](BoardApp* self) { self->openGallery(); }), this);
        g_action_map_add_action(G_ACTION_MAP(m_window), G_ACTION(addAction));
        g_object_unref(addAction);

        m_grid = GTK_WIDGET(g_object_new(velmora_board_grid_get_type(), nullptr));
        gtk_accessible_update_property(GTK_ACCESSIBLE(m_grid), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                       "Placed widgets", -1);
        GtkWidget* scroller = gtk_scrolled_window_new();
        gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_NEVER,
                                       GTK_POLICY_AUTOMATIC);
        gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), m_grid);

        GtkWidget* overlay = gtk_overlay_new();
        gtk_overlay_set_child(GTK_OVERLAY(overlay), scroller);
        m_emptyLabel = gtk_label_new("No widgets on the board. Add Widget puts one here.");
        gtk_widget_add_css_class(m_emptyLabel, "dim-label");
        gtk_overlay_add_overlay(GTK_OVERLAY(overlay), m_emptyLabel);
        m_message = gtk_revealer_new();
        gtk_revealer_set_transition_type(GTK_REVEALER(m_message),
                                         GTK_REVEALER_TRANSITION_TYPE_CROSSFADE);
        gtk_widget_set_halign(m_message, GTK_ALIGN_CENTER);
        gtk_widget_set_valign(m_message, GTK_ALIGN_END);
        m_messageLabel = gtk_label_new("");
        gtk_widget_add_css_class(m_messageLabel, "app-notification");
        gtk_widget_add_css_class(m_messageLabel, "velmora-message");
        gtk_revealer_set_child(GTK_REVEALER(m_message), m_messageLabel);
        gtk_overlay_add_overlay(GTK_OVERLAY(overlay), m_message);
        gtk_window_set_child(GTK_WINDOW(m_window), overlay);

        const auto& placed = m_session.placements();
        for (std::size_t i = 0; i < placed.size(); ++i) {
            addView(placed[i]);
            if (m_drawn[i]) showDrawing(m_views[i], *m_drawn[i]);
        }
        gtk_widget_set_visible(m_emptyLabel, m_described && m_views.empty());

        g_signal_connect_swapped(m_window, "notify::scale-factor",
                                 G_CALLBACK(+[](BoardApp* self) { self->scaleChanged(); }), this);
        g_signal_connect_swapped(m_window, "realize",
                                 G_CALLBACK(+[](BoardApp* self) { self->realized(); }), this);
        g_signal_connect_swapped(m_window, "destroy",
                                 G_CALLBACK(+[](BoardApp* self) { self->windowClosed(); }), this);
        gtk_widget_realize(m_window);
    }

    // The widgets on the desktop stay when the window closes; what showed them in it goes.
    void windowClosed() {
        if (m_messageTimeout != 0) g_source_remove(m_messageTimeout);
        m_messageTimeout = 0;
        m_window = m_grid = m_emptyLabel = m_message = m_messageLabel = m_gallery = nullptr;
        m_views.clear();
    }

    void startTimer() {
        if (auto timer = platform::WakeTimer::create()) {
            m_timer.emplace(std::move(timer).value());
            m_timerSource = g_unix_fd_add(
                m_timer->fd(), G_IO_IN,
                [](int, GIOCondition, gpointer self) {
                    static_cast<BoardApp*>(self)->timerFired();
                    return gboolean(G_SOURCE_CONTINUE);
                },
                this);
        } else {
            showMessage(timer.error().description +
                        ": the widgets will not follow their reload dates");
        }
    }

    // The board knows the bundle's widgets from the extension alone: it asks for them first,
    // then places the user's widgets and asks for their timelines.
    void describe() {
        m_worker->post([this](Extension& extension) {
            auto described = extension.describe();
            return [this, described = std::move(described)] { placeWidgets(described); };
        });
    }

    void placeWidgets(const platform::Result<std::vector<WidgetDescription>>& described) {
        m_described = true;
        if (!described) {
            showMessage("The widgets cannot be listed: " + described.error().description);
            if (m_emptyLabel != nullptr) gtk_widget_set_visible(m_emptyLabel, TRUE);
            return;
        }
        m_widgets = *described;
        auto placements = loadBoardPlacements(m_placementsFile, m_widgets);
        if (!placements) {
            showMessage(placements.error().description + "; showing the first-run widgets");
            placements = firstRunPlacements();
        }
        for (const auto& [placement, cell] : *placements) {
            if (!describedWidget(m_widgets, placement.kind) || !m_session.place(placement))
                continue;
            m_cells.push_back(cell);
            m_drawn.emplace_back();
            if (m_window != nullptr) addView(placement);
        }
        placeOnDesktop();
        updateEmptyState();
        refresh();
    }

    // The desktop layer's surfaces made anew for the placements, with what each showed.
    void placeOnDesktop() {
        if (!m_layer) return;
        std::vector<DesktopWidget> widgets;
        for (std::size_t i = 0; i < m_cells.size(); ++i) {
            const auto& placement = m_session.placements()[i];
            widgets.push_back(
                {layout::defaults::canvasSize(placement.family), m_cells[i], label(placement)});
        }
        m_layer->place(widgets);
        for (std::size_t i = 0; i < m_drawn.size(); ++i)
            if (m_drawn[i]) m_layer->show(i, *m_drawn[i]);
    }

    void realized() {
        GdkFrameClock* clock = gtk_widget_get_frame_clock(m_window);
        g_signal_connect_swapped(clock, "after-paint",
                                 G_CALLBACK(+[](BoardApp* self) { self->painted(); }), this);
        scaleChanged();
    }

    // The scale a placement is drawn at: that of the output it stands on when it is on the
    // desktop (the window, if open, shows it scaled), else the window's.
    int scaleOf(std::size_t index) const {
        if (m_layer) return m_layer->scaleOf(index);
        return m_window != nullptr ? gtk_widget_get_scale_factor(m_window) : 1;
    }

    DrawingOptions drawingOptions(int scale) const {
        return {double(scale), ImageEncoding::argb32, boardSettings.cornerRadius};
    }

    // The widgets whose drawings are at another scale than they are wanted at now are drawn
    // again: the same reload, at its date.
    void scaleChanged() {
        std::vector<std::pair<DueReload, DrawingOptions>> again;
        const auto& placed = m_session.placements();
        for (std::size_t i = 0; i < placed.size(); ++i) {
            const auto& record = m_session.latest(i);
            const int scale = scaleOf(i);
            const double width = layout::defaults::canvasSize(placed[i].family).width;
            if (record && m_drawn[i] && m_drawn[i]->width != int(width * scale))
                again.push_back(
                    {{i, record->placement, record->requestedAt}, drawingOptions(scale)});
        }
        if (again.empty()) return;
        m_worker->post([this, again](Extension& extension) {
            std::vector<ReloadOutcome> outcomes;
            outcomes.reserve(again.size());
            for (const auto& [reload, drawing] : again)
                outcomes.push_back(runReload(extension, reload, drawing));
            return [this, outcomes = std::move(outcomes)] {
                for (const auto& outcome : outcomes)
                    if (outcome.reload && outcome.reload->drawing)
                        if (auto drawn =
                                drawnWidget(*outcome.reload->drawing, label(outcome.due.placement)))
                            show(outcome.due.placement, std::move(drawn).value());
            };
        });
    }

    void addView(const Placement& placement) {
        GtkWidget* view = newWidgetView(
            placement.family,
            [this](GtkWidget* view) {
                if (const auto& link = stateOf(view).link) openLink(*link);
            },
            [this](GtkWidget* view) { removeLater(view); });
        gtk_widget_set_parent(view, m_grid);
        m_views.push_back(view);
    }

    void updateEmptyState() {
        if (m_emptyLabel != nullptr) gtk_widget_set_visible(m_emptyLabel, m_views.empty());
    }

    // Has the due reloads made in the extension off the main loop, then shows what came back and
    // sleeps until the next reload date. A placement whose reload or drawing failed keeps what it
    // shows (its placeholder when it showed nothing yet) and is asked again after a back-off.
    void refresh() {
        if (m_asking) {
            m_askAgain = true;
            return;
        }
        const auto now = platform::systemClock().now();
        auto due = m_session.due(now);
        if (due.empty()) return armTimer();
        m_asking = true;
        std::vector<DrawingOptions> drawings;
        drawings.reserve(due.size());
        for (const auto& reload : due) drawings.push_back(drawingOptions(scaleOf(reload.index)));
        m_worker->post([this, due = std::move(due), drawings = std::move(drawings),
                        now](Extension& extension) {
            std::vector<ReloadOutcome> outcomes;
            for (std::size_t i = 0; i < due.size(); ++i)
                outcomes.push_back(runReload(extension, due[i], drawings[i]));
            return [this, outcomes = std::move(outcomes), now]() mutable {
                answered(std::move(outcomes), now);
            };
        });
    }

    // The widget's display name, as the board's label and a screen reader say it.
    std::string label(const Placement& placement) const {
        const auto widget = describedWidget(m_widgets, placement.kind);
        return widget ? (*widget)->displayName : placement.kind;
    }

    void answered(std::vector<ReloadOutcome> outcomes, platform::Date now) {
        m_asking = false;
        auto update = m_session.apply(std::move(outcomes), now);
        for (const auto& record : update.requests) {
            g_log(logDomain, G_LOG_LEVEL_DEBUG, "timeline %s %s -> reload after %s",
                  record.placement.kind.c_str(), std::string(name(record.placement.family)).c_str(),
                  platform::formatDate(record.timeline.policy.date).c_str());
            auto drawn = drawnWidget(*record.drawing, label(record.placement));
            if (!drawn) {
                update.failures.push_back(
                    m_session.drawingFailed(record.index, drawn.error(), now));
                continue;
            }
            m_session.shown(record.index);
            present(record.index, std::move(drawn).value());
        }
        for (const auto& placeholder : update.placeholders)
            if (auto drawn = drawnWidget(*placeholder.reload.drawing, label(placeholder.placement)))
                present(placeholder.index, std::move(drawn).value());
        for (const auto& failure : update.failures)
            g_warning("%s %s: %s; asking again at %s", failure.placement.kind.c_str(),
                      std::string(name(failure.placement.family)).c_str(),
                      failure.error.description.c_str(),
                      platform::formatDate(failure.retryAt).c_str());
        // Placed or reloaded while the extension worked: those are due still.
        if (std::exchange(m_askAgain, false)) return refresh();
        armTimer();
        // Ours ends here, with the new pixels handed to the toolkit.
        if (m_redrawStarted) m_ourPart = std::chrono::steady_clock::now() - *m_redrawStarted;
    }

    // Shows a drawing of a placement, if that is still on the board.
    void show(const Placement& placement, DrawnWidget drawn) {
        const auto& placed = m_session.placements();
        const auto found = std::find(placed.begin(), placed.end(), placement);
        if (found != placed.end()) present(std::size_t(found - placed.begin()), std::move(drawn));
    }

    // Shows the drawing of the placement at `index` wherever the placement stands: in the
    // window, on the desktop, or both.
    void present(std::size_t index, DrawnWidget drawn) {
        if (index < m_views.size()) showDrawing(m_views[index], drawn);
        if (m_layer) m_layer->show(index, drawn);
        m_drawn[index] = std::move(drawn);
    }

    // The timer fires at the next reload date on the real-time clock, and also when the clock is
    // set (by the user, by NTP, after a resume): either way the board looks at the time again.
    // An empty board sets none.
    void armTimer() {
        const auto next = m_session.nextReload();
        if (!m_timer || !next) return;
        if (auto armed = m_timer->wakeAt(*next); !armed) showMessage(armed.error().description);
    }

    void timerFired() {
        m_timer->acknowledge();
        m_redrawStarted = std::chrono::steady_clock::now();
        refresh();
    }

    void reloadNow(const std::string& kind) {
        if (!kind.empty() && !describedWidget(m_widgets, kind)) return;
        m_redrawStarted = std::chrono::steady_clock::now();
        m_session.reloadNow(kind);
        refresh();
    }

    void painted() {
        if (!m_redrawStarted) return;
        // Ours: the requests, their layouts and the painting into pixel buffers; the rest is the
        // toolkit's (uploading, composing, presenting).
        using Milliseconds = std::chrono::duration<double, std::milli>;
        const auto elapsed = std::chrono::steady_clock::now() - *m_redrawStarted;
        m_redrawStarted.reset();
        g_log(logDomain, G_LOG_LEVEL_DEBUG,
              "new timelines on screen %.2f ms after they were due, ours %.2f ms",
              Milliseconds(elapsed).count(), Milliseconds(m_ourPart).count());
    }

    // Opens the app's own links only: a widget links nothing else.
    void openLink(const platform::Url& link) {
        if (link.scheme() != platform::appUrlScheme) return;
        const std::string& uri = link.text();
        const std::string scheme = uri.substr(0, uri.find(':'));
        GAppInfo* handler = g_app_info_get_default_for_uri_scheme(scheme.c_str());
        if (handler == nullptr) {
            showMessage("No app on this computer opens " + scheme + ": links");
            return;
        }
        GdkAppLaunchContext* context = gdk_display_get_app_launch_context(
            m_window != nullptr ? gtk_widget_get_display(m_window) : gdk_display_get_default());
        GList uris{const_cast<char*>(uri.c_str()), nullptr, nullptr};
        GError* error = nullptr;
        if (!g_app_info_launch_uris(handler, &uris, G_APP_LAUNCH_CONTEXT(context), &error)) {
            showMessage(std::string(g_app_info_get_name(handler)) +
                        " could not open the link: " + error->message);
            g_error_free(error);
        }
        g_object_unref(context);
        g_object_unref(handler);
    }

    void showMessage(const std::string& text) {
        g_log(logDomain, G_LOG_LEVEL_MESSAGE, "%s", text.c_str());
        if (m_message == nullptr) return;
        gtk_label_set_text(GTK_LABEL(m_messageLabel), text.c_str());
        gtk_revealer_set_reveal_child(GTK_REVEALER(m_message), TRUE);
        if (m_messageTimeout != 0) g_source_remove(m_messageTimeout);
        m_messageTimeout = g_timeout_add_seconds(
            messageSeconds,
            [](gpointer self) {
                auto* app = static_cast<BoardApp*>(self);
                gtk_revealer_set_reveal_child(GTK_REVEALER(app->m_message), FALSE);
                app->m_messageTimeout = 0;
                return gboolean(G_SOURCE_REMOVE);
            },
            this);
    }

    void save() {
        std::vector<PlacedWidget> placed;
        for (std::size_t i = 0; i < m_cells.size(); ++i)
            placed.push_back({m_session.placements()[i], m_cells[i]});
        if (auto saved = saveBoardPlacements(m_placementsFile, placed); !saved)
            showMessage(saved.error().description);
    }

    void place(const Placement& placement) {
        if (!m_session.place(placement)) return;
        m_cells.emplace_back();
        m_drawn.emplace_back();
        addView(placement);
        placeOnDesktop();
        updateEmptyState();
        save();
        refresh();
    }

    // The context menu is the view's own child: it goes once the menu has finished its work.
    void removeLater(GtkWidget* view) {
        struct Removal {
            BoardApp* app;
            GtkWidget* view;
        };
        g_idle_add_once(
            [](gpointer data) {
                std::unique_ptr<Removal> removal(static_cast<Removal*>(data));
                removal->app->remove(removal->view);
            },
            new Removal{this, view});
    }

    void remove(GtkWidget* view) {
        const auto found = std::find(m_views.begin(), m_views.end(), view);
        if (found == m_views.end()) return;
        const auto index = std::size_t(found - m_views.begin());
        m_session.remove(index);
        m_cells.erase(m_cells.begin() + std::ptrdiff_t(index));
        m_drawn.erase(m_drawn.begin() + std::ptrdiff_t(index));
        m_views.erase(found);
        gtk_widget_unparent(view);
        placeOnDesktop();
        updateEmptyState();
        save();
        armTimer();
    }

    // ---- The widget gallery: every widget of the bundle, each family a live placeholder ----

    void openGallery() {
        if (m_gallery != nullptr) {
            gtk_window_present(GTK_WINDOW(m_gallery));
            return;
        }
        m_gallery = gtk_window_new();
        gtk_window_set_title(GTK_WINDOW(m_gallery), "Add Widget");
        gtk_window_set_transient_for(GTK_WINDOW(m_gallery), GTK_WINDOW(m_window));
        gtk_window_set_modal(GTK_WINDOW(m_gallery), TRUE);
        gtk_window_set_destroy_with_parent(GTK_WINDOW(m_gallery), TRUE);
        gtk_window_set_default_size(GTK_WINDOW(m_gallery), 1000, 720);
        g_signal_connect_swapped(m_gallery, "destroy",
                                 G_CALLBACK(+[](BoardApp* self) { self->m_gallery = nullptr; }),
                                 this);

        GtkWidget* list = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
        gtk_widget_set_margin_start(list, 24);
        gtk_widget_set_margin_end(list, 24);
        gtk_widget_set_margin_top(list, 24);
        gtk_widget_set_margin_bottom(list, 24);
        for (const auto& widget : m_widgets) {
            GtkWidget* name = gtk_label_new(widget.displayName.c_str());
            gtk_widget_add_css_class(name, "title-3");
            gtk_label_set_xalign(GTK_LABEL(name), 0);
            gtk_box_append(GTK_BOX(list), name);
            GtkWidget* description = gtk_label_new(widget.description.c_str());
            gtk_label_set_wrap(GTK_LABEL(description), TRUE);
            gtk_label_set_xalign(GTK_LABEL(description), 0);
            gtk_widget_add_css_class(description, "dim-label");
            gtk_box_append(GTK_BOX(list), description);

            GtkWidget* previews = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, int(boardSettings.gap));
            gtk_widget_set_margin_bottom(previews, 24);
            for (auto family : widget.families)
                gtk_box_append(GTK_BOX(previews), galleryPreview({widget.kind, family}));
            gtk_box_append(GTK_BOX(list), previews);
        }
        GtkWidget* scroller = gtk_scrolled_window_new();
        gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), list);
        gtk_window_set_child(GTK_WINDOW(m_gallery), scroller);
        gtk_window_present(GTK_WINDOW(m_gallery));
    }

    GtkWidget* galleryPreview(const Placement& placement) {
        GtkWidget* preview = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
        gtk_widget_set_valign(preview, GTK_ALIGN_START);
        GtkWidget* view = newWidgetView(
            placement.family,
            [this, placement](GtkWidget*) {
                gtk_window_destroy(GTK_WINDOW(m_gallery));
                place(placement);
            },
            nullptr);
        // The placeholder comes from the extension; the view waits for it, held until then.
        g_object_ref(view);
        m_worker->post([view, placement,
                        drawing = drawingOptions(gtk_widget_get_scale_factor(m_window)),
                        label = label(placement) + ", " +
                                familyCaption(placement.family)](Extension& extension) {
            const auto reload =
                extension.reload(placement, Request::placeholder, platform::systemClock().now(),
                                 drawing.scale, drawing.encoding, drawing.cornerRadius);
            platform::Result<DrawnWidget> drawn =
                reload ? drawnWidget(*reload->drawing, label) : reload.error();
            return [view, drawn = std::move(drawn)] {
                if (drawn && gtk_widget_get_root(view) != nullptr) showDrawing(view, *drawn);
                g_object_unref(view);
            };
        });
        const auto& placed = m_session.placements();
        if (std::find(placed.begin(), placed.end(), placement) != placed.end()) {
            gtk_widget_set_sensitive(view, FALSE);
            gtk_widget_set_tooltip_text(view, "Already on the board");
        }
        gtk_box_append(GTK_BOX(preview), view);
        GtkWidget* caption = gtk_label_new(familyCaption(placement.family));
        gtk_widget_add_css_class(caption, "dim-label");
        gtk_box_append(GTK_BOX(preview), caption);
        return preview;
    }

    DesktopOptions m_options;
    std::vector<WidgetDescription> m_widgets;  // the bundle's, as the extension describes them
    bool m_described = false;                  // the extension has been asked for them
    std::filesystem::path m_placementsFile;
    HostingSession m_session;  // the placed widgets, their timelines and reload dates
    // Per placement, in the session's order: its cell on the desktop, once the user moved it,
    // and the drawing it shows.
    std::vector<std::optional<DesktopCell>> m_cells;
    std::vector<std::optional<DrawnWidget>> m_drawn;
    std::unique_ptr<DesktopLayer> m_layer;  // none: the widgets stand in the window alone
    bool m_activated = false;
    bool m_asking = false;    // the worker is asking for the due timelines
    bool m_askAgain = false;  // refresh once it has answered
    GtkApplication* m_app = nullptr;
    GtkWidget* m_window = nullptr;
    GtkWidget* m_grid = nullptr;
    GtkWidget* m_emptyLabel = nullptr;
    GtkWidget* m_message = nullptr;
    GtkWidget* m_messageLabel = nullptr;
    GtkWidget* m_gallery = nullptr;
    std::vector<GtkWidget*> m_views;  // while the window is open: one per placement, in order
    std::optional<platform::WakeTimer> m_timer;
    guint m_timerSource = 0;
    guint m_messageTimeout = 0;
    std::optional<std::chrono::steady_clock::time_point> m_redrawStarted;
    std::chrono::steady_clock::duration m_ourPart{};  // of the redraw under way
    std::unique_ptr<ExtensionWorker> m_worker;        // last: its jobs see the rest
};

}  // namespace

int runDesktopBoard(const ExtensionOptions& extension, const DesktopOptions& options) {
    BoardApp app(extension, options);
    return app.run("velmora-widgets");
}

}  // namespace desktop
