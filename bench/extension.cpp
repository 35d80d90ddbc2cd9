// The extension process against the host's own process: a warm timeline request and the
// drawing of its entry into memory, both ways in the same run; and a cold launch (a new
// confined process answering its first request). Real time: the extension's work is done in
// another process, which the benchmark's CPU time does not see.

#include "hosting/Extension.h"
#include "bench/SeededStore.h"
#include "render/Painter.h"
#include "widgets/WidgetHost.h"
#include "widgets/Widgets.h"

#include <benchmark/benchmark.h>

#include <time.h>
#include <unistd.h>

#include <climits>
#include <fstream>
#include <string>
#include <vector>

using namespace timeline;
using namespace widgets;
using namespace ipc;
using namespace hosting;
using timeline::WidgetFamily;

namespace {

const char* const briefJson =
    R"({"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues with options flow )"
    R"(signaling continuation through earnings; macro tailwind from softening rates remains )"
    R"(supportive.","signal":"Strong Buy","score":84.6,"generatedAt":"2025-11-16T05:45:00Z"})";
const char* const rowsJson =
    R"([{"ticker":"AAPL","companyName":"Apple Inc.","price":187.32,"changePct":0.84,)"
    R"("signal":"Buy","score":72},{"ticker":"MSFT","price":410,"changePct":-1.5},)"
    R"({"ticker":"NVDA","price":912.5,"changePct":2.1,"signal":"Strong Buy","score":84},)"
    R"({"ticker":"TSLA","price":242.1,"changePct":-0.4,"signal":"Hold"},)"
    R"({"ticker":"AMZN","price":178.2,"changePct":0.3,"signal":"Buy","score":66}])";
const char* const portfolioJson =
    R"({"totalValue":125000.5,"totalPnl":2500,"totalReturn":2.04,"dailyChange":-300,)"
    R"("dailyChangePct":-0.24,"holdingCount":25,"sourceLabel":"Broker sync",)"
    R"("updatedAt":"2025-11-16T08:55:00Z"})";

const Placement placements[] = {{"WatchlistGlance", WidgetFamily::systemSmall},
                                {"WatchlistGlance", WidgetFamily::systemMedium},
                                {"WatchlistGlance", WidgetFamily::systemLarge},
                                {"DailyBrief", WidgetFamily::systemMedium},
                                {"DailyBrief", WidgetFamily::systemLarge}};

HostSettings settings() {
    static const std::string folder = seedStoreFolder(briefJson, rowsJson, portfolioJson);
    HostSettings settings;
    settings.storeDirectory = folder;
    return settings;
}

// The extension is this program's sibling in the build tree.
ExtensionSettings launchSettings() {
    char self[PATH_MAX] = {};
    const ssize_t n = ::readlink("/proc/self/exe", self, sizeof self - 1);
    const auto host = settings();
    auto extension = extensionSettings({host.storeDirectory, host.locale, host.timeZone});
    extension.program =
        (std::filesystem::path(std::string(self, std::size_t(std::max<ssize_t>(n, 0))))
             .parent_path()
             .parent_path() /
         "velmora-widgets")
            .string();
    return extension;
}

const platform::Date at = *platform::parseRecordDate("2025-11-16T09:00:00Z");

// CPU time in microseconds: this thread's, and a process's main thread's (the extension does
// all its work there). On a machine whose processors other work shares, the two processes'
// CPU time compares the paths where their real time cannot: each wake-up of the extension may
// wait for a processor.
double threadCpuMicroseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e6 + double(now.tv_nsec) / 1e3;
}
double processCpuMicroseconds(pid_t pid) {
    std::ifstream schedstat("/proc/" + std::to_string(pid) + "/schedstat");
    double nanoseconds = 0;
    schedstat >> nanoseconds;
    return nanoseconds / 1e3;
}

void InProcess(benchmark::State& state) {
    const WidgetHost widgets(widgets::VelmoraWidgetsBundle().body(), settings());
    const auto& placement = placements[state.range(0)];
    const platform::FixedClock clock(at);
    const double cpuBefore = threadCpuMicroseconds();
    (void)widgets.layOut(placement, widgets.request(placement, Request::timeline, clock).entries[0],
                         at);  // warm, as the extension is
    for (auto _ : state) {
        const auto timeline = widgets.request(placement, Request::timeline, clock);
        const auto list = widgets.layOut(placement, timeline.entries.front(), at).drawList;
        const auto size = render::pixelSize(list, 2).value();
        std::vector<unsigned char> pixels(std::size_t(size.stride) * size.height);
        if (!render::paintPixels(list, 2, {pixels.data(), size.width, size.height, size.stride}))
            state.SkipWithError("cannot draw");
        benchmark::DoNotOptimize(pixels.data());
    }
    state.SetLabel(placement.kind + " " + std::string(name(placement.family)));
    state.counters["cpu_us"] = (threadCpuMicroseconds() - cpuBefore) / double(state.iterations());
}

void ThroughExtension(benchmark::State& state) {
    Extension extension(launchSettings());
    const auto& placement = placements[state.range(0)];
    // Warm: launched, fonts loaded, as the in-process path is after its first drawing.
    (void)extension.reload(placement, Request::timeline, at, 2, ImageEncoding::argb32);
    const pid_t pid = extension.processId().value_or(0);
    const double hostBefore = threadCpuMicroseconds();
    const double extensionBefore = processCpuMicroseconds(pid);
    for (auto _ : state) {
        const auto reload =
            extension.reload(placement, Request::timeline, at, 2, ImageEncoding::argb32);
        if (!reload) {
            state.SkipWithError(reload.error().description.c_str());
            break;
        }
        benchmark::DoNotOptimize(reload->drawing->image.data()[0]);
    }
    state.SetLabel(placement.kind + " " + std::string(name(placement.family)));
    // Both processes' CPU time, and the extension's peak resident memory (it has drawn only
    // this family).
    state.counters["cpu_us"] =
        (threadCpuMicroseconds() - hostBefore + processCpuMicroseconds(pid) - extensionBefore) /
        double(state.iterations());
    if (extension.processId()) {
        std::ifstream status("/proc/" + std::to_string(pid) + "/status");
        for (std::string line; std::getline(status, line);)
            if (line.rfind("VmHWM:", 0) == 0)
                state.counters["peak_MB"] = std::stod(line.substr(6)) / 1024;
    }
}

// A new extension process until it has answered its first request (a placeholder, which reads
// nothing), then ended.
void ColdLaunch(benchmark::State& state) {
    for (auto _ : state) {
        Extension extension(launchSettings());
        if (!extension.reload(placements[0], Request::placeholder, at, 2, ImageEncoding::none))
            state.SkipWithError("no answer");
    }
}

}  // namespace

BENCHMARK(InProcess)->DenseRange(0, 4)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(ThroughExtension)->DenseRange(0, 4)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(ColdLaunch)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
