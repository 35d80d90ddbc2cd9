#pragma once

#include "timeline/Placement.h"
#include "timeline/WidgetDescription.h"

#include <functional>
#include <vector>

namespace desktop {

class ExtensionWorker;

// What the Add Widget dialog offers, and what it does with the user's choice.
struct AddWidgetChoices {
    std::vector<timeline::WidgetDescription> widgets;  // the bundle's, in bundle order
    std::vector<timeline::Placement> placed;           // shown, but not offered again
    int scale = 1;                                     // of the previews' drawings
    double cornerRadius = 0;                           // of the previews' corners
    std::function<void(const timeline::Placement&)> place;
};

// Opens "Add Widget" over the application's active window, or brings it forward when it is open
// already: every widget of the bundle with its name and description, each family a live preview
// of its placeholder, drawn by the extension through `worker`. A click on a preview places it
// and closes the dialog.
void openAddWidgetDialog(AddWidgetChoices choices, ExtensionWorker& worker);

}  // namespace desktop
