#include "desktop/AddWidgetDialog.h"

#include "desktop/DesktopSettings.h"
#include "desktop/ExtensionWorker.h"
#include "desktop/WidgetView.h"
#include "hosting/DrawnWidget.h"
#include "hosting/Extension.h"
#include "platform/Clock.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

using timeline::Placement;
using timeline::WidgetFamily;

namespace desktop {

namespace {

constexpr const char* dialogTitle = "Add Widget";

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

// A family's preview: its placeholder, asked of the extension, with the family's name below.
GtkWidget* preview(const std::shared_ptr<const AddWidgetChoices>& choices,
                   const Placement& placement, const std::string& name, GtkWidget* dialog,
                   ExtensionWorker& worker) {
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
    gtk_widget_set_valign(box, GTK_ALIGN_START);
    WidgetView* view = newWidgetView(
        placement.family,
        [choices, placement, dialog](WidgetView*) {
            gtk_window_destroy(GTK_WINDOW(dialog));
            choices->place(placement);
        },
        nullptr);
    // The placeholder comes from the extension; the view waits for it, held until then.
    g_object_ref(view);
    worker.post(
        [view, placement, scale = choices->scale, corners = choices->cornerRadius,
         label = name + ", " + familyCaption(placement.family)](hosting::Extension& extension) {
            const auto reload = extension.reload(placement, timeline::Request::placeholder,
                                                 platform::systemClock().now(), scale,
                                                 ipc::ImageEncoding::argb32, corners);
            platform::Result<hosting::DrawnWidget> drawn =
                reload ? hosting::drawnWidget(*reload->drawing, label) : reload.error();
            return [view, drawn = std::move(drawn)] {
                if (drawn && gtk_widget_get_root(GTK_WIDGET(view)) != nullptr)
                    showDrawing(view, *drawn);
                g_object_unref(view);
            };
        });
    const auto& placed = choices->placed;
    if (std::find(placed.begin(), placed.end(), placement) != placed.end()) {
        gtk_widget_set_sensitive(GTK_WIDGET(view), FALSE);
        gtk_widget_set_tooltip_text(GTK_WIDGET(view), "Already on the board");
    }
    gtk_box_append(GTK_BOX(box), GTK_WIDGET(view));
    GtkWidget* caption = gtk_label_new(familyCaption(placement.family));
    gtk_widget_add_css_class(caption, "dim-label");
    gtk_box_append(GTK_BOX(box), caption);
    return box;
}

}  // namespace

void openAddWidgetDialog(AddWidgetChoices choices, ExtensionWorker& worker) {
    GtkWindow* parent =
        gtk_application_get_active_window(GTK_APPLICATION(g_application_get_default()));
    // One at a time: the open one comes forward.
    GListModel* toplevels = gtk_window_get_toplevels();
    for (guint i = 0; i < g_list_model_get_n_items(toplevels); ++i) {
        auto* window = GTK_WINDOW(g_list_model_get_item(toplevels, i));
        const char* title = gtk_window_get_title(window);
        const bool open = title != nullptr && std::string_view(title) == dialogTitle;
        if (open) gtk_window_present(window);
        g_object_unref(window);
        if (open) return;
    }

    GtkWidget* dialog = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(dialog), dialogTitle);
    gtk_window_set_transient_for(GTK_WINDOW(dialog), parent);
    gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
    gtk_window_set_destroy_with_parent(GTK_WINDOW(dialog), TRUE);
    gtk_window_set_default_size(GTK_WINDOW(dialog), 1000, 720);

    const auto shared = std::make_shared<const AddWidgetChoices>(std::move(choices));
    GtkWidget* list = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_widget_set_margin_start(list, 24);
    gtk_widget_set_margin_end(list, 24);
    gtk_widget_set_margin_top(list, 24);
    gtk_widget_set_margin_bottom(list, 24);
    for (const auto& widget : shared->widgets) {
        GtkWidget* name = gtk_label_new(widget.displayName.c_str());
        gtk_widget_add_css_class(name, "title-3");
        gtk_label_set_xalign(GTK_LABEL(name), 0);
        gtk_box_append(GTK_BOX(list), name);
        GtkWidget* description = gtk_label_new(widget.description.c_str());
        gtk_label_set_wrap(GTK_LABEL(description), TRUE);
        gtk_label_set_xalign(GTK_LABEL(description), 0);
        gtk_widget_add_css_class(description, "dim-label");
        gtk_box_append(GTK_BOX(list), description);

        GtkWidget* previews = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, int(DesktopSettings{}.gap));
        gtk_widget_set_margin_bottom(previews, 24);
        for (auto family : widget.families)
            gtk_box_append(GTK_BOX(previews), preview(shared, {widget.kind, family},
                                                      widget.displayName, dialog, worker));
        gtk_box_append(GTK_BOX(list), previews);
    }
    GtkWidget* scroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), list);
    gtk_window_set_child(GTK_WINDOW(dialog), scroller);
    gtk_window_present(GTK_WINDOW(dialog));
}

}  // namespace desktop
