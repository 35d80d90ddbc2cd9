// A second process that writes the shared store the way the host app does, for the store's
// fault and concurrency tests (a reader must be tested against a writer it does not share a
// process, and so no lock, with).
//
//   velmora-store-writer write FOLDER ROUNDS SECONDS PAUSE KEY JSON_A JSON_B [KEY JSON_A ...]
//       One connection to the app group's suite; in round i every KEY gets JSON_A (i even) or
//       JSON_B (i odd) as a data value, each in its own transaction, and PAUSE microseconds
//       pass before the next round. Stops after ROUNDS rounds or the first round that ends
//       SECONDS after the start, and prints "rounds N".
//   velmora-store-writer hold FOLDER KEY JSON MILLISECONDS [spill]
//       Takes the suite's EXCLUSIVE lock, sets KEY to JSON inside that transaction, prints
//       "locked" on standard output, waits, then commits. With "spill" the transaction first
//       grows past a tiny page cache, as for abandon: the journal is hot while it waits.
//   velmora-store-writer abandon FOLDER KEY JSON [spill]
//       Sets KEY to JSON inside a transaction and exits without committing or rolling back,
//       as a host app that crashes mid-write: the rollback journal stays behind. With "spill"
//       the transaction first grows past a tiny page cache, so that SQLite has synced the
//       journal and written changed pages into the database file: the journal is hot.
//
// Exits 0 when everything was done, 1 with a message on standard error otherwise.

#include "platform/Deployment.h"
#include "store/DefaultsStore.h"
#include "store/StoreLocation.h"

#include <sqlite3.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

int failure(const std::string& message) {
    std::fprintf(stderr, "velmora-store-writer: %s\n", message.c_str());
    return 1;
}

std::span<const std::uint8_t> bytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

int writeRounds(const std::filesystem::path& folder, long rounds, double seconds, long pause,
                std::span<char* const> triples) {
    if (rounds <= 0 || seconds <= 0 || pause < 0 || triples.empty() || triples.size() % 3 != 0)
        return failure(
            "write needs ROUNDS > 0, SECONDS > 0, PAUSE >= 0 and KEY JSON_A JSON_B triples");
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                              std::chrono::duration<double>(seconds));
    auto opened = store::DefaultsStore::openForWriting(platform::appGroupIdentifier(), folder);
    if (!opened) return failure(opened.error().description);
    auto& store = opened.value();
    long round = 0;
    while (round < rounds) {
        for (std::size_t i = 0; i < triples.size(); i += 3) {
            const std::string_view json = triples[i + 1 + static_cast<std::size_t>(round % 2)];
            if (const auto written = store.setData(triples[i], bytes(json)); !written)
                return failure("round " + std::to_string(round) + ": " +
                               written.error().description);
        }
        ++round;
        if (std::chrono::steady_clock::now() >= deadline) break;
        std::this_thread::sleep_for(std::chrono::microseconds(pause));
    }
    std::printf("rounds %ld\n", round);
    return 0;
}

// The raw connection for the two crash-and-lock modes, which the store's own writer never
// leaves in that state.
sqlite3* openRaw(const std::filesystem::path& folder) {
    const auto file = store::domainFile(folder, platform::appGroupIdentifier());
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        failure("cannot open " + file.string());
        sqlite3_close_v2(db);
        return nullptr;
    }
    return db;
}

bool beginAndSet(sqlite3* db, const char* begin, std::string_view key, std::string_view json) {
    if (sqlite3_exec(db, begin, nullptr, nullptr, nullptr) != SQLITE_OK) return false;
    sqlite3_stmt* statement = nullptr;
    constexpr std::string_view sql = "UPDATE defaults SET value = ?2 WHERE key = ?1";
    bool done = sqlite3_prepare_v2(db, sql.data(), static_cast<int>(sql.size()), &statement,
                                   nullptr) == SQLITE_OK &&
                sqlite3_bind_text(statement, 1, key.data(), static_cast<int>(key.size()),
                                  SQLITE_STATIC) == SQLITE_OK &&
                sqlite3_bind_blob(statement, 2, json.data(), static_cast<int>(json.size()),
                                  SQLITE_STATIC) == SQLITE_OK &&
                sqlite3_step(statement) == SQLITE_DONE && sqlite3_changes(db) == 1;
    sqlite3_finalize(statement);
    return done;
}

// Makes the open transaction outgrow a tiny page cache, so that SQLite syncs the journal and
// writes changed pages into the database file.
bool spillOver(sqlite3* db) {
    constexpr const char* filler =
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 64) "
        "INSERT INTO defaults SELECT 'filler' || i, zeroblob(4000) FROM n";
    return sqlite3_exec(db, filler, nullptr, nullptr, nullptr) == SQLITE_OK;
}

int hold(const std::filesystem::path& folder, std::string_view key, std::string_view json,
         long milliseconds, bool spill) {
    sqlite3* db = openRaw(folder);
    if (db == nullptr) return 1;
    if (spill && sqlite3_exec(db, "PRAGMA cache_size=10", nullptr, nullptr, nullptr) != SQLITE_OK)
        return failure(std::string("cannot shrink the cache: ") + sqlite3_errmsg(db));
    if (!beginAndSet(db, "BEGIN EXCLUSIVE", key, json) || (spill && !spillOver(db)))
        return failure(std::string("cannot lock and write: ") + sqlite3_errmsg(db));
    std::printf("locked\n");
    std::fflush(stdout);
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    const bool committed = sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close_v2(db);
    return committed ? 0 : failure("cannot commit");
}

int abandon(const std::filesystem::path& folder, std::string_view key, std::string_view json,
            bool spill) {
    sqlite3* db = openRaw(folder);
    if (db == nullptr) return 1;
    if (spill && sqlite3_exec(db, "PRAGMA cache_size=10", nullptr, nullptr, nullptr) != SQLITE_OK)
        return failure(std::string("cannot shrink the cache: ") + sqlite3_errmsg(db));
    if (!beginAndSet(db, "BEGIN IMMEDIATE", key, json))
        return failure(std::string("cannot write: ") + sqlite3_errmsg(db));
    if (spill && !spillOver(db))
        return failure(std::string("cannot grow the transaction: ") + sqlite3_errmsg(db));
    // Leave without a word to SQLite: no commit, no rollback, no close.
    std::fflush(nullptr);
    ::_exit(0);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string_view> args(argv + 1, argv + argc);
    if (args.size() >= 8 && args[0] == "write")
        return writeRounds(args[1], std::atol(argv[3]), std::atof(argv[4]), std::atol(argv[5]),
                           {argv + 6, argv + argc});
    if ((args.size() == 5 || (args.size() == 6 && args[5] == "spill")) && args[0] == "hold")
        return hold(args[1], args[2], args[3], std::atol(argv[5]), args.size() == 6);
    if ((args.size() == 4 || (args.size() == 5 && args[4] == "spill")) && args[0] == "abandon")
        return abandon(args[1], args[2], args[3], args.size() == 5);
    return failure(
        "usage: write FOLDER ROUNDS SECONDS PAUSE KEY JSON_A JSON_B [...] | hold FOLDER KEY JSON "
        "MILLISECONDS [spill] | abandon FOLDER KEY JSON [spill]");
}
