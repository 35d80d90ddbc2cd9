#include "dailybrief/DailyBriefTimelineProvider.h"
#include "host/CommandLine.h"
#include "host/EntryJson.h"
#include "watchlist/WatchlistTimelineProvider.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

namespace host {
namespace {

enum class Request { placeholder, snapshot, timeline };

void print(const std::string& json) {
    std::printf("%s\n", json.c_str());
}

// One request to one provider; every completion is called before the call returns.
template <typename Provider>
void answer(const Provider& provider, Request request, const TimelineProviderContext& context) {
    using Entry = typename Provider::Entry;
    switch (request) {
        case Request::placeholder:
            print(entryJson(provider.placeholder(context)));
            break;
        case Request::snapshot:
            provider.getSnapshot(context, [](Entry entry) { print(entryJson(entry)); });
            break;
        case Request::timeline:
            provider.getTimeline(context,
                                 [](Timeline<Entry> timeline) { print(timelineJson(timeline)); });
            break;
    }
}

const CLI::Validator widgetKind(
    [](const std::string& kind) -> std::string {
        if (kind == "DailyBrief" || kind == "WatchlistGlance") return {};
        return "unknown widget kind \"" + kind + "\" (expected DailyBrief or WatchlistGlance)";
    },
    "DailyBrief|WatchlistGlance");

void addRequest(CLI::App& app, GlobalOptions& globals, const std::string& name,
                const std::string& description, Request request) {
    auto kind = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(name, description);
    command->add_option("KIND", *kind, "The widget kind")->required()->check(widgetKind);
    command->callback([&globals, kind, request] {
        const auto context = globals.context();
        if (*kind == "DailyBrief")
            answer(DailyBriefTimelineProvider(), request, context);
        else
            answer(WatchlistTimelineProvider(), request, context);
        globals.exitCode = exitSuccess;
    });
}

}  // namespace

void registerRequestCommands(CLI::App& app, GlobalOptions& globals) {
    addRequest(app, globals, "placeholder", "Print the placeholder entry of KIND",
               Request::placeholder);
    addRequest(app, globals, "snapshot", "Print the snapshot entry of KIND from the store",
               Request::snapshot);
    addRequest(app, globals, "timeline", "Print the timeline of KIND from the store",
               Request::timeline);
}

}  // namespace host
