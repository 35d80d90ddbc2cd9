#include "cli/CommandLine.h"
#include "extension/ExtensionProcess.h"
#include "ipc/ExtensionLimits.h"
#include "widgets/WidgetHost.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace cli {
namespace {

struct ExtensionOptions {
    bool probe = false;
    int idleSeconds =
        int(std::chrono::duration_cast<std::chrono::seconds>(ipc::extensionIdleTime).count());
};

CommandResult run(const ExtensionOptions& options, const GlobalOptions& globals) {
    auto ran = extension::runExtensionProcess(
        globals.widgetHost(), globals.clock(),
        {.probe = options.probe, .idleTime = std::chrono::seconds(options.idleSeconds)});
    if (!ran) return CommandError{ran.error().usage ? exitUsage : exitFailure, ran.error().message};
    return {};
}

}  // namespace

void registerExtensionCommand(CLI::App& app, GlobalOptions& globals) {
    auto options = std::make_shared<ExtensionOptions>();
    CLI::App* command = app.add_subcommand(
        "extension",
        "The extension process the hosts launch: confines itself, then answers the host's "
        "requests on standard input (a socket)");
    command->add_flag("--probe", options->probe,
                      "Confine, then try what the confinement must refuse and print each outcome");
    command->add_option("--idle-time", options->idleSeconds, "End after this many idle seconds")
        ->check(CLI::Range(1, 3600))
        ->type_name("SECONDS");
    // A confined extension ends at once: nothing needs tearing down, and the leak checker of
    // sanitizer builds would trace the process, which the confinement forbids.
    command->callback([&globals, options] {
        globals.finish(run(*options, globals));
        std::fflush(nullptr);
        std::_Exit(globals.exitCode);
    });
}

}  // namespace cli
