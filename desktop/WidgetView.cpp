#include "desktop/WidgetView.h"

#include "layout/PlatformDefaults.h"

#include <gtk/gtk.h>

#include <cmath>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace desktop {

namespace {

struct ViewState {
    timeline::WidgetFamily family = timeline::WidgetFamily::systemSmall;
    int width = 0;  // points
    int height = 0;
    GdkTexture* texture = nullptr;
    std::function<void(GtkWidget* view)> activate;
    std::function<void(GtkWidget* view)> remove;  // none: the view has no context menu
    GtkWidget* menu = nullptr;
};

}  // namespace

struct WidgetView {
    GtkWidget parent_instance;
    ViewState* state;
};
struct WidgetViewClass {
    GtkWidgetClass parent_class;
};

G_DEFINE_FINAL_TYPE(WidgetView, velmora_widget_view, GTK_TYPE_WIDGET)

namespace {

ViewState& stateOf(GtkWidget* view) {
    return *reinterpret_cast<WidgetView*>(view)->state;
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
    auto* state = reinterpret_cast<WidgetView*>(object)->state;
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

}  // namespace

void velmora_widget_view_class_init(WidgetViewClass* viewClass) {
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

void velmora_widget_view_init(WidgetView* self) {
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

WidgetView* newWidgetView(timeline::WidgetFamily family, std::function<void(WidgetView*)> activate,
                          std::function<void(WidgetView*)> remove) {
    auto* self = static_cast<WidgetView*>(g_object_new(velmora_widget_view_get_type(), nullptr));
    auto& state = *self->state;
    state.family = family;
    const auto canvas = layout::defaults::canvasSize(family);
    state.width = int(canvas.width);
    state.height = int(canvas.height);
    if (activate)
        state.activate = [activate = std::move(activate)](GtkWidget* view) {
            activate(reinterpret_cast<WidgetView*>(view));
        };
    if (remove)
        state.remove = [remove = std::move(remove)](GtkWidget* view) {
            remove(reinterpret_cast<WidgetView*>(view));
        };
    return self;
}

void addStyle(const char* extra) {
    static constexpr const char* own = R"(
velmora-widget { border-radius: 22px; }
velmora-widget:focus-visible { outline: 2px solid @theme_selected_bg_color; outline-offset: 3px; }
velmora-widget:disabled { opacity: 0.35; }
)";
    const std::string css = std::string(own) + extra;
    GtkCssProvider* provider = gtk_css_provider_new();
    gtk_css_provider_load_from_data(provider, css.c_str(), -1);
    gtk_style_context_add_provider_for_display(gdk_display_get_default(),
                                               GTK_STYLE_PROVIDER(provider),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(provider);
}

void setZoom(WidgetView* view, double zoom) {
    auto& state = *view->state;
    const auto canvas = layout::defaults::canvasSize(state.family);
    const int width = int(std::lround(canvas.width * zoom));
    const int height = int(std::lround(canvas.height * zoom));
    if (width == state.width && height == state.height) return;
    state.width = width;
    state.height = height;
    gtk_widget_queue_resize(GTK_WIDGET(view));
}

void showDrawing(WidgetView* view, const hosting::DrawnWidget& drawn) {
    auto* widget = GTK_WIDGET(view);
    auto& state = *view->state;
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
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                   drawn.label.c_str(), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                   drawn.description.c_str(), -1);
    gtk_widget_queue_draw(widget);
}

}  // namespace desktop
