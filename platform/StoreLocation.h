#pragma once

#include <filesystem>
#include <string_view>

namespace platform {

// Where the shared store lives on this machine. The host app and the extension agree on one
// folder; inside it each defaults domain is one database file.
namespace StoreLocation {

// The store folder: `explicitDirectory` when not empty (the command line's --store-dir, a
// request's context), else $VELMORA_STORE_DIR, else $XDG_DATA_HOME/velmora, else
// ~/.local/share/velmora. Read from the environment on every call.
[[nodiscard]] std::filesystem::path directory(std::string_view explicitDirectory = {});

// The database file of a defaults domain (a suite name or a bundle id) in `folder`.
[[nodiscard]] std::filesystem::path domainFile(const std::filesystem::path& folder,
                                               std::string_view domain);

// The app group's suite, which the host app writes and the widgets read.
[[nodiscard]] std::string_view appGroupIdentifier();

// The extension's own standard defaults, named after the host app's bundle id.
[[nodiscard]] std::string_view bundleIdentifier();

}  // namespace StoreLocation
}  // namespace platform
