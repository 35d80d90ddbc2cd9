#include "store/AppGroupStore.h"
#include "tests/support/TempStore.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <latch>
#include <thread>
#include <vector>

using namespace AppGroupContainer;
using namespace store;

namespace {

// Points the process's standard error at a file for as long as it lives.
class CapturedStandardError {
public:
    explicit CapturedStandardError(const std::filesystem::path& file) {
        std::fflush(stderr);
        m_saved = ::dup(STDERR_FILENO);
        std::FILE* target = std::fopen(file.c_str(), "w");
        ::dup2(::fileno(target), STDERR_FILENO);
        std::fclose(target);
    }
    ~CapturedStandardError() {
        std::fflush(stderr);
        ::dup2(m_saved, STDERR_FILENO);
        ::close(m_saved);
    }

private:
    int m_saved = -1;
};

// The shared decoder and logger come into being on the first read that needs them. Sixteen
// threads make that first read together on a bad record: each must get no value, and the log
// must hold exactly one whole line per read. Run under ThreadSanitizer as Concurrency.*.
TEST(Concurrency, FirstUseOfTheSharedDecoderAndLoggerFromManyThreads) {
    ::setenv("VELMORA_LOG", "stderr", 1);  // the process sink is chosen on this first use
    tempstore::TempStore store;
    store.putData(AppGroupContainer::dailyBriefKey, R"({"ticker":"NVDA","score":"high"})");

    constexpr int threadCount = 16;
    const auto logFile = store.folder() / "stderr.log";
    std::vector<int> results(threadCount, -1);
    {
        CapturedStandardError capture(logFile);
        std::latch start(threadCount);
        std::vector<std::thread> threads;
        for (int i = 0; i < threadCount; ++i)
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                const auto brief = AppGroupContainer::readRecord<AppGroupContainer::DailyBrief>(
                    AppGroupContainer::dailyBriefKey, store.directory());
                results[i] = brief.has_value() ? 1 : 0;
            });
        for (auto& thread : threads) thread.join();
    }
    for (int result : results) EXPECT_EQ(result, 0);

    std::ifstream log(logFile);
    std::string line;
    int lines = 0;
    while (std::getline(log, line)) {
        ++lines;
        EXPECT_EQ(line, std::string(VELMORA_BUNDLE_ID) +
                            "[app] error: AppGroup decode failed for vmDailyBrief: missing key "
                            "\"summary\"");
    }
    EXPECT_EQ(lines, threadCount);
    EXPECT_EQ(&AppGroupContainer::sharedDecoder(), &AppGroupContainer::sharedDecoder());
    EXPECT_EQ(&AppGroupContainer::sharedLogger(), &AppGroupContainer::sharedLogger());
}

}  // namespace
