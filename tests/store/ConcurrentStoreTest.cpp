// Reads while the host app writes: another process replaces the watchlist and the brief
// thousands of times while four threads of this one read them in a loop. Every read must give
// a whole value, the old one or the new one, never a decoding failure (which would be logged)
// nor a missing value. Run under ThreadSanitizer as Concurrency.*.

#include "platform/Deployment.h"
#include "store/AppGroupStore.h"
#include "store/DefaultsStore.h"
#include "store/StoreLocation.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/RecordingSink.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <variant>
#include <vector>

using namespace store;

namespace {

using namespace AppGroupContainer;
using childprocess::ChildProcess;
using testing::IsEmpty;

const std::string writerProgram = VELMORA_STORE_WRITER;

// A fresh store folder, in memory when /dev/shm is there: the test is about what readers see
// of each commit, and a disk's flushes would only make each of the writer's commits slower.
class MemoryFolder {
public:
    MemoryFolder() {
        const std::filesystem::path shm = "/dev/shm";
        const auto base =
            std::filesystem::is_directory(shm) ? shm : std::filesystem::temp_directory_path();
        std::string pattern = (base / "velmora-concurrency-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        m_path = pattern;
    }
    MemoryFolder(const MemoryFolder&) = delete;
    MemoryFolder& operator=(const MemoryFolder&) = delete;
    ~MemoryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    [[nodiscard]] std::string path() const { return m_path.string(); }

private:
    std::filesystem::path m_path;
};

const std::array<std::string, 2> rowLists = {
    R"([{"ticker":"NVDA","companyName":"NVIDIA","price":181.08,"changePct":2.31,"signal":"Buy",)"
    R"("score":72},{"ticker":"AAPL","price":228.5,"changePct":-0.4}])",
    R"([{"ticker":"MSFT","price":412.3,"changePct":-0.42,"signal":"Hold","score":51},)"
    R"({"ticker":"TSLA","price":0,"changePct":0},{"ticker":"AMD","price":140,"changePct":1.5}])",
};
const std::array<std::string, 2> briefs = {
    R"({"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues.","signal":"Buy",)"
    R"("score":78,"generatedAt":"2025-11-16T05:45:00Z"})",
    R"({"ticker":"AMD","summary":"A quieter day ahead; the trend holds for now.",)"
    R"("signal":"Neutral","score":50.5,"generatedAt":"2025-11-17T05:45:00Z"})",
};

// How often a reader saw each of the two values, and anything else.
struct Tally {
    std::array<long, 2> seen{};
    long missing = 0;
    long other = 0;

    template <typename T>
    void count(const std::optional<T>& read, const std::array<T, 2>& values) {
        if (!read)
            ++missing;
        else if (*read == values[0])
            ++seen[0];
        else if (*read == values[1])
            ++seen[1];
        else
            ++other;
    }
};

TEST(Concurrency, ReadersSeeWholeOldOrNewValuesWhileAnotherProcessWrites) {
    // Up to 5000 rounds of two writes each, for at most three seconds: all of them in about
    // 1.5 s in the regular and ThreadSanitizer builds, about 2800 under AddressSanitizer. Four
    // reading threads hold the writer back (each commit waits for a gap between reads), so
    // the floor below leaves room for a slow machine while still asking for thousands of
    // replacements.
    constexpr int rounds = 5000;
    constexpr const char* seconds = "3";
    constexpr int readerCount = 4;
    MemoryFolder folder;
    const std::array<std::vector<WatchlistRow>, 2> expectedRows = {
        sharedDecoder().decode<std::vector<WatchlistRow>>(rowLists[0]).value(),
        sharedDecoder().decode<std::vector<WatchlistRow>>(rowLists[1]).value()};
    const std::array<DailyBrief, 2> expectedBriefs = {
        sharedDecoder().decode<DailyBrief>(briefs[0]).value(),
        sharedDecoder().decode<DailyBrief>(briefs[1]).value()};

    // The first values are in place before any reader starts: from then on every read must
    // find a value.
    {
        auto opened =
            store::DefaultsStore::openForWriting(platform::appGroupIdentifier(), folder.path());
        ASSERT_TRUE(std::holds_alternative<store::DefaultsStore>(opened));
        auto& store = std::get<store::DefaultsStore>(opened);
        const auto bytes = [](const std::string& text) {
            return std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        };
        ASSERT_FALSE(store.setData(watchlistTickersKey, bytes(rowLists[0])));
        ASSERT_FALSE(store.setData(dailyBriefKey, bytes(briefs[0])));
    }

    recording::RecordingSink sink;
    const platform::Logger logger(VELMORA_BUNDLE_ID, "app", sink);
    std::atomic<bool> writerDone = false;
    std::vector<Tally> rowTallies(readerCount);
    std::vector<Tally> briefTallies(readerCount);
    std::vector<std::thread> readers;
    for (int r = 0; r < readerCount; ++r)
        readers.emplace_back([&, r] {
            // One more pass after the writer is done, so that every reader reads the end state.
            bool last = false;
            while (!last) {
                last = writerDone.load();
                rowTallies[r].count(readRows(watchlistTickersKey, folder.path(), logger),
                                    expectedRows);
                briefTallies[r].count(readRecord<DailyBrief>(dailyBriefKey, folder.path(), logger),
                                      expectedBriefs);
            }
        });

    ChildProcess writer({writerProgram, "write", folder.path(), std::to_string(rounds), seconds,
                         std::string(watchlistTickersKey), rowLists[0], rowLists[1],
                         std::string(dailyBriefKey), briefs[0], briefs[1]});
    const std::string report = writer.readLine();
    const int writerStatus = writer.wait();
    writerDone = true;
    for (auto& reader : readers) reader.join();
    ASSERT_EQ(writerStatus, 0);
    ASSERT_TRUE(report.starts_with("rounds ")) << report;
    const int written = std::atoi(report.c_str() + 7);
    EXPECT_GE(written, 500) << "too few writes to stand for a writing host app";
    RecordProperty("rounds", written);

    for (int r = 0; r < readerCount; ++r) {
        SCOPED_TRACE("reader " + std::to_string(r));
        for (const Tally* tally : {&rowTallies[r], &briefTallies[r]}) {
            EXPECT_EQ(tally->missing, 0);
            EXPECT_EQ(tally->other, 0);
            // Both values were seen: the reads overlapped the writes.
            EXPECT_GT(tally->seen[0], 0);
            EXPECT_GT(tally->seen[1], 0);
        }
    }
    EXPECT_THAT(sink.lines(), IsEmpty());

    // The last round's values stay.
    const int last = (written - 1) % 2;
    EXPECT_EQ(readRows(watchlistTickersKey, folder.path(), logger), expectedRows[last]);
    EXPECT_EQ(readRecord<DailyBrief>(dailyBriefKey, folder.path(), logger), expectedBriefs[last]);
}

}  // namespace
