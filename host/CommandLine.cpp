#include "host/CommandLine.h"

#include "host/WidgetHost.h"
#include "platform/Fatal.h"
#include "platform/Formatters.h"
#include "platform/StopSignals.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>

namespace host {

using namespace ui;
using namespace timeline;
using namespace widgets;
using namespace dailybrief;
using namespace watchlist;

const platform::Clock& GlobalOptions::clock() const {
    if (at.empty()) return platform::systemClock();
    if (!m_fixedClock) {
        const auto date = platform::parseCommandLineDate(at);
        VELMORA_ASSERT(date.has_value());  // the option's check let only dates through
        m_fixedClock.emplace(*date);
    }
    return *m_fixedClock;
}

WidgetHost GlobalOptions::widgetHost() const {
    HostSettings settings;
    settings.locale = locale.empty() ? platform::userLocale() : locale;
    settings.timeZone = timeZone.empty() ? platform::userTimeZone() : timeZone;
    settings.storeDirectory = storeDirectory;
    return WidgetHost(widgets, std::move(settings));
}

void GlobalOptions::finish(const CommandResult& result) {
    if (result) {
        exitCode = exitSuccess;
        return;
    }
    printError(result.error().message);
    exitCode = result.error().exitCode;
}

void printError(const std::string& message) {
    std::fprintf(stderr, "velmora-widgets: error: %s\n", message.c_str());
}

namespace {

// CLI11's words, except where a command was expected and none recognised: then name what was
// typed and the commands there are.
std::string usageError(CLI::App& app, const CLI::ParseError& error) {
    CLI::App* command = &app;
    while (!command->get_subcommands().empty()) command = command->get_subcommands().front();
    const auto known = command->get_subcommands({});
    if (known.empty()) return error.what();
    std::string names;
    for (const CLI::App* sub : known) names += (names.empty() ? "" : ", ") + sub->get_name();
    const std::string where = command == &app ? "" : " for " + command->get_name();
    const auto typed = command->remaining();
    if (!typed.empty())
        return "unknown command \"" + typed.front() + "\"" + where + " (commands: " + names + ")";
    return "no command given" + where + " (commands: " + names + ")";
}

}  // namespace

int runCommandLine(int argc, char** argv, std::vector<StaticConfiguration> widgets) {
    GlobalOptions globals;
    globals.widgets = std::move(widgets);
    CLI::App app{"Velmora widgets: the shared store, the widget providers and their host.",
                 "velmora-widgets"};
    app.require_subcommand(1);
    app.add_option("--store-dir", globals.storeDirectory,
                   "Folder of the shared store (default: $VELMORA_STORE_DIR, "
                   "$XDG_DATA_HOME/velmora, ~/.local/share/velmora)")
        ->type_name("DIR");
    app.add_option("--at", globals.at,
                   "The time requests take as now, RFC 3339 (fractions allowed; default: the "
                   "system clock)")
        ->type_name("TIME")
        ->check(CLI::Validator(
            [](const std::string& text) -> std::string {
                if (platform::parseCommandLineDate(text)) return {};
                return "\"" + text + "\" is not an RFC 3339 date-time such as 2025-11-16T05:00:00Z";
            },
            ""));
    app.add_option("--locale", globals.locale, "ICU locale id for drawing (default: from LANG)")
        ->type_name("ID");
    app.add_option("--time-zone", globals.timeZone, "IANA time zone for drawing (default: TZ)")
        ->type_name("ID");

    registerDefaultsCommand(app, globals);
    registerRequestCommands(app, globals);
    registerRenderCommand(app, globals);
    registerListCommand(app, globals);
    registerGalleryCommand(app, globals);
    registerHostCommand(app, globals);
    registerExtensionCommand(app, globals);

    // main blocked SIGINT and SIGTERM for the host, which takes them itself; every other command
    // ends on them as usual. Parsing is done here, and no thread has started yet.
    app.parse_complete_callback([&app] {
        if (!app.got_subcommand("host")) platform::unblockStopSignals();
    });

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::CallForAllHelp& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        printError(usageError(app, error));
        return exitUsage;
    } catch (const std::exception& error) {
        printError(error.what());
        return exitFailure;
    }
    return globals.exitCode;
}

}  // namespace host
