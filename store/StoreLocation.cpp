#include "store/StoreLocation.h"

#include "platform/UserFolders.h"

#include <cstdlib>
#include <string>

namespace store {
namespace {

// An environment variable that is set to a non-empty text.
const char* environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : nullptr;
}

}  // namespace

std::filesystem::path storeDirectory(std::string_view explicitDirectory) {
    if (!explicitDirectory.empty()) return std::filesystem::path(explicitDirectory);
    if (const char* store = environment("VELMORA_STORE_DIR")) return store;
    return platform::userFolder(platform::UserFolder::data) / "velmora";
}

std::filesystem::path domainFile(const std::filesystem::path& folder, std::string_view domain) {
    return folder / (std::string(domain) + ".sqlite");
}

}  // namespace store
