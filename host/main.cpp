#include "host/CommandLine.h"

int main(int argc, char** argv) {
    return host::runCommandLine(argc, argv);
}
