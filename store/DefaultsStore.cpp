#include "store/DefaultsStore.h"
#include "platform/Deployment.h"

#include "platform/Fatal.h"
#include "store/StoreLocation.h"

#include <sqlite3.h>

#include <system_error>

namespace store {

struct DefaultsStore::Connection {
    sqlite3* db = nullptr;
    bool writable = false;

    Connection(sqlite3* handle, bool canWrite) : db(handle), writable(canWrite) {}
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { sqlite3_close_v2(db); }
};

namespace {

constexpr const char* createTable =
    "CREATE TABLE IF NOT EXISTS defaults (key TEXT PRIMARY KEY NOT NULL, value) WITHOUT ROWID";

// A prepared statement, finalized when it goes out of scope.
class Statement {
public:
    Statement(sqlite3* db, std::string_view sql) {
        if (sqlite3_prepare_v3(db, sql.data(), static_cast<int>(sql.size()), 0, &m_statement,
                               nullptr) != SQLITE_OK)
            m_statement = nullptr;
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement() { sqlite3_finalize(m_statement); }

    [[nodiscard]] bool ok() const { return m_statement != nullptr; }
    [[nodiscard]] sqlite3_stmt* get() const { return m_statement; }

    bool bindText(int index, std::string_view text) {
        // An empty view may have no data pointer, which SQLite would bind as NULL.
        const char* data = text.data() != nullptr ? text.data() : "";
        return sqlite3_bind_text(m_statement, index, data, static_cast<int>(text.size()),
                                 SQLITE_STATIC) == SQLITE_OK;
    }

private:
    sqlite3_stmt* m_statement = nullptr;
};

DefaultsError errorOf(sqlite3* db, std::string_view what) {
    std::string text(what);
    text += ": ";
    text += db != nullptr ? sqlite3_errmsg(db) : "out of memory";
    return {std::move(text)};
}

// Process-wide SQLite settings, made once before the first connection: no memory statistics,
// which would take a global mutex on every allocation of every read. When SQLite was already
// started by someone else the settings are refused and its defaults stay: harmless.
void configureSqliteOnce() {
    static const bool configured = [] {
        return sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0) == SQLITE_OK;
    }();
    (void)configured;
}

// A read-only connection, or none when the file is missing or cannot be opened. Rollback
// journal mode is the writer's, so a reader creates no file at all.
sqlite3* openReadOnly(const std::filesystem::path& file) {
    configureSqliteOnce();
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr) !=
        SQLITE_OK) {
        sqlite3_close_v2(db);
        return nullptr;
    }
    sqlite3_busy_timeout(db, DefaultsStore::busyTimeoutMilliseconds);
    // A reader's connection lives for one lookup. In exclusive locking mode the shared lock
    // that the schema read takes is kept until the connection closes, so the lookup runs in
    // the same snapshot instead of locking, checking for a hot journal and unlocking a second
    // time (about a third of a read's system calls). Writers wait for it through their busy
    // timeout, as they would for any reader.
    sqlite3_exec(db, "PRAGMA locking_mode=EXCLUSIVE", nullptr, nullptr, nullptr);
    return db;
}

bool execute(sqlite3* db, const char* sql) {
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

}  // namespace

DefaultsStore::DefaultsStore(std::unique_ptr<Connection> connection)
    : m_connection(std::move(connection)) {}
DefaultsStore::DefaultsStore(DefaultsStore&&) noexcept = default;
DefaultsStore& DefaultsStore::operator=(DefaultsStore&&) noexcept = default;
DefaultsStore::~DefaultsStore() = default;

std::optional<DefaultsStore> DefaultsStore::openSuite(std::string_view suiteName,
                                                      const std::filesystem::path& folder) {
    sqlite3* db = openReadOnly(store::domainFile(folder, suiteName));
    if (db == nullptr) return std::nullopt;
    return DefaultsStore(std::make_unique<Connection>(db, false));
}

DefaultsStore DefaultsStore::standard(const std::filesystem::path& folder) {
    sqlite3* db = openReadOnly(store::domainFile(folder, platform::bundleIdentifier()));
    if (db == nullptr) return DefaultsStore(nullptr);
    return DefaultsStore(std::make_unique<Connection>(db, false));
}

std::variant<DefaultsStore, DefaultsError> DefaultsStore::openForWriting(
    std::string_view domain, const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        return DefaultsError{"cannot create the store folder " + folder.string() + ": " +
                             error.message()};

    const auto file = store::domainFile(folder, domain);
    configureSqliteOnce();
    sqlite3* db = nullptr;
    const int opened =
        sqlite3_open_v2(file.c_str(), &db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    auto connection = std::make_unique<Connection>(db, true);
    if (opened != SQLITE_OK) return errorOf(db, "cannot open " + file.string());
    sqlite3_busy_timeout(db, busyTimeoutMilliseconds);
    // Readers open the file read-only and must never need a -wal or -shm file beside it.
    if (!execute(db, "PRAGMA journal_mode=DELETE") || !execute(db, createTable))
        return errorOf(db, "cannot prepare " + file.string());
    return DefaultsStore(std::move(connection));
}

std::optional<DefaultsValue> DefaultsStore::valueForKey(std::string_view key) const {
    if (!m_connection) return std::nullopt;
    // A database that is not ours (no such table) or cannot be read holds no value either.
    Statement select(m_connection->db, "SELECT value FROM defaults WHERE key = ?1");
    if (!select.ok() || !select.bindText(1, key)) return std::nullopt;
    if (sqlite3_step(select.get()) != SQLITE_ROW) return std::nullopt;

    sqlite3_stmt* row = select.get();
    switch (sqlite3_column_type(row, 0)) {
        case SQLITE_BLOB: {
            const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(row, 0));
            const auto size = static_cast<std::size_t>(sqlite3_column_bytes(row, 0));
            return DefaultsValue(std::in_place_type<Data>, bytes, bytes + size);
        }
        case SQLITE_TEXT: {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, 0));
            const auto size = static_cast<std::size_t>(sqlite3_column_bytes(row, 0));
            return DefaultsValue(std::in_place_type<std::string>, text, size);
        }
        default:
            return std::nullopt;
    }
}

std::optional<Data> DefaultsStore::dataForKey(std::string_view key) const {
    auto value = valueForKey(key);
    if (!value || !std::holds_alternative<Data>(*value)) return std::nullopt;
    return std::get<Data>(std::move(*value));
}

std::optional<std::string> DefaultsStore::stringForKey(std::string_view key) const {
    auto value = valueForKey(key);
    if (!value || !std::holds_alternative<std::string>(*value)) return std::nullopt;
    return std::get<std::string>(std::move(*value));
}

namespace {

// Runs one statement on the key inside its own immediate transaction, so that a reader sees
// either the old value or the new one.
template <typename Bind>
std::optional<DefaultsError> writeKey(sqlite3* db, std::string_view sql, Bind bind) {
    if (!execute(db, "BEGIN IMMEDIATE")) return errorOf(db, "cannot begin a transaction");
    {
        Statement statement(db, sql);
        if (!statement.ok() || !bind(statement) || sqlite3_step(statement.get()) != SQLITE_DONE) {
            auto error = errorOf(db, "cannot write");
            execute(db, "ROLLBACK");
            return error;
        }
    }
    if (!execute(db, "COMMIT")) {
        auto error = errorOf(db, "cannot commit");
        execute(db, "ROLLBACK");
        return error;
    }
    return std::nullopt;
}

constexpr std::string_view upsert =
    "INSERT INTO defaults (key, value) VALUES (?1, ?2) "
    "ON CONFLICT (key) DO UPDATE SET value = excluded.value";

}  // namespace

std::optional<DefaultsError> DefaultsStore::setData(std::string_view key,
                                                    std::span<const std::uint8_t> bytes) {
    VELMORA_ASSERT(m_connection && m_connection->writable);
    return writeKey(m_connection->db, upsert, [&](Statement& statement) {
        // A zero-length blob still has to be a BLOB, not NULL: bind it as a zeroblob.
        const int bound = bytes.empty() ? sqlite3_bind_zeroblob(statement.get(), 2, 0)
                                        : sqlite3_bind_blob64(statement.get(), 2, bytes.data(),
                                                              bytes.size(), SQLITE_STATIC);
        return statement.bindText(1, key) && bound == SQLITE_OK;
    });
}

std::optional<DefaultsError> DefaultsStore::setString(std::string_view key, std::string_view text) {
    VELMORA_ASSERT(m_connection && m_connection->writable);
    return writeKey(m_connection->db, upsert, [&](Statement& statement) {
        return statement.bindText(1, key) && statement.bindText(2, text);
    });
}

std::optional<DefaultsError> DefaultsStore::removeObject(std::string_view key) {
    VELMORA_ASSERT(m_connection && m_connection->writable);
    return writeKey(m_connection->db, "DELETE FROM defaults WHERE key = ?1",
                    [&](Statement& statement) { return statement.bindText(1, key); });
}

}  // namespace store
