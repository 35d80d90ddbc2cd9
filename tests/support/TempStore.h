#pragma once

// A store folder of its own for each test: a fresh temporary directory, removed afterwards,
// with the host app's writer side to fill the app group's suite or the standard defaults.

#include "platform/Deployment.h"
#include "store/DefaultsStore.h"
#include "store/StoreLocation.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

namespace tempstore {

class TempStore {
public:
    explicit TempStore(const std::filesystem::path& base = std::filesystem::temp_directory_path()) {
        std::string pattern = base / "velmora-test-XXXXXX";
        const char* made = ::mkdtemp(pattern.data());
        if (made == nullptr) std::abort();
        m_folder = made;
    }
    TempStore(const TempStore&) = delete;
    TempStore& operator=(const TempStore&) = delete;
    ~TempStore() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder; }
    [[nodiscard]] std::string directory() const { return m_folder.string(); }

    [[nodiscard]] std::filesystem::path suiteFile() const {
        return store::domainFile(m_folder, platform::appGroupIdentifier());
    }
    [[nodiscard]] std::filesystem::path standardFile() const {
        return store::domainFile(m_folder, platform::bundleIdentifier());
    }

    // Writes a data value holding `bytes` into the suite (or the standard defaults).
    void putData(std::string_view key, std::string_view bytes, bool standard = false) const {
        const auto* first = reinterpret_cast<const std::uint8_t*>(bytes.data());
        expectDone(writer(standard).setData(key, {first, bytes.size()}));
    }

    void putString(std::string_view key, std::string_view text, bool standard = false) const {
        expectDone(writer(standard).setString(key, text));
    }

    void remove(std::string_view key) const { expectDone(writer(false).removeObject(key)); }

    // The host app's writer on the suite (or the standard defaults).
    [[nodiscard]] store::DefaultsStore writer(bool standard = false) const {
        auto opened = store::DefaultsStore::openForWriting(
            standard ? platform::bundleIdentifier() : platform::appGroupIdentifier(), m_folder);
        if (!opened) {
            ADD_FAILURE() << opened.error().description;
            std::abort();
        }
        return std::move(opened).value();
    }

private:
    static void expectDone(const platform::Result<void>& written) {
        ASSERT_TRUE(written) << written.error().description;
    }

    std::filesystem::path m_folder;
};

}  // namespace tempstore
