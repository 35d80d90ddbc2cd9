#include "store/DefaultsStore.h"

#include "platform/Deployment.h"
#include "platform/Fatal.h"
#include "store/StoreLocation.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <system_error>
#include <thread>

namespace store {

using Clock = std::chrono::steady_clock;

namespace {

// A read-only connection's time: when it stops waiting for a writer's commit, and when it
// stops altogether.
struct ReadTime {
    Clock::time_point lockWaitEnd;
    Clock::time_point deadline;
};

// What a reader can tell of a database file without locking it: the change counter that every
// commit of a writer in rollback-journal mode increments, and whether a journal beside it is
// hot (a commit has begun writing into the database file). A read that finds the same state,
// not hot, before and after it overlapped no commit.
struct FileState {
    std::uint32_t changeCounter = 0;
    bool hotJournal = false;
    bool writeAheadLog = false;  // whose commits go elsewhere, uncounted
    bool operator==(const FileState&) const = default;
};

}  // namespace

struct DefaultsStore::Connection {
    sqlite3* db = nullptr;
    bool writable = false;
    std::filesystem::path file;
    ReadTime time{};
    FileState state{};  // a reader's: the file's when its table was checked

    Connection(sqlite3* handle, bool canWrite, std::filesystem::path path)
        : db(handle), writable(canWrite), file(std::move(path)) {}
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { sqlite3_close_v2(db); }

    // A reader's: opens the file afresh once no commit is under way and checks its table,
    // noting the state of the file it did that in.
    platform::Result<void> connect();
};

namespace {

// The one shape of the table, as SQLite keeps its text in sqlite_schema. A rowid table whose
// key has an index of its own: a lookup reads the index and then its one row, never the
// values of the rows it passes.
constexpr std::string_view tableForm =
    "CREATE TABLE defaults (key TEXT PRIMARY KEY NOT NULL, value)";
// The form of earlier versions, where the rows are the key's b-tree: finding a key compares it
// with whole rows, reading every large value on the way.
constexpr std::string_view oldTableForm =
    "CREATE TABLE defaults (key TEXT PRIMARY KEY NOT NULL, value) WITHOUT ROWID";

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

    [[nodiscard]] std::string_view text(int column) const {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return text != nullptr
                   ? std::string_view(
                         text, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)))
                   : std::string_view();
    }

private:
    sqlite3_stmt* m_statement = nullptr;
};

std::string milliseconds(std::chrono::milliseconds duration) {
    return std::to_string(duration.count()) + " ms";
}

std::string sizeLimit() {
    return std::to_string(DefaultsStore::valueSizeLimit >> 20) + " MiB";
}

platform::Error storeFault(const std::filesystem::path& file, std::string_view what) {
    return {file.string() + ": " + std::string(what)};
}

platform::Error hotJournalLeft(const std::filesystem::path& file) {
    return storeFault(file,
                      "a writer died mid-transaction and left a hot journal, which only a "
                      "writer can roll back");
}

platform::Error stillLocked(const std::filesystem::path& file) {
    return storeFault(file,
                      "still locked by a writer after " + milliseconds(DefaultsStore::busyTimeout));
}

platform::Error writeAheadLogRefused(const std::filesystem::path& file) {
    return storeFault(file,
                      "is in write-ahead-log mode, which a reader cannot open without changing "
                      "files beside it");
}

// What SQLite's last failure on a connection means for its store.
platform::Error sqliteFault(sqlite3* db, const std::filesystem::path& file) {
    if (db == nullptr) return storeFault(file, "out of memory");
    const int code = sqlite3_extended_errcode(db);
    if (code == SQLITE_READONLY_ROLLBACK) return hotJournalLeft(file);
    switch (code & 0xff) {
        case SQLITE_BUSY:
            return stillLocked(file);
        case SQLITE_INTERRUPT:
            return storeFault(file,
                              "read stopped after " + milliseconds(DefaultsStore::readBudget));
        case SQLITE_TOOBIG:
            return storeFault(file, "value exceeds the " + sizeLimit() + " limit");
        default:
            return storeFault(file, sqlite3_errmsg(db));
    }
}

platform::Error errorOf(sqlite3* db, std::string_view what) {
    std::string text(what);
    text += ": ";
    text += db != nullptr ? sqlite3_errmsg(db) : "out of memory";
    return {std::move(text)};
}

// SQLite opens a database file with a plain open(2), which blocks on a FIFO until someone
// writes to it. Readers check that the file is a regular one first, but it may be swapped in
// between: opened non-blocking, a FIFO reads as an empty file instead. Regular files ignore
// the flag.
int openNonBlocking(const char* path, int flags, int mode) {
    return ::open(path, flags | O_NONBLOCK, mode);
}

// Process-wide SQLite settings, made once before the first connection: no memory statistics,
// which would take a global mutex on every allocation of every read, and non-blocking opens.
// When SQLite was already started by someone else the first is refused and its default stays.
void configureSqliteOnce() {
    static const bool configured = [] {
        sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
        sqlite3_vfs* vfs = sqlite3_vfs_find(nullptr);
        return vfs != nullptr && vfs->iVersion >= 3 &&
               vfs->xSetSystemCall(vfs, "open",
                                   reinterpret_cast<sqlite3_syscall_ptr>(&openNonBlocking)) ==
                   SQLITE_OK;
    }();
    (void)configured;
}

// Waits for a writer's commit with SQLite's own back-off; false once the connection's lock
// wait has ended.
bool waitForWriter(const ReadTime& time, int attempt) {
    constexpr std::array<int, 12> delays = {1, 2, 5, 10, 15, 20, 25, 25, 25, 50, 50, 100};
    const auto left = time.lockWaitEnd - Clock::now();
    if (left <= Clock::duration::zero()) return false;
    const std::chrono::milliseconds delay(
        delays[std::min<std::size_t>(static_cast<std::size_t>(attempt), delays.size() - 1)]);
    std::this_thread::sleep_for(std::min<Clock::duration>(delay, left));
    return true;
}

// Readers take no lock on the file, not even SQLite's shared one: a reader that held one for
// as long as it liked (a faulty extension) would make every write of the host app fail with
// "database is locked". Instead a read checks the file's state before and after; a writer in
// another journal mode or in exclusive locking mode, which may commit without counting, is
// not the host app's. The descriptors opened here are closed again, which would drop the
// POSIX locks a writing connection of the same process holds: processes that read do not
// write.
platform::Result<FileState> fileState(const std::filesystem::path& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return storeFault(file, std::generic_category().message(errno));
    std::array<unsigned char, 28> header{};
    const bool read = ::pread(fd, header.data(), header.size(), 0) >= 0;
    const int error = errno;
    ::close(fd);
    if (!read) return storeFault(file, std::generic_category().message(error));
    FileState state;
    for (int i = 24; i < 28; ++i) state.changeCounter = state.changeCounter << 8 | header[i];
    // The file format's write and read versions are 2 in write-ahead-log mode.
    constexpr char magic[] = "SQLite format 3";  // 16 bytes, its NUL included
    state.writeAheadLog = std::equal(std::begin(magic), std::end(magic), header.begin()) &&
                          (header[18] == 2 || header[19] == 2);
    // A journal's header stays zero until the writer has synced it, just before it changes
    // the database file; SQLite tells a hot journal by the same byte.
    const int journal =
        ::open((file.string() + "-journal").c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (journal >= 0) {
        unsigned char first = 0;
        state.hotJournal = ::pread(journal, &first, 1, 0) == 1 && first != 0;
        ::close(journal);
    }
    return state;
}

// Whether a writer holds SQLite's reserved lock on the file: one at work, rather than one
// that died and left its hot journal. Asking takes no lock.
bool writerAtWork(const std::filesystem::path& file) {
    constexpr off_t reservedByte = 0x40000001;
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return false;
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = reservedByte;
    lock.l_len = 1;
    const bool held = ::fcntl(fd, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    ::close(fd);
    return held;
}

// The progress handler: stops a statement once the connection's deadline has passed. Called
// every few virtual machine steps (a lookup takes about twenty), so that even a short statement
// notices.
int pastDeadline(void* context) {
    return Clock::now() >= static_cast<const ReadTime*>(context)->deadline;
}
constexpr int progressSteps = 4;

// A database in write-ahead-log mode, or a -wal file beside one, makes SQLite create or
// delete files beside it even on a read-only connection. In exclusive locking mode it gives up
// with an I/O error instead, having changed nothing; this tells that error apart afterwards.
// The header is read through SQLite's own file handle: opening and closing a descriptor of our
// own would drop the POSIX locks that other connections of this process hold on the file.
bool writeAheadLogMode(sqlite3* db, const std::filesystem::path& file) {
    std::error_code ignored;
    if (std::filesystem::exists(file.string() + "-wal", ignored)) return true;
    sqlite3_file* handle = nullptr;
    if (sqlite3_file_control(db, "main", SQLITE_FCNTL_FILE_POINTER, &handle) != SQLITE_OK ||
        handle == nullptr || handle->pMethods == nullptr)
        return false;
    // Bytes 18 and 19, the file format's write and read versions, are 2 in that mode.
    std::array<unsigned char, 20> header{};
    return handle->pMethods->xRead(handle, header.data(), static_cast<int>(header.size()), 0) ==
               SQLITE_OK &&
           (header[18] == 2 || header[19] == 2);
}

// The text of `defaults` in sqlite_schema; nothing when there is no such table or view.
platform::Result<std::optional<std::string>> schemaOf(sqlite3* db,
                                                      const std::filesystem::path& file) {
    Statement schema(
        db, "SELECT sql FROM sqlite_schema WHERE name = 'defaults' AND type IN ('table', 'view')");
    if (!schema.ok()) return sqliteFault(db, file);
    switch (sqlite3_step(schema.get())) {
        case SQLITE_ROW:
            return std::optional<std::string>(schema.text(0));
        case SQLITE_DONE:
            return std::optional<std::string>();
        default:
            return sqliteFault(db, file);
    }
}

platform::Error otherTable(const std::filesystem::path& file) {
    return storeFault(
        file, "defaults is not the table " + std::string(tableForm.substr(tableForm.find('('))));
}

// A reader's check of the table before its first lookup: the writer's shape and nothing else,
// so that a lookup never runs a view, a generated column or a scan.
platform::Result<void> checkTable(sqlite3* db, const std::filesystem::path& file) {
    const auto schema = schemaOf(db, file);
    if (!schema) return schema.error();
    if (!schema.value()) return storeFault(file, "holds no defaults table");
    if (*schema.value() == tableForm) return {};
    if (*schema.value() == oldTableForm)
        return storeFault(file,
                          "holds defaults in the WITHOUT ROWID form of earlier versions, which "
                          "the host app's next write converts");
    return otherTable(file);
}

bool execute(sqlite3* db, const char* sql) {
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// The writer's table: created when missing, converted from the old form (in one transaction,
// so that readers see one form or the other).
platform::Result<void> prepareTable(sqlite3* db, const std::filesystem::path& file) {
    const auto schema = schemaOf(db, file);
    if (!schema) return schema.error();
    if (!schema.value()) {
        if (execute(db,
                    "CREATE TABLE IF NOT EXISTS defaults (key TEXT PRIMARY KEY NOT NULL, value)"))
            return {};
        return errorOf(db, "cannot create the table in " + file.string());
    }
    if (*schema.value() == tableForm) return {};
    if (*schema.value() != oldTableForm) return otherTable(file);
    if (execute(db,
                "BEGIN IMMEDIATE;"
                "CREATE TEMP TABLE converted AS SELECT key, value FROM defaults;"
                "DROP TABLE defaults;"
                "CREATE TABLE defaults (key TEXT PRIMARY KEY NOT NULL, value);"
                "INSERT INTO defaults SELECT key, value FROM converted;"
                "DROP TABLE converted;"
                "COMMIT"))
        return {};
    auto error = errorOf(db, "cannot convert " + file.string());
    execute(db, "ROLLBACK");
    return error;
}

}  // namespace

DefaultsStore::DefaultsStore(std::unique_ptr<Connection> connection)
    : m_connection(std::move(connection)) {}
DefaultsStore::DefaultsStore(DefaultsStore&&) noexcept = default;
DefaultsStore& DefaultsStore::operator=(DefaultsStore&&) noexcept = default;
DefaultsStore::~DefaultsStore() = default;

platform::Result<std::optional<DefaultsStore>> DefaultsStore::openReadOnly(
    const std::filesystem::path& file) {
    const auto opened = Clock::now();
    configureSqliteOnce();

    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return std::optional<DefaultsStore>();
        return storeFault(file, std::generic_category().message(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        const char* kind = S_ISDIR(status.st_mode)    ? "a folder"
                           : S_ISFIFO(status.st_mode) ? "a FIFO"
                           : S_ISSOCK(status.st_mode) ? "a socket"
                                                      : "a device";
        return storeFault(file, std::string("is ") + kind + ", not a database file");
    }
    // A writer that has just created the file leaves it empty until its table is in: a store
    // without keys.
    if (status.st_size == 0) return std::optional<DefaultsStore>(DefaultsStore(nullptr));

    auto connection = std::make_unique<Connection>(nullptr, false, file);
    connection->time = {opened + busyTimeout, opened + readBudget};
    if (auto connected = connection->connect(); !connected) return connected.error();
    return std::optional<DefaultsStore>(DefaultsStore(std::move(connection)));
}

platform::Result<void> DefaultsStore::Connection::connect() {
    // A hot journal beside a file no writer holds a lock on, seen this many times in a row, was
    // left by a writer that died (once may be a writer that has just ended and deleted it).
    constexpr int abandonedAfter = 3;
    int unlockedHotJournal = 0;
    for (int attempt = 0;; ++attempt) {
        sqlite3_close_v2(db);
        db = nullptr;
        const auto before = fileState(file);
        if (!before) return before.error();
        if (before->writeAheadLog) return writeAheadLogRefused(file);
        if (before->hotJournal) {
            unlockedHotJournal = writerAtWork(file) ? 0 : unlockedHotJournal + 1;
            if (unlockedHotJournal == abandonedAfter) return hotJournalLeft(file);
            if (!waitForWriter(time, attempt)) return stillLocked(file);
            continue;
        }
        // SQLite's VFS without locks: the state checks stand in for them.
        if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX,
                            "unix-none") != SQLITE_OK)
            return sqliteFault(db, file);
        sqlite3_progress_handler(db, progressSteps, pastDeadline, &time);
        // No string or blob above the limit is ever loaded, whatever a lookup meets.
        sqlite3_limit(db, SQLITE_LIMIT_LENGTH, static_cast<int>(valueSizeLimit));
        // A reader's connection lives for one lookup. In exclusive locking mode the pages the
        // schema check read serve the lookup too, instead of SQLite checking the file for a
        // hot journal and a new change counter a second time (the state check after the lookup
        // does that once). In this mode SQLite also refuses a database in write-ahead-log mode
        // rather than create a -shm or -wal file beside it.
        execute(db, "PRAGMA locking_mode=EXCLUSIVE");
        const auto checked = checkTable(db, file);
        const auto after = fileState(file);
        if (!after) return after.error();
        if (*after == *before) {
            state = *before;
            if (checked) return {};
            if ((sqlite3_errcode(db) & 0xff) == SQLITE_IOERR && writeAheadLogMode(db, file))
                return writeAheadLogRefused(file);
            return checked.error();
        }
        // A writer committed meanwhile and what was read may be torn: read again, at once
        // unless its next commit is under way.
        if (Clock::now() >= time.lockWaitEnd ||
            (after->hotJournal && !waitForWriter(time, attempt)))
            return stillLocked(file);
    }
}

platform::Result<std::optional<DefaultsStore>> DefaultsStore::openSuite(
    std::string_view suiteName, const std::filesystem::path& folder) {
    return openReadOnly(store::domainFile(folder, suiteName));
}

platform::Result<DefaultsStore> DefaultsStore::standard(const std::filesystem::path& folder) {
    auto opened = openReadOnly(store::domainFile(folder, platform::bundleIdentifier()));
    if (!opened) return opened.error();
    if (!opened.value()) return DefaultsStore(nullptr);
    return std::move(*std::move(opened).value());
}

platform::Result<DefaultsStore> DefaultsStore::openForWriting(std::string_view domain,
                                                              const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        return platform::Error{"cannot create the store folder " + folder.string() + ": " +
                               error.message()};
    return openWriter(store::domainFile(folder, domain), true);
}

platform::Result<std::optional<DefaultsStore>> DefaultsStore::openExisting(
    std::string_view domain, const std::filesystem::path& folder) {
    const auto file = store::domainFile(folder, domain);
    std::error_code error;
    if (!std::filesystem::exists(file, error)) {
        if (error && error != std::errc::no_such_file_or_directory &&
            error != std::errc::not_a_directory)
            return storeFault(file, error.message());
        return std::optional<DefaultsStore>();
    }
    auto opened = openWriter(file, false);
    if (!opened) return opened.error();
    return std::optional<DefaultsStore>(std::move(opened).value());
}

platform::Result<DefaultsStore> DefaultsStore::openWriter(const std::filesystem::path& file,
                                                          bool create) {
    configureSqliteOnce();
    sqlite3* db = nullptr;
    const int opened = sqlite3_open_v2(
        file.c_str(), &db,
        SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0) | SQLITE_OPEN_NOMUTEX, nullptr);
    auto connection = std::make_unique<Connection>(db, true, file);
    if (opened != SQLITE_OK) return errorOf(db, "cannot open " + file.string());
    sqlite3_busy_timeout(db, static_cast<int>(busyTimeout.count()));
    // Readers open the file read-only and must never need a -wal or -shm file beside it.
    if (!execute(db, "PRAGMA journal_mode=DELETE"))
        return errorOf(db, "cannot prepare " + file.string());
    if (auto prepared = prepareTable(db, file); !prepared) return prepared.error();
    return DefaultsStore(std::move(connection));
}

namespace {

// The value under `key` as one connection reads it, unchecked.
platform::Result<std::optional<DefaultsValue>> lookUp(sqlite3* db,
                                                      const std::filesystem::path& file,
                                                      std::string_view key, bool textToo) {
    using Found = std::optional<DefaultsValue>;
    constexpr auto valueSizeLimit = DefaultsStore::valueSizeLimit;
    // The size first, from the row's header: a value above the limit is never read.
    Statement select(db,
                     "SELECT length(value), CASE WHEN length(value) <= ?3 THEN value END "
                     "FROM defaults WHERE key = ?1 AND typeof(value) IN ('blob', ?2)");
    if (!select.ok() || !select.bindText(1, key) ||
        !select.bindText(2, textToo ? "text" : "blob") ||
        sqlite3_bind_int64(select.get(), 3, static_cast<sqlite3_int64>(valueSizeLimit)) !=
            SQLITE_OK)
        return sqliteFault(db, file);
    const int step = sqlite3_step(select.get());
    if (step == SQLITE_DONE) return Found();
    if (step != SQLITE_ROW) return sqliteFault(db, file);

    sqlite3_stmt* row = select.get();
    switch (sqlite3_column_type(row, 1)) {
        case SQLITE_BLOB: {
            const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(row, 1));
            const auto size = static_cast<std::size_t>(sqlite3_column_bytes(row, 1));
            return Found(std::in_place, std::in_place_type<Data>, bytes, bytes + size);
        }
        case SQLITE_TEXT:
            return Found(std::in_place, std::in_place_type<std::string>, select.text(1));
        default:
            return storeFault(file, "value of " + std::to_string(sqlite3_column_int64(row, 0)) +
                                        " bytes exceeds the " + sizeLimit() + " limit");
    }
}

}  // namespace

platform::Result<std::optional<DefaultsValue>> DefaultsStore::lookup(std::string_view key,
                                                                     bool textToo) const {
    if (!m_connection) return std::optional<DefaultsValue>();
    Connection& connection = *m_connection;
    if (connection.writable) return lookUp(connection.db, connection.file, key, textToo);
    while (true) {
        auto found = lookUp(connection.db, connection.file, key, textToo);
        const auto after = fileState(connection.file);
        if (!after) return after.error();
        if (*after == connection.state) return found;
        // A commit since the table was checked: read again in the file's new state.
        if (Clock::now() >= connection.time.lockWaitEnd) return stillLocked(connection.file);
        if (auto connected = connection.connect(); !connected) return connected.error();
    }
}

platform::Result<std::optional<DefaultsValue>> DefaultsStore::valueForKey(
    std::string_view key) const {
    return lookup(key, true);
}

platform::Result<std::optional<Data>> DefaultsStore::dataForKey(std::string_view key) const {
    auto value = lookup(key, false);
    if (!value) return value.error();
    if (!value.value()) return std::optional<Data>();
    return std::optional<Data>(std::get<Data>(std::move(*value.value())));
}

namespace {

// Runs one statement on the key inside its own immediate transaction, so that a reader sees
// either the old value or the new one.
// `changed`, when given, learns whether the statement changed a row.
template <typename Bind>
platform::Result<void> writeKey(sqlite3* db, std::string_view sql, Bind bind,
                                bool* changed = nullptr) {
    if (!execute(db, "BEGIN IMMEDIATE")) return errorOf(db, "cannot begin a transaction");
    {
        Statement statement(db, sql);
        if (!statement.ok() || !bind(statement) || sqlite3_step(statement.get()) != SQLITE_DONE) {
            auto error = errorOf(db, "cannot write");
            execute(db, "ROLLBACK");
            return error;
        }
        if (changed != nullptr) *changed = sqlite3_changes(db) > 0;
    }
    if (!execute(db, "COMMIT")) {
        auto error = errorOf(db, "cannot commit");
        execute(db, "ROLLBACK");
        return error;
    }
    return {};
}

constexpr std::string_view upsert =
    "INSERT INTO defaults (key, value) VALUES (?1, ?2) "
    "ON CONFLICT (key) DO UPDATE SET value = excluded.value";

}  // namespace

platform::Result<void> DefaultsStore::setData(std::string_view key,
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

platform::Result<void> DefaultsStore::setString(std::string_view key, std::string_view text) {
    VELMORA_ASSERT(m_connection && m_connection->writable);
    return writeKey(m_connection->db, upsert, [&](Statement& statement) {
        return statement.bindText(1, key) && statement.bindText(2, text);
    });
}

platform::Result<void> DefaultsStore::removeObject(std::string_view key) {
    const auto removed = removeKey(key);
    if (!removed) return removed.error();
    return {};
}

platform::Result<bool> DefaultsStore::removeKey(std::string_view key) {
    VELMORA_ASSERT(m_connection && m_connection->writable);
    bool changed = false;
    const auto removed = writeKey(
        m_connection->db, "DELETE FROM defaults WHERE key = ?1",
        [&](Statement& statement) { return statement.bindText(1, key); }, &changed);
    if (!removed) return removed.error();
    return changed;
}

}  // namespace store
