#include "store/StoreLocation.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace store {
namespace {

// An environment variable that is set to a non-empty text.
const char* environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : nullptr;
}

std::filesystem::path homeDirectory() {
    if (const char* home = environment("HOME")) return home;
    if (const passwd* entry = ::getpwuid(::getuid()); entry != nullptr && entry->pw_dir != nullptr)
        return entry->pw_dir;
    return "/";
}

}  // namespace

std::filesystem::path storeDirectory(std::string_view explicitDirectory) {
    if (!explicitDirectory.empty()) return std::filesystem::path(explicitDirectory);
    if (const char* store = environment("VELMORA_STORE_DIR")) return store;
    // XDG base directories must be absolute; a relative value is ignored.
    if (const char* data = environment("XDG_DATA_HOME"); data != nullptr && data[0] == '/')
        return std::filesystem::path(data) / "velmora";
    return homeDirectory() / ".local" / "share" / "velmora";
}

std::filesystem::path domainFile(const std::filesystem::path& folder, std::string_view domain) {
    return folder / (std::string(domain) + ".sqlite");
}

}  // namespace store
