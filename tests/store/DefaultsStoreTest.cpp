#include "platform/Deployment.h"
#include "store/DefaultsStore.h"
#include "store/StoreLocation.h"
#include "tests/support/DiskState.h"
#include "tests/support/TempStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <fstream>
#include <thread>

using namespace store;

namespace {

using diskstate::DiskState;
using store::Data;
using store::DefaultsStore;
using tempstore::TempStore;

Data bytes(std::string_view text) {
    return Data(text.begin(), text.end());
}

DefaultsStore writer(const std::filesystem::path& folder,
                     std::string_view domain = platform::appGroupIdentifier()) {
    auto opened = DefaultsStore::openForWriting(domain, folder);
    if (auto* error = std::get_if<store::DefaultsError>(&opened)) {
        ADD_FAILURE() << error->description;
        std::abort();
    }
    return std::get<DefaultsStore>(std::move(opened));
}

TEST(DefaultsStore, WriterCreatesFolderAndReplacesKeys) {
    TempStore temp;
    const auto folder = temp.folder() / "nested" / "store";
    auto store = writer(folder);
    EXPECT_TRUE(std::filesystem::exists(temp.folder() / "nested" / "store"));

    EXPECT_FALSE(store.setData("vmDailyBrief", bytes("first")));
    EXPECT_EQ(store.dataForKey("vmDailyBrief"), bytes("first"));
    EXPECT_FALSE(store.setData("vmDailyBrief", bytes("second")));
    EXPECT_EQ(store.dataForKey("vmDailyBrief"), bytes("second"));

    // Keys are exact and case-sensitive.
    EXPECT_FALSE(store.dataForKey("vmdailybrief"));
    EXPECT_FALSE(store.dataForKey("vmDailyBrief "));

    EXPECT_FALSE(store.removeObject("vmDailyBrief"));
    EXPECT_FALSE(store.valueForKey("vmDailyBrief"));
    EXPECT_FALSE(store.removeObject("never-written"));

    // A second writer and a reader see what the first wrote.
    EXPECT_FALSE(writer(folder).setString("note", "hello"));
    const auto suite = DefaultsStore::openSuite(platform::appGroupIdentifier(), folder);
    ASSERT_TRUE(suite);
    EXPECT_EQ(suite->stringForKey("note"), "hello");
}

TEST(DefaultsStore, DataAndTextValuesStayApart) {
    TempStore temp;
    auto store = writer(temp.folder());
    EXPECT_FALSE(store.setString("text", "{\"ticker\":\"NVDA\"}"));
    EXPECT_FALSE(store.setData("data", bytes("{\"ticker\":\"NVDA\"}")));
    EXPECT_FALSE(store.setData("empty", Data{}));
    EXPECT_FALSE(store.setString("emptyText", ""));
    const Data binary{0x00, 0xff, 0x10, 0x00};
    EXPECT_FALSE(store.setData("binary", binary));

    EXPECT_FALSE(store.dataForKey("text"));
    EXPECT_EQ(store.stringForKey("text"), "{\"ticker\":\"NVDA\"}");
    EXPECT_FALSE(store.stringForKey("data"));
    EXPECT_EQ(store.dataForKey("data"), bytes("{\"ticker\":\"NVDA\"}"));
    // Empty values keep their kind: zero bytes of data, an empty text.
    EXPECT_EQ(store.dataForKey("empty"), Data{});
    EXPECT_FALSE(store.stringForKey("empty"));
    EXPECT_EQ(store.stringForKey("emptyText"), "");
    EXPECT_FALSE(store.dataForKey("emptyText"));
    EXPECT_EQ(store.dataForKey("binary"), binary);

    // Replacing a text with data changes the kind.
    EXPECT_FALSE(store.setData("text", bytes("now data")));
    EXPECT_EQ(store.dataForKey("text"), bytes("now data"));
    EXPECT_FALSE(store.stringForKey("text"));
}

TEST(DefaultsStore, ReadsLeaveTheDatabaseUntouched) {
    TempStore temp;
    {
        auto store = writer(temp.folder());
        EXPECT_FALSE(store.setData("vmDailyBrief", bytes("{}")));
    }
    const DiskState before(temp.folder());
    ASSERT_EQ(before.entries.size(), 1u);
    ASSERT_TRUE(before.entries.contains(temp.suiteFile().filename().string()));

    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    for (int i = 0; i < 3; ++i) {
        const auto suite = DefaultsStore::openSuite(platform::appGroupIdentifier(), temp.folder());
        ASSERT_TRUE(suite);
        EXPECT_TRUE(suite->dataForKey("vmDailyBrief"));
        EXPECT_FALSE(suite->dataForKey("vmWatchlistTickers"));
        EXPECT_EQ(DiskState(temp.folder()), before);  // no -journal, -wal or -shm while open
        // The standard store has no database here; asking it creates none.
        EXPECT_FALSE(DefaultsStore::standard(temp.folder()).dataForKey("vmDailyBrief"));
    }
    EXPECT_EQ(DiskState(temp.folder()), before);
}

TEST(DefaultsStore, MissingSuiteStandardStoreAndUnmakeableFolder) {
    TempStore temp;
    const auto missing = temp.folder() / "not-there";
    EXPECT_FALSE(DefaultsStore::openSuite(platform::appGroupIdentifier(), missing));
    EXPECT_FALSE(DefaultsStore::standard(missing).valueForKey("anything"));
    EXPECT_FALSE(std::filesystem::exists(missing));  // readers create nothing

    // The standard store is a database of its own beside the suite.
    EXPECT_FALSE(writer(temp.folder(), platform::bundleIdentifier())
                     .setData("vmDailyBrief", bytes("standard")));
    EXPECT_EQ(DefaultsStore::standard(temp.folder()).dataForKey("vmDailyBrief"), bytes("standard"));
    EXPECT_FALSE(DefaultsStore::openSuite(platform::appGroupIdentifier(), temp.folder()));

    // A suite file that is no database of ours holds no values.
    std::ofstream(temp.suiteFile()) << "not a database at all, just some text";
    const auto garbage = DefaultsStore::openSuite(platform::appGroupIdentifier(), temp.folder());
    EXPECT_FALSE(garbage && garbage->valueForKey("vmDailyBrief"));

    // A writer below a file cannot make its folder.
    std::ofstream(temp.folder() / "file") << "x";
    const auto opened = DefaultsStore::openForWriting("domain", temp.folder() / "file" / "store");
    ASSERT_TRUE(std::holds_alternative<store::DefaultsError>(opened));
    EXPECT_THAT(std::get<store::DefaultsError>(opened).description,
                testing::HasSubstr("cannot create the store folder"));
}

TEST(DefaultsStore, ReaderWaitsForAWritersTransaction) {
    TempStore temp;
    {
        auto store = writer(temp.folder());
        EXPECT_FALSE(store.setData("vmDailyBrief", bytes("old")));
    }
    // Another process's writer in the middle of replacing the key, holding the exclusive lock.
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(temp.suiteFile().c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db,
                           "BEGIN EXCLUSIVE; UPDATE defaults SET value = x'6e6577' "
                           "WHERE key = 'vmDailyBrief'",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    std::thread committer([db] {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    });
    const auto suite = DefaultsStore::openSuite(platform::appGroupIdentifier(), temp.folder());
    ASSERT_TRUE(suite);
    EXPECT_EQ(suite->dataForKey("vmDailyBrief"), bytes("new"));
    committer.join();
    sqlite3_close(db);
}

TEST(StoreLocation, ExplicitFolderThenEnvironmentThenHome) {
    std::vector<std::pair<const char*, std::optional<std::string>>> saved;
    for (const char* name : {"VELMORA_STORE_DIR", "XDG_DATA_HOME", "HOME"})
        saved.emplace_back(
            name, std::getenv(name) ? std::optional<std::string>(std::getenv(name)) : std::nullopt);

    ::setenv("VELMORA_STORE_DIR", "/tmp/velmora-env", 1);
    ::setenv("XDG_DATA_HOME", "/tmp/xdg", 1);
    ::setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(store::storeDirectory("/explicit"), "/explicit");
    EXPECT_EQ(store::storeDirectory(), "/tmp/velmora-env");
    ::setenv("VELMORA_STORE_DIR", "", 1);
    EXPECT_EQ(store::storeDirectory(), "/tmp/xdg/velmora");
    ::setenv("XDG_DATA_HOME", "relative/data", 1);  // relative values are ignored
    EXPECT_EQ(store::storeDirectory(), "/home/someone/.local/share/velmora");
    ::unsetenv("XDG_DATA_HOME");
    ::unsetenv("VELMORA_STORE_DIR");
    EXPECT_EQ(store::storeDirectory(), "/home/someone/.local/share/velmora");

    EXPECT_EQ(store::domainFile("/d", "group.x").filename(), "group.x.sqlite");
    EXPECT_NE(store::domainFile("/d", platform::appGroupIdentifier()),
              store::domainFile("/d", platform::bundleIdentifier()));

    for (const auto& [name, value] : saved) {
        if (value)
            ::setenv(name, value->c_str(), 1);
        else
            ::unsetenv(name);
    }
}

}  // namespace
