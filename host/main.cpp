#include "host/CommandLine.h"
#include "widgets/Widgets.h"

// The extension's entry: hands the bundle to the widget host (here, its command line).
int main(int argc, char** argv) {
    return host::runCommandLine(argc, argv, widgets::VelmoraWidgetsBundle().body());
}
