#include "platform/UserFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace platform {

std::filesystem::path homeFolder() {
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
    if (const passwd* entry = ::getpwuid(::getuid()); entry != nullptr && entry->pw_dir != nullptr)
        return entry->pw_dir;
    return "/";
}

std::filesystem::path userFolder(UserFolder kind) {
    struct Rule {
        const char* variable;
        const char* underHome;
    };
    constexpr Rule rules[] = {{"XDG_DATA_HOME", ".local/share"},
                              {"XDG_CONFIG_HOME", ".config"},
                              {"XDG_CACHE_HOME", ".cache"}};
    const Rule& rule = rules[static_cast<int>(kind)];
    if (const char* set = std::getenv(rule.variable); set != nullptr && set[0] == '/') return set;
    return homeFolder() / rule.underHome;
}

}  // namespace platform
