#pragma once

// A store folder of a test's own, the host app's writer for it, and the extension's reads of
// it through a logger whose lines the test can read.

#include "store/AppGroupStore.h"
#include "tests/support/RecordingSink.h"
#include "tests/support/Samples.h"
#include "tests/support/TempStore.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <optional>
#include <string>
#include <vector>

namespace storereads {

using namespace AppGroupContainer;

struct Reads {
    explicit Reads(const std::filesystem::path& base = std::filesystem::temp_directory_path())
        : store(base) {}

    tempstore::TempStore store;
    recording::RecordingSink sink;
    platform::Logger logger{VELMORA_BUNDLE_ID, "app", sink};

    std::optional<DailyBrief> brief(std::string_view key = dailyBriefKey) const {
        return readRecord<DailyBrief>(key, store.directory(), logger);
    }
    std::optional<PortfolioSnapshot> portfolio() const {
        return readRecord<PortfolioSnapshot>(portfolioSnapshotKey, store.directory(), logger);
    }
    std::optional<std::vector<WatchlistRow>> rows() const {
        return readRows(watchlistTickersKey, store.directory(), logger);
    }

    // The host app's three records in the suite.
    void fill() const {
        store.putData(dailyBriefKey, samples::brief);
        store.putData(watchlistTickersKey, samples::rows);
        store.putData(portfolioSnapshotKey, samples::snapshot);
    }
};

// Runs SQL on a database file as another program would, outside the store's writer.
inline void runSql(const std::filesystem::path& file, const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    char* message = nullptr;
    const int executed = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
    const std::string error = message != nullptr ? message : "";
    sqlite3_free(message);
    sqlite3_close(db);
    ASSERT_EQ(executed, SQLITE_OK) << error;
}

}  // namespace storereads
