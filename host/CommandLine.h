#pragma once

#include "platform/Clock.h"
#include "platform/Date.h"
#include "platform/Timeline.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

// The `velmora-widgets` command line: the host app's writer side of the store and the widget
// host's requests, one command per file. CommandLine.cpp builds the app and hands it to each
// command's register function; a command's callback sets the exit code.
namespace host {

// Exit codes of the program.
inline constexpr int exitSuccess = 0;
inline constexpr int exitFailure = 1;  // the command could not do its work (store not writable)
inline constexpr int exitUsage = 2;    // the command line itself is wrong

// The options every command sees, filled in while the command line is parsed.
struct GlobalOptions {
    std::string storeDirectory;  // --store-dir; empty: the environment's store folder
    std::string at;              // --at, already checked to be an RFC 3339 date-time
    std::string locale;          // --locale, for commands that draw
    std::string timeZone;        // --time-zone, for commands that draw
    int exitCode = exitSuccess;

    // The clock requests read: fixed at --at when given, else the system clock.
    [[nodiscard]] const platform::Clock& clock() const;
    // A provider request's context on that clock and store folder.
    [[nodiscard]] TimelineProviderContext context() const;

private:
    mutable std::optional<platform::FixedClock> m_fixedClock;
};

// Runs the program; returns its exit code.
[[nodiscard]] int runCommandLine(int argc, char** argv);

// `defaults write|read|delete KEY`: the store as the host app writes it.
void registerDefaultsCommand(CLI::App& app, GlobalOptions& globals);
// `placeholder|snapshot|timeline KIND`: a provider request, printed as JSON.
void registerRequestCommands(CLI::App& app, GlobalOptions& globals);

// Writes "velmora-widgets: error: MESSAGE" to standard error.
void printError(const std::string& message);

}  // namespace host
