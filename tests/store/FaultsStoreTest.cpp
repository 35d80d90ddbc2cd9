// The reads under faults of the store itself: a suite file that is damaged, foreign, hostile,
// locked by a writer or left behind by one that died. A read gives no value and logs one line
// naming the suite's file, never falls back to the standard defaults, ends in bounded time and
// I/O, and leaves the store as it found it.

#include "tests/store/StoreReads.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/DiskState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <thread>

namespace {

using namespace storereads;
using childprocess::ChildProcess;
using diskstate::DiskState;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string writerProgram = VELMORA_STORE_WRITER;
const std::string otherBrief = samples::with(samples::brief, "ticker", "AMD");

void overwrite(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

// What this process has read so far, files included.
long bytesRead() {
    std::ifstream io("/proc/self/io");
    std::string name;
    long value = 0;
    while (io >> name >> value && name != "rchar:") continue;
    return value;
}

// Turns the filled suite into a fault.
using Make = std::function<void(const Reads&)>;

struct Fault {
    std::string what;
    Make make;
    std::string logged;  // after "FILE: "; empty when nothing is
    bool briefRead = false;
};

Make suiteSql(const std::string& sql) {
    return [sql](const Reads& f) { runSql(f.store.suiteFile(), sql); };
}
Make database(const std::string& sql) {
    return [sql](const Reads& f) {
        std::filesystem::remove(f.store.suiteFile());
        runSql(f.store.suiteFile(), sql);
    };
}
Make damage(const std::function<std::string(const std::string&)>& bytes) {
    return [bytes](const Reads& f) {
        const DiskState state(f.store.folder());
        overwrite(f.store.suiteFile(),
                  bytes(state.entries.at(f.store.suiteFile().filename()).bytes));
    };
}

// A writer that dies in the middle of replacing the brief, "spill" once it has written into
// the database file.
Make abandon(const std::string& spill) {
    return [spill](const Reads& f) {
        std::vector<std::string> args{writerProgram, "abandon", f.store.directory(),
                                      std::string(dailyBriefKey), otherBrief};
        if (!spill.empty()) args.push_back(spill);
        EXPECT_EQ(ChildProcess(args).wait(), 0);
    };
}

// A writer that takes the suite's lock and keeps it for ten seconds, "spill" once it has
// written into the database file.
Make hold(std::unique_ptr<ChildProcess>& holder, const std::string& spill) {
    return [&holder, spill](const Reads& f) {
        std::vector<std::string> args{writerProgram,       "hold",
                                      f.store.directory(), std::string(dailyBriefKey),
                                      otherBrief,          "10000"};
        if (!spill.empty()) args.push_back(spill);
        holder = std::make_unique<ChildProcess>(args);
        EXPECT_EQ(holder->readLine(), "locked");
    };
}

TEST(StoreFaults, EachGivesNoValueAndOneLineNamingTheSuiteInBoundedTimeAndInput) {
    std::mt19937 random(20251116);
    std::string noise(16384, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    std::unique_ptr<ChildProcess> holder;  // a writer that keeps its lock during the read
    const std::string otherTable =
        "defaults is not the table (key TEXT PRIMARY KEY NOT NULL, value)";
    const Fault faults[] = {
        {"a FIFO",
         [](const Reads& f) {
             std::filesystem::remove(f.store.suiteFile());
             ::mkfifo(f.store.suiteFile().c_str(), 0644);
         },
         "is a FIFO, not a database file"},
        {"a folder",
         [](const Reads& f) {
             std::filesystem::remove(f.store.suiteFile());
             std::filesystem::create_directory(f.store.suiteFile());
         },
         "is a folder, not a database file"},
        {"random bytes", damage([&](const std::string&) { return noise; }),
         "file is not a database"},
        {"an empty file, as a writer creating the store leaves it for a moment",
         damage([](const std::string&) { return ""; }), ""},
        {"the first page alone",
         damage([](const std::string& good) { return good.substr(0, 4096); }),
         "database disk image is malformed"},
        {"scrambled table pages", damage([&](const std::string& good) {
             return good.substr(0, 4096) + noise.substr(0, good.size() - 4096);
         }),
         "database disk image is malformed"},
        {"a view that never ends",
         database("CREATE VIEW defaults AS WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT "
                  "x+1 FROM c) SELECT 'vmDailyBrief' AS key, CAST(x AS BLOB) AS value FROM c "
                  "WHERE x<0"),
         otherTable},
        {"a view of a gigabyte",
         database("CREATE VIEW defaults AS SELECT 'vmDailyBrief' AS key, randomblob(1e9) AS value"),
         otherTable},
        {"another table", database("CREATE TABLE preferences (key TEXT PRIMARY KEY, value)"),
         "holds no defaults table"},
        {"keys as blobs", database("CREATE TABLE defaults (key BLOB PRIMARY KEY, value)"),
         otherTable},
        {"the WITHOUT ROWID table of earlier versions",
         database("CREATE TABLE defaults (key TEXT PRIMARY KEY NOT NULL, value) WITHOUT ROWID;"
                  "INSERT INTO defaults VALUES ('vmDailyBrief', CAST('" +
                  samples::brief + "' AS BLOB))"),
         "holds defaults in the WITHOUT ROWID form of earlier versions, which the host app's "
         "next write converts"},
        {"write-ahead-log mode", suiteSql("PRAGMA journal_mode=WAL"),
         "is in write-ahead-log mode, which a reader cannot open without changing files beside it"},
        {"an empty -wal file beside it, read around and left alone",
         [](const Reads& f) { overwrite(f.store.suiteFile().string() + "-wal", ""); }, "", true},
        {"a hot journal of a writer that died mid-transaction", abandon("spill"),
         "a writer died mid-transaction and left a hot journal, which only a writer can roll "
         "back"},
        {"the journal of a writer that died before it was hot, which changed nothing", abandon(""),
         "", true},
        {"a writer holding its lock, whose transaction has not touched the file yet: the last "
         "commit is read",
         hold(holder, ""), "", true},
        {"a writer in the middle of its commit past the wait", hold(holder, "spill"),
         "still locked by a writer after 2000 ms"},
        {"a value above the size limit under the key",
         suiteSql("UPDATE defaults SET value = zeroblob(8000000) WHERE key = 'vmDailyBrief'"),
         "value of 8000000 bytes exceeds the 1 MiB limit"},
        {"a value above the size limit under another key, which costs nothing",
         suiteSql("INSERT INTO defaults VALUES ('filler', zeroblob(8000000))"), "", true},
        {"a value neither data nor text, which is no value",
         suiteSql("UPDATE defaults SET value = 42 WHERE key = 'vmDailyBrief'"), ""},
    };
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.what);
        Reads f;
        f.fill();
        f.store.putData(dailyBriefKey, samples::brief, /*standard=*/true);
        fault.make(f);
        const DiskState before(f.store.folder());
        const long inputBefore = bytesRead();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(f.brief().has_value(), fault.briefRead);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));  // no hang
        EXPECT_LT(bytesRead() - inputBefore, 1 << 20);
        if (fault.logged.empty())
            EXPECT_THAT(f.sink.lines(), IsEmpty());
        else
            EXPECT_THAT(f.sink.lines(),
                        ElementsAre(VELMORA_BUNDLE_ID "[app] AppGroup store read failed for "
                                                      "vmDailyBrief: " +
                                    f.store.suiteFile().string() + ": " + fault.logged));
        EXPECT_EQ(DiskState(f.store.folder()), before);
        holder.reset();
    }
}

// A reader takes no lock: the host app's writes go through while a read-only store that has
// read stays open, as one held by a faulty extension would.
TEST(StoreFaults, AnOpenReaderNeverMakesTheWriterWait) {
    Reads f;
    f.fill();
    const auto suite =
        store::DefaultsStore::openSuite(platform::appGroupIdentifier(), f.store.folder());
    ASSERT_TRUE(suite && suite.value());
    ASSERT_TRUE(suite.value()->dataForKey(dailyBriefKey));
    ChildProcess writer({writerProgram, "write", f.store.directory(), "2", "60", "0",
                         std::string(dailyBriefKey), otherBrief, samples::brief});
    // Held off, it would give up after its busy timeout with "database is locked".
    EXPECT_EQ(writer.wait(), 0) << writer.err();
    EXPECT_EQ(writer.out(), "rounds 2\n");
}

TEST(StoreFaults, AReadOnlyStoreStopsAtItsDeadline) {
    Reads f;
    f.fill();
    const auto suite =
        store::DefaultsStore::openSuite(platform::appGroupIdentifier(), f.store.folder());
    ASSERT_TRUE(suite && suite.value());
    std::this_thread::sleep_for(store::DefaultsStore::readBudget);
    const auto late = suite.value()->dataForKey(dailyBriefKey);
    ASSERT_FALSE(late);
    EXPECT_EQ(late.error().description,
              f.store.suiteFile().string() + ": read stopped after 2250 ms");
}

}  // namespace
