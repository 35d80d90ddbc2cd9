#pragma once

#include "platform/Clock.h"
#include "platform/Date.h"
#include "platform/Result.h"
#include "widgets/StaticConfiguration.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

// The `velmora-widgets` command line: the host app's writer side of the store and the widget
// host's requests, one command per file. CommandLine.cpp builds the app and hands it to each
// command's register function; a command's callback reports how it ended through `finish`.
namespace widgets {
class WidgetHost;
}  // namespace widgets

namespace cli {

struct GlobalOptions;

// Exit codes of the program.
inline constexpr int exitSuccess = 0;
inline constexpr int exitFailure = 1;  // the command could not do its work (store not writable)
inline constexpr int exitUsage = 2;    // the command line itself is wrong

// Why a command did not succeed: one line for standard error, and the exit code.
struct CommandError {
    int exitCode = exitFailure;
    std::string message;

    [[nodiscard]] static CommandError usage(std::string message) {
        return {exitUsage, std::move(message)};
    }
    [[nodiscard]] static CommandError failure(std::string message) {
        return {exitFailure, std::move(message)};
    }
    bool operator==(const CommandError&) const = default;
};

// How a command ended: nothing on success.
using CommandResult = platform::Result<void, CommandError>;

// The options every command sees, filled in while the command line is parsed.
struct GlobalOptions {
    std::string storeDirectory;  // --store-dir; empty: the environment's store folder
    std::string at;              // --at, already checked to be an RFC 3339 date-time
    std::string locale;          // --locale, for commands that draw
    std::string timeZone;        // --time-zone, for commands that draw
    std::string appearance;  // --appearance, "light" or "dark" (default), for commands that draw
    int exitCode = exitSuccess;
    std::vector<widgets::StaticConfiguration>
        widgets;  // the bundle the program's entry handed over

    // The clock requests read: fixed at --at when given, else the system clock.
    [[nodiscard]] const platform::Clock& clock() const;
    // The widget host over the bundle, drawing in --locale and --time-zone (default: the
    // user's, from the environment) on the --store-dir store.
    [[nodiscard]] widgets::WidgetHost widgetHost() const;

    // "WatchlistGlance, DailyBrief": the bundle's kinds, for what KIND arguments want.
    [[nodiscard]] std::string kinds() const;

    // Ends the command: prints a failure's message and sets the exit code.
    void finish(const CommandResult& result);

private:
    mutable std::optional<platform::FixedClock> m_fixedClock;
};

// The dates --at and --until take: RFC 3339 with fractions allowed, from the first moment of the
// year 0000 up to, not including, 9999-12-31T00:00:00Z, so that every date the program prints
// (a reload date up to a day later included) stays within the year 9999. An error says so and
// quotes the text.
inline constexpr platform::Date endOfOptionDates{
    std::chrono::sys_days{std::chrono::year(9999) / 12 / 31}};
[[nodiscard]] platform::Result<platform::Date> parseOptionDate(std::string_view text);

// Checks an option's value while the command line is parsed: a value `accepts` refuses is a
// usage error "--scale: expected EXPECTATION, got \"VALUE\"". The option, for chaining.
CLI::Option* expect(CLI::Option* option, std::string expectation,
                    std::function<bool(const std::string&)> accepts);
// The same for a date option, by parseOptionDate.
CLI::Option* expectDate(CLI::Option* option);

// Runs the program over the bundle's widgets; returns its exit code.
[[nodiscard]] int runCommandLine(int argc, char** argv,
                                 std::vector<widgets::StaticConfiguration> widgets);

// `defaults write|read|delete KEY`: the store as the host app writes it.
void registerDefaultsCommand(CLI::App& app, GlobalOptions& globals);
// `placeholder|snapshot|timeline KIND`: a provider request, printed as JSON.
void registerRequestCommands(CLI::App& app, GlobalOptions& globals);

// `render KIND FAMILY`: draws an entry, prints its tree, frames and link.
void registerRenderCommand(CLI::App& app, GlobalOptions& globals);
// `list [--json]`: the bundle's widgets.
void registerListCommand(CLI::App& app, GlobalOptions& globals);
// `gallery --out DIR`: every widget in every family as PNG, with an HTML page.
void registerGalleryCommand(CLI::App& app, GlobalOptions& globals);
// `host --out DIR`: the long-running host honouring reload dates, or a simulated run.
void registerHostCommand(CLI::App& app, GlobalOptions& globals);
// `desktop [--placements FILE] [--autostart on|off]`: the widget board on the desktop.
void registerDesktopCommand(CLI::App& app, GlobalOptions& globals);
// `studio`: the preview studio, the records edited and every widget redrawn as they are typed.
void registerStudioCommand(CLI::App& app, GlobalOptions& globals);
// A toolkit program of ours (the board, the studio): the toolkit's libraries are linked into it
// alone, so that the short commands do not load them. It sits beside this program in the build
// tree, and in the library folder for programs once installed.
[[nodiscard]] std::filesystem::path toolkitProgram(std::string_view name);
// Replaces this process by `program` with `arguments` (the first its name); returns only when it
// could not, saying why.
[[nodiscard]] CommandResult startToolkitProgram(const std::filesystem::path& program,
                                                const std::vector<std::string>& arguments);
// `reload [KIND]`: asks the running hosts for new timelines now.
void registerReloadCommand(CLI::App& app, GlobalOptions& globals);
// `extension`: the confined process that answers a host's requests and drawings.
void registerExtensionCommand(CLI::App& app, GlobalOptions& globals);

// Writes "velmora-widgets: error: MESSAGE" to standard error, as one line: the message's
// control characters escaped, and cut after this many bytes (what it quotes of the user's input
// is cut shorter, by platform::quotedInput).
inline constexpr std::size_t errorLineLimit = 4096;
void printError(const std::string& message);

}  // namespace cli
