#include "style/SignalLabel.h"

#include "style/SignalColor.h"

#include <string>

namespace style {

using namespace ui;

View signalLabel(std::string_view signal, const SignalLabelMetrics& metrics) {
    const Color color = signalColor(signal);
    return Text(Verbatim{std::string(signal)})
        .font(Font::system(metrics.fontSize, FontWeight::semibold))
        .padding(Edges::horizontal, metrics.horizontalPadding)
        .padding(Edges::vertical, metrics.verticalPadding)
        .background(color.opacity(0.18))
        .foregroundColor(color)
        .clipShape(RoundedRectangle{metrics.cornerRadius, RoundedCornerStyle::continuous});
}

}  // namespace style
