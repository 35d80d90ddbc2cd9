// The host app's library through its C++ face: what it and the command line's `defaults` write
// each reads, what it refuses it never writes, and writers of both never tear a read.
#include "tests/support/ChildProcess.h"
#include "tests/support/TempStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <velmora/appgroup.hpp>

#include <atomic>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::HasSubstr;
using velmora::appgroup::Store;

const std::string brief =
    R"({"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues.",)"
    R"("signal":"Buy","score":78,"generatedAt":"2025-11-16T04:00:00Z"})";
const std::string rows =
    R"([{"ticker":"AAPL","companyName":"Apple Inc.","price":187.32,"changePct":0.84,)"
    R"("signal":"Buy","score":72},{"ticker":"INTC","price":24.1,"changePct":-1.3}])";
const std::string portfolio =
    R"({"totalValue":25400.5,"totalPnl":1200,"totalReturn":4.9,"dailyChange":-80,)"
    R"("dailyChangePct":-0.31,"holdingCount":3,"sourceLabel":"Broker",)"
    R"("updatedAt":"2025-11-10T09:30:00Z"})";

struct Run {
    int exitCode;
    std::string out, err;
};

// The command line on the test's store.
struct Defaults {
    const tempstore::TempStore& temp;

    Run operator()(const std::vector<std::string>& args) const {
        std::vector<std::string> line{VELMORA_PROGRAM, "--store-dir", temp.directory(), "defaults"};
        line.insert(line.end(), args.begin(), args.end());
        childprocess::ChildProcess child(line, {{{"VELMORA_STORE_DIR", {}}}});
        const int exitCode = child.wait();
        return {exitCode, child.out(), child.err()};
    }
};

std::string shown(const std::string& text) {
    return "data (" + std::to_string(text.size()) + " bytes)\n" + text + "\n";
}

Store opened(const tempstore::TempStore& temp) {
    auto store = Store::open(temp.directory());
    if (!store) ADD_FAILURE() << store.status().message;
    return std::move(store).value();
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

std::string fileBytes(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(Library, ReadsWhatDefaultsWroteAndTheOtherWayRound) {
    tempstore::TempStore temp;
    Defaults defaults{temp};
    Store store = opened(temp);
    EXPECT_EQ(store.directory(), temp.directory());

    const std::vector<std::pair<std::string, std::string>> values{
        {"vmDailyBrief", brief},
        {"vmWatchlistTickers", rows},
        {"vmPortfolioSnapshot", portfolio},
        {"lastSync", "2025-11-16"},
        {"empty", ""},
    };
    for (const auto& [key, value] : values) {
        ASSERT_TRUE(store.writeData(key, value)) << key;
        EXPECT_EQ(defaults({"read", key}).out, value.empty() ? "data (0 bytes)\n\n" : shown(value))
            << key;
    }
    for (const auto& [key, value] : values) {
        const std::string other = value + " ";
        ASSERT_EQ(defaults({"write", key, "--data", other}).exitCode, 0) << key;
        const auto read = store.readData(key);
        ASSERT_TRUE(read) << read.status().message;
        EXPECT_EQ(read.value(), other) << key;
    }

    // Deleted by one, gone for the other.
    ASSERT_TRUE(store.remove("lastSync"));
    EXPECT_THAT(defaults({"read", "lastSync"}).err, HasSubstr("no value for key \"lastSync\""));
    EXPECT_EQ(store.remove("lastSync").code, VELMORA_APPGROUP_NOT_FOUND);
    ASSERT_EQ(defaults({"delete", "empty"}).exitCode, 0);
    EXPECT_EQ(store.readData("empty").status().code, VELMORA_APPGROUP_NOT_FOUND);
    // A text value is no data value.
    ASSERT_EQ(defaults({"write", "name", "--string", "x"}).exitCode, 0);
    EXPECT_EQ(store.readData("name").status().code, VELMORA_APPGROUP_NOT_FOUND);

    // A store folder that cannot be made fails to open, naming it.
    const auto opening = Store::open((temp.suiteFile() / "below").string());
    EXPECT_EQ(opening.status().code, VELMORA_APPGROUP_STORE_FAILED);
    EXPECT_THAT(opening.status().message, HasSubstr("cannot create the store folder"));
}

// Every record the widgets would not show is refused with the decoder's words, and the store's
// file stays byte for byte what it was.
TEST(Library, RefusedRecordsLeaveTheStoreUnchanged) {
    tempstore::TempStore temp;
    Store store = opened(temp);
    ASSERT_TRUE(store.writeRecord("vmDailyBrief", brief));
    ASSERT_TRUE(store.writeRecord("vmWatchlistTickers", rows));
    ASSERT_TRUE(store.writeRecord("vmPortfolioSnapshot", portfolio));
    const auto hashOfStore = [&] { return std::hash<std::string>{}(fileBytes(temp.suiteFile())); };
    const auto before = hashOfStore();

    struct Case {
        std::string key, json;
        velmora_appgroup_status status;
        std::string message;
    };
    const std::string tooLarge = "[" + std::string(VELMORA_APPGROUP_VALUE_SIZE_LIMIT, ' ') + "]";
    const std::vector<Case> cases{
        {"vmDailyBrief", R"({"ticker":"NVDA","score":"78"})", VELMORA_APPGROUP_INVALID_RECORD,
         "vmDailyBrief: missing key \"summary\""},
        {"vmDailyBrief", brief.substr(0, 40), VELMORA_APPGROUP_INVALID_RECORD,
         "vmDailyBrief: not valid JSON at offset 40"},
        {"vmDailyBrief", rows, VELMORA_APPGROUP_INVALID_RECORD, "vmDailyBrief: "},
        {"vmWatchlistTickers",
         R"([{"ticker":"A","price":1,"changePct":0},{"ticker":"B","price":"1","changePct":0}])",
         VELMORA_APPGROUP_INVALID_RECORD,
         "vmWatchlistTickers: [1].price: expected a number, found a string"},
        {"vmWatchlistTickers", brief, VELMORA_APPGROUP_INVALID_RECORD, "vmWatchlistTickers: "},
        {"vmPortfolioSnapshot", R"({"totalValue":1})", VELMORA_APPGROUP_INVALID_RECORD,
         "vmPortfolioSnapshot: missing key"},
        {"vmPortfolioSnapshot", "", VELMORA_APPGROUP_INVALID_RECORD, "vmPortfolioSnapshot: "},
        {"vmPortfolioSnapshot", replaced(portfolio, "\"holdingCount\":3", "\"holdingCount\":3.5"),
         VELMORA_APPGROUP_INVALID_RECORD, "vmPortfolioSnapshot: holdingCount: "},
        {"vmDailyBrief", replaced(brief, "04:00:00Z", "04:00:00.5Z"),
         VELMORA_APPGROUP_INVALID_RECORD, "vmDailyBrief: generatedAt: "},
        {"vmWatchlistTickers", std::string(100, '[') + std::string(100, ']'),
         VELMORA_APPGROUP_INVALID_RECORD, "vmWatchlistTickers: "},
        {"vmWatchlist", rows, VELMORA_APPGROUP_INVALID_ARGUMENT, "holds no record"},
        {"vmWatchlistTickers", tooLarge, VELMORA_APPGROUP_TOO_LARGE, "exceeds the 1 MiB limit"},
    };
    for (const auto& c : cases) {
        const auto written = store.writeRecord(c.key, c.json);
        EXPECT_EQ(written.code, c.status) << c.message;
        EXPECT_THAT(written.message, HasSubstr(c.message));
    }
    // Plain data has no record to match, only the size limit.
    EXPECT_EQ(store.writeData("vmOther", tooLarge).code, VELMORA_APPGROUP_TOO_LARGE);

    EXPECT_EQ(hashOfStore(), before);
    EXPECT_EQ(store.readData("vmDailyBrief").value(), brief);
    EXPECT_EQ(store.readData("vmWatchlistTickers").value(), rows);
}

// Threads of the library and processes of the command line write the same key at once, large
// values spanning many pages; every read, by either, gives one value whole.
TEST(Library, ConcurrentWritersNeverTearARead) {
    tempstore::TempStore temp;
    Defaults defaults{temp};
    Store store = opened(temp);
    const auto value = [](char fill) {
        return std::string(1, fill) + std::string(200'000, fill) + std::string(1, fill);
    };
    const std::vector<std::string> values{value('a'), value('b'), value('c')};
    const std::set<std::string> whole(values.begin(), values.end());
    const auto cliFile = temp.folder() / "c.bin";
    std::ofstream(cliFile, std::ios::binary) << values[2];
    ASSERT_TRUE(store.writeData("k", values[0]));

    std::atomic<bool> done = false;
    std::atomic<int> libraryReads = 0, failures = 0;
    std::vector<std::thread> threads;
    for (int writer = 0; writer < 2; ++writer) {
        threads.emplace_back([&, writer] {
            auto own = Store::open(temp.directory());
            // A write every few milliseconds: a host app's pace, not a loop that starves the rest.
            for (int i = 0; !done; ++i) {
                if (const auto written = own.value().writeData("k", values[(i + writer) % 2]);
                    !written) {
                    ADD_FAILURE() << written.message;
                    ++failures;
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        });
    }
    threads.emplace_back([&] {
        auto own = Store::open(temp.directory());
        while (!done) {
            const auto read = own.value().readData("k");
            if (!read || !whole.contains(read.value())) ++failures;
            ++libraryReads;
        }
    });
    int cliReads = 0;
    for (int round = 0; round < 8; ++round) {
        const auto written = defaults({"write", "k", "--data-file", cliFile.string()});
        EXPECT_EQ(written.exitCode, 0) << written.err;
        const auto read = defaults({"read", "k"});
        ASSERT_EQ(read.exitCode, 0) << read.err;
        const auto text = read.out.substr(read.out.find('\n') + 1);
        EXPECT_TRUE(whole.contains(text.substr(0, text.size() - 1)));
        ++cliReads;
    }
    done = true;
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_GT(libraryReads, 0);
    EXPECT_EQ(cliReads, 8);
}

TEST(Library, ArgumentsAndErrorsThroughTheCInterface) {
    tempstore::TempStore temp;
    velmora_appgroup_store* store = nullptr;
    ASSERT_EQ(velmora_appgroup_store_open(temp.directory().c_str(), &store, nullptr),
              VELMORA_APPGROUP_OK);
    velmora_appgroup_error* error = nullptr;
    EXPECT_EQ(velmora_appgroup_write_data(store, nullptr, "x", 1, &error),
              VELMORA_APPGROUP_INVALID_ARGUMENT);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(velmora_appgroup_error_status(error), VELMORA_APPGROUP_INVALID_ARGUMENT);
    EXPECT_STREQ(velmora_appgroup_error_message(error), "key is NULL");
    velmora_appgroup_error_free(error);
    // Without an error out-parameter the status still says it all.
    EXPECT_EQ(velmora_appgroup_write_data(store, "k", nullptr, 3, nullptr),
              VELMORA_APPGROUP_INVALID_ARGUMENT);
    EXPECT_EQ(velmora_appgroup_write_data(store, "k", nullptr, 0, nullptr), VELMORA_APPGROUP_OK);
    // What is read ends with a NUL beyond its size, for callers that take it as text.
    ASSERT_EQ(velmora_appgroup_write_data(store, "k", "abc", 3, nullptr), VELMORA_APPGROUP_OK);
    void* bytes = nullptr;
    size_t size = 0;
    ASSERT_EQ(velmora_appgroup_read_data(store, "k", &bytes, &size, nullptr), VELMORA_APPGROUP_OK);
    EXPECT_EQ(size, 3u);
    EXPECT_STREQ(static_cast<const char*>(bytes), "abc");
    velmora_appgroup_free(bytes);
    velmora_appgroup_store_close(store);
}

}  // namespace
