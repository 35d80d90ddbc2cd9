// Reads from many threads at once, and while another process writes. Run under
// ThreadSanitizer as Concurrency.*.

#include "tests/store/StoreReads.h"
#include "tests/support/ChildProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <latch>
#include <thread>

namespace {

using namespace storereads;
using childprocess::ChildProcess;

// The shared decoder and logger come into being on the first read that needs them. Sixteen
// threads make that first read together on a bad record: each must get no value, and the
// process's log (standard error here) exactly one whole line per read.
TEST(Concurrency, FirstUseOfTheSharedDecoderAndLoggerFromManyThreads) {
    ::setenv("VELMORA_LOG", "stderr", 1);  // the process sink is chosen on this first use
    tempstore::TempStore store;
    store.putData(dailyBriefKey, R"({"ticker":"NVDA","score":"high"})");
    constexpr int threadCount = 16;
    std::array<bool, threadCount> read{};
    testing::internal::CaptureStderr();
    std::latch start(threadCount);
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i)
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            read[i] = readRecord<DailyBrief>(dailyBriefKey, store.directory()).has_value();
        });
    for (auto& thread : threads) thread.join();
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(read, testing::Each(false));
    std::string lines;
    for (int i = 0; i < threadCount; ++i)
        lines += VELMORA_BUNDLE_ID
            "[app] error: AppGroup decode failed for vmDailyBrief: missing "
            "key \"summary\"\n";
    EXPECT_EQ(log, lines);
}

const std::array<std::string, 2> rowLists = {
    samples::rows,
    R"([{"ticker":"MSFT","price":412.3,"changePct":-0.42,"signal":"Hold","score":51},)"
    R"({"ticker":"TSLA","price":0,"changePct":0},{"ticker":"AMD","price":140,"changePct":1.5}])",
};
const std::array<std::string, 2> briefs = {
    samples::brief,
    R"({"ticker":"AMD","summary":"A quieter day ahead; the trend holds for now.",)"
    R"("signal":"Neutral","score":50.5,"generatedAt":"2025-11-17T05:45:00Z"})",
};

// Which of the two values a read gave: 0 or 1, or -1 for none or another.
template <typename T>
int which(const std::optional<T>& read, const std::array<T, 2>& values) {
    return !read ? -1 : *read == values[0] ? 0 : *read == values[1] ? 1 : -1;
}

// Another process replaces the watchlist and the brief thousands of times while four threads
// of this one read them in a loop. Every read must give a whole value, the old one or the new
// one, never a decoding failure (which would be logged) nor a missing value.
TEST(Concurrency, ReadersSeeWholeOldOrNewValuesWhileAnotherProcessWrites) {
    // 1000 rounds of two writes each, a millisecond apart: about 1.3 s in the regular build,
    // longer under the sanitizers or on a loaded machine, which only slows the test down (the
    // minute is a guard against a hang, not a speed to meet). Readers take no lock, so a writer
    // that committed without pause would never leave them a moment to read in; the host app
    // writes a record at a time. In memory, where there is one: the test is about what readers
    // see of each commit, and a disk's flushes would only slow the writer.
    constexpr int readerCount = 4;
    const std::filesystem::path shm = "/dev/shm";
    const Reads f(std::filesystem::is_directory(shm) ? shm
                                                     : std::filesystem::temp_directory_path());
    const std::array<std::vector<WatchlistRow>, 2> expectedRows = {
        sharedDecoder().decode<std::vector<WatchlistRow>>(rowLists[0]).value(),
        sharedDecoder().decode<std::vector<WatchlistRow>>(rowLists[1]).value()};
    const std::array<DailyBrief, 2> expectedBriefs = {
        sharedDecoder().decode<DailyBrief>(briefs[0]).value(),
        sharedDecoder().decode<DailyBrief>(briefs[1]).value()};
    // The first values are in place before any reader starts: from then on every read must
    // find a value.
    f.store.putData(watchlistTickersKey, rowLists[0]);
    f.store.putData(dailyBriefKey, briefs[0]);

    std::atomic<bool> writerDone = false;
    // Per reader: how often it saw each list, each brief, and anything else.
    std::vector<std::array<long, 5>> seen(readerCount);
    std::vector<std::thread> readers;
    for (int r = 0; r < readerCount; ++r)
        readers.emplace_back([&, r] {
            // One more pass after the writer is done, so that every reader reads the end state.
            for (bool last = false; !last;) {
                last = writerDone.load();
                const int rows = which(f.rows(), expectedRows);
                const int brief = which(f.brief(), expectedBriefs);
                if (rows < 0 || brief < 0)
                    ++seen[r][4];
                else
                    ++seen[r][rows], ++seen[r][2 + brief];
            }
        });
    ChildProcess writer({VELMORA_STORE_WRITER, "write", f.store.directory(), "1000", "60", "1000",
                         std::string(watchlistTickersKey), rowLists[0], rowLists[1],
                         std::string(dailyBriefKey), briefs[0], briefs[1]});
    const std::string report = writer.readLine();
    const int writerStatus = writer.wait();
    writerDone = true;
    for (auto& reader : readers) reader.join();
    ASSERT_EQ(writerStatus, 0);
    ASSERT_TRUE(report.starts_with("rounds ")) << report;
    const int written = std::atoi(report.c_str() + 7);
    EXPECT_EQ(written, 1000);

    for (const auto& reader : seen) {
        EXPECT_EQ(reader[4], 0);  // never a missing, broken or other value
        // Each value was seen: the reads overlapped the writes.
        EXPECT_THAT(std::vector(reader.begin(), reader.begin() + 4), testing::Each(testing::Gt(0)));
    }
    EXPECT_THAT(f.sink.lines(), testing::IsEmpty());
    // The last round's values stay.
    EXPECT_EQ(f.rows(), expectedRows[(written - 1) % 2]);
    EXPECT_EQ(f.brief(), expectedBriefs[(written - 1) % 2]);
}

}  // namespace
