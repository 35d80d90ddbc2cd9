#include "desktop/DesktopApp.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>

// The board program: what `velmora-widgets desktop` starts, with the options that chose the
// store, the language and the placements. It links the toolkit and none of the widgets: their
// names and drawings come from the extension it launches, `velmora-widgets extension`.
namespace {

int run(int argc, char** argv) {
    hosting::ExtensionOptions extension;
    desktop::DesktopOptions options;
    CLI::App app{"The Velmora widgets on a board on the desktop.", "velmora-widgets-desktop"};
    app.add_option("--store-dir", extension.storeDirectory, "Folder of the shared store")
        ->type_name("DIR");
    app.add_option("--locale", extension.locale, "Language and region the widgets speak")
        ->type_name("LOCALE");
    app.add_option("--time-zone", extension.timeZone, "Time zone of the widgets' dates")
        ->type_name("ZONE");
    app.add_option("--appearance", extension.appearance, "Appearance the widgets are drawn in")
        ->check(CLI::IsMember({"light", "dark"}))
        ->type_name("light|dark");
    CLI::App* board = app.add_subcommand("desktop", "Show the placed widgets");
    board->add_option("--placements", options.placementsFile, "The placements to show and keep")
        ->type_name("FILE");
    board->add_flag("--window", options.window,
                    "Open the board's window, where widgets are added and removed");
    board->add_flag("--no-desktop-layer", options.noDesktopLayer,
                    "Show the widgets in the window alone, not on the desktop");
    app.require_subcommand(1, 1);
    CLI11_PARSE(app, argc, argv);
    return desktop::runDesktopBoard(extension, options);
}

}  // namespace

int main(int argc, char** argv) {
    // Nothing of ours throws; what a library might (an allocation that fails) ends the board
    // with one line rather than an abort.
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velmora-widgets-desktop: error: %s\n", error.what());
        return 1;
    }
}
