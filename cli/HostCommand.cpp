#include "cli/CommandLine.h"
#include "gallery/LivePage.h"
#include "gallery/PageCards.h"
#include "hosting/Extension.h"
#include "hosting/HostingSession.h"
#include "hosting/Placements.h"
#include "platform/AtomicFile.h"
#include "platform/BackgroundTask.h"
#include "platform/PrintableText.h"
#include "platform/StopSignals.h"
#include "platform/WakeTimer.h"
#include "widgets/WidgetHost.h"

#include <CLI/CLI.hpp>

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>

using namespace timeline;
using namespace widgets;
using namespace ipc;
using namespace hosting;
using namespace gallery;

namespace cli {

namespace {

struct HostOptions {
    std::string out;
    std::string placementsFile;
    std::string until;
    bool simulate = false;
    std::optional<int> budget;  // reloads a day, each placement's
};

// "2025-11-16 1h05m": a wait in whole minutes.
std::string minutes(std::chrono::microseconds wait) {
    const auto total = std::chrono::ceil<std::chrono::minutes>(wait).count();
    return total >= 60 ? std::to_string(total / 60) + "h" + (total % 60 < 10 ? "0" : "") +
                             std::to_string(total % 60) + "m"
                       : std::to_string(total) + "m";
}

// "2025-11-16T06:30:00Z timeline DailyBrief systemLarge -> reload after 2025-11-17T06:30:00Z",
// and when a budget held the request back, " (late: asked for 2025-11-16T06:15:00Z, 21m)".
void printRequests(const std::vector<TimelineRequestRecord>& records) {
    for (const auto& record : records) {
        std::string late;
        if (const auto wait = record.lateBy(); wait.count() > 0)
            late = " (late: asked for " + platform::formatDate(*record.askedFor) + ", " +
                   minutes(wait) + ")";
        std::printf("%s timeline %s %s -> reload after %s%s\n",
                    platform::formatDate(record.requestedAt).c_str(), record.placement.kind.c_str(),
                    std::string(name(record.placement.family)).c_str(),
                    platform::formatDate(record.timeline.policy.date).c_str(), late.c_str());
    }
}

// What a budget did to one placement over a simulation.
struct BudgetTally {
    int reloads = 0;
    int late = 0;  // held back past the date their timeline asked for
    std::chrono::microseconds longestWait{0};
};

// One line per request or drawing that failed in the extension: the placement, what happened,
// and when it is asked again.
void printFailures(const std::vector<RequestFailure>& failures) {
    for (const auto& failure : failures)
        printError(placementName(failure.placement) + ": " + failure.error.description +
                   "; asking again at " + pageDate(failure.retryAt));
    std::fflush(stderr);
}

std::string pagePath(const std::filesystem::path& out) {
    std::error_code ignored;
    return std::filesystem::absolute(out / "index.html", ignored).string();
}

CommandError systemFailure(const char* what) {
    return CommandError::failure(std::string(what) + ": " + std::strerror(errno));
}

// Says why the host stopped.
void printStopped(std::string_view signal) {
    std::printf("stopped (%.*s)\n", int(signal.size()), signal.data());
    std::fflush(stdout);
}

// The host's run: the session here, its reloads made in the extension on a worker thread. The
// main thread only waits (for the worker, a stop signal or the next reload date), applies what
// came back and writes the page's files, so a stop signal is taken within moments whatever the
// worker is doing, and no file is ever left half-written. Requests and drawings run in the
// extension process; one that fails there is one error line, and the host goes on.
class HostRun {
public:
    HostRun(const WidgetHost& widgets, const std::vector<Placement>& placements,
            std::filesystem::path out, platform::StopSignals signals,
            std::optional<ReloadBudget> budget = std::nullopt)
        : m_extension(extensionSettings({widgets.settings().storeDirectory,
                                         widgets.settings().locale, widgets.settings().timeZone,
                                         std::string(name(widgets.settings().colorScheme))})),
          m_scale(widgets.settings().scale),
          m_session(placements, budget),
          m_budget(budget),
          m_tallies(placements.size()),
          m_page(widgets.describe(), placements.size()),
          m_out(std::move(out)),
          m_signals(std::move(signals)) {}

    // Runs the schedule on a virtual clock from `start` to `until` at full speed. Only the last
    // state of every placement is drawn, once, at the end: a day of watchlist reloads would
    // otherwise draw hundreds of images that nobody sees.
    CommandResult simulate(platform::Date start, platform::Date until) {
        platform::ManualClock clock(start);
        while (clock.now() < until) {
            if (auto ran = runDue(clock.now(), ImageEncoding::none); !ran) return ran.error();
            clock.set(*m_session.nextReload());
        }
        // Each placement's last timeline, its entry drawn as it stood when it was asked (its
        // placeholder when that drawing fails).
        SessionUpdate last;
        if (auto ran = onWorker([&] {
                for (std::size_t i = 0; i < m_session.placements().size(); ++i) {
                    const auto& latest = m_session.latest(i);
                    if (!latest) {
                        // Never answered: its placeholder, as the live host shows it.
                        auto outcome = runReload(m_extension,
                                                 {i, m_session.placements()[i], clock.now(), true},
                                                 {m_scale, ImageEncoding::png});
                        if (outcome.placeholder)
                            last.placeholders.push_back(
                                {i, m_session.placements()[i], std::move(*outcome.placeholder)});
                        continue;
                    }
                    auto outcome =
                        runReload(m_extension, {i, latest->placement, latest->requestedAt, true},
                                  {m_scale, ImageEncoding::png});
                    if (outcome.reload) {
                        last.requests.push_back(*latest);
                        last.requests.back().drawing = outcome.reload->drawing;
                        continue;
                    }
                    last.failures.push_back(
                        m_session.drawingFailed(i, outcome.reload.error(), clock.now()));
                    if (outcome.placeholder)
                        last.placeholders.push_back(
                            {i, latest->placement, std::move(*outcome.placeholder)});
                }
            });
            !ran)
            return ran;
        printFailures(last.failures);
        if (auto published = publish(last); !published) return published;
        std::printf("simulated %s to %s\n", platform::formatDate(start).c_str(),
                    platform::formatDate(until).c_str());
        if (m_budget) printBudget();
        std::printf("%s\n", pagePath(m_out).c_str());
        return {};
    }

    // Runs the schedule on the system clock until `until` or a stop signal, sleeping until the
    // next reload date in between; every request is drawn and published at once. The sleep ends
    // early when the system's time is set, and the host looks at the time again.
    CommandResult live(std::optional<platform::Date> until) {
        auto timer = platform::WakeTimer::create();
        if (!timer) return CommandError::failure(timer.error().description);
        const auto& clock = platform::systemClock();
        bool pageAnnounced = false;
        while (true) {
            const platform::Date now = clock.now();
            if (until && now >= *until) {
                std::printf("stopped (reached %s)\n", platform::formatDate(*until).c_str());
                return {};
            }
            const platform::Date next = *m_session.nextReload();
            if (next <= now) {
                auto update = runDue(now, ImageEncoding::png);
                if (!update) return update.error();
                if (auto published = publish(*update); !published) return published;
                if (!pageAnnounced) {
                    std::printf("page: %s\n", pagePath(m_out).c_str());
                    std::fflush(stdout);
                    pageAnnounced = true;
                }
                continue;
            }
            if (auto set = timer.value().wakeAt(until ? std::min(next, *until) : next); !set)
                return CommandError::failure(set.error().description);
            // An extension that ends itself while the host sleeps is reaped when it does.
            pollfd fds[3] = {{m_signals.fd(), POLLIN, 0},
                             {timer->fd(), POLLIN, 0},
                             {m_extension.endFd(), POLLIN, 0}};
            if (::poll(fds, 3, -1) < 0) {
                if (errno == EINTR) continue;
                return systemFailure("cannot wait for the next reload");
            }
            if (fds[0].revents != 0) {
                if (const auto signal = m_signals.take()) {
                    printStopped(*signal);
                    return {};
                }
            }
            if (fds[1].revents != 0) timer->acknowledge();
            if (fds[2].revents != 0) m_extension.reapEnded();
        }
    }

private:
    // Runs `work` on a worker thread and waits for it to return. A stop signal that comes first
    // ends the process at once: the worker may be stuck for seconds in a store read that waits
    // for a writer's lock, and it holds nothing that must be cleaned up (it writes no files)
    // but the extension, which is killed first.
    CommandResult onWorker(std::function<void()> work) {
        auto task = platform::BackgroundTask::start(std::move(work));
        if (!task) return CommandError::failure(task.error().description);
        while (true) {
            pollfd fds[2] = {{m_signals.fd(), POLLIN, 0}, {task->fd(), POLLIN, 0}};
            if (::poll(fds, 2, -1) < 0) {
                if (errno == EINTR) continue;
                // Nothing can be waited for: wait for the worker itself.
                return {};
            }
            if (fds[0].revents != 0) {
                if (const auto signal = m_signals.take()) {
                    printStopped(*signal);
                    std::fflush(stderr);
                    m_extension.stop();
                    std::_Exit(exitSuccess);
                }
            }
            if (fds[1].revents != 0) return {};  // the task's end joins the finished thread
        }
    }

    // Makes the due reloads on the worker and prints them, and those that failed.
    platform::Result<SessionUpdate, CommandError> runDue(platform::Date now,
                                                         ImageEncoding encoding) {
        const auto due = m_session.due(now);
        std::vector<ReloadOutcome> outcomes;
        if (auto ran = onWorker([&] {
                for (const auto& reload : due)
                    outcomes.push_back(runReload(m_extension, reload, {m_scale, encoding}));
            });
            !ran)
            return ran.error();
        auto update = m_session.apply(std::move(outcomes), now);
        for (const auto& record : update.requests) {
            auto& tally = m_tallies[record.index];
            ++tally.reloads;
            if (const auto wait = record.lateBy(); wait.count() > 0) {
                ++tally.late;
                tally.longestWait = std::max(tally.longestWait, wait);
            }
        }
        printRequests(update.requests);
        std::fflush(stdout);
        printFailures(update.failures);
        return update;
    }

    // Makes the cards of the drawings an update brought and the page, and writes the files. A
    // full disk is logged and the files are written again at the next reload: those left over
    // first, then the new ones, a newer version of a file in place of the old.
    CommandResult publish(const SessionUpdate& update) {
        auto page = m_page.update(update);
        for (const auto index : page.shown) m_session.shown(index);
        for (auto& file : page.files)
            std::erase_if(m_unwritten,
                          [&](const OutputFile& left) { return left.name == file.name; });
        std::move(page.files.begin(), page.files.end(), std::back_inserter(m_unwritten));
        for (auto file = m_unwritten.begin(); file != m_unwritten.end(); ++file)
            if (auto written = platform::writeFileAtomically(m_out / file->name, file->bytes);
                !written) {
                printError(written.error().description + "; trying again at the next reload");
                std::fflush(stderr);
                m_unwritten.erase(m_unwritten.begin(), file);
                return {};
            }
        m_unwritten.clear();
        return {};
    }

    // "budget 40 a day (one reload every 36m at most):" and a line a placement:
    // "  WatchlistGlance systemSmall: 40 reloads, 39 late, waiting up to 21m".
    void printBudget() const {
        std::printf("budget %d a day (a reload every %s at most):\n", m_budget->perDay,
                    minutes(m_budget->spacing()).c_str());
        for (std::size_t i = 0; i < m_tallies.size(); ++i) {
            const auto& tally = m_tallies[i];
            std::printf("  %s: %d reloads, %d late, waiting up to %s\n",
                        placementName(m_session.placements()[i]).c_str(), tally.reloads, tally.late,
                        minutes(tally.longestWait).c_str());
        }
    }

    Extension m_extension;
    double m_scale;
    HostingSession m_session;
    std::optional<ReloadBudget> m_budget;
    std::vector<BudgetTally> m_tallies;  // per placement
    LivePage m_page;
    std::filesystem::path m_out;
    std::vector<OutputFile> m_unwritten;  // the files a failed write left, in order
    platform::StopSignals m_signals;
};

CommandResult run(const HostOptions& options, const GlobalOptions& globals,
                  const WidgetHost& widgets) {
    std::optional<platform::Date> until;
    if (!options.until.empty()) until = *parseOptionDate(options.until);
    if (options.simulate && !until)
        return CommandError::usage("--simulate needs --until TIME: the time the simulation ends");
    if (options.budget && !options.simulate)
        return CommandError::usage(
            "--budget: the live host reloads when its widgets ask; add --simulate to play the "
            "platform's budget");
    if (!options.simulate && !globals.at.empty())
        return CommandError::usage(
            "--at: the live host runs on the system clock; add --simulate to run from --at");
    const platform::Date start = globals.clock().now();
    if (until && *until <= start)
        return CommandError::usage("--until: expected a time later than the start, " +
                                   platform::formatDate(start) + ", got " +
                                   platform::quotedInput(options.until));

    auto placements = widgets.allPlacements();
    if (!options.placementsFile.empty()) {
        auto read = readPlacements(options.placementsFile, widgets.describe());
        if (!read) return CommandError::usage(read.error().description);
        placements = std::move(read).value();
    }
    if (auto prepared = prepareOutputDirectory(options.out); !prepared)
        return CommandError::failure(prepared.error().description);
    auto signals = platform::StopSignals::open();
    if (!signals) return CommandError::failure(signals.error().description);

    std::optional<ReloadBudget> budget;
    if (options.budget) budget = ReloadBudget{*options.budget};
    HostRun host(widgets, placements, options.out, std::move(signals).value(), budget);
    return options.simulate ? host.simulate(start, *until) : host.live(until);
}

}  // namespace

void registerHostCommand(CLI::App& app, GlobalOptions& globals) {
    auto options = std::make_shared<HostOptions>();
    CLI::App* command = app.add_subcommand(
        "host",
        "Host placed widgets: ask for timelines, honour their reload dates, keep DIR's PNGs and "
        "index.html current");
    expect(command->add_option("--out", options->out, "Folder for the images and index.html")
               ->required()
               ->type_name("DIR"),
           "a folder", [](const std::string& text) { return !text.empty(); });
    command
        ->add_option("--placements", options->placementsFile,
                     R"(JSON array of {"kind": ..., "family": ...} (default: every widget in )"
                     "every family)")
        ->type_name("FILE");
    expectDate(command
                   ->add_option("--until", options->until,
                                "Stop at this time, RFC 3339 (required with --simulate)")
                   ->type_name("TIME"));
    command->add_flag(
        "--simulate", options->simulate,
        "Run from --at (default now) to --until on a virtual clock, without sleeping");
    expect(command
               ->add_option("--budget", options->budget,
                            "With --simulate: play the platform's daily reload budget, N reloads "
                            "a day for each widget (the platform gives 40 to 70), and say which "
                            "reloads came late")
               ->type_name("N"),
           "a number of reloads a day from 1 to 1440", [](const std::string& text) {
               int value = 0;
               const auto end = text.data() + text.size();
               const auto [at, error] = std::from_chars(text.data(), end, value);
               return error == std::errc() && at == end && value >= ReloadBudget::fewestPerDay &&
                      value <= ReloadBudget::mostPerDay;
           });
    command->callback(
        [&globals, options] { globals.finish(run(*options, globals, globals.widgetHost())); });
}

}  // namespace cli
