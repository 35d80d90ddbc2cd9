#include "layout/TextMeasurer.h"

#include "layout/ShownText.h"

namespace layout {

std::string_view TextMeasurer::shownText(std::string_view text, const TextStyle& style,
                                         std::optional<double> width,
                                         std::optional<double> height) const {
    return estimatedShownText(text, style, width, height);
}

}  // namespace layout
