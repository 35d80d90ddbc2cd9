#include "appgroup/ReloadOutcome.h"
#include "cli/CommandLine.h"
#include "widgets/WidgetHost.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <memory>
#include <string>

using namespace timeline;
using namespace widgets;

namespace cli {

namespace {

// How long each step on the session bus may take.
constexpr std::chrono::milliseconds busTimeout{1000};

CommandResult run(const std::string& kind, const GlobalOptions& globals) {
    if (!kind.empty()) {
        if (auto widget = globals.widgetHost().widgetOfKind(kind); !widget)
            return CommandError::usage(widget.error().description);
    }
    // The host app's own request, through the code of its library.
    const auto outcome = appgroup::requestReload(kind, busTimeout);
    if (!outcome) return CommandError::failure(outcome.error().description);
    switch (outcome->reach) {
        case appgroup::ReloadOutcome::Reach::taken:
            return {};
        case appgroup::ReloadOutcome::Reach::noSessionBus:
            return CommandError::failure("no widget host to ask: no session bus (" +
                                         outcome->detail + ")");
        case appgroup::ReloadOutcome::Reach::noHostRunning:
            break;
    }
    return CommandError::failure(
        "no widget host is running (start one with `velmora-widgets desktop`)");
}

}  // namespace

void registerReloadCommand(CLI::App& app, GlobalOptions& globals) {
    auto kind = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(
        "reload", "Ask the running widget host for new timelines now, of KIND or of every kind");
    command->add_option("KIND", *kind, "The widget kind (default: every kind)");
    command->callback([&globals, kind] { globals.finish(run(*kind, globals)); });
}

}  // namespace cli
