#pragma once

#include "platform/Result.h"
#include "store/DefaultsStore.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace store {

// One defaults domain in one store folder as its writer uses it: the host app through its
// library (appgroup/) and the command line's `defaults`, the same code for both. Each call opens
// its own writer-side connection and closes it before it returns, so that a value holds nothing
// but the two names and threads share it freely. A write replaces the key in one transaction,
// waits for another writer's up to `DefaultsStore::busyTimeout`, and refuses a value above
// `DefaultsStore::valueSizeLimit`, which no reader would load; a read takes SQLite's shared lock
// and sees the value as one commit left it.
class DefaultsDomain {
public:
    DefaultsDomain(std::string domain, std::filesystem::path folder)
        : m_domain(std::move(domain)), m_folder(std::move(folder)) {}

    [[nodiscard]] const std::string& domain() const { return m_domain; }
    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder; }

    // Creates the folder and the database when they are missing.
    [[nodiscard]] platform::Result<void> writeData(std::string_view key,
                                                   std::span<const std::uint8_t> bytes) const;
    [[nodiscard]] platform::Result<void> writeString(std::string_view key,
                                                     std::string_view text) const;

    // Whatever the key holds; nothing when the key, the database or the folder is missing (none
    // of which a read creates).
    [[nodiscard]] platform::Result<std::optional<DefaultsValue>> read(std::string_view key) const;

    // Removes the key: true when it held a value, false when there was none to remove.
    [[nodiscard]] platform::Result<bool> remove(std::string_view key) const;

private:
    std::string m_domain;
    std::filesystem::path m_folder;
};

}  // namespace store
