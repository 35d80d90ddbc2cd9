#pragma once

#include "platform/Clock.h"
#include "platform/Result.h"
#include "widgets/WidgetHost.h"

#include <chrono>
#include <string>

// The extension process itself: it readies its memory, confines itself to what drawing needs,
// then serves the host on its standard input (a socket) until it has been idle long enough.
namespace extension {

struct ProcessOptions {
    bool probe =
        false;  // confine, then try what the confinement must refuse and print each outcome
    std::chrono::seconds idleTime{30};
};

// Why the process did not serve: `usage` when it was started wrong (its standard input is no
// socket), else a failure to confine or to serve.
struct ProcessFailure {
    bool usage = false;
    std::string message;

    [[nodiscard]] static ProcessFailure usageFault(std::string message) {
        return {true, std::move(message)};
    }
    [[nodiscard]] static ProcessFailure failure(std::string message) {
        return {false, std::move(message)};
    }
    bool operator==(const ProcessFailure&) const = default;
};

// Runs the extension over `widgets` (whose settings name its store); `clock` is what the probe
// asks at.
[[nodiscard]] platform::Result<void, ProcessFailure> runExtensionProcess(
    widgets::WidgetHost widgets, const platform::Clock& clock, const ProcessOptions& options);

}  // namespace extension
