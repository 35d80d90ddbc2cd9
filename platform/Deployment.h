#pragma once

#include <string_view>

namespace platform {

// The deployment's constants, shared with the host app and named in its entitlements (set when
// the project is configured).

// The app group: names the shared store's suite, which the host app writes and the widgets read.
[[nodiscard]] std::string_view appGroupIdentifier();

// The host app's bundle identifier: the extension's standard defaults and the log's subsystem.
[[nodiscard]] std::string_view bundleIdentifier();

// The program's version, as the project is numbered ("0.1").
[[nodiscard]] std::string_view programVersion();

}  // namespace platform
