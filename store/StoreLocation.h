#pragma once

#include <filesystem>
#include <string_view>

namespace store {

// Where the shared store lives on this machine. The host app and the extension agree on one
// folder; inside it each defaults domain is one database file.

// The store folder: `explicitDirectory` when not empty (the command line's --store-dir, a
// request's context), else $VELMORA_STORE_DIR, else $XDG_DATA_HOME/velmora, else
// ~/.local/share/velmora. Read from the environment on every call.
[[nodiscard]] std::filesystem::path storeDirectory(std::string_view explicitDirectory = {});

// The database file of a defaults domain (a suite name or a bundle id) in `folder`.
[[nodiscard]] std::filesystem::path domainFile(const std::filesystem::path& folder,
                                               std::string_view domain);

}  // namespace store
