#pragma once

#include <filesystem>

namespace platform {

// The user's base folders, as the XDG base directory rules name them.
enum class UserFolder {
    data,    // $XDG_DATA_HOME, else ~/.local/share
    config,  // $XDG_CONFIG_HOME, else ~/.config
    cache,   // $XDG_CACHE_HOME, else ~/.cache
};

// The home folder: $HOME when set, else the user's entry in the password database, else "/".
[[nodiscard]] std::filesystem::path homeFolder();

// The base folder of `kind`: its variable when that names an absolute path (a relative or empty
// value is ignored, as the rules say), else its place under the home folder.
[[nodiscard]] std::filesystem::path userFolder(UserFolder kind);

}  // namespace platform
