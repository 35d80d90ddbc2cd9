#include "timeline/WidgetDescription.h"

#include "platform/PrintableText.h"

#include <algorithm>

namespace timeline {

namespace {

// "a, b, c"
template <typename List, typename Name>
std::string listed(const List& list, Name name) {
    std::string text;
    for (const auto& item : list) text += (text.empty() ? "" : ", ") + std::string(name(item));
    return text;
}

}  // namespace

bool WidgetDescription::supports(WidgetFamily family) const {
    return std::find(families.begin(), families.end(), family) != families.end();
}

platform::Result<const WidgetDescription*> describedWidget(
    const std::vector<WidgetDescription>& widgets, std::string_view kind) {
    for (const auto& widget : widgets)
        if (widget.kind == kind) return &widget;
    return platform::Error{
        "unknown widget kind " + platform::quotedInput(kind) + " (kinds: " +
        listed(widgets, [](const WidgetDescription& w) -> const std::string& { return w.kind; }) +
        ")"};
}

platform::Result<Placement> describedPlacement(const std::vector<WidgetDescription>& widgets,
                                               std::string_view kind, std::string_view family) {
    const auto found = describedWidget(widgets, kind);
    if (!found) return found.error();
    const auto& widget = **found;
    const auto named = widgetFamilyNamed(family);
    if (!named || !widget.supports(*named))
        return platform::Error{"family " + platform::quotedInput(family) + " is not offered by " +
                               widget.kind + " (families: " + listed(widget.families, name) + ")"};
    return Placement{widget.kind, *named};
}

}  // namespace timeline
