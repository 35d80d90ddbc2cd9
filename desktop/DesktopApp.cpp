#include "desktop/DesktopApp.h"

#include "desktop/AddWidgetDialog.h"
#include "desktop/BoardGrid.h"
#include "desktop/DesktopLayer.h"
#include "desktop/DesktopSettings.h"
#include "desktop/ExtensionWorker.h"
#include "desktop/WidgetView.h"
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
const DesktopSettings boardSettings;

// ---- The application ---------------------------------------------------------------------------

constexpr const char* styleSheet = R"(
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
        addStyle(styleSheet);
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
                                 G_CALLBACK(+[](BoardApp* self) { self->openAddWidget(); }), this);
        g_action_map_add_action(G_ACTION_MAP(m_window), G_ACTION(addAction));
        g_object_unref(addAction);

        m_grid = GTK_WIDGET(newBoardGrid());
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
        m_window = m_grid = m_emptyLabel = m_message = m_messageLabel = nullptr;
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
        WidgetView* view = newWidgetView(
            placement.family,
            [this](WidgetView* view) {
                const auto found = std::find(m_views.begin(), m_views.end(), view);
                const auto index = std::size_t(found - m_views.begin());
                if (found != m_views.end() && m_drawn[index] && m_drawn[index]->link)
                    openLink(*m_drawn[index]->link);
            },
            [this](WidgetView* view) { removeLater(view); });
        gtk_widget_set_parent(GTK_WIDGET(view), m_grid);
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
    void removeLater(WidgetView* view) {
        struct Removal {
            BoardApp* app;
            WidgetView* view;
        };
        g_idle_add_once(
            [](gpointer data) {
                std::unique_ptr<Removal> removal(static_cast<Removal*>(data));
                removal->app->remove(removal->view);
            },
            new Removal{this, view});
    }

    void remove(WidgetView* view) {
        const auto found = std::find(m_views.begin(), m_views.end(), view);
        if (found == m_views.end()) return;
        const auto index = std::size_t(found - m_views.begin());
        m_session.remove(index);
        m_cells.erase(m_cells.begin() + std::ptrdiff_t(index));
        m_drawn.erase(m_drawn.begin() + std::ptrdiff_t(index));
        m_views.erase(found);
        gtk_widget_unparent(GTK_WIDGET(view));
        placeOnDesktop();
        updateEmptyState();
        save();
        armTimer();
    }

    // Every widget of the bundle offered in the Add Widget dialog, each family a live preview.
    void openAddWidget() {
        AddWidgetChoices choices;
        choices.widgets = m_widgets;
        choices.placed = m_session.placements();
        choices.scale = gtk_widget_get_scale_factor(m_window);
        choices.cornerRadius = boardSettings.cornerRadius;
        choices.place = [this](const Placement& placement) { place(placement); };
        openAddWidgetDialog(std::move(choices), *m_worker);
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
    std::vector<WidgetView*> m_views;  // while the window is open: one per placement, in order
    std::optional<platform::WakeTimer> m_timer;
    guint m_timerSource = 0;
    guint m_messageTimeout = 0;
    std::optional<std::chrono::steady_clock::time_point> m_redrawStarted;
    std::chrono::steady_clock::duration m_ourPart{};  // of the redraw under way
    std::unique_ptr<ExtensionWorker> m_worker;        // last: its jobs see the rest
};

}  // namespace

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

int runDesktopBoard(const ExtensionOptions& extension, const DesktopOptions& options) {
    BoardApp app(extension, options);
    return app.run("velmora-widgets");
}

}  // namespace desktop
