#include "cli/CommandLine.h"
#include "hosting/DesktopPlacements.h"
#include "platform/AtomicFile.h"
#include "platform/Deployment.h"
#include "platform/UserFolders.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace cli {

namespace {

struct DesktopCommandOptions {
    std::string placementsFile;  // empty: the user's
    std::string autostart;       // "on", "off" or empty
    bool window = false;
    bool noDesktopLayer = false;
};

// An argument as a desktop entry's Exec key needs it: quoted when it holds anything but plain
// characters, the four that quoting does not protect escaped by a backslash, itself escaped
// once more as every backslash of a desktop entry's value is.
std::string execArgument(const std::string& argument) {
    if (!argument.empty() &&
        argument.find_first_of(" \t\n\"'\\><~|&;$*?#()`=%") == std::string::npos)
        return argument;
    std::string quoted = "\"";
    for (char c : argument) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += "\\\\";
        if (c == '%') quoted += '%';
        quoted += c;
    }
    return quoted + "\"";
}

std::filesystem::path autostartFile() {
    return platform::userFolder(platform::UserFolder::config) / "autostart" /
           (std::string(platform::desktopApplicationId()) + ".desktop");
}

// The arguments that start this board again: the program, the options that chose the store and
// the drawing, the command and its placements.
std::vector<std::string> boardArguments(const std::string& program, const GlobalOptions& globals,
                                        const DesktopCommandOptions& options) {
    std::vector<std::string> arguments{program};
    const auto option = [&](const char* name, const std::string& value) {
        if (value.empty()) return;
        arguments.push_back(name);
        arguments.push_back(value);
    };
    option("--store-dir", globals.storeDirectory);
    option("--locale", globals.locale);
    option("--time-zone", globals.timeZone);
    option("--appearance", globals.appearance);
    arguments.push_back("desktop");
    option("--placements", options.placementsFile);
    if (options.window) arguments.push_back("--window");
    if (options.noDesktopLayer) arguments.push_back("--no-desktop-layer");
    return arguments;
}

CommandResult setAutostart(bool on, const GlobalOptions& globals,
                           const DesktopCommandOptions& options) {
    const auto file = autostartFile();
    std::error_code error;
    if (!on) {
        std::filesystem::remove(file, error);
        if (error)
            return CommandError::failure("cannot remove \"" + file.string() +
                                         "\": " + error.message());
        std::printf("autostart off: %s removed\n", file.c_str());
        return {};
    }
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    std::string exec;
    for (const auto& argument : boardArguments(self.string(), globals, options))
        exec += (exec.empty() ? "" : " ") + execArgument(argument);
    const std::string entry =
        "[Desktop Entry]\nType=Application\nName=Velmora Widgets\n"
        "Comment=Your Velmora widgets on the desktop\nExec=" +
        exec + "\nIcon=" + std::string(platform::desktopApplicationId()) +
        "\nTerminal=false\nX-GNOME-Autostart-enabled=true\n";
    std::filesystem::create_directories(file.parent_path(), error);
    if (error)
        return CommandError::failure("cannot make \"" + file.parent_path().string() +
                                     "\": " + error.message());
    if (auto written = platform::writeFileAtomically(file, entry); !written)
        return CommandError::failure(written.error().description);
    std::printf("autostart on: %s\n", file.c_str());
    return {};
}

CommandResult run(const DesktopCommandOptions& options, const GlobalOptions& globals) {
    if (!globals.at.empty())
        return CommandError::usage("the board runs on the system clock; --at does not apply");
    if (!options.autostart.empty())
        return setAutostart(options.autostart == "on", globals, options);

    const auto program = toolkitProgram(VELMORA_DESKTOP_BOARD_NAME);
    return startToolkitProgram(program, boardArguments(program.string(), globals, options));
}

}  // namespace

CommandResult startToolkitProgram(const std::filesystem::path& program,
                                  const std::vector<std::string>& arguments) {
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    std::fflush(stdout);
    ::execv(program.c_str(), argv.data());
    return CommandError::failure("cannot start \"" + program.string() +
                                 "\": " + std::strerror(errno));
}

std::filesystem::path toolkitProgram(std::string_view name) {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    const auto folder = self.parent_path();
    auto sibling = folder / name;
    if (std::filesystem::exists(sibling, error)) return sibling;
    return (folder / VELMORA_DESKTOP_BOARD_FROM_BINDIR / name).lexically_normal();
}

void registerDesktopCommand(CLI::App& app, GlobalOptions& globals) {
    auto options = std::make_shared<DesktopCommandOptions>();
    CLI::App* command = app.add_subcommand(
        "desktop",
        "Show the placed widgets on the desktop (in a window where the desktop has no layer for "
        "them); a click opens a widget's link, a drag moves it");
    command
        ->add_option("--placements", options->placementsFile,
                     "The placements to show and keep (default: "
                     "$XDG_CONFIG_HOME/velmora/placements.json)")
        ->type_name("FILE");
    command
        ->add_option("--autostart", options->autostart,
                     "Start the board when the user logs in (on), or no longer (off), and exit")
        ->check(CLI::IsMember({"on", "off"}))
        ->type_name("on|off");
    command->add_flag("--window", options->window,
                      "Open the board's window, where widgets are added and removed");
    command->add_flag("--no-desktop-layer", options->noDesktopLayer,
                      "Show the widgets in the window alone, not on the desktop");
    command->callback([&globals, options] { globals.finish(run(*options, globals)); });
}

}  // namespace cli
