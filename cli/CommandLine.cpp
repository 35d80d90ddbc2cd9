#include "cli/CommandLine.h"

#include "platform/Deployment.h"
#include "platform/Fatal.h"
#include "platform/Formatters.h"
#include "platform/PrintableText.h"
#include "platform/StopSignals.h"
#include "widgets/WidgetHost.h"

#include <CLI/CLI.hpp>

#include <cctype>
#include <cstdio>
#include <exception>

using namespace timeline;
using namespace widgets;

namespace cli {

using namespace ui;
using namespace dailybrief;
using namespace watchlist;

const platform::Clock& GlobalOptions::clock() const {
    if (at.empty()) return platform::systemClock();
    if (!m_fixedClock) {
        const auto date = parseOptionDate(at);
        VELMORA_ASSERT(date.ok());  // the option's check let only such dates through
        m_fixedClock.emplace(*date);
    }
    return *m_fixedClock;
}

WidgetHost GlobalOptions::widgetHost() const {
    HostSettings settings;
    settings.locale = locale.empty() ? platform::userLocale() : locale;
    settings.timeZone = timeZone.empty() ? platform::userTimeZone() : timeZone;
    settings.colorScheme = appearance == "light" ? ui::ColorScheme::light : ui::ColorScheme::dark;
    settings.storeDirectory = storeDirectory;
    return WidgetHost(widgets, std::move(settings));
}

std::string GlobalOptions::kinds() const {
    std::string text;
    for (const auto& widget : widgets) text += (text.empty() ? "" : ", ") + widget.kind;
    return text;
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
    std::fprintf(stderr, "velmora-widgets: error: %s\n",
                 platform::printableText(message, errorLineLimit).c_str());
}

platform::Result<platform::Date> parseOptionDate(std::string_view text) {
    const auto date = platform::parseCommandLineDate(text);
    if (date && *date >= platform::firstDate && *date < endOfOptionDates) return *date;
    return platform::Error{
        "expected an RFC 3339 date-time from 0000-01-01T00:00:00Z to 9999-12-30T23:59:59Z, "
        "such as 2025-11-16T05:00:00Z, got " +
        platform::quotedInput(text)};
}

CLI::Option* expect(CLI::Option* option, std::string expectation,
                    std::function<bool(const std::string&)> accepts) {
    return option->check(CLI::Validator(
        [expectation = std::move(expectation), accepts = std::move(accepts)](std::string& text) {
            return accepts(text)
                       ? std::string()
                       : "expected " + expectation + ", got " + platform::quotedInput(text);
        },
        ""));
}

CLI::Option* expectDate(CLI::Option* option) {
    return option->check(CLI::Validator(
        [](std::string& text) {
            const auto date = parseOptionDate(text);
            return date ? std::string() : date.error().description;
        },
        ""));
}

namespace {

// The command the parser was in when it stopped: the deepest one named on the command line.
CLI::App* currentCommand(CLI::App& app) {
    CLI::App* command = &app;
    while (!command->get_subcommands().empty()) command = command->get_subcommands().front();
    return command;
}

// "host" or "defaults write": where an error happened, for its message.
std::string commandPath(const CLI::App* command) {
    std::string path;
    for (; command != nullptr && command->get_parent() != nullptr;
         command = command->get_parent()) {
        if (!path.empty()) path.insert(0, 1, ' ');
        path.insert(0, command->get_name());
    }
    return path;
}

// An option with its value ("--out DIR", "KIND"), then `problem`, then what the option is, from
// its description: "--out DIR is required: folder for the images and index.html".
std::string described(const CLI::Option* option, const std::string& problem) {
    std::string text = option->get_name();
    if (!option->get_positional() && !option->get_type_name().empty() &&
        option->get_expected_max() > 0)
        text += " " + option->get_type_name();
    text += " " + problem;
    std::string description = option->get_description();
    if (!description.empty()) {
        description.front() = char(std::tolower(static_cast<unsigned char>(description.front())));
        text += ": " + description;
    }
    return text;
}

// Every option of a command and of its option groups.
std::vector<const CLI::Option*> optionsOf(const CLI::App* command) {
    auto options = command->get_options();
    for (const CLI::App* group : command->get_subcommands({}))
        if (group->get_name().empty())
            for (const CLI::Option* option : group->get_options()) options.push_back(option);
    return options;
}

const CLI::Option* optionNamed(const CLI::App* command, const std::string& name) {
    for (const auto* option : optionsOf(command))
        if (option->check_name(name)) return option;
    return nullptr;
}

template <typename Kind>
bool is(const CLI::ParseError& error) {
    return dynamic_cast<const Kind*>(&error) != nullptr;
}

// The usage error as this program words it: where, which option, and what it wants. CLI11's
// own words are kept only where they already say that.
std::string usageError(CLI::App& app, const CLI::ParseError& error) {
    CLI::App* command = currentCommand(app);
    const std::string where = commandPath(command);
    const std::string prefix = where.empty() ? "" : where + ": ";
    std::string what = error.what();

    std::string commands;
    for (const CLI::App* sub : command->get_subcommands({}))
        if (!sub->get_name().empty()) commands += (commands.empty() ? "" : ", ") + sub->get_name();
    const auto typed = command->remaining();
    if (!commands.empty()) {
        const std::string in = where.empty() ? "" : " for " + where;
        if (!typed.empty() && typed.front().rfind('-', 0) != 0)
            return "unknown command " + platform::quotedInput(typed.front()) + in +
                   " (commands: " + commands + ")";
        if (is<CLI::RequiredError>(error) && what.find("subcommand") != std::string::npos)
            return "no command given" + in + " (commands: " + commands + ")";
    }
    if (is<CLI::RequiredError>(error)) {
        for (const auto* option : optionsOf(command))
            if (option->get_required() && option->count() == 0)
                return prefix + described(option, "is required");
    }
    if (is<CLI::ArgumentMismatch>(error)) {
        // "--out: 1 required DIR missing"
        if (const auto* option = optionNamed(command, what.substr(0, what.find(':'))))
            return prefix + described(option, "needs a value");
    }
    if (is<CLI::ExtrasError>(error)) {
        // "The following arguments were not expected: z y x": the first one typed is last.
        const std::string first = what.substr(what.rfind(' ') + 1);
        if (first.rfind('-', 0) != 0) {
            std::string arguments;
            for (const auto* option : optionsOf(command))
                if (option->get_positional()) arguments += " " + option->get_name();
            return prefix + "unexpected argument " + platform::quotedInput(first) + " (" +
                   (arguments.empty() ? "it takes none" : "arguments:" + arguments) + ")";
        }
        std::string options;
        for (const CLI::App* in = command; in != nullptr; in = in->get_parent())
            for (const auto* option : optionsOf(in))
                if (!option->get_positional() && option->get_name() != "--help")
                    options += (options.empty() ? "" : ", ") + option->get_name();
        return prefix + "unknown option " + platform::quotedInput(first) + " (options: " + options +
               ")";
    }
    if (is<CLI::ValidationError>(error) && !optionNamed(command, what.substr(0, what.find(':'))))
        return what;  // a global option's check: it names the option itself
    return prefix + what;
}

}  // namespace

int runCommandLine(int argc, char** argv, std::vector<StaticConfiguration> widgets) {
    GlobalOptions globals;
    globals.widgets = std::move(widgets);
    CLI::App app{"Velmora widgets: the shared store, the widget providers and their host.",
                 "velmora-widgets"};
    app.require_subcommand(1);
    app.fallthrough();  // global options may follow the command as well
    app.add_option("--store-dir", globals.storeDirectory,
                   "Folder of the shared store (default: $VELMORA_STORE_DIR, "
                   "$XDG_DATA_HOME/velmora, ~/.local/share/velmora)")
        ->type_name("DIR");
    expectDate(app.add_option("--at", globals.at,
                              "The time requests take as now, RFC 3339 (fractions allowed; "
                              "default: the system clock)")
                   ->type_name("TIME"));
    expect(
        app.add_option("--locale", globals.locale, "ICU locale id for drawing (default: from LANG)")
            ->type_name("ID"),
        "an ICU locale such as en_US or de_DE", platform::isKnownLocale);
    expect(
        app.add_option("--time-zone", globals.timeZone, "IANA time zone for drawing (default: TZ)")
            ->type_name("ID"),
        "an IANA time zone such as UTC or Europe/Berlin", platform::isKnownTimeZone);
    expect(app.add_option("--appearance", globals.appearance,
                          "Appearance to draw in: texts and symbols without a colour of their "
                          "own take its default foreground (default: dark)")
               ->type_name("light|dark"),
           "light or dark",
           [](const std::string& text) { return text == "light" || text == "dark"; });

    app.set_version_flag("--version",
                         "velmora-widgets " + std::string(platform::programVersion()) +
                             "\napp group: " + std::string(platform::appGroupIdentifier()) +
                             "\nbundle: " + std::string(platform::bundleIdentifier()));

    registerDefaultsCommand(app, globals);
    registerRequestCommands(app, globals);
    registerRenderCommand(app, globals);
    registerListCommand(app, globals);
    registerGalleryCommand(app, globals);
    registerHostCommand(app, globals);
    registerDesktopCommand(app, globals);
    registerStudioCommand(app, globals);
    registerReloadCommand(app, globals);
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
    } catch (const CLI::CallForVersion& version) {
        return app.exit(version);
    } catch (const CLI::ParseError& error) {
        printError(usageError(app, error));
        return exitUsage;
    } catch (const std::exception& error) {
        printError(error.what());
        return exitFailure;
    }
    return globals.exitCode;
}

}  // namespace cli
