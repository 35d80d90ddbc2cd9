#pragma once

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

// Why a store could not be opened for writing or written.
struct DefaultsError {
    std::string description;
};

// What a key holds: a data value or a text value.
using DefaultsValue = std::variant<Data, std::string>;

// One defaults domain (the app group's suite or the standard defaults): a key-value store in a
// SQLite database file. A data value is stored as a BLOB, a text value as TEXT.
//
// The widget side opens a domain read-only for the length of one read: nothing is created,
// not even a journal, and a writer's open transaction is waited for. From its first lookup
// until it is released a read-only store reads one snapshot and holds the database's shared
// lock, so writers wait for it: release it before writing. The writer side (the
// host app's stand-in: the command line, tests) creates what is missing and replaces a key in
// one transaction.
class DefaultsStore {
public:
    // UserDefaults(suiteName:): the suite's database in `folder`, read-only. No store when the
    // database does not exist or cannot be opened.
    [[nodiscard]] static std::optional<DefaultsStore> openSuite(
        std::string_view suiteName, const std::filesystem::path& folder);

    // standardUserDefaults: the bundle's own database in `folder`, read-only. Always gives a
    // store; without a database it holds no keys.
    [[nodiscard]] static DefaultsStore standard(const std::filesystem::path& folder);

    // A writable connection to the domain's database, creating the folder and the database
    // when they are missing.
    [[nodiscard]] static std::variant<DefaultsStore, DefaultsError> openForWriting(
        std::string_view domain, const std::filesystem::path& folder);

    DefaultsStore(DefaultsStore&&) noexcept;
    DefaultsStore& operator=(DefaultsStore&&) noexcept;
    DefaultsStore(const DefaultsStore&) = delete;
    DefaultsStore& operator=(const DefaultsStore&) = delete;
    ~DefaultsStore();

    // The bytes of a data value; nothing when the key is not set or holds a text value.
    [[nodiscard]] std::optional<Data> dataForKey(std::string_view key) const;
    // The text of a text value; nothing when the key is not set or holds a data value.
    [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const;
    // Whatever the key holds, data or text.
    [[nodiscard]] std::optional<DefaultsValue> valueForKey(std::string_view key) const;

    // Writer side only (a read-only store is a programmer error). Nothing on success.
    [[nodiscard]] std::optional<DefaultsError> setData(std::string_view key,
                                                       std::span<const std::uint8_t> bytes);
    [[nodiscard]] std::optional<DefaultsError> setString(std::string_view key,
                                                         std::string_view text);
    [[nodiscard]] std::optional<DefaultsError> removeObject(std::string_view key);

    // How long an operation waits for another connection's transaction.
    static constexpr int busyTimeoutMilliseconds = 2000;

private:
    struct Connection;
    explicit DefaultsStore(std::unique_ptr<Connection> connection);

    std::unique_ptr<Connection> m_connection;  // null: a standard store without a database
};

}  // namespace store
