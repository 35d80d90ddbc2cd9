#include "host/CommandLine.h"
#include "host/DesktopApp.h"
#include "widgets/Widgets.h"

// The board program: the extension's command line with the desktop board built in. The
// `velmora-widgets desktop` command starts it.
int main(int argc, char** argv) {
    return host::runCommandLine(argc, argv, widgets::VelmoraWidgetsBundle().body(),
                                host::runDesktopBoard);
}
