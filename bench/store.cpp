// The cost of the store's reads: decoding alone, whole provider requests against a SQLite
// store on disk (each opens the database read-only, looks the key up, closes it and decodes),
// and reads beside and of a value far above the size limit, which should cost what a brief's
// read costs.

#include "dailybrief/DailyBriefTimelineProvider.h"
#include "records/JSONEncoder.h"
#include "store/AppGroupStore.h"
#include "store/DefaultsStore.h"
#include "store/StoreLocation.h"
#include "watchlist/WatchlistTimelineProvider.h"

#include "bench/SeededStore.h"

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>

using namespace timeline;
using namespace dailybrief;
using namespace watchlist;
using namespace store;

namespace {

using namespace AppGroupContainer;

const std::string briefJson =
    R"({"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues with options flow )"
    R"(signaling continuation through earnings; macro tailwind from softening rates remains )"
    R"(supportive.","signal":"Buy","score":78,"generatedAt":"2025-11-16T05:45:00Z"})";

const std::string portfolioJson =
    R"({"totalValue":125000.5,"totalPnl":2500,"totalReturn":2.04,"dailyChange":-300,)"
    R"("dailyChangePct":-0.24,"holdingCount":25,"sourceLabel":"Broker sync",)"
    R"("updatedAt":"2025-11-16T08:55:00Z"})";

std::string rowsJson(int count) {
    std::vector<WatchlistRow> rows;
    for (int i = 0; i < count; ++i)
        rows.push_back({.ticker = "TICK" + std::to_string(i),
                        .companyName = "Company number " + std::to_string(i),
                        .price = 100 + i * 3.25,
                        .changePct = (i % 7) * 0.37 - 1,
                        .signal = i % 3 ? "Buy" : "Strong Sell",
                        .score = 40.0 + i});
    return encode(rows);
}

// A store folder with the host app's three records, removed at exit.
const std::string& storeFolder() {
    static const std::string folder = seedStoreFolder(briefJson, rowsJson(25), portfolioJson);
    return folder;
}

void DecodeBrief(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(sharedDecoder().decode<DailyBrief>(briefJson));
}
BENCHMARK(DecodeBrief);

void DecodeRows25(benchmark::State& state) {
    const std::string json = rowsJson(25);
    for (auto _ : state)
        benchmark::DoNotOptimize(sharedDecoder().decode<std::vector<WatchlistRow>>(json));
}
BENCHMARK(DecodeRows25);

void DailyBriefSnapshot(benchmark::State& state) {
    const platform::FixedClock clock(platform::parseRecordDate("2025-11-16T05:00:00Z").value());
    TimelineProviderContext context(clock);
    context.storeDirectory = storeFolder();
    const DailyBriefTimelineProvider provider;
    for (auto _ : state)
        provider.getSnapshot(context, [](DailyBriefEntry entry) {
            if (!entry.brief) std::abort();
            benchmark::DoNotOptimize(entry);
        });
}
BENCHMARK(DailyBriefSnapshot);

void WatchlistTimeline25(benchmark::State& state) {
    const platform::FixedClock clock(platform::parseRecordDate("2025-11-16T05:00:00Z").value());
    TimelineProviderContext context(clock);
    context.storeDirectory = storeFolder();
    const WatchlistTimelineProvider provider;
    for (auto _ : state)
        provider.getTimeline(context, [](Timeline<WatchlistEntry> timeline) {
            if (timeline.entries[0].rows.size() != 25 || !timeline.entries[0].portfolio)
                std::abort();
            benchmark::DoNotOptimize(timeline);
        });
}
BENCHMARK(WatchlistTimeline25);

// The seeded store with a 50 MB value under another key and under "vmLarge".
const std::string& storeWithLargeValues() {
    static const std::string folder = [] {
        std::string folder = seedStoreFolder(briefJson, rowsJson(25), portfolioJson);
        auto opened = DefaultsStore::openForWriting(platform::appGroupIdentifier(), folder);
        const Data large(50'000'000, ' ');
        if (!opened || !opened.value().setData("filler", large) ||
            !opened.value().setData("vmLarge", large))
            std::abort();
        return folder;
    }();
    return folder;
}

// Reads that fail log through a sink that takes nothing.
class Discard final : public platform::LogSink {
public:
    bool isEnabled(platform::LogLevel) const override { return false; }
    void write(platform::LogLevel, std::string_view, std::string_view,
               std::string_view) const override {}
};

void ReadBrief(benchmark::State& state) {
    for (auto _ : state)
        if (!readRecord<DailyBrief>(dailyBriefKey, storeFolder())) std::abort();
}
BENCHMARK(ReadBrief);

void ReadBriefBesideLargeValue(benchmark::State& state) {
    for (auto _ : state)
        if (!readRecord<DailyBrief>(dailyBriefKey, storeWithLargeValues())) std::abort();
}
BENCHMARK(ReadBriefBesideLargeValue);

void ReadLargeValue(benchmark::State& state) {
    const Discard discard;
    const platform::Logger logger("bench", "app", discard);
    for (auto _ : state)
        if (readRecord<DailyBrief>("vmLarge", storeWithLargeValues(), logger)) std::abort();
}
BENCHMARK(ReadLargeValue);

}  // namespace

BENCHMARK_MAIN();
