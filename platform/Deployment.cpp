#include "platform/Deployment.h"

namespace platform {

std::string_view appGroupIdentifier() {
    return VELMORA_APP_GROUP_ID;
}

std::string_view bundleIdentifier() {
    return VELMORA_BUNDLE_ID;
}

std::string_view desktopApplicationId() {
    return VELMORA_DESKTOP_APP_ID;
}

std::string_view programVersion() {
    return VELMORA_VERSION;
}

}  // namespace platform
