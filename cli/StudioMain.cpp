#include "studio/StudioApp.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>

// The studio program: what `velmora-widgets studio` starts, with the options that chose the
// store, the language and the moment. Like the board, it links the toolkit and draws the widgets
// only through the extension it launches.
namespace {

int run(int argc, char** argv) {
    studio::StudioOptions options;
    CLI::App app{"The Velmora widgets' preview studio.", "velmora-widgets-studio"};
    app.add_option("--store-dir", options.storeDirectory, "The store to open and write")
        ->type_name("DIR");
    app.add_option("--at", options.at, "The moment to start at, RFC 3339")->type_name("TIME");
    app.add_option("--locale", options.drawing.locale, "Language and region to start with")
        ->type_name("LOCALE");
    app.add_option("--time-zone", options.drawing.timeZone, "Time zone to start with")
        ->type_name("ZONE");
    app.add_option("--appearance", options.drawing.appearance, "Appearance to start with")
        ->check(CLI::IsMember({"light", "dark"}))
        ->type_name("light|dark");
    app.add_flag("--timing", options.timing, "Print how long each redraw took");
    CLI11_PARSE(app, argc, argv);
    return studio::runStudio(options);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velmora-widgets-studio: error: %s\n", error.what());
        return 1;
    }
}
