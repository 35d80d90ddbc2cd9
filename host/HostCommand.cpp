#include "host/CommandLine.h"
#include "host/GalleryFiles.h"
#include "host/GalleryPage.h"
#include "host/ReloadSchedule.h"
#include "host/WidgetHost.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <signal.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <variant>

namespace host {

using namespace ui;
using namespace timeline;
using namespace widgets;
using namespace dailybrief;
using namespace watchlist;
namespace {

// An open browser reloads the page this often, in seconds.
constexpr int pageRefreshSeconds = 5;
// The longest single sleep: after a suspend or a change of the system clock the host looks at
// the time again within this long.
constexpr auto longestSleep = std::chrono::seconds(60);

struct HostOptions {
    std::string out;
    std::string placementsFile;
    std::string until;
    bool simulate = false;
};

struct UsageError {
    std::string message;
};

// The placements a file lists: a JSON array of {"kind": KIND, "family": FAMILY}, each a widget of
// the bundle in a family it offers, none twice.
std::variant<std::vector<Placement>, UsageError> readPlacements(const std::string& file,
                                                                const WidgetHost& widgets) {
    const std::string where = "placements file \"" + file + "\": ";
    std::ifstream in(file, std::ios::binary);
    if (!in) return UsageError{where + "cannot be read"};
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    nlohmann::json json;
    try {
        json = nlohmann::json::parse(text);
    } catch (const nlohmann::json::exception& error) {
        // "[json.exception.parse_error.101] parse error at line 1, column 10: ..."
        std::string what = error.what();
        if (const auto end = what.find("] "); end != std::string::npos) what.erase(0, end + 2);
        return UsageError{where + "not valid JSON: " + what};
    }
    if (!json.is_array() || json.empty())
        return UsageError{where +
                          R"(expected a non-empty JSON array of {"kind": ..., "family": ...})"};

    std::string kinds;
    for (const auto& widget : widgets.widgets()) kinds += (kinds.empty() ? "" : ", ") + widget.kind;
    std::vector<Placement> placements;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const auto& item = json[i];
        const std::string at = where + "item " + std::to_string(i + 1) + ": ";
        if (!item.is_object() || !item.contains("kind") || !item["kind"].is_string() ||
            !item.contains("family") || !item["family"].is_string())
            return UsageError{at + R"(expected {"kind": TEXT, "family": TEXT})"};
        const auto kind = item["kind"].get<std::string>();
        const auto familyName = item["family"].get<std::string>();
        const auto* widget = widgets.widget(kind);
        if (!widget)
            return UsageError{at + "unknown widget kind \"" + kind + "\" (kinds: " + kinds + ")"};
        const auto family = widgetFamilyNamed(familyName);
        if (!family || !widget->supports(*family)) {
            std::string offered;
            for (auto f : widget->families)
                offered += (offered.empty() ? "" : ", ") + std::string(name(f));
            return UsageError{at + "family \"" + familyName + "\" is not offered by " + kind +
                              " (families: " + offered + ")"};
        }
        const Placement placement{kind, *family};
        if (std::find(placements.begin(), placements.end(), placement) != placements.end())
            return UsageError{at + kind + " " + familyName + " is placed twice"};
        placements.push_back(placement);
    }
    return placements;
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

// The host's state: the placements, what each was last given, and the output folder.
class LiveHost {
public:
    LiveHost(const WidgetHost& widgets, std::vector<Placement> placements,
             std::filesystem::path out, bool flushEachRound)
        : m_widgets(widgets),
          m_schedule(placements),
          m_latest(placements.size()),
          m_versions(placements.size(), 0),
          m_out(std::move(out)),
          m_flushEachRound(flushEachRound) {}

    // Asks every due placement for a timeline and prints one line per request. The indexes of
    // the placements that were asked.
    std::vector<std::size_t> runDue(const platform::Clock& clock) {
        std::vector<std::size_t> asked;
        m_schedule.runDue(m_widgets, clock, [&](const TimelineRequestRecord& record) {
            const auto& placements = m_schedule.placements();
            const auto index =
                std::size_t(std::find(placements.begin(), placements.end(), record.placement) -
                            placements.begin());
            std::printf("%s timeline %s %s -> reload after %s\n",
                        platform::formatDate(record.requestedAt).c_str(),
                        record.placement.kind.c_str(),
                        std::string(name(record.placement.family)).c_str(),
                        platform::formatDate(record.timeline.policy.date).c_str());
            m_latest[index] = record;
            ++m_versions[index];
            asked.push_back(index);
        });
        if (m_flushEachRound) std::fflush(stdout);
        return asked;
    }

    [[nodiscard]] std::optional<platform::Date> nextReload() const {
        return m_schedule.nextReload();
    }

    // Draws the latest entries of the given placements, each at the time it was asked for, and
    // rewrites the page with every placement's latest card.
    std::optional<std::string> publish(const std::vector<std::size_t>& placements) {
        for (auto index : placements) {
            const auto& record = *m_latest[index];
            auto drawn = drawCard(m_widgets, record.placement, "current", record.timeline, true,
                                  record.requestedAt);
            if (auto* error = std::get_if<std::string>(&drawn)) return *error;
            auto& card = std::get<DrawnCard>(drawn);
            if (auto error = writeFileAtomically(m_out, card.card.image, card.png)) return error;
            // A new address per version, so a refreshing browser never shows a cached image.
            card.card.image += "?v=" + std::to_string(m_versions[index]);
            m_cards.resize(m_latest.size());
            m_cards[index] = std::move(card.card);
        }
        std::vector<GalleryCard> cards;
        for (const auto& card : m_cards)
            if (card) cards.push_back(*card);
        GalleryPageOptions page;
        page.title = "Velmora Widgets — live host";
        page.subtitle = "Each placement's current entry, redrawn whenever its timeline reloads. " +
                        std::to_string(m_latest.size()) +
                        " placements; this page refreshes every " +
                        std::to_string(pageRefreshSeconds) + " s.";
        page.refreshSeconds = pageRefreshSeconds;
        return writeFileAtomically(m_out, "index.html",
                                   galleryPage(gallerySections(m_widgets, cards), page));
    }

    [[nodiscard]] std::vector<std::size_t> everyPlacementAsked() const {
        std::vector<std::size_t> asked;
        for (std::size_t i = 0; i < m_latest.size(); ++i)
            if (m_latest[i]) asked.push_back(i);
        return asked;
    }

    [[nodiscard]] std::filesystem::path pagePath() const {
        std::error_code ignored;
        return std::filesystem::absolute(m_out / "index.html", ignored);
    }

private:
    const WidgetHost& m_widgets;
    ReloadSchedule m_schedule;
    std::vector<std::optional<TimelineRequestRecord>> m_latest;
    std::vector<int> m_versions;
    std::vector<std::optional<GalleryCard>> m_cards;
    std::filesystem::path m_out;
    bool m_flushEachRound;
};

// Runs the schedule on a virtual clock from `start` to `until` at full speed. Only the last
// state of every placement is drawn, once, at the end: a day of watchlist reloads would
// otherwise draw hundreds of images that nobody sees.
int simulate(LiveHost& live, platform::Date start, platform::Date until) {
    platform::ManualClock clock(start);
    std::size_t rounds = 0;
    while (clock.now() < until) {
        (void)live.runDue(clock);
        ++rounds;
        const auto next = live.nextReload();
        if (!next) break;
        clock.set(*next);
    }
    if (auto error = live.publish(live.everyPlacementAsked())) {
        printError(*error);
        return exitFailure;
    }
    std::printf("simulated %s to %s\n%s\n", platform::formatDate(start).c_str(),
                platform::formatDate(until).c_str(), live.pagePath().c_str());
    return exitSuccess;
}

// Runs the schedule on the system clock, sleeping until the next reload date, until --until or
// SIGINT/SIGTERM. Every request is drawn and published at once.
int runLive(LiveHost& live, std::optional<platform::Date> until) {
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    const auto& clock = platform::systemClock();
    bool pageAnnounced = false;
    while (true) {
        if (auto error = live.publish(live.runDue(clock))) {
            printError(*error);
            return exitFailure;
        }
        if (!pageAnnounced) {
            std::printf("page: %s\n", live.pagePath().c_str());
            std::fflush(stdout);
            pageAnnounced = true;
        }
        const platform::Date next = *live.nextReload();  // every placement has been asked once
        while (true) {
            const platform::Date now = clock.now();
            if (until && now >= *until) {
                std::printf("stopped (reached %s)\n", platform::formatDate(*until).c_str());
                return exitSuccess;
            }
            if (now >= next) break;
            const platform::Date wake = until ? std::min(next, *until) : next;
            const auto wait = std::min<std::chrono::microseconds>(wake - now, longestSleep);
            if (const int signal = waitForStopSignal(stopSignals, wait)) {
                std::printf("stopped (%s)\n", signal == SIGINT ? "SIGINT" : "SIGTERM");
                return exitSuccess;
            }
        }
    }
}

int run(const HostOptions& options, const GlobalOptions& globals, const WidgetHost& widgets) {
    std::optional<platform::Date> until;
    if (!options.until.empty()) until = platform::parseCommandLineDate(options.until);
    if (options.simulate && !until) {
        printError("--simulate needs --until: the time the simulation ends");
        return exitUsage;
    }
    if (!options.simulate && !globals.at.empty()) {
        printError("the live host runs on the system clock; use --simulate to run from --at");
        return exitUsage;
    }
    const platform::Date start = globals.clock().now();
    if (until && *until <= start) {
        printError("--until " + options.until + " is not later than the start, " +
                   platform::formatDate(start));
        return exitUsage;
    }

    auto placements = widgets.allPlacements();
    if (!options.placementsFile.empty()) {
        auto read = readPlacements(options.placementsFile, widgets);
        if (auto* error = std::get_if<UsageError>(&read)) {
            printError(error->message);
            return exitUsage;
        }
        placements = std::move(std::get<std::vector<Placement>>(read));
    }
    if (auto error = prepareOutputDirectory(options.out)) {
        printError(*error);
        return exitFailure;
    }

    LiveHost live(widgets, std::move(placements), options.out, !options.simulate);
    return options.simulate ? simulate(live, start, *until) : runLive(live, until);
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
        [&globals, options] { globals.exitCode = run(*options, globals, globals.widgetHost()); });
}

}  // namespace host
