#include "store/AppGroupStore.h"
#include "tests/support/RecordingSink.h"
#include "tests/support/Samples.h"
#include "tests/support/TempStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>

using namespace store;

namespace {

using namespace AppGroupContainer;
using recording::RecordingSink;
using tempstore::TempStore;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string subsystem = VELMORA_BUNDLE_ID;

// The sample brief with its date written as a number.
std::string with1(std::string brief) {
    const std::string date = R"("2025-11-16T05:45:00Z")";
    return brief.replace(brief.find(date), date.size(), "1763272800");
}

// A store folder, and a logger whose lines the test can read.
struct Fixture {
    TempStore store;
    RecordingSink sink;
    platform::Logger logger{subsystem, "app", sink};

    auto brief() const { return readRecord<DailyBrief>(dailyBriefKey, store.directory(), logger); }
    auto portfolio() const {
        return readRecord<PortfolioSnapshot>(portfolioSnapshotKey, store.directory(), logger);
    }
    std::optional<std::vector<WatchlistRow>> rows() const {
        return readRows(watchlistTickersKey, store.directory(), logger);
    }
};

TEST(AppGroupStore, ReadsEachRecordFromTheSuite) {
    Fixture f;
    f.store.putData(dailyBriefKey, samples::brief);
    f.store.putData(portfolioSnapshotKey, samples::snapshot);
    f.store.putData(watchlistTickersKey, samples::rows);
    EXPECT_EQ(f.brief(), sharedDecoder().decode<DailyBrief>(samples::brief).value());
    EXPECT_EQ(f.portfolio(), sharedDecoder().decode<PortfolioSnapshot>(samples::snapshot).value());
    EXPECT_EQ(f.rows(), sharedDecoder().decode<std::vector<WatchlistRow>>(samples::rows).value());
    EXPECT_THAT(f.sink.lines(), IsEmpty());
}

TEST(AppGroupStore, NothingStoredOrTextStoredGivesNoValueSilently) {
    Fixture f;
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
        {dailyBriefKey, with1(samples::brief),
         "vmDailyBrief: generatedAt: expected an RFC 3339 date-time, found a number"},
        {watchlistTickersKey, samples::brief,  // an object where a list belongs
         "vmWatchlistTickers: expected an array, found an object"},
        {portfolioSnapshotKey, "{not json",  // "n" begins null, "o" ends it
         "vmPortfolioSnapshot: not valid JSON at offset 2"},
        {watchlistTickersKey, "", "vmWatchlistTickers: not valid JSON at offset 0"},  // no bytes
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        Fixture f;
        f.store.putData(c.key, c.data);
        EXPECT_FALSE(f.brief() || f.portfolio() || f.rows());
        EXPECT_THAT(f.sink.lines(), ElementsAre(prefix + c.line));
    }
}

TEST(AppGroupStore, DisabledErrorLevelSkipsTheMessage) {
    TempStore store;
    RecordingSink off(false);
    const platform::Logger logger(subsystem, "app", off);
    store.putData(dailyBriefKey, "[]");
    EXPECT_FALSE(readRecord<DailyBrief>(dailyBriefKey, store.directory(), logger));
    EXPECT_EQ(off.enabledQueries(), 1);
    EXPECT_THAT(off.lines(), IsEmpty());
}

TEST(AppGroupStore, FallsBackToTheStandardStoreWhenTheSuiteCannotBeOpened) {
    Fixture f;
    // Only the standard defaults exist: the read goes on there, and logs nothing for it.
    f.store.putData(dailyBriefKey, samples::brief, /*standard=*/true);
    EXPECT_FALSE(std::filesystem::exists(f.store.suiteFile()));
    EXPECT_TRUE(f.brief());
    EXPECT_FALSE(f.rows());
    f.store.putData(portfolioSnapshotKey, "{}", /*standard=*/true);
    EXPECT_FALSE(f.portfolio());
    EXPECT_THAT(f.sink.lines(), ElementsAre(testing::HasSubstr(
                                    "AppGroup decode failed for vmPortfolioSnapshot: missing key "
                                    "\"totalValue\"")));

    // Once the suite exists it alone is read, even without the key.
    f.store.putData(watchlistTickersKey, "[]");
    EXPECT_FALSE(f.brief());
}

TEST(AppGroupStore, EveryReadSeesTheLatestWrite) {
    Fixture f;
    f.store.putData(watchlistTickersKey, samples::rows);
    EXPECT_EQ(f.rows()->size(), 2u);
    f.store.putData(watchlistTickersKey, R"([{"ticker":"ONE","price":1,"changePct":0}])");
    EXPECT_EQ(f.rows(), (std::vector<WatchlistRow>{{"ONE", {}, 1, 0}}));
    f.store.remove(watchlistTickersKey);
    EXPECT_FALSE(f.rows());
}

TEST(AppGroupStore, ReadsChangeNothingOnDisk) {
    Fixture f;
    f.store.putData(dailyBriefKey, samples::brief);
    f.store.putData(watchlistTickersKey, "{bad");
    const auto file = f.store.suiteFile();
    const auto read = [&] {
        std::ifstream in(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    const auto list = [&] {
        std::set<std::filesystem::path> names;
        for (const auto& e : std::filesystem::directory_iterator(f.store.folder())) names.insert(e);
        return names;
    };
    const auto bytes = read();
    const auto modified = std::filesystem::last_write_time(file);
    const auto names = list();
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(f.brief() && !f.rows() && !f.portfolio());
    EXPECT_EQ(read(), bytes);
    EXPECT_EQ(std::filesystem::last_write_time(file), modified);
    EXPECT_EQ(list(), names);
}

}  // namespace
