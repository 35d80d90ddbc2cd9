#pragma once

// A temporary store folder holding the host app's three records, for the benchmarks that read
// through SQLite on disk. Removed at exit.

#include "platform/Deployment.h"
#include "store/AppGroupStore.h"
#include "store/DefaultsStore.h"
#include "store/StoreLocation.h"

#include <stdlib.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

inline std::string seedStoreFolder(const std::string& briefJson, const std::string& rowsJson,
                                   const std::string& portfolioJson) {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "velmora-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    auto opened = store::DefaultsStore::openForWriting(platform::appGroupIdentifier(), pattern);
    if (!opened) std::abort();
    const auto put = [&](std::string_view key, const std::string& json) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(json.data());
        if (!opened.value().setData(key, {bytes, json.size()})) std::abort();
    };
    put(AppGroupContainer::dailyBriefKey, briefJson);
    put(AppGroupContainer::watchlistTickersKey, rowsJson);
    put(AppGroupContainer::portfolioSnapshotKey, portfolioJson);
    static std::vector<std::string> removeAtExit;
    if (removeAtExit.empty())
        std::atexit([] {
            for (const auto& folder : removeAtExit) std::filesystem::remove_all(folder);
        });
    removeAtExit.push_back(pattern);
    return pattern;
}
