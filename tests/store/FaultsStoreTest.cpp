// The reads under faults of the store itself: a damaged or foreign database, a writer holding
// the lock or dying mid-write, a folder that is missing, not a folder or not readable. Every
// read gives no value (or waits and gives the value), logs nothing, since only decoding
// failures are logged, and leaves the store as it found it.

#include "store/AppGroupStore.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/DiskState.h"
#include "tests/support/RecordingSink.h"
#include "tests/support/Samples.h"
#include "tests/support/TempStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace store;

namespace {

using namespace AppGroupContainer;
using childprocess::ChildProcess;
using diskstate::DiskState;
using recording::RecordingSink;
using tempstore::TempStore;
using testing::IsEmpty;

const std::string writerProgram = VELMORA_STORE_WRITER;

const std::string otherBrief =
    R"({"ticker":"AMD","summary":"Fresh brief.","signal":"Hold","score":55,)"
    R"("generatedAt":"2025-11-17T05:45:00Z"})";

struct Fixture {
    TempStore store;
    RecordingSink sink;
    platform::Logger logger{VELMORA_BUNDLE_ID, "app", sink};

    std::optional<DailyBrief> brief(const std::string& folder) const {
        return readRecord<DailyBrief>(dailyBriefKey, folder, logger);
    }
    std::optional<DailyBrief> brief() const { return brief(store.directory()); }

    // How many reads gave a value: `extraKey` and the three records, `times` times over from
    // four threads at once.
    int valuesRead(const std::string& folder, int times, const char* extraKey = nullptr) const {
        std::vector<std::thread> readers;
        std::atomic<int> values = 0;
        for (int t = 0; t < 4; ++t)
            readers.emplace_back([&] {
                for (int i = 0; i < times; ++i) {
                    values += brief(folder).has_value();
                    values += readRows(watchlistTickersKey, folder, logger).has_value();
                    values += readRecord<PortfolioSnapshot>(portfolioSnapshotKey, folder, logger)
                                  .has_value();
                    if (extraKey)
                        values += readRecord<DailyBrief>(extraKey, folder, logger).has_value();
                }
            });
        for (auto& reader : readers) reader.join();
        return values;
    }

    // No read of `folder` gives a value or logs a line, and the store's folder is left as it was.
    void expectNothingRead(const std::string& folder, int times = 25) const {
        const DiskState before(store.folder());
        EXPECT_EQ(valuesRead(folder, times), 0);
        EXPECT_THAT(sink.lines(), IsEmpty());
        EXPECT_EQ(DiskState(store.folder()), before);
    }
};

void overwrite(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

// The store as the host app leaves it, every key set.
void fill(const TempStore& store) {
    store.putData(dailyBriefKey, samples::brief);
    store.putData(watchlistTickersKey, samples::rows);
    store.putData(portfolioSnapshotKey, samples::snapshot);
}

// Runs statements on a database file of the test's own making.
void makeDatabase(const std::filesystem::path& file, const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    char* message = nullptr;
    const int executed = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
    const std::string error = message != nullptr ? message : "";
    sqlite3_free(message);
    sqlite3_close(db);
    ASSERT_EQ(executed, SQLITE_OK) << error;
}

TEST(Faults, CorruptSuiteDatabaseGivesNoValueSilently) {
    std::mt19937 random(20251116);
    std::string noise(4096, '\0');
    for (char& c : noise) c = static_cast<char>(random());

    // Each damage turns a filled suite file into something that is no readable store.
    const std::vector<std::pair<std::string, std::function<std::string(const std::string&)>>>
        damages = {
            {"random bytes", [&](const std::string&) { return noise; }},
            {"a line of text", [](const std::string&) { return std::string("not a database\n"); }},
            {"an empty file", [](const std::string&) { return std::string(); }},
            {"the header page alone",
             [](const std::string& good) { return good.substr(0, good.size() / 2); }},
            {"a scrambled table page",
             [&](const std::string& good) {
                 return good.substr(0, good.size() / 2) + noise.substr(0, good.size() / 2);
             }},
        };
    for (const auto& [what, damage] : damages) {
        SCOPED_TRACE(what);
        Fixture f;
        fill(f.store);
        // The standard defaults hold a brief too; the suite's file exists, so the suite is what
        // the reads use and the standard defaults stay out of it.
        f.store.putData(dailyBriefKey, samples::brief, /*standard=*/true);
        const std::string good =
            DiskState(f.store.folder()).entries.at(f.store.suiteFile().filename().string()).bytes;
        ASSERT_EQ(good.size(), 8192u) << "the store's page layout changed";
        overwrite(f.store.suiteFile(), damage(good));
        f.expectNothingRead(f.store.directory());
    }
}

TEST(Faults, ReadWaitsForAWriterHoldingTheLockAndSeesItsCommit) {
    Fixture f;
    fill(f.store);
    const DailyBrief expected = sharedDecoder().decode<DailyBrief>(otherBrief).value();
    ASSERT_LT(300, store::DefaultsStore::busyTimeoutMilliseconds);

    // Another process takes the EXCLUSIVE lock, changes the brief and holds on for 300 ms,
    // well inside the readers' busy timeout. The read cannot see the old brief under that
    // lock: it waits for the commit and sees the new one.
    ChildProcess holder({writerProgram, "hold", f.store.directory(), std::string(dailyBriefKey),
                         otherBrief, "300"});
    ASSERT_EQ(holder.readLine(), "locked");
    EXPECT_EQ(f.brief(), expected);
    EXPECT_EQ(holder.wait(), 0);
    EXPECT_THAT(f.sink.lines(), IsEmpty());
}

TEST(Faults, HostAppDyingMidWriteNeverShowsItsHalfWrittenTransaction) {
    const DailyBrief committed = sharedDecoder().decode<DailyBrief>(samples::brief).value();
    for (const bool spill : {false, true}) {
        SCOPED_TRACE(spill ? "died after changed pages reached the database file"
                           : "died before its journal was synced");
        Fixture f;
        fill(f.store);
        std::vector<std::string> args{writerProgram, "abandon", f.store.directory(),
                                      std::string(dailyBriefKey), otherBrief};
        if (spill) args.emplace_back("spill");
        ASSERT_EQ(ChildProcess(args).wait(), 0);
        const std::filesystem::path journal = f.store.suiteFile().string() + "-journal";
        ASSERT_TRUE(std::filesystem::exists(journal));
        if (!spill) {
            // The database file still holds the last commit, and the journal left behind is
            // not hot (its header was never written): reads see the committed brief.
            const DiskState before(f.store.folder());
            for (int i = 0; i < 20; ++i) ASSERT_EQ(f.brief(), committed);
            EXPECT_EQ(DiskState(f.store.folder()), before);
            EXPECT_THAT(f.sink.lines(), IsEmpty());
            continue;
        }
        // The journal is hot: the database must be rolled back before anyone reads it, which
        // a read-only reader cannot do. Reads give nothing rather than half a transaction, and
        // leave both files alone.
        f.expectNothingRead(f.store.directory());

        // The host app's next write rolls the lost transaction back; what was committed before
        // reads again.
        f.store.putData(portfolioSnapshotKey, samples::snapshot);
        EXPECT_FALSE(std::filesystem::exists(journal));
        EXPECT_EQ(f.brief(), committed);
        EXPECT_TRUE(readRows(watchlistTickersKey, f.store.directory(), f.logger));
        EXPECT_FALSE(readRecord<DailyBrief>("filler1", f.store.directory(), f.logger));
        EXPECT_THAT(f.sink.lines(), IsEmpty());
    }
}

TEST(Faults, MissingMisplacedOrUnopenableStoreGivesNoValueAndCreatesNothing) {
    Fixture f;
    f.expectNothingRead((f.store.folder() / "absent" / "deeper").string(), 2);
    EXPECT_FALSE(std::filesystem::exists(f.store.folder() / "absent"));

    // A store path that names a file, or a folder below a file.
    const auto file = f.store.folder() / "plain-file";
    overwrite(file, "not a folder");
    f.expectNothingRead(file.string(), 2);
    f.expectNothingRead((file / "below").string(), 2);

    // A folder where the suite's database file belongs: no database can be opened there, and
    // the reads fall back to the standard defaults.
    Fixture g;
    g.store.putData(dailyBriefKey, samples::brief, /*standard=*/true);
    std::filesystem::create_directory(g.store.suiteFile());
    const DiskState before(g.store.folder());
    const auto brief = g.brief();
    ASSERT_TRUE(brief);
    EXPECT_EQ(brief->ticker, "NVDA");
    EXPECT_FALSE(readRows(watchlistTickersKey, g.store.directory(), g.logger));
    EXPECT_EQ(DiskState(g.store.folder()), before);
    EXPECT_THAT(g.sink.lines(), IsEmpty());
}

TEST(Faults, UnreadableFolderOrDatabaseGivesNoValue) {
    if (::geteuid() == 0) GTEST_SKIP() << "permissions do not bind root";
    Fixture f;
    fill(f.store);
    const DiskState before(f.store.folder());

    // The suite's file cannot be opened: the read goes on in the standard defaults, which do
    // not exist either.
    ::chmod(f.store.suiteFile().c_str(), 0);
    EXPECT_EQ(f.valuesRead(f.store.directory(), 2), 0);
    ::chmod(f.store.suiteFile().c_str(), 0644);

    ::chmod(f.store.folder().c_str(), 0);
    EXPECT_EQ(f.valuesRead(f.store.directory(), 2), 0);
    ::chmod(f.store.folder().c_str(), 0755);

    EXPECT_EQ(DiskState(f.store.folder()), before);
    EXPECT_THAT(f.sink.lines(), IsEmpty());
}

TEST(Faults, DatabaseOfAnotherShapeGivesNoValue) {
    const std::string brief = "CAST('" + samples::brief + "' AS BLOB)";
    const std::vector<std::pair<std::string, std::string>> shapes = {
        {"another table",
         "CREATE TABLE preferences (key TEXT PRIMARY KEY, value);"
         "INSERT INTO preferences VALUES ('vmDailyBrief', " +
             brief + ");"},
        {"other columns",
         "CREATE TABLE defaults (name TEXT PRIMARY KEY, data BLOB);"
         "INSERT INTO defaults VALUES ('vmDailyBrief', " +
             brief + ");"},
        {"keys as blobs",
         "CREATE TABLE defaults (key BLOB PRIMARY KEY, value);"
         "INSERT INTO defaults VALUES (CAST('vmDailyBrief' AS BLOB), " +
             brief + ");"},
        {"values neither data nor text",
         "CREATE TABLE defaults (key TEXT PRIMARY KEY, value);"
         "INSERT INTO defaults VALUES ('vmDailyBrief', 42), ('vmWatchlistTickers', NULL),"
         "('vmPortfolioSnapshot', 1.5);"},
    };
    for (const auto& [what, sql] : shapes) {
        SCOPED_TRACE(what);
        Fixture f;
        makeDatabase(f.store.suiteFile(), sql);
        f.expectNothingRead(f.store.directory());
    }
}

TEST(Faults, ManyReadsLeaveTheStoreAsTheyFoundIt) {
    Fixture f;
    fill(f.store);
    f.store.putData(portfolioSnapshotKey, "{\"totalValue\":1}");  // fails, and is logged
    const DiskState before(f.store.folder());
    EXPECT_EQ(f.valuesRead(f.store.directory(), 100, "vmNeverWritten"), 800);
    EXPECT_EQ(f.sink.lines().size(), 400u);
    EXPECT_EQ(DiskState(f.store.folder()), before);
}

}  // namespace
