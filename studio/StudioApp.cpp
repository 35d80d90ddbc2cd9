#include "studio/StudioApp.h"

#include "desktop/DesktopApp.h"
#include "desktop/ExtensionWorker.h"
#include "desktop/WidgetView.h"
#include "hosting/DrawnWidget.h"
#include "hosting/ReloadBudget.h"
#include "layout/PlatformDefaults.h"
#include "platform/Date.h"
#include "platform/Deployment.h"
#include "store/StoreLocation.h"
#include "studio/DayPlan.h"
#include "studio/RecordDraft.h"
#include "studio/RecordStore.h"
#include "timeline/Placement.h"

#include <gtk/gtk.h>
#include <gtksourceview/gtksource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace studio {

using hosting::ExtensionOptions;
using timeline::Placement;
using timeline::WidgetFamily;
using namespace std::chrono_literals;

namespace {

constexpr double cornerRadius = 22;
constexpr int minutesADay = 24 * 60;
// What the pickers offer: the locales ICU has data for here, and zones either side of UTC.
const std::array<const char*, 2> locales{"en_US", "de_DE"};
const std::array<const char*, 5> timeZones{"UTC", "Europe/Berlin", "America/New_York", "Asia/Tokyo",
                                           "Australia/Sydney"};
const std::array<const char*, 2> appearances{"dark", "light"};
const std::array<const char*, 3> exportFormats{"png", "svg", "pdf"};
const std::array<const char*, 2> spans{"day", "week"};

constexpr const char* styleSheet = R"(
.studio-fault { color: #ff6b6b; }
.studio-caption { font-size: smaller; opacity: 0.7; }
)";

platform::Date dayOf(platform::Date date) {
    return std::chrono::floor<std::chrono::days>(date);
}

// "06:30": the time of day of a date, UTC.
std::string clockTime(platform::Date date) {
    const auto text = platform::formatDate(date);
    return text.size() >= 16 ? text.substr(11, 5) : text;
}

std::string familyTitle(WidgetFamily family) {
    switch (family) {
        case WidgetFamily::systemSmall:
            return "small";
        case WidgetFamily::systemMedium:
            return "medium";
        case WidgetFamily::systemLarge:
            return "large";
    }
    return "";
}

int indexOf(const auto& choices, const std::string& value) {
    for (std::size_t i = 0; i < choices.size(); ++i)
        if (value == choices[i]) return int(i);
    return 0;
}

GtkWidget* dropDown(const auto& choices, int selected) {
    std::vector<const char*> strings(choices.begin(), choices.end());
    strings.push_back(nullptr);
    GtkWidget* drop = gtk_drop_down_new_from_strings(strings.data());
    gtk_drop_down_set_selected(GTK_DROP_DOWN(drop), guint(selected));
    return drop;
}

// A label for a control, tied to it for assistive technologies and Alt+letter.
GtkWidget* labelled(GtkWidget* box, const char* mnemonic, GtkWidget* control) {
    GtkWidget* label = gtk_label_new_with_mnemonic(mnemonic);
    gtk_label_set_mnemonic_widget(GTK_LABEL(label), control);
    gtk_box_append(GTK_BOX(box), label);
    gtk_box_append(GTK_BOX(box), control);
    return control;
}

// One record's editor: the text with its syntax, and the decoder's message under it.
struct RecordEditor {
    GtkSourceBuffer* buffer = nullptr;
    GtkWidget* view = nullptr;
    GtkWidget* fault = nullptr;  // a label
    GtkTextTag* faultTag = nullptr;
};

// A widget as the studio shows it: its placement and its view.
struct StudioWidget {
    Placement placement;
    std::string label;
    desktop::WidgetView* view = nullptr;
    GtkWidget* caption = nullptr;  // its name, and the timeline it shows
};

class Studio {
public:
    explicit Studio(StudioOptions options)
        : m_options(std::move(options)), m_store(store::storeDirectory(m_options.storeDirectory)) {
        m_drawing = m_options.drawing;
        if (m_drawing.locale.empty()) m_drawing.locale = locales[0];
        if (m_drawing.timeZone.empty()) m_drawing.timeZone = timeZones[0];
        if (m_drawing.appearance.empty()) m_drawing.appearance = appearances[0];
        const auto start =
            m_options.at.empty() ? std::nullopt : platform::parseCommandLineDate(m_options.at);
        const auto now = start ? *start
                               : std::chrono::time_point_cast<std::chrono::microseconds>(
                                     std::chrono::system_clock::now());
        m_day = dayOf(now);
        m_minute = int(std::chrono::floor<std::chrono::minutes>(now - m_day).count());
        m_app =
            gtk_application_new((std::string(platform::desktopApplicationId()) + ".Studio").c_str(),
                                G_APPLICATION_NON_UNIQUE);
        g_signal_connect(m_app, "activate", G_CALLBACK(+[](GApplication*, gpointer self) {
                             static_cast<Studio*>(self)->activate();
                         }),
                         this);
    }
    Studio(const Studio&) = delete;
    Studio& operator=(const Studio&) = delete;
    ~Studio() {
        m_worker.reset();  // ends the extension before its private store goes
        std::error_code ignored;
        if (!m_scratch.empty()) std::filesystem::remove_all(m_scratch, ignored);
        g_object_unref(m_app);
    }

    int run() {
        char name[] = "velmora-widgets-studio";
        char* argv[] = {name, nullptr};
        return g_application_run(G_APPLICATION(m_app), 1, argv);
    }

private:
    // ---- Building the window -------------------------------------------------------------------

    void activate() {
        gtk_source_init();
        if (!makeScratchStore()) return;
        desktop::addStyle(styleSheet);

        m_window = gtk_application_window_new(m_app);
        gtk_window_set_title(GTK_WINDOW(m_window), "Velmora Widgets Studio");
        gtk_window_set_default_size(GTK_WINDOW(m_window), 1560, 1000);

        GtkWidget* page = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
        gtk_box_append(GTK_BOX(page), toolbar());
        GtkWidget* paned = gtk_paned_new(GTK_ORIENTATION_HORIZONTAL);
        gtk_widget_set_vexpand(paned, TRUE);
        gtk_paned_set_start_child(GTK_PANED(paned), editors());
        gtk_paned_set_end_child(GTK_PANED(paned), preview());
        gtk_paned_set_position(GTK_PANED(paned), 500);
        gtk_box_append(GTK_BOX(page), paned);
        m_status = gtk_label_new("");
        gtk_label_set_xalign(GTK_LABEL(m_status), 0);
        gtk_widget_set_margin_start(m_status, 12);
        gtk_widget_set_margin_end(m_status, 12);
        gtk_widget_set_margin_top(m_status, 6);
        gtk_widget_set_margin_bottom(m_status, 6);
        gtk_label_set_selectable(GTK_LABEL(m_status), TRUE);
        gtk_box_append(GTK_BOX(page), m_status);
        gtk_window_set_child(GTK_WINDOW(m_window), page);
        shortcuts();

        loadRecords();
        startExtension();
        gtk_window_present(GTK_WINDOW(m_window));
    }

    // The widgets read a private copy of the records, so that nothing reaches the chosen store
    // until it is written there.
    // It lives in memory (the user's runtime folder, or the shared-memory file system), so that
    // a keystroke's write waits for no disk.
    bool makeScratchStore() {
        std::filesystem::path base = g_get_tmp_dir();
        std::error_code ignored;
        if (const char* runtime = std::getenv("XDG_RUNTIME_DIR");
            runtime != nullptr && std::filesystem::is_directory(runtime, ignored))
            base = runtime;
        else if (std::filesystem::is_directory("/dev/shm", ignored) &&
                 ::access("/dev/shm", W_OK) == 0)
            base = "/dev/shm";
        std::string pattern = (base / "velmora-studio-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            std::fprintf(stderr, "velmora-widgets-studio: error: no private store in %s: %s\n",
                         base.c_str(), std::strerror(errno));
            g_application_quit(G_APPLICATION(m_app));
            return false;
        }
        m_scratch = pattern;
        return true;
    }

    GtkWidget* toolbar() {
        GtkWidget* bar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
        for (auto* margin : {&gtk_widget_set_margin_start, &gtk_widget_set_margin_end,
                             &gtk_widget_set_margin_top, &gtk_widget_set_margin_bottom})
            (*margin)(bar, 8);
        m_locale = labelled(bar, "_Locale", dropDown(locales, indexOf(locales, m_drawing.locale)));
        m_timeZone = labelled(bar, "_Time zone",
                              dropDown(timeZones, indexOf(timeZones, m_drawing.timeZone)));
        m_appearance = labelled(bar, "A_ppearance",
                                dropDown(appearances, indexOf(appearances, m_drawing.appearance)));
        for (GtkWidget* drop : {m_locale, m_timeZone, m_appearance})
            g_signal_connect(drop, "notify::selected",
                             G_CALLBACK(+[](GObject*, GParamSpec*, gpointer self) {
                                 static_cast<Studio*>(self)->drawingChanged();
                             }),
                             this);
        m_scale = labelled(bar, "_Scale", gtk_spin_button_new_with_range(1, 3, 1));
        g_signal_connect(m_scale, "value-changed", G_CALLBACK(+[](GtkSpinButton*, gpointer self) {
                             static_cast<Studio*>(self)->redraw();
                         }),
                         this);

        gtk_box_append(GTK_BOX(bar), gtk_separator_new(GTK_ORIENTATION_VERTICAL));
        m_budget = labelled(bar, "Platform _budget", gtk_switch_new());
        gtk_widget_set_valign(m_budget, GTK_ALIGN_CENTER);
        m_budgetPerDay = gtk_spin_button_new_with_range(hosting::ReloadBudget::fewestPerDay,
                                                        hosting::ReloadBudget::mostPerDay, 1);
        gtk_spin_button_set_value(GTK_SPIN_BUTTON(m_budgetPerDay), 40);
        labelled(bar, "_reloads a day", m_budgetPerDay);
        g_signal_connect(m_budget, "notify::active",
                         G_CALLBACK(+[](GObject*, GParamSpec*, gpointer self) {
                             static_cast<Studio*>(self)->planChanged();
                         }),
                         this);
        g_signal_connect(m_budgetPerDay, "value-changed",
                         G_CALLBACK(+[](GtkSpinButton*, gpointer self) {
                             static_cast<Studio*>(self)->planChanged();
                         }),
                         this);

        GtkWidget* spacer = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
        gtk_widget_set_hexpand(spacer, TRUE);
        gtk_box_append(GTK_BOX(bar), spacer);
        m_replay = gtk_toggle_button_new_with_mnemonic("Repla_y");
        gtk_widget_set_tooltip_text(m_replay, "Ctrl+R");
        g_signal_connect(m_replay, "toggled", G_CALLBACK(+[](GtkToggleButton*, gpointer self) {
                             static_cast<Studio*>(self)->replayToggled();
                         }),
                         this);
        gtk_box_append(GTK_BOX(bar), m_replay);
        m_format = dropDown(exportFormats, 0);
        gtk_accessible_update_property(GTK_ACCESSIBLE(m_format), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                       "Export format", -1);
        gtk_box_append(GTK_BOX(bar), m_format);
        GtkWidget* exportButton = gtk_button_new_with_mnemonic("_Export…");
        gtk_widget_set_tooltip_text(exportButton, "Ctrl+E");
        g_signal_connect_swapped(exportButton, "clicked", G_CALLBACK(+[](gpointer self) {
                                     static_cast<Studio*>(self)->chooseExportFolder();
                                 }),
                                 this);
        gtk_box_append(GTK_BOX(bar), exportButton);
        GtkWidget* write = gtk_button_new_with_mnemonic("_Write to store");
        gtk_widget_set_tooltip_text(write, "Ctrl+S");
        g_signal_connect_swapped(
            write, "clicked",
            G_CALLBACK(+[](gpointer self) { static_cast<Studio*>(self)->writeToStore(); }), this);
        gtk_box_append(GTK_BOX(bar), write);
        return bar;
    }

    GtkWidget* editors() {
        m_notebook = gtk_notebook_new();
        GtkSourceLanguage* json = gtk_source_language_manager_get_language(
            gtk_source_language_manager_get_default(), "json");
        GtkSourceStyleSchemeManager* schemes = gtk_source_style_scheme_manager_get_default();
        GtkSourceStyleScheme* scheme = nullptr;
        for (const char* id : {"Adwaita-dark", "oblivion", "classic-dark", "classic"})
            if ((scheme = gtk_source_style_scheme_manager_get_scheme(schemes, id)) != nullptr)
                break;
        for (std::size_t i = 0; i < studioRecords().size(); ++i) {
            auto& editor = m_editors[i];
            editor.buffer = gtk_source_buffer_new(nullptr);
            if (json != nullptr) gtk_source_buffer_set_language(editor.buffer, json);
            if (scheme != nullptr) gtk_source_buffer_set_style_scheme(editor.buffer, scheme);
            editor.faultTag = gtk_text_buffer_create_tag(
                GTK_TEXT_BUFFER(editor.buffer), "fault", "underline", PANGO_UNDERLINE_ERROR,
                "background", "rgba(255, 80, 80, 0.3)", nullptr);
            editor.view = gtk_source_view_new_with_buffer(editor.buffer);
            g_object_unref(editor.buffer);
            gtk_text_view_set_monospace(GTK_TEXT_VIEW(editor.view), TRUE);
            gtk_source_view_set_show_line_numbers(GTK_SOURCE_VIEW(editor.view), TRUE);
            gtk_source_view_set_auto_indent(GTK_SOURCE_VIEW(editor.view), TRUE);
            gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(editor.view), GTK_WRAP_WORD_CHAR);
            const std::string name = std::string(studioRecords()[i].title) + " (" +
                                     std::string(studioRecords()[i].key) + ")";
            gtk_accessible_update_property(GTK_ACCESSIBLE(editor.view),
                                           GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);
            GtkWidget* scrolled = gtk_scrolled_window_new();
            gtk_widget_set_vexpand(scrolled, TRUE);
            gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), editor.view);
            editor.fault = gtk_label_new("");
            gtk_label_set_wrap(GTK_LABEL(editor.fault), TRUE);
            gtk_label_set_xalign(GTK_LABEL(editor.fault), 0);
            gtk_label_set_selectable(GTK_LABEL(editor.fault), TRUE);
            gtk_widget_add_css_class(editor.fault, "studio-fault");
            gtk_widget_set_margin_start(editor.fault, 8);
            gtk_widget_set_margin_end(editor.fault, 8);
            gtk_widget_set_margin_top(editor.fault, 4);
            gtk_widget_set_margin_bottom(editor.fault, 4);
            GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
            gtk_box_append(GTK_BOX(box), scrolled);
            gtk_box_append(GTK_BOX(box), editor.fault);
            const std::string tab =
                "_" + std::to_string(i + 1) + " " + std::string(studioRecords()[i].title);
            gtk_notebook_append_page(GTK_NOTEBOOK(m_notebook), box,
                                     gtk_label_new_with_mnemonic(tab.c_str()));
        }
        return m_notebook;
    }

    GtkWidget* preview() {
        GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
        gtk_widget_set_margin_start(box, 12);
        gtk_widget_set_margin_end(box, 12);

        GtkWidget* dayRow = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
        m_dayEntry = labelled(dayRow, "_Day (UTC)", gtk_entry_new());
        gtk_editable_set_text(GTK_EDITABLE(m_dayEntry),
                              platform::formatDate(m_day).substr(0, 10).c_str());
        gtk_editable_set_width_chars(GTK_EDITABLE(m_dayEntry), 11);
        g_signal_connect(m_dayEntry, "activate", G_CALLBACK(+[](GtkEntry*, gpointer self) {
                             static_cast<Studio*>(self)->dayChosen();
                         }),
                         this);
        m_span = labelled(dayRow, "Spa_n", dropDown(spans, 0));
        g_signal_connect(m_span, "notify::selected",
                         G_CALLBACK(+[](GObject*, GParamSpec*, gpointer self) {
                             static_cast<Studio*>(self)->spanChosen();
                         }),
                         this);
        m_clock = gtk_label_new("");
        gtk_box_append(GTK_BOX(dayRow), m_clock);
        gtk_box_append(GTK_BOX(box), dayRow);

        m_scrubber = gtk_scale_new_with_range(GTK_ORIENTATION_HORIZONTAL, 0, minutesADay - 1, 1);
        gtk_scale_set_draw_value(GTK_SCALE(m_scrubber), FALSE);
        gtk_range_set_increments(GTK_RANGE(m_scrubber), 15, 60);
        gtk_range_set_value(GTK_RANGE(m_scrubber), m_minute);
        gtk_accessible_update_property(GTK_ACCESSIBLE(m_scrubber), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                       "Now", -1);
        g_signal_connect(m_scrubber, "value-changed", G_CALLBACK(+[](GtkRange*, gpointer self) {
                             static_cast<Studio*>(self)->scrubbed();
                         }),
                         this);
        gtk_box_append(GTK_BOX(box), m_scrubber);
        updateClock();

        m_track = gtk_drawing_area_new();
        gtk_drawing_area_set_content_height(GTK_DRAWING_AREA(m_track), 64);
        gtk_drawing_area_set_draw_func(
            GTK_DRAWING_AREA(m_track),
            +[](GtkDrawingArea*, cairo_t* cr, int width, int height, gpointer self) {
                static_cast<Studio*>(self)->drawTrack(cr, width, height);
            },
            this, nullptr);
        gtk_box_append(GTK_BOX(box), m_track);
        m_planSummary = gtk_label_new("");
        gtk_label_set_xalign(GTK_LABEL(m_planSummary), 0);
        gtk_label_set_wrap(GTK_LABEL(m_planSummary), TRUE);
        gtk_label_set_selectable(GTK_LABEL(m_planSummary), TRUE);
        gtk_box_append(GTK_BOX(box), m_planSummary);

        m_grid = gtk_box_new(GTK_ORIENTATION_VERTICAL, 16);  // a row for each kind
        gtk_widget_set_valign(m_grid, GTK_ALIGN_START);
        GtkWidget* scrolled = gtk_scrolled_window_new();
        gtk_widget_set_vexpand(scrolled, TRUE);
        gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), m_grid);
        gtk_box_append(GTK_BOX(box), scrolled);
        return box;
    }

    void shortcuts() {
        GtkEventController* keys = gtk_shortcut_controller_new();
        gtk_shortcut_controller_set_scope(GTK_SHORTCUT_CONTROLLER(keys), GTK_SHORTCUT_SCOPE_GLOBAL);
        // Before the focused widget: an editor's own Alt+arrow bindings give way to the scrubber.
        gtk_event_controller_set_propagation_phase(keys, GTK_PHASE_CAPTURE);
        const auto add = [&](const char* trigger, void (*act)(Studio*)) {
            auto* action = gtk_callback_action_new(
                +[](GtkWidget*, GVariant*, gpointer data) -> gboolean {
                    auto* bound = static_cast<std::pair<Studio*, void (*)(Studio*)>*>(data);
                    bound->second(bound->first);
                    return TRUE;
                },
                new std::pair<Studio*, void (*)(Studio*)>(this, act),
                +[](gpointer data) {
                    delete static_cast<std::pair<Studio*, void (*)(Studio*)>*>(data);
                });
            gtk_shortcut_controller_add_shortcut(
                GTK_SHORTCUT_CONTROLLER(keys),
                gtk_shortcut_new(gtk_shortcut_trigger_parse_string(trigger), action));
        };
        add("<Control>s", [](Studio* s) { s->writeToStore(); });
        add("<Control>e", [](Studio* s) { s->chooseExportFolder(); });
        add("<Control>r", [](Studio* s) {
            gtk_toggle_button_set_active(
                GTK_TOGGLE_BUTTON(s->m_replay),
                !gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(s->m_replay)));
        });
        add("<Alt>Right", [](Studio* s) { s->step(15); });
        add("<Alt>Left", [](Studio* s) { s->step(-15); });
        for (int i = 0; i < 3; ++i) {
            const std::string trigger = "<Control>" + std::to_string(i + 1);
            static void (*const focus[3])(Studio*) = {[](Studio* s) { s->focusEditor(0); },
                                                      [](Studio* s) { s->focusEditor(1); },
                                                      [](Studio* s) { s->focusEditor(2); }};
            add(trigger.c_str(), focus[i]);
        }
        gtk_widget_add_controller(m_window, keys);
    }

    void focusEditor(int index) {
        gtk_notebook_set_current_page(GTK_NOTEBOOK(m_notebook), index);
        gtk_widget_grab_focus(m_editors[std::size_t(index)].view);
    }

    // ---- The records ---------------------------------------------------------------------------

    void loadRecords() {
        auto stored = readRecords(m_store);
        std::string note;
        if (!stored) note = "The store cannot be read (" + stored.error().description + "): ";
        std::vector<std::string> samples;
        for (std::size_t i = 0; i < m_editors.size(); ++i) {
            const auto key = studioRecords()[i].key;
            std::string text;
            if (stored && stored.value()[i]) {
                text = *stored.value()[i];
            } else {
                text = sampleRecord(key, m_day + std::chrono::minutes(m_minute));
                samples.emplace_back(key);
            }
            gtk_text_buffer_set_text(GTK_TEXT_BUFFER(m_editors[i].buffer), text.c_str(),
                                     int(text.size()));
            g_signal_connect(m_editors[i].buffer, "changed",
                             G_CALLBACK(+[](GtkTextBuffer*, gpointer self) {
                                 static_cast<Studio*>(self)->edited();
                             }),
                             this);
            checkEditor(i);
        }
        if (!samples.empty()) {
            note += "samples for ";
            for (std::size_t i = 0; i < samples.size(); ++i)
                note += (i == 0 ? "" : ", ") + samples[i];
            note += " (the store holds none); ";
        }
        m_storeNote = note + "store: " + m_store.string();
        setStatus(m_storeNote);
        m_recordsChanged = true;
    }

    std::string editorText(std::size_t index) const {
        GtkTextIter start, end;
        gtk_text_buffer_get_bounds(GTK_TEXT_BUFFER(m_editors[index].buffer), &start, &end);
        char* text =
            gtk_text_buffer_get_text(GTK_TEXT_BUFFER(m_editors[index].buffer), &start, &end, FALSE);
        std::string copy = text;
        g_free(text);
        return copy;
    }

    RecordTexts editedRecords() const {
        RecordTexts texts;
        for (std::size_t i = 0; i < m_editors.size(); ++i) {
            auto text = editorText(i);
            if (text.find_first_not_of(" \t\r\n") != std::string::npos) texts[i] = std::move(text);
        }
        return texts;
    }

    // Shows what the widgets' decoder says of the record, and marks the place it points at.
    std::optional<RecordFault> checkEditor(std::size_t index) {
        auto& editor = m_editors[index];
        auto* buffer = GTK_TEXT_BUFFER(editor.buffer);
        GtkTextIter start, end;
        gtk_text_buffer_get_bounds(buffer, &start, &end);
        gtk_text_buffer_remove_tag(buffer, editor.faultTag, &start, &end);
        const auto text = editorText(index);
        auto fault = checkRecord(studioRecords()[index].key, text);
        if (!fault) {
            gtk_label_set_text(GTK_LABEL(editor.fault), "");
            gtk_widget_set_visible(editor.fault, FALSE);
            return fault;
        }
        // The buffer counts characters; the decoder, bytes.
        const auto characters = [&](std::size_t bytes) {
            return int(g_utf8_strlen(text.c_str(), gssize(std::min(bytes, text.size()))));
        };
        GtkTextIter from, to;
        gtk_text_buffer_get_iter_at_offset(buffer, &from, characters(fault->offset));
        gtk_text_buffer_get_iter_at_offset(buffer, &to, characters(fault->offset + fault->length));
        gtk_text_buffer_apply_tag(buffer, editor.faultTag, &from, &to);
        const int line = gtk_text_iter_get_line(&from) + 1;
        const std::string shown = "Line " + std::to_string(line) + ": " + fault->message +
                                  ". The widgets show what they show without this record.";
        gtk_label_set_text(GTK_LABEL(editor.fault), shown.c_str());
        gtk_widget_set_visible(editor.fault, TRUE);
        return fault;
    }

    void edited() {
        if (m_editStarted == 0) m_editStarted = g_get_monotonic_time();
        for (std::size_t i = 0; i < m_editors.size(); ++i) checkEditor(i);
        m_recordsChanged = true;
        redraw();
    }

    void writeToStore() {
        std::string faults;
        for (std::size_t i = 0; i < m_editors.size(); ++i)
            if (auto fault = checkEditor(i))
                faults += (faults.empty() ? "" : "; ") + std::string(studioRecords()[i].key) +
                          ": " + fault->message;
        if (!faults.empty()) {
            setStatus("Not written: the widgets would not decode " + faults);
            return;
        }
        if (auto written = writeRecords(m_store, editedRecords()); !written) {
            setStatus("Not written: " + written.error().description);
            return;
        }
        setStatus("Wrote the records to " + m_store.string());
    }

    // ---- Drawing -------------------------------------------------------------------------------

    void drawingChanged() {
        m_drawing.locale = locales[gtk_drop_down_get_selected(GTK_DROP_DOWN(m_locale))];
        m_drawing.timeZone = timeZones[gtk_drop_down_get_selected(GTK_DROP_DOWN(m_timeZone))];
        m_drawing.appearance = appearances[gtk_drop_down_get_selected(GTK_DROP_DOWN(m_appearance))];
        startExtension();
    }

    // A new extension for the current locale, time zone and appearance: it describes the
    // widgets, and the day's plan and the drawings follow.
    void startExtension() {
        ExtensionOptions options = m_drawing;
        options.storeDirectory = m_scratch.string();
        m_extensionSettings = desktop::boardExtensionSettings(options);
        m_worker.reset();
        m_worker = std::make_unique<desktop::ExtensionWorker>(m_extensionSettings);
        m_inFlight = false;
        m_recordsChanged = true;
        const auto generation = ++m_workerGeneration;
        if (!m_widgets.empty()) {
            planChanged();
            redraw();
            return;
        }
        m_worker->post([this, generation](hosting::Extension& extension) -> std::function<void()> {
            auto described = extension.describe();
            return [this, generation, described = std::move(described)] {
                if (generation != m_workerGeneration) return;
                if (!described) {
                    setStatus("The extension did not describe its widgets: " +
                              described.error().description);
                    return;
                }
                makeViews(described.value());
                planChanged();
                redraw();
            };
        });
    }

    void makeViews(const std::vector<timeline::WidgetDescription>& widgets) {
        for (const auto& widget : widgets) {
            GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 24);
            gtk_box_append(GTK_BOX(m_grid), row);
            for (const auto family : widget.families) {
                StudioWidget shown{{widget.kind, family},
                                   widget.displayName + " · " + familyTitle(family)};
                shown.view = desktop::newWidgetView(family, nullptr, nullptr);
                GtkWidget* cell = gtk_box_new(GTK_ORIENTATION_VERTICAL, 4);
                shown.caption = gtk_label_new(shown.label.c_str());
                gtk_label_set_xalign(GTK_LABEL(shown.caption), 0);
                // As wide as the widget, wrapped: the row keeps the widgets' own spacing.
                gtk_label_set_wrap(GTK_LABEL(shown.caption), TRUE);
                gtk_label_set_wrap_mode(GTK_LABEL(shown.caption), PANGO_WRAP_WORD_CHAR);
                gtk_label_set_max_width_chars(GTK_LABEL(shown.caption), 10);
                gtk_widget_set_size_request(shown.caption,
                                            int(layout::defaults::canvasSize(family).width), -1);
                gtk_widget_add_css_class(shown.caption, "studio-caption");
                gtk_box_append(GTK_BOX(cell), shown.caption);
                gtk_widget_set_halign(GTK_WIDGET(shown.view), GTK_ALIGN_START);
                gtk_box_append(GTK_BOX(cell), GTK_WIDGET(shown.view));
                gtk_widget_set_valign(cell, GTK_ALIGN_START);
                gtk_box_append(GTK_BOX(row), cell);
                m_widgets.push_back(std::move(shown));
            }
        }
    }

    platform::Date now() const { return m_day + std::chrono::minutes(m_minute); }

    // The placement's last request at or before `at` by the day's plan: the timeline it shows
    // then. None before the plan is known.
    const hosting::TimelineRequestRecord* lastRequest(const Placement& placement,
                                                      platform::Date at) const {
        const hosting::TimelineRequestRecord* last = nullptr;
        for (const auto& request : m_plan.requests)
            if (request.placement == placement && request.requestedAt <= at) last = &request;
        return last;
    }
    // When the host last asked for the placement's timeline: the moment its entry is drawn at.
    platform::Date drawnAt(const Placement& placement, platform::Date at) const {
        const auto* last = lastRequest(placement, at);
        return last != nullptr ? last->requestedAt : at;
    }
    // "Daily Brief · medium · timeline of 06:30, next reload 2025-11-17 06:30"
    std::string caption(const StudioWidget& widget) const {
        const auto* last = lastRequest(widget.placement, now());
        if (last == nullptr) return widget.label;
        const auto next = last->timeline.policy.date;
        const bool sameDay = dayOf(next) == dayOf(now());
        return widget.label + " · timeline of " + clockTime(last->requestedAt) + ", next reload " +
               (sameDay ? "" : platform::formatDate(next).substr(0, 10) + " ") + clockTime(next) +
               (last->lateBy().count() > 0 ? " (late: asked for " + clockTime(*last->askedFor) + ")"
                                           : "");
    }

    // Draws every widget again, unless a drawing is in flight: then the newest state is drawn
    // once it is back, and what it brings is dropped.
    void redraw() {
        if (m_worker == nullptr || m_widgets.empty()) return;
        ++m_redrawGeneration;
        if (m_inFlight) return;
        m_inFlight = true;
        struct Job {
            std::optional<RecordTexts> records;  // written to the private store first
            std::vector<Placement> placements;
            std::vector<platform::Date> dates;
            std::vector<std::string> labels;
            double scale = 1;
        };
        Job job;
        if (m_recordsChanged) job.records = editedRecords();
        m_recordsChanged = false;
        for (const auto& widget : m_widgets) {
            job.placements.push_back(widget.placement);
            job.dates.push_back(drawnAt(widget.placement, now()));
            job.labels.push_back(widget.label);
        }
        job.scale = gtk_spin_button_get_value(GTK_SPIN_BUTTON(m_scale));
        const auto generation = m_redrawGeneration;
        const auto workerGeneration = m_workerGeneration;
        const auto started = m_editStarted != 0 ? m_editStarted : g_get_monotonic_time();
        m_editStarted = 0;
        m_worker->post([this, job = std::move(job), generation, workerGeneration,
                        started](hosting::Extension& extension) -> std::function<void()> {
            std::optional<platform::Error> failure;
            if (job.records) {
                if (auto written = updateRecords(m_scratch, *job.records, m_scratchHolds);
                    !written) {
                    failure = written.error();
                    m_scratchHolds = {};  // unknown: written whole next time
                } else {
                    m_scratchHolds = *job.records;
                }
            }
            std::vector<platform::Result<hosting::DrawnWidget>> drawn;
            for (std::size_t i = 0; i < job.placements.size(); ++i) {
                auto reload =
                    extension.reload(job.placements[i], timeline::Request::timeline, job.dates[i],
                                     job.scale, ipc::ImageEncoding::argb32, cornerRadius);
                if (!reload)
                    drawn.emplace_back(reload.error());
                else if (!reload->drawing)
                    drawn.emplace_back(platform::Error{"no drawing came back"});
                else
                    drawn.push_back(hosting::drawnWidget(*reload->drawing, job.labels[i]));
            }
            return [this, drawn = std::move(drawn), failure, generation, workerGeneration, started,
                    scale = job.scale] {
                if (workerGeneration != m_workerGeneration) return;
                m_inFlight = false;
                if (generation != m_redrawGeneration) {  // superseded: draw the newest
                    redraw();
                    return;
                }
                show(drawn, scale, failure, started);
            };
        });
    }

    void show(const std::vector<platform::Result<hosting::DrawnWidget>>& drawn, double scale,
              const std::optional<platform::Error>& failure, gint64 started) {
        const double zoom = scale / std::max(1, gtk_widget_get_scale_factor(m_window));
        std::string errors;
        for (std::size_t i = 0; i < drawn.size() && i < m_widgets.size(); ++i) {
            desktop::setZoom(m_widgets[i].view, zoom);
            gtk_label_set_text(GTK_LABEL(m_widgets[i].caption), caption(m_widgets[i]).c_str());
            if (drawn[i])
                desktop::showDrawing(m_widgets[i].view, drawn[i].value());
            else
                errors += "; " + m_widgets[i].label + ": " + drawn[i].error().description;
        }
        const double took = double(g_get_monotonic_time() - started) / 1000.0;
        char figure[64];
        std::snprintf(figure, sizeof figure, "%.1f", took);
        if (m_options.timing) {
            std::printf("redrawn %zu widgets in %s ms\n", drawn.size(), figure);
            std::fflush(stdout);
        }
        std::string status = std::to_string(drawn.size()) + " widgets drawn in " + figure +
                             " ms at " + platform::formatDate(now()) + " · " + m_storeNote;
        if (failure) status = "The private store was not written: " + failure->description;
        setStatus(status + errors);
    }

    // ---- Time ----------------------------------------------------------------------------------

    void scrubbed() {
        m_minute = int(gtk_range_get_value(GTK_RANGE(m_scrubber)));
        updateClock();
        gtk_widget_queue_draw(m_track);
        redraw();
    }

    void step(int minutes) {
        gtk_range_set_value(GTK_RANGE(m_scrubber),
                            std::clamp(m_minute + minutes, 0, m_days * minutesADay - 1));
    }

    void updateClock() {
        // The date as well once the stretch is longer than a day.
        const std::string text =
            (m_days > 1 ? platform::formatDate(now()).substr(0, 10) + " " : "") + clockTime(now()) +
            " UTC";
        gtk_label_set_text(GTK_LABEL(m_clock), text.c_str());
    }

    // The scrubber's stretch: a day, or a week from the chosen day.
    [[nodiscard]] std::chrono::hours span() const { return std::chrono::hours(24 * m_days); }

    void spanChosen() {
        m_days = gtk_drop_down_get_selected(GTK_DROP_DOWN(m_span)) == 1 ? 7 : 1;
        const int last = m_days * minutesADay - 1;
        gtk_range_set_range(GTK_RANGE(m_scrubber), 0, last);
        gtk_range_set_value(GTK_RANGE(m_scrubber), std::min(m_minute, last));
        planChanged();
        scrubbed();
    }

    void dayChosen() {
        const std::string text = gtk_editable_get_text(GTK_EDITABLE(m_dayEntry));
        const auto date = platform::parseCommandLineDate(text + "T00:00:00Z");
        if (!date) {
            setStatus("Day: expected a date such as 2025-11-16, got \"" + text + "\"");
            return;
        }
        m_day = *date;
        planChanged();
        scrubbed();
    }

    std::optional<hosting::ReloadBudget> budget() const {
        if (!gtk_switch_get_active(GTK_SWITCH(m_budget))) return std::nullopt;
        return hosting::ReloadBudget{
            gtk_spin_button_get_value_as_int(GTK_SPIN_BUTTON(m_budgetPerDay))};
    }

    // Plans the day again through the extension: each widget's requests, as the host asks them
    // or under the budget.
    void planChanged() {
        if (m_worker == nullptr || m_widgets.empty()) return;
        const auto generation = ++m_planGeneration;
        const auto workerGeneration = m_workerGeneration;
        std::vector<Placement> placements;
        for (const auto& widget : m_widgets) placements.push_back(widget.placement);
        m_worker->post([this, placements, day = m_day, span = span(), budget = budget(), generation,
                        workerGeneration](hosting::Extension& extension) -> std::function<void()> {
            auto plan =
                std::make_shared<DayPlan>(planDay(extension, placements, day, day + span, budget));
            return [this, plan, generation, workerGeneration] {
                if (generation != m_planGeneration || workerGeneration != m_workerGeneration)
                    return;
                m_plan = std::move(*plan);
                planned();
            };
        });
    }

    void planned() {
        // The brief's reload dates on the scrubber itself, each a mark to stop at.
        gtk_scale_clear_marks(GTK_SCALE(m_scrubber));
        std::map<std::string, int> reloads, late;
        std::map<std::string, std::chrono::microseconds> longest;
        for (const auto& request : m_plan.requests) {
            const auto placed = request.placement.kind + " " +
                                std::string(timeline::name(request.placement.family));
            ++reloads[placed];
            if (request.lateBy().count() > 0) {
                ++late[placed];
                longest[placed] = std::max(longest[placed], request.lateBy());
            }
            if (request.placement.family == WidgetFamily::systemMedium &&
                request.placement.kind == "DailyBrief" && request.requestedAt > m_day) {
                const double minute = double(
                    std::chrono::duration_cast<std::chrono::minutes>(request.requestedAt - m_day)
                        .count());
                const std::string label =
                    (m_days > 1 ? platform::formatDate(request.requestedAt).substr(5, 5) + " "
                                : "") +
                    clockTime(request.requestedAt);
                gtk_scale_add_mark(GTK_SCALE(m_scrubber), minute, GTK_POS_BOTTOM, label.c_str());
            }
        }
        std::string summary =
            budget() ? "Under a budget of " + std::to_string(budget()->perDay) + " reloads a day: "
                     : "As the host asks: ";
        bool first = true;
        for (const auto& widget : m_widgets) {
            const auto name =
                widget.placement.kind + " " + std::string(timeline::name(widget.placement.family));
            if (widget.placement.family != WidgetFamily::systemSmall &&
                widget.placement.kind == "WatchlistGlance")
                continue;  // the watchlist's families share one schedule
            if (widget.placement.family == WidgetFamily::systemLarge &&
                widget.placement.kind == "DailyBrief")
                continue;
            summary += (first ? "" : "; ") + widget.placement.kind + " " +
                       std::to_string(reloads[name]) + " reloads";
            if (late[name] > 0)
                summary +=
                    ", " + std::to_string(late[name]) + " late (stale for up to " +
                    std::to_string(std::chrono::ceil<std::chrono::minutes>(longest[name]).count()) +
                    " min)";
            first = false;
        }
        if (!m_plan.failures.empty())
            summary += "; " + std::to_string(m_plan.failures.size()) + " requests failed";
        gtk_label_set_text(GTK_LABEL(m_planSummary), summary.c_str());
        gtk_widget_queue_draw(m_track);
        redraw();
    }

    // Two rows, the brief's and the watchlist's: a tick for each request the host made (red
    // when the budget held it back, with a line back to the date its timeline asked for), a dot
    // for each entry the timelines hold, and the line of now.
    void drawTrack(cairo_t* cr, int width, int height) {
        const auto x = [&](platform::Date date) {
            return double(std::chrono::duration_cast<std::chrono::seconds>(date - m_day).count()) /
                   double(std::chrono::duration_cast<std::chrono::seconds>(span()).count()) * width;
        };
        const std::array<const char*, 2> kinds{"DailyBrief", "WatchlistGlance"};
        const double rowHeight = height / 2.0;
        for (std::size_t row = 0; row < kinds.size(); ++row) {
            const double top = double(row) * rowHeight;
            cairo_set_source_rgba(cr, 1, 1, 1, row == 0 ? 0.05 : 0.08);
            cairo_rectangle(cr, 0, top, width, rowHeight);
            cairo_fill(cr);
            cairo_set_source_rgba(cr, 0.6, 0.6, 0.6, 1);
            cairo_move_to(cr, 4, top + 12);
            cairo_show_text(cr, row == 0 ? "Daily Brief" : "Watchlist Glance");
            for (const auto& request : m_plan.requests) {
                if (request.placement.kind != kinds[row]) continue;
                const double at = x(request.requestedAt);
                const bool late = request.lateBy().count() > 0;
                if (late) {
                    cairo_set_source_rgba(cr, 1, 0.35, 0.35, 0.6);
                    cairo_move_to(cr, x(*request.askedFor), top + rowHeight - 6);
                    cairo_line_to(cr, at, top + rowHeight - 6);
                    cairo_stroke(cr);
                }
                if (late)
                    cairo_set_source_rgba(cr, 1, 0.35, 0.35, 1);
                else
                    cairo_set_source_rgba(cr, 0.35, 0.75, 1, 1);
                cairo_rectangle(cr, at, top + 16, 1.5, rowHeight - 22);
                cairo_fill(cr);
                cairo_set_source_rgba(cr, 0.9, 0.9, 0.5, 1);
                for (const auto& entry : request.timeline.entries) {
                    cairo_arc(cr, x(entry), top + 20, 2, 0, 2 * M_PI);
                    cairo_fill(cr);
                }
            }
        }
        cairo_set_source_rgba(cr, 1, 1, 1, 0.9);
        cairo_rectangle(cr, x(now()) - 1, 0, 2, height);
        cairo_fill(cr);
    }

    // Replays the day as the host sees it: now jumps from one request to the next.
    void replayToggled() {
        if (!gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(m_replay))) {
            if (m_replayTimer != 0) g_source_remove(m_replayTimer);
            m_replayTimer = 0;
            return;
        }
        gtk_range_set_value(GTK_RANGE(m_scrubber), 0);
        m_replayTimer = g_timeout_add(
            120,
            +[](gpointer self) -> gboolean {
                return static_cast<Studio*>(self)->replayStep() ? G_SOURCE_CONTINUE
                                                                : G_SOURCE_REMOVE;
            },
            this);
    }

    bool replayStep() {
        std::optional<platform::Date> next;
        for (const auto& request : m_plan.requests)
            if (request.requestedAt > now() && (!next || request.requestedAt < *next))
                next = request.requestedAt;
        if (!next || *next >= m_day + span()) {
            m_replayTimer = 0;
            gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(m_replay), FALSE);
            return false;
        }
        gtk_range_set_value(GTK_RANGE(m_scrubber),
                            double(std::chrono::ceil<std::chrono::minutes>(*next - m_day).count()));
        return true;
    }

    // ---- Out -----------------------------------------------------------------------------------

    void chooseExportFolder() {
        GtkFileChooserNative* chooser = gtk_file_chooser_native_new(
            "Export the drawings", GTK_WINDOW(m_window), GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER,
            "_Export", "_Cancel");
        g_signal_connect(chooser, "response",
                         G_CALLBACK(+[](GtkNativeDialog* dialog, int response, gpointer self) {
                             if (response == GTK_RESPONSE_ACCEPT) {
                                 GFile* folder =
                                     gtk_file_chooser_get_file(GTK_FILE_CHOOSER(dialog));
                                 char* path = g_file_get_path(folder);
                                 if (path != nullptr) static_cast<Studio*>(self)->exportTo(path);
                                 g_free(path);
                                 g_object_unref(folder);
                             }
                             g_object_unref(dialog);
                         }),
                         this);
        gtk_native_dialog_show(GTK_NATIVE_DIALOG(chooser));
    }

    // Draws each widget as it is shown into `folder`, in the chosen format, through the
    // command line's `render`: the same drawing, the same store, the same moment.
    void exportTo(const std::filesystem::path& folder) {
        const std::string format =
            exportFormats[gtk_drop_down_get_selected(GTK_DROP_DOWN(m_format))];
        const int scale = gtk_spin_button_get_value_as_int(GTK_SPIN_BUTTON(m_scale));
        int written = 0;
        std::string failures;
        for (const auto& widget : m_widgets) {
            const auto file =
                folder / (widget.placement.kind + "-" +
                          std::string(timeline::name(widget.placement.family)) + "." + format);
            const std::vector<std::string> arguments{
                m_extensionSettings.program,
                "--store-dir",
                m_scratch.string(),
                "--locale",
                m_drawing.locale,
                "--time-zone",
                m_drawing.timeZone,
                "--appearance",
                m_drawing.appearance,
                "--at",
                platform::formatDate(drawnAt(widget.placement, now())),
                "render",
                widget.placement.kind,
                std::string(timeline::name(widget.placement.family)),
                "--scale",
                std::to_string(scale),
                "--out",
                file.string()};
            std::vector<char*> argv;
            argv.reserve(arguments.size() + 1);
            for (const auto& argument : arguments)
                argv.push_back(const_cast<char*>(argument.c_str()));
            argv.push_back(nullptr);
            int status = 0;
            char* errors = nullptr;
            GError* error = nullptr;
            if (g_spawn_sync(nullptr, argv.data(), nullptr, G_SPAWN_STDOUT_TO_DEV_NULL, nullptr,
                             nullptr, nullptr, &errors, &status, &error) &&
                g_spawn_check_wait_status(status, nullptr)) {
                ++written;
            } else {
                failures += "; " + file.filename().string() + ": " +
                            (error != nullptr    ? error->message
                             : errors != nullptr ? errors
                                                 : "");
            }
            if (error != nullptr) g_error_free(error);
            g_free(errors);
        }
        setStatus("Exported " + std::to_string(written) + " drawings to " + folder.string() +
                  failures);
    }

    void setStatus(const std::string& text) {
        if (m_status != nullptr) gtk_label_set_text(GTK_LABEL(m_status), text.c_str());
    }

    StudioOptions m_options;
    std::filesystem::path m_store;    // the chosen store: read at the start, written when asked
    std::filesystem::path m_scratch;  // the private copy the widgets read
    std::string m_storeNote;
    ExtensionOptions m_drawing;
    hosting::ExtensionSettings m_extensionSettings;
    platform::Date m_day;
    int m_minute = 0;  // now, from the start of m_day
    int m_days = 1;    // the scrubber's stretch

    GtkApplication* m_app = nullptr;
    GtkWidget* m_window = nullptr;
    GtkWidget* m_locale = nullptr;
    GtkWidget* m_timeZone = nullptr;
    GtkWidget* m_appearance = nullptr;
    GtkWidget* m_scale = nullptr;
    GtkWidget* m_budget = nullptr;
    GtkWidget* m_budgetPerDay = nullptr;
    GtkWidget* m_replay = nullptr;
    GtkWidget* m_format = nullptr;
    GtkWidget* m_notebook = nullptr;
    GtkWidget* m_dayEntry = nullptr;
    GtkWidget* m_span = nullptr;
    GtkWidget* m_clock = nullptr;
    GtkWidget* m_scrubber = nullptr;
    GtkWidget* m_track = nullptr;
    GtkWidget* m_planSummary = nullptr;
    GtkWidget* m_grid = nullptr;
    GtkWidget* m_status = nullptr;
    std::array<RecordEditor, 3> m_editors{};
    std::vector<StudioWidget> m_widgets;

    std::unique_ptr<desktop::ExtensionWorker> m_worker;
    std::uint64_t m_workerGeneration = 0;
    std::uint64_t m_redrawGeneration = 0;
    std::uint64_t m_planGeneration = 0;
    bool m_inFlight = false;
    bool m_recordsChanged = false;
    gint64 m_editStarted = 0;  // the first edit a drawing has not shown yet
    DayPlan m_plan;
    // What the private store holds: read and written on the worker's thread alone.
    RecordTexts m_scratchHolds{std::string(), std::string(), std::string()};
    guint m_replayTimer = 0;
};

}  // namespace

int runStudio(const StudioOptions& options) {
    Studio studio(options);
    return studio.run();
}

}  // namespace studio
