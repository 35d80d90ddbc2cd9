#pragma once

#include "platform/Result.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace store {

// Bytes as a data value holds them.
using Data = std::vector<std::uint8_t>;

// What a key holds: a data value or a text value.
using DefaultsValue = std::variant<Data, std::string>;

// One defaults domain (the app group's suite or the standard defaults): a key-value store in a
// SQLite database file, table `defaults (key TEXT PRIMARY KEY, value)`. A data value is stored
// as a BLOB, a text value as TEXT.
//
// The widget side opens a domain read-only for the length of one read: nothing is created,
// not even a journal, and no lock is taken, so a reader never makes a writer wait. Each lookup
// gives a value as one commit left it: a read that a writer's commit overlapped is read again,
// and a commit under way is waited for. Whatever the file holds, a read-only store is bounded:
// it opens only a regular SQLite file in rollback-journal mode whose `defaults` table has the
// expected shape, loads no value above `valueSizeLimit`, and everything it does from its
// opening on ends within `readBudget` (at most `busyTimeout` of it waiting for writers). Past
// that budget its lookups fail. A process that reads must not write the same file (a reader
// closing its descriptors would drop the writer's locks).
//
// The writer side (the host app's stand-in: the command line, tests) creates what is missing
// and replaces a key in one transaction.
class DefaultsStore {
public:
    // How long a writer waits for another's transaction, a reader for a writer's commits.
    static constexpr std::chrono::milliseconds busyTimeout{2000};
    // All a read-only store may take, from its opening to its last lookup.
    static constexpr std::chrono::milliseconds readBudget =
        busyTimeout + std::chrono::milliseconds(250);
    // The largest value a read loads. Records are a few kilobytes; anything near this is no
    // record of the host app's.
    static constexpr std::size_t valueSizeLimit = std::size_t{1} << 20;

    // UserDefaults(suiteName:): the suite's database in `folder`, read-only. No store when the
    // database does not exist; an error naming the file when it exists but cannot be read as
    // a store (not a regular file, not a database, corrupt, in write-ahead-log mode, a hot
    // journal, locked past the wait, a `defaults` of another shape).
    [[nodiscard]] static platform::Result<std::optional<DefaultsStore>> openSuite(
        std::string_view suiteName, const std::filesystem::path& folder);

    // standardUserDefaults: the bundle's own database in `folder`, read-only. Without a
    // database it is a store that holds no keys; errors as for a suite.
    [[nodiscard]] static platform::Result<DefaultsStore> standard(
        const std::filesystem::path& folder);

    // A writable connection to the domain's database, creating the folder and the database
    // when they are missing.
    [[nodiscard]] static platform::Result<DefaultsStore> openForWriting(
        std::string_view domain, const std::filesystem::path& folder);

    // The writer side's connection to the domain's database when it exists, creating nothing:
    // no store without a database. Its reads take SQLite's locks and wait for other writers,
    // so that a process that writes can read too (store/DefaultsDomain.h).
    [[nodiscard]] static platform::Result<std::optional<DefaultsStore>> openExisting(
        std::string_view domain, const std::filesystem::path& folder);

    DefaultsStore(DefaultsStore&&) noexcept;
    DefaultsStore& operator=(DefaultsStore&&) noexcept;
    DefaultsStore(const DefaultsStore&) = delete;
    DefaultsStore& operator=(const DefaultsStore&) = delete;
    ~DefaultsStore();

    // The bytes of a data value; nothing when the key is not set or holds a text value. An
    // error when the store cannot be read or the value is larger than `valueSizeLimit`.
    [[nodiscard]] platform::Result<std::optional<Data>> dataForKey(std::string_view key) const;
    // Whatever the key holds, data or text; nothing when the key is not set or holds neither.
    [[nodiscard]] platform::Result<std::optional<DefaultsValue>> valueForKey(
        std::string_view key) const;

    // Writer side only (a read-only store is a programmer error).
    [[nodiscard]] platform::Result<void> setData(std::string_view key,
                                                 std::span<const std::uint8_t> bytes);
    [[nodiscard]] platform::Result<void> setString(std::string_view key, std::string_view text);
    [[nodiscard]] platform::Result<void> removeObject(std::string_view key);
    // The same, telling whether the key held a value to remove.
    [[nodiscard]] platform::Result<bool> removeKey(std::string_view key);

private:
    struct Connection;
    explicit DefaultsStore(std::unique_ptr<Connection> connection);
    [[nodiscard]] static platform::Result<std::optional<DefaultsStore>> openReadOnly(
        const std::filesystem::path& file);
    [[nodiscard]] static platform::Result<DefaultsStore> openWriter(
        const std::filesystem::path& file, bool create);
    [[nodiscard]] platform::Result<std::optional<DefaultsValue>> lookup(std::string_view key,
                                                                        bool textToo) const;

    std::unique_ptr<Connection> m_connection;  // null: a store without a database
};

}  // namespace store
