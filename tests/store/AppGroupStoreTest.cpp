#include "tests/store/StoreReads.h"
#include "tests/support/DiskState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

namespace {

using namespace storereads;
using diskstate::DiskState;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string subsystem = VELMORA_BUNDLE_ID;

TEST(AppGroupStore, ReadsEachRecordFromTheSuiteAsLastWritten) {
    Reads f;
    f.fill();
    EXPECT_EQ(f.brief(), sharedDecoder().decode<DailyBrief>(samples::brief).value());
    EXPECT_EQ(f.portfolio(), sharedDecoder().decode<PortfolioSnapshot>(samples::snapshot).value());
    EXPECT_EQ(f.rows(), sharedDecoder().decode<std::vector<WatchlistRow>>(samples::rows).value());
    f.store.putData(watchlistTickersKey, R"([{"ticker":"ONE","price":1,"changePct":0}])");
    EXPECT_EQ(f.rows(), (std::vector<WatchlistRow>{{"ONE", {}, 1, 0}}));
    f.store.remove(watchlistTickersKey);
    EXPECT_FALSE(f.rows());
    EXPECT_THAT(f.sink.lines(), IsEmpty());
}

TEST(AppGroupStore, NothingStoredOrTextStoredGivesNoValueSilently) {
    Reads f;
    EXPECT_FALSE(f.brief());  // no folder at all yet
    EXPECT_FALSE(f.rows());
    f.store.putString(dailyBriefKey, samples::brief);  // a text value, even of valid JSON
    f.store.putString(watchlistTickersKey, samples::rows);
    EXPECT_FALSE(f.brief());
    EXPECT_FALSE(f.rows());
    EXPECT_FALSE(f.portfolio());                 // never written
    f.store.putData(watchlistTickersKey, "[]");  // an empty list is a value
    EXPECT_EQ(f.rows(), std::vector<WatchlistRow>{});
    EXPECT_THAT(f.sink.lines(), IsEmpty());
    EXPECT_EQ(f.sink.enabledQueries(), 0);
}

TEST(AppGroupStore, UndecodableDataLogsOneErrorLineNamingTheKey) {
    const std::string prefix = subsystem + "[app] AppGroup decode failed for ";
    const struct {
        std::string_view key;
        std::string data, line;
    } cases[] = {
        {dailyBriefKey, samples::with(samples::brief, "generatedAt", 1763272800),
         "vmDailyBrief: generatedAt: expected an RFC 3339 date-time, found a number"},
        {watchlistTickersKey, samples::brief,  // an object where a list belongs
         "vmWatchlistTickers: expected an array, found an object"},
        {portfolioSnapshotKey, "{not json",  // "n" begins null, "o" ends it
         "vmPortfolioSnapshot: not valid JSON at offset 2"},
        {watchlistTickersKey, "", "vmWatchlistTickers: not valid JSON at offset 0"},  // no bytes
        // The line quotes the start of an overlong number, not all of it.
        {portfolioSnapshotKey, R"({"totalValue":1)" + std::string(100000, '0') + "}",
         "vmPortfolioSnapshot: not valid JSON: number overflow parsing '1" + std::string(63, '0') +
             "…'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        Reads f;
        f.store.putData(c.key, c.data);
        EXPECT_FALSE(f.brief() || f.portfolio() || f.rows());
        EXPECT_THAT(f.sink.lines(), ElementsAre(prefix + c.line));
    }
    // With the error level off, the message is not even made.
    Reads f;
    recording::RecordingSink off(false);
    f.store.putData(dailyBriefKey, "[]");
    EXPECT_FALSE(readRecord<DailyBrief>(dailyBriefKey, f.store.directory(),
                                        platform::Logger(subsystem, "app", off)));
    EXPECT_EQ(off.enabledQueries(), 1);
    EXPECT_THAT(off.lines(), IsEmpty());
}

TEST(AppGroupStore, FallsBackToTheStandardStoreOnlyWhenThereIsNoSuite) {
    Reads f;
    // No store folder, or a file where it belongs: nothing to read, nothing logged or made.
    std::ofstream(f.store.folder() / "file") << "not a folder";
    for (const auto& folder : {f.store.folder() / "absent", f.store.folder() / "file" / "below"})
        EXPECT_FALSE(readRecord<DailyBrief>(dailyBriefKey, folder.string(), f.logger));
    EXPECT_FALSE(std::filesystem::exists(f.store.folder() / "absent"));

    // Only the standard defaults exist: the read goes on there, and logs nothing for it.
    f.store.putData(dailyBriefKey, samples::brief, /*standard=*/true);
    EXPECT_TRUE(f.brief());
    EXPECT_FALSE(f.rows());
    f.store.putData(portfolioSnapshotKey, "{}", /*standard=*/true);
    EXPECT_FALSE(f.portfolio());
    EXPECT_THAT(f.sink.lines(), ElementsAre(testing::HasSubstr(
                                    "AppGroup decode failed for vmPortfolioSnapshot: missing key "
                                    "\"totalValue\"")));

    // Once the suite exists it alone is read, even without the key (and, store/FaultsTest,
    // when it cannot be read).
    f.store.putData(watchlistTickersKey, "[]");
    EXPECT_FALSE(f.brief());
}

// Not a byte, a timestamp or a file changes, while a store is open or after, whatever the
// reads find; the faults' reads are checked the same way (store/FaultsTest).
TEST(AppGroupStore, ReadsChangeNothingOnDisk) {
    Reads f;
    f.fill();
    f.store.putData(portfolioSnapshotKey, "{\"totalValue\":1}");  // fails, and is logged
    const DiskState before(f.store.folder());
    ASSERT_EQ(before.entries.size(), 1u);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // a timestamp would move
    {
        // No -journal, -wal or -shm while a reader holds the store.
        const auto suite =
            store::DefaultsStore::openSuite(platform::appGroupIdentifier(), f.store.folder());
        ASSERT_TRUE(suite && suite.value() && suite.value()->dataForKey(dailyBriefKey).value());
        EXPECT_EQ(DiskState(f.store.folder()), before);
    }
    std::vector<std::thread> readers;
    for (int t = 0; t < 4; ++t)
        readers.emplace_back([&] {
            for (int i = 0; i < 50; ++i)
                EXPECT_TRUE(f.brief() && f.rows() && !f.portfolio() && !f.brief("vmNever"));
        });
    for (auto& reader : readers) reader.join();
    EXPECT_EQ(f.sink.lines().size(), 200u);
    EXPECT_EQ(DiskState(f.store.folder()), before);  // the standard store was not made either
}

}  // namespace
