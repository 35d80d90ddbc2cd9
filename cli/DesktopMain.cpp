#include "cli/CommandLine.h"
#include "desktop/DesktopApp.h"
#include "widgets/WidgetHost.h"
#include "widgets/Widgets.h"

#include <string>

namespace {

cli::CommandResult runBoard(const cli::GlobalOptions& globals,
                            const desktop::DesktopOptions& options) {
    if (const int status =
            desktop::runDesktopBoard(globals.widgets, globals.widgetHost().settings(), options);
        status != 0)
        return cli::CommandError{status, "the board ended with status " + std::to_string(status)};
    return {};
}

}  // namespace

// The board program: the extension's command line with the desktop board built in. The
// `velmora-widgets desktop` command starts it.
int main(int argc, char** argv) {
    return cli::runCommandLine(argc, argv, widgets::VelmoraWidgetsBundle().body(), runBoard);
}
