#include "ui/ViewNames.h"

#include <cctype>

namespace ui {

std::string_view name(HorizontalAlignment alignment) {
    switch (alignment) {
        case HorizontalAlignment::leading:
            return "leading";
        case HorizontalAlignment::center:
            return "center";
        case HorizontalAlignment::trailing:
            return "trailing";
    }
    return "?";
}

std::string_view name(VerticalAlignment alignment) {
    switch (alignment) {
        case VerticalAlignment::top:
            return "top";
        case VerticalAlignment::center:
            return "center";
        case VerticalAlignment::bottom:
            return "bottom";
        case VerticalAlignment::firstTextBaseline:
            return "firstTextBaseline";
    }
    return "?";
}

// The platform's name of a two-dimensional alignment.
std::string name(Alignment alignment) {
    std::string horizontal(name(alignment.horizontal));
    switch (alignment.vertical) {
        case VerticalAlignment::center:
            return horizontal;
        case VerticalAlignment::firstTextBaseline:
            return horizontal + "FirstTextBaseline";
        case VerticalAlignment::top:
        case VerticalAlignment::bottom: {
            std::string out(name(alignment.vertical));
            if (alignment.horizontal == HorizontalAlignment::center) return out;
            out += horizontal;
            out[out.size() - horizontal.size()] = char(std::toupper(horizontal.front()));
            return out;
        }
    }
    return "?";
}

std::string_view name(TextAlignment alignment) {
    switch (alignment) {
        case TextAlignment::leading:
            return "leading";
        case TextAlignment::center:
            return "center";
        case TextAlignment::trailing:
            return "trailing";
    }
    return "?";
}

std::string_view name(TextCase textCase) {
    switch (textCase) {
        case TextCase::uppercase:
            return "uppercase";
        case TextCase::lowercase:
            return "lowercase";
    }
    return "?";
}

std::string_view name(FontWeight weight) {
    switch (weight) {
        case FontWeight::regular:
            return "regular";
        case FontWeight::medium:
            return "medium";
        case FontWeight::semibold:
            return "semibold";
        case FontWeight::bold:
            return "bold";
    }
    return "?";
}

std::string_view name(FontDesign design) {
    switch (design) {
        case FontDesign::standard:
            return "default";
        case FontDesign::monospaced:
            return "monospaced";
    }
    return "?";
}

std::string_view name(RoundedCornerStyle style) {
    switch (style) {
        case RoundedCornerStyle::circular:
            return "circular";
        case RoundedCornerStyle::continuous:
            return "continuous";
    }
    return "?";
}

std::string_view name(ContainerBackgroundPlacement placement) {
    switch (placement) {
        case ContainerBackgroundPlacement::widget:
            return "widget";
    }
    return "?";
}

}  // namespace ui
