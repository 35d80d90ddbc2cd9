#pragma once

#include "ui/View.h"

#include <string_view>

namespace style {

// The sizes of a signal label: its font size, its padding across and along, its corner radius.
struct SignalLabelMetrics {
    double fontSize = 9;
    double horizontalPadding = 5;
    double verticalPadding = 2;
    double cornerRadius = 3;
};

// The signal verbatim, semibold, in its signal colour over a fill of the same colour at 0.18,
// text and fill clipped together to a rounded rectangle with continuous corners. An empty signal
// gives only the padding, filled in the neutral colour.
[[nodiscard]] ui::View signalLabel(std::string_view signal, const SignalLabelMetrics& metrics);

}  // namespace style
