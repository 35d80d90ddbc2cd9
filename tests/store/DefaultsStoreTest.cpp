#include "store/DefaultsStore.h"
#include "store/StoreLocation.h"
#include "tests/store/StoreReads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace {

using store::Data;
using store::DefaultsStore;
using store::DefaultsValue;
using tempstore::TempStore;

Data bytes(std::string_view text) {
    return Data(text.begin(), text.end());
}

// What a reader finds under the key in the suite in `folder`.
std::optional<DefaultsValue> readBack(const std::filesystem::path& folder, std::string_view key) {
    return DefaultsStore::openSuite(platform::appGroupIdentifier(), folder)
        .value()
        ->valueForKey(key)
        .value();
}

TEST(DefaultsStore, WriterCreatesFolderReplacesKeysAndKeepsDataAndTextApart) {
    TempStore temp;
    const auto folder = temp.folder() / "nested" / "store";
    auto store = DefaultsStore::openForWriting(platform::appGroupIdentifier(), folder).value();

    const Data binary{0x00, 0xff, 0x10, 0x00};
    const std::vector<std::pair<std::string, std::optional<DefaultsValue>>> writes = {
        {"first", bytes("first")},
        {"first", bytes("second")},  // replaced
        {"text", std::string("{\"ticker\":\"NVDA\"}")},
        {"text", bytes("now data")},  // replaced by another kind
        {"empty", Data{}},            // empty values keep their kind
        {"emptyText", std::string()},
        {"binary", binary},
        {"removed", bytes("x")},
        {"removed", std::nullopt},
        {"never-written", std::nullopt},
    };
    for (const auto& [key, value] : writes) {
        const auto written = !value ? store.removeObject(key)
                             : std::holds_alternative<Data>(*value)
                                 ? store.setData(key, std::get<Data>(*value))
                                 : store.setString(key, std::get<std::string>(*value));
        ASSERT_TRUE(written) << written.error().description;
        EXPECT_EQ(store.valueForKey(key).value(), value) << key;
        EXPECT_EQ(readBack(folder, key), value) << key;
    }
    EXPECT_EQ(store.dataForKey("emptyText").value(), std::nullopt);  // data only
    EXPECT_EQ(store.dataForKey("empty").value(), Data{});
    // Keys are exact and case-sensitive.
    EXPECT_FALSE(readBack(folder, "First"));
    EXPECT_FALSE(readBack(folder, "first "));

    // A writer below a file cannot make its folder.
    std::ofstream(temp.folder() / "file") << "x";
    const auto unmade = DefaultsStore::openForWriting("domain", temp.folder() / "file" / "store");
    ASSERT_FALSE(unmade);
    EXPECT_THAT(unmade.error().description, testing::HasSubstr("cannot create the store folder"));
}

TEST(DefaultsStore, WriterConvertsTheTableOfEarlierVersionsAndLeavesForeignOnesAlone) {
    TempStore temp;
    storereads::runSql(temp.suiteFile(),
                       "CREATE TABLE defaults (key TEXT PRIMARY KEY NOT NULL, value) WITHOUT ROWID;"
                       "INSERT INTO defaults VALUES ('kept', x'6b657074')");
    EXPECT_FALSE(DefaultsStore::openSuite(platform::appGroupIdentifier(), temp.folder()));
    temp.putString("added", "text");
    EXPECT_EQ(readBack(temp.folder(), "kept"), DefaultsValue(bytes("kept")));
    EXPECT_EQ(readBack(temp.folder(), "added"), DefaultsValue(std::string("text")));

    storereads::runSql(temp.standardFile(), "CREATE TABLE defaults (key, value)");
    const auto foreign = DefaultsStore::openForWriting(platform::bundleIdentifier(), temp.folder());
    ASSERT_FALSE(foreign);
    EXPECT_EQ(foreign.error().description,
              temp.standardFile().string() +
                  ": defaults is not the table (key TEXT PRIMARY KEY NOT NULL, value)");
}

// A reader loads a value of up to valueSizeLimit bytes, data or text, and refuses one byte more.
TEST(DefaultsStore, ReaderLoadsValuesUpToTheSizeLimitAndRefusesOneByteMore) {
    TempStore temp;
    auto writer = DefaultsStore::openForWriting(platform::appGroupIdentifier(), temp.folder());
    ASSERT_TRUE(writer);
    constexpr std::size_t limit = DefaultsStore::valueSizeLimit;
    for (const std::size_t size : {limit, limit + 1}) {
        const std::string text(size, 'x');
        const Data data(size, 0xab);
        ASSERT_TRUE(writer.value().setData("data", data));
        ASSERT_TRUE(writer.value().setString("text", text));
        const auto reader =
            DefaultsStore::openSuite(platform::appGroupIdentifier(), temp.folder()).value();
        for (const auto& [key, value] :
             {std::pair<std::string, DefaultsValue>{"data", data}, {"text", text}}) {
            SCOPED_TRACE(key + " of " + std::to_string(size) + " bytes");
            const auto read = reader->valueForKey(key);
            if (size == limit) {
                ASSERT_TRUE(read) << read.error().description;
                EXPECT_EQ(read.value(), value);
            } else {
                ASSERT_FALSE(read);
                EXPECT_THAT(read.error().description, testing::EndsWith("exceeds the 1 MiB limit"));
            }
        }
    }
}

// The variables stay changed: the store's other tests name their folders.
TEST(StoreLocation, ExplicitFolderThenEnvironmentThenHome) {
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
}

}  // namespace
