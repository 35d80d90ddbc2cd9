#include "timeline/AppDeepLink.h"

#include <string>

namespace timeline {

std::optional<platform::Url> stockDetailURL(std::string_view ticker) {
    std::string text = "velmora://stock-detail?ticker=";
    text += ticker;
    return platform::Url::parse(text);
}

}  // namespace timeline
