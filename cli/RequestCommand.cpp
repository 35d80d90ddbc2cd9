#include "cli/CommandLine.h"
#include "cli/EntryJson.h"
#include "widgets/WidgetHost.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

using namespace timeline;
using namespace widgets;

namespace cli {

using namespace ui;
using namespace dailybrief;
using namespace watchlist;
namespace {

void addRequest(CLI::App& app, GlobalOptions& globals, const std::string& name,
                const std::string& description, Request request) {
    auto kind = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(name, description);
    command->add_option("KIND", *kind, "The widget kind: " + globals.kinds())->required();
    command->callback([&globals, kind, request] {
        const auto widgets = globals.widgetHost();
        const auto widget = widgets.widgetOfKind(*kind);
        if (!widget) {
            globals.finish(CommandError::usage(widget.error().description));
            return;
        }
        // The provider ignores the family; the widget's first one stands in for a placement.
        const auto answer = widgets.request({(*widget)->kind, (*widget)->families.front()}, request,
                                            globals.clock());
        const auto json =
            request == Request::timeline ? timelineJson(answer) : entryJson(answer.entries.front());
        std::printf("%s\n", json.c_str());
        globals.finish({});
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

}  // namespace cli
