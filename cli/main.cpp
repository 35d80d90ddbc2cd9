#include "cli/CommandLine.h"
#include "platform/StopSignals.h"
#include "widgets/Widgets.h"

// The extension's entry: hands the bundle to the widget host (here, its command line).
int main(int argc, char** argv) {
    // Before anything can start a thread, so that every thread inherits the mask.
    platform::blockStopSignals();
    return cli::runCommandLine(argc, argv, widgets::VelmoraWidgetsBundle().body());
}
