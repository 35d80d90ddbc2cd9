#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace cli {

namespace {

struct StudioCommandOptions {
    bool timing = false;
};

CommandResult run(const StudioCommandOptions& options, const GlobalOptions& globals) {
    const auto program = toolkitProgram(VELMORA_DESKTOP_STUDIO_NAME);
    std::vector<std::string> arguments{program.string()};
    const auto option = [&](const char* name, const std::string& value) {
        if (value.empty()) return;
        arguments.push_back(name);
        arguments.push_back(value);
    };
    option("--store-dir", globals.storeDirectory);
    option("--at", globals.at);
    option("--locale", globals.locale);
    option("--time-zone", globals.timeZone);
    option("--appearance", globals.appearance);
    if (options.timing) arguments.emplace_back("--timing");
    return startToolkitProgram(program, arguments);
}

}  // namespace

void registerStudioCommand(CLI::App& app, GlobalOptions& globals) {
    auto options = std::make_shared<StudioCommandOptions>();
    CLI::App* command = app.add_subcommand(
        "studio",
        "Edit the three records and see every widget in every family redrawn as you type, at "
        "any moment of a day; write the records to the store when they are right");
    command->add_flag("--timing", options->timing,
                      "Print how long each redraw took, from the edit to the new pixels");
    command->callback([&globals, options] { globals.finish(run(*options, globals)); });
}

}  // namespace cli
