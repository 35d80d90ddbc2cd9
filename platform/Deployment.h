#pragma once

#include <string_view>

namespace platform {

// The deployment's constants, shared with the host app and named in its entitlements (set when
// the project is configured).

// The app group: names the shared store's suite, which the host app writes and the widgets read.
[[nodiscard]] std::string_view appGroupIdentifier();

// The host app's bundle identifier: the extension's standard defaults and the log's subsystem.
[[nodiscard]] std::string_view bundleIdentifier();

// The desktop board's application id, from the bundle identifier: the board's name on the
// session bus, its desktop entry's and icon's name.
[[nodiscard]] std::string_view desktopApplicationId();

// The name of the board's action that asks for new timelines now: its parameter is a widget
// kind, or the empty text for every kind.
inline constexpr std::string_view reloadActionName = "reload";

// The host app's URL scheme, its deep links' ("velmora://stock-detail?ticker=NVDA"): the only
// links a widget's tap opens.
inline constexpr std::string_view appUrlScheme = "velmora";

// The program's version, as the project is numbered ("0.1").
[[nodiscard]] std::string_view programVersion();

}  // namespace platform
