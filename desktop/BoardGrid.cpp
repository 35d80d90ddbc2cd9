#include "desktop/BoardGrid.h"

#include "desktop/DesktopGrid.h"
#include "desktop/DesktopSettings.h"

#include <gtk/gtk.h>

#include <vector>

namespace desktop {

namespace {}  // namespace

struct BoardGrid {
    GtkWidget parent_instance;
};
struct BoardGridClass {
    GtkWidgetClass parent_class;
};

G_DEFINE_FINAL_TYPE(BoardGrid, velmora_board_grid, GTK_TYPE_WIDGET)

namespace {

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

}  // namespace

void velmora_board_grid_class_init(BoardGridClass* gridClass) {
    G_OBJECT_CLASS(gridClass)->dispose = boardDispose;
    auto* widgetClass = GTK_WIDGET_CLASS(gridClass);
    widgetClass->measure = boardMeasure;
    widgetClass->size_allocate = boardAllocate;
    widgetClass->get_request_mode = [](GtkWidget*) { return GTK_SIZE_REQUEST_HEIGHT_FOR_WIDTH; };
    gtk_widget_class_set_css_name(widgetClass, "velmora-board");
    gtk_widget_class_set_accessible_role(widgetClass, GTK_ACCESSIBLE_ROLE_GROUP);
}

void velmora_board_grid_init(BoardGrid*) {}

BoardGrid* newBoardGrid() {
    return static_cast<BoardGrid*>(g_object_new(velmora_board_grid_get_type(), nullptr));
}

}  // namespace desktop
