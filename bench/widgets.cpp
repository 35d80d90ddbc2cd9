// The widgets end to end, as the host drives them: provider requests against a SQLite store on
// disk, layout of each family's view, and layout plus painting to 2x PNG bytes.

#include "widgets/Widgets.h"
#include "layout/Layout.h"
#include "render/Painter.h"
#include "render/PangoTextMeasurer.h"
#include "store/AppGroupStore.h"
#include "store/DefaultsStore.h"
#include "store/StoreLocation.h"
#include "widgets/WidgetHost.h"

#include "bench/SeededStore.h"

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>

using namespace timeline;
using namespace ui;
using namespace layout;
using namespace render;
using namespace widgets;
using namespace store;

namespace {

const char* const briefJson =
    R"({"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues with options flow )"
    R"(signaling continuation through earnings; macro tailwind from softening rates remains )"
    R"(supportive, while supply constraints ease into the next quarter and data-centre demand )"
    R"(keeps guidance ahead of consensus.","signal":"Strong Buy","score":84.6,)"
    R"("generatedAt":"2025-11-16T05:45:00Z"})";

const char* const portfolioJson =
    R"({"totalValue":125000.5,"totalPnl":2500,"totalReturn":2.04,"dailyChange":-300,)"
    R"("dailyChangePct":-0.24,"holdingCount":25,"sourceLabel":"Broker sync",)"
    R"("updatedAt":"2025-11-16T08:55:00Z"})";

std::string rowsJson(int count) {
    const char* signals[] = {"Buy", "Strong Buy", "Neutral", "Sell", "Hold"};
    std::string json = "[";
    for (int i = 0; i < count; ++i) {
        json += (i ? "," : "");
        json += R"({"ticker":"TK)" + std::to_string(i) + R"(","companyName":"Company )" +
                std::to_string(i) + R"( Holdings","price":)" + std::to_string(100 + i * 3.25) +
                R"(,"changePct":)" + std::to_string((i % 7) * 0.37 - 1) + R"(,"signal":")" +
                signals[i % 5] + R"(","score":)" + std::to_string(40 + i) + "}";
    }
    return json + "]";
}

// A store folder holding the host app's three records (25 rows), removed at exit.
const std::string& storeFolder() {
    static const std::string folder = seedStoreFolder(briefJson, rowsJson(25), portfolioJson);
    return folder;
}

const widgets::WidgetHost& widgetHost() {
    static const widgets::WidgetHost instance = [] {
        widgets::HostSettings settings;
        settings.storeDirectory = storeFolder();
        return widgets::WidgetHost(VelmoraWidgetsBundle().body(), settings);
    }();
    return instance;
}

const platform::FixedClock& clock() {
    static const platform::FixedClock fixed(*platform::parseRecordDate("2025-11-16T09:00:00Z"));
    return fixed;
}

timeline::Placement placement(const benchmark::State& state) {
    const auto family = static_cast<WidgetFamily>(state.range(1));
    return {state.range(0) == 0 ? "WatchlistGlance" : "DailyBrief", family};
}

void label(benchmark::State& state) {
    const auto p = placement(state);
    state.SetLabel(p.kind + " " + std::string(name(p.family)));
}

void Request(benchmark::State& state) {
    const auto p = placement(state);
    const auto request =
        state.range(2) == 0 ? widgets::Request::snapshot : widgets::Request::timeline;
    for (auto _ : state) benchmark::DoNotOptimize(widgetHost().request(p, request, clock()));
    state.SetLabel(p.kind + (request == widgets::Request::snapshot ? " snapshot" : " timeline"));
}
BENCHMARK(Request)->Args({0, 1, 0})->Args({0, 1, 1})->Args({1, 1, 0})->Args({1, 1, 1})->Unit(
    benchmark::kMicrosecond);

// Both widgets in each of their families: {widget, family}.
void families(benchmark::internal::Benchmark* b) {
    b->Args({0, 0})->Args({0, 1})->Args({0, 2})->Args({1, 1})->Args({1, 2});
}

void Layout(benchmark::State& state) {
    const auto p = placement(state);
    const auto entry = widgetHost().request(p, widgets::Request::timeline, clock()).entries.front();
    for (auto _ : state) benchmark::DoNotOptimize(widgetHost().layOut(p, entry, clock().now()));
    label(state);
}
BENCHMARK(Layout)->Apply(families)->Unit(benchmark::kMillisecond);

void RenderPng(benchmark::State& state) {
    const auto p = placement(state);
    const auto entry = widgetHost().request(p, widgets::Request::timeline, clock()).entries.front();
    for (auto _ : state) {
        const auto layout = widgetHost().layOut(p, entry, clock().now());
        benchmark::DoNotOptimize(
            render::paintToBytes(layout.drawList, render::ImageFormat::png, 2));
    }
    label(state);
}
BENCHMARK(RenderPng)->Apply(families)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
