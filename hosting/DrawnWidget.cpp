#include "hosting/DrawnWidget.h"

#include "hosting/Extension.h"

#include <cstring>
#include <utility>

using namespace ipc;

namespace hosting {

platform::Result<DrawnWidget> drawnWidget(const ExtensionDrawing& drawing, std::string label) {
    if (drawing.encoding != ImageEncoding::argb32 || drawing.image.data() == nullptr ||
        drawing.width <= 0 || drawing.height <= 0 || drawing.stride < 4 * drawing.width ||
        drawing.image.bytes().size() != std::size_t(drawing.stride) * std::size_t(drawing.height))
        return platform::Error{"the extension drew " + label + " in another form"};
    // A copy of its own: the extension draws the next entry into the same shared buffer.
    const std::size_t bytes = drawing.image.bytes().size();
    auto pixels = std::make_shared_for_overwrite<unsigned char[]>(bytes);
    std::memcpy(pixels.get(), drawing.image.data(), bytes);

    DrawnWidget drawn;
    drawn.pixels = std::move(pixels);
    drawn.width = drawing.width;
    drawn.height = drawing.height;
    drawn.stride = drawing.stride;
    if (drawing.url) drawn.link = platform::Url::parse(*drawing.url);
    drawn.label = std::move(label);
    drawn.description = drawing.texts;
    return drawn;
}

}  // namespace hosting
