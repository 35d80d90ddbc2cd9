#include "cli/CommandLine.h"
#include "layout/FrameDump.h"
#include "platform/AtomicFile.h"
#include "platform/Formatters.h"
#include "render/Painter.h"
#include "render/PangoTextMeasurer.h"
#include "style/Palette.h"
#include "ui/TreeDump.h"
#include "widgets/WidgetHost.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <memory>
#include <string_view>

using namespace timeline;
using namespace widgets;

namespace cli {

using namespace ui;
using namespace dailybrief;
using namespace watchlist;
namespace {

struct RenderOptions {
    std::string kind;
    std::string family;
    std::string request = "timeline";
    std::string out;
    double scale = layout::defaults::renderScale;
    bool tree = false;
    bool frames = false;
};

struct RequestName {
    std::string_view name;
    Request request;
};

constexpr std::array<RequestName, 3> requestNames{{{"placeholder", Request::placeholder},
                                                   {"snapshot", Request::snapshot},
                                                   {"timeline", Request::timeline}}};

Request requestNamed(std::string_view name) {
    for (const auto& entry : requestNames)
        if (entry.name == name) return entry.request;
    return Request::timeline;  // the option's check lets only the names above through
}

CommandResult run(const RenderOptions& options, const GlobalOptions& globals,
                  const WidgetHost& widgets) {
    render::prepareTextMeasurer();
    const auto resolved = widgets.placement(options.kind, options.family);
    if (!resolved) return CommandError::usage(resolved.error().description);
    const Placement& placement = *resolved;
    // The option's check let only names with a known extension through.
    const auto format = render::imageFormatForPath(options.out);

    const auto& clock = globals.clock();
    const auto timeline = widgets.request(placement, requestNamed(options.request), clock);
    const auto& entry = timeline.entries.front();
    const platform::Date now = clock.now();

    if (options.tree)
        std::fputs(dumpTree(widgets.content(placement, entry, now), Palette::names).c_str(),
                   stdout);
    const auto layout = widgets.layOut(placement, entry, now);
    if (options.frames) std::fputs(layout::dumpFrames(layout, Palette::names).c_str(), stdout);
    if (format) {
        // Drawn in memory, then written whole: an old image stays until the new one is complete.
        const auto bytes = render::paintToBytes(layout.drawList, *format, options.scale);
        if (!bytes) return CommandError::failure(bytes.error().description);
        if (auto written = platform::writeFileAtomically(options.out, *bytes); !written)
            return CommandError::failure(written.error().description);
    }
    const auto& url = layout.drawList.url;
    std::printf("link: %s\n", url ? url->text().c_str() : "none");
    return {};
}

}  // namespace

void registerRenderCommand(CLI::App& app, GlobalOptions& globals) {
    auto options = std::make_shared<RenderOptions>();
    CLI::App* command = app.add_subcommand(
        "render", "Draw the entry a request gives for KIND in FAMILY (PNG, SVG or PDF)");
    command->add_option("KIND", options->kind, "The widget kind: " + globals.kinds())->required();
    command->add_option("FAMILY", options->family, "systemSmall, systemMedium or systemLarge")
        ->required();
    expect(command->add_option("--request", options->request, "Which entry to draw")
               ->type_name("placeholder|snapshot|timeline"),
           "placeholder, snapshot or timeline", [](const std::string& text) {
               return std::any_of(requestNames.begin(), requestNames.end(),
                                  [&](const RequestName& entry) { return entry.name == text; });
           });
    expect(command->add_option("--out", options->out, "Image file; its extension picks the format")
               ->type_name("FILE"),
           "an image file name ending in .png, .svg or .pdf",
           [](const std::string& text) { return render::imageFormatForPath(text).has_value(); });
    expect(command->add_option("--scale", options->scale, "Pixels per point for PNG (1 to 3)")
               ->type_name("N"),
           "a number from 1 to 3", [](const std::string& text) {
               double value = 0;
               const auto [end, error] =
                   std::from_chars(text.data(), text.data() + text.size(), value);
               return error == std::errc() && end == text.data() + text.size() && value >= 1 &&
                      value <= 3;
           });
    command->add_flag("--tree", options->tree, "Print the view tree");
    command->add_flag("--frames", options->frames, "Print the laid-out frames");
    command->callback([&globals, options] {
        // Laid out at the scale it is painted at: a divider is one pixel thick at every scale.
        HostSettings settings = globals.widgetHost().settings();
        settings.scale = options->scale;
        globals.finish(run(*options, globals, WidgetHost(globals.widgets, settings)));
    });
}

}  // namespace cli
