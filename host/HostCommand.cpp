#include "host/CommandLine.h"
#include "host/GalleryFiles.h"
#include "host/LivePage.h"
#include "host/Placements.h"
#include "host/Scheduler.h"
#include "host/WidgetHost.h"

#include <CLI/CLI.hpp>

#include <signal.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace host {

using namespace timeline;
namespace {

// The longest single sleep: after a suspend or a change of the system clock the host looks at
// the time again within this long.
constexpr auto longestSleep = std::chrono::seconds(60);

struct HostOptions {
    std::string out;
    std::string placementsFile;
    std::string until;
    bool simulate = false;
};

// "2025-11-16T06:30:00Z timeline DailyBrief systemLarge -> reload after 2025-11-17T06:30:00Z"
void printRequests(const std::vector<TimelineRequestRecord>& records) {
    for (const auto& record : records)
        std::printf("%s timeline %s %s -> reload after %s\n",
                    platform::formatDate(record.requestedAt).c_str(), record.placement.kind.c_str(),
                    std::string(name(record.placement.family)).c_str(),
                    platform::formatDate(record.timeline.policy.date).c_str());
}

CommandResult writeFiles(const std::filesystem::path& out,
                         const platform::Result<std::vector<OutputFile>>& files) {
    if (!files) return CommandError::failure(files.error().description);
    for (const auto& file : *files)
        if (auto written = writeFileAtomically(out, file.name, file.bytes); !written)
            return CommandError::failure(written.error().description);
    return {};
}

std::string pagePath(const std::filesystem::path& out) {
    std::error_code ignored;
    return std::filesystem::absolute(out / "index.html", ignored).string();
}

// Waits until `timeout` has passed or SIGINT or SIGTERM arrives (both are blocked, so they wait
// as pending until taken here). The signal's number, or 0 when the time is up.
int waitForStopSignal(const sigset_t& stopSignals, std::chrono::microseconds timeout) {
    timeout = std::max(timeout, std::chrono::microseconds(0));
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout);
    const timespec wait{static_cast<time_t>(seconds.count()),
                        static_cast<long>((timeout - seconds).count() * 1000)};
    const int signal = ::sigtimedwait(&stopSignals, nullptr, &wait);
    return signal > 0 ? signal : 0;  // EAGAIN: time is up; EINTR: the caller looks again
}

// Runs the schedule on a virtual clock from `start` to `until` at full speed. Only the last
// state of every placement is drawn, once, at the end: a day of watchlist reloads would
// otherwise draw hundreds of images that nobody sees.
CommandResult simulate(const WidgetHost& widgets, Scheduler& scheduler,
                       const std::filesystem::path& out, platform::Date start,
                       platform::Date until) {
    platform::ManualClock clock(start);
    while (clock.now() < until) {
        printRequests(scheduler.runDue(widgets, clock));
        clock.set(scheduler.nextReload());
    }
    std::vector<TimelineRequestRecord> latest;
    for (std::size_t i = 0; i < scheduler.placements().size(); ++i)
        if (scheduler.latest(i)) latest.push_back(*scheduler.latest(i));
    LivePage page(widgets, scheduler.placements().size());
    if (auto written = writeFiles(out, page.update(latest)); !written) return written;
    std::printf("simulated %s to %s\n%s\n", platform::formatDate(start).c_str(),
                platform::formatDate(until).c_str(), pagePath(out).c_str());
    return {};
}

// Runs the schedule on the system clock, sleeping until the next reload date, until --until or
// SIGINT/SIGTERM. Every request is drawn and published at once.
CommandResult runLive(const WidgetHost& widgets, Scheduler& scheduler,
                      const std::filesystem::path& out, std::optional<platform::Date> until) {
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    const auto& clock = platform::systemClock();
    LivePage page(widgets, scheduler.placements().size());
    bool pageAnnounced = false;
    while (true) {
        const auto requests = scheduler.runDue(widgets, clock);
        printRequests(requests);
        std::fflush(stdout);
        if (auto written = writeFiles(out, page.update(requests)); !written) return written;
        if (!pageAnnounced) {
            std::printf("page: %s\n", pagePath(out).c_str());
            std::fflush(stdout);
            pageAnnounced = true;
        }
        const platform::Date next = scheduler.nextReload();
        while (true) {
            const platform::Date now = clock.now();
            if (until && now >= *until) {
                std::printf("stopped (reached %s)\n", platform::formatDate(*until).c_str());
                return {};
            }
            if (now >= next) break;
            const platform::Date wake = until ? std::min(next, *until) : next;
            const auto wait = std::min<std::chrono::microseconds>(wake - now, longestSleep);
            if (const int signal = waitForStopSignal(stopSignals, wait)) {
                std::printf("stopped (%s)\n", signal == SIGINT ? "SIGINT" : "SIGTERM");
                return {};
            }
        }
    }
}

CommandResult run(const HostOptions& options, const GlobalOptions& globals,
                  const WidgetHost& widgets) {
    std::optional<platform::Date> until;
    if (!options.until.empty()) until = platform::parseCommandLineDate(options.until);
    if (options.simulate && !until)
        return CommandError::usage("--simulate needs --until: the time the simulation ends");
    if (!options.simulate && !globals.at.empty())
        return CommandError::usage(
            "the live host runs on the system clock; use --simulate to run from --at");
    const platform::Date start = globals.clock().now();
    if (until && *until <= start)
        return CommandError::usage("--until " + options.until + " is not later than the start, " +
                                   platform::formatDate(start));

    auto placements = widgets.allPlacements();
    if (!options.placementsFile.empty()) {
        auto read = readPlacements(options.placementsFile, widgets);
        if (!read) return CommandError::usage(read.error().description);
        placements = std::move(read).value();
    }
    if (auto prepared = prepareOutputDirectory(options.out); !prepared)
        return CommandError::failure(prepared.error().description);

    Scheduler scheduler(std::move(placements));
    return options.simulate ? simulate(widgets, scheduler, options.out, start, *until)
                            : runLive(widgets, scheduler, options.out, until);
}

}  // namespace

void registerHostCommand(CLI::App& app, GlobalOptions& globals) {
    auto options = std::make_shared<HostOptions>();
    CLI::App* command = app.add_subcommand(
        "host",
        "Host placed widgets: ask for timelines, honour their reload dates, keep DIR's PNGs and "
        "index.html current");
    command->add_option("--out", options->out, "Folder for the images and index.html")
        ->required()
        ->type_name("DIR");
    command
        ->add_option("--placements", options->placementsFile,
                     R"(JSON array of {"kind": ..., "family": ...} (default: every widget in )"
                     "every family)")
        ->type_name("FILE");
    command
        ->add_option("--until", options->until,
                     "Stop at this time, RFC 3339 (required with --simulate)")
        ->type_name("TIME")
        ->check(CLI::Validator(
            [](const std::string& text) -> std::string {
                if (platform::parseCommandLineDate(text)) return {};
                return "\"" + text + "\" is not an RFC 3339 date-time such as 2025-11-17T00:00:00Z";
            },
            ""));
    command->add_flag(
        "--simulate", options->simulate,
        "Run from --at (default now) to --until on a virtual clock, without sleeping");
    command->callback(
        [&globals, options] { globals.finish(run(*options, globals, globals.widgetHost())); });
}

}  // namespace host
