#include "host/CommandLine.h"
#include "host/WidgetHost.h"
#include "platform/Formatters.h"
#include "render/FrameDump.h"
#include "render/Painter.h"
#include "style/Palette.h"
#include "ui/TreeDump.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <map>
#include <memory>

namespace host {

using namespace ui;
using namespace timeline;
using namespace widgets;
using namespace dailybrief;
using namespace watchlist;
namespace {

struct RenderOptions {
    std::string kind;
    std::string family;
    std::string request = "timeline";
    std::string out;
    double scale = render::defaults::renderScale;
    bool tree = false;
    bool frames = false;
};

const std::map<std::string, Request> requestNames{{"placeholder", Request::placeholder},
                                                  {"snapshot", Request::snapshot},
                                                  {"timeline", Request::timeline}};

int run(const RenderOptions& options, const GlobalOptions& globals, const WidgetHost& widgets) {
    const auto* widget = widgets.widget(options.kind);
    if (!widget) {
        printError("unknown widget kind \"" + options.kind +
                   "\" (expected DailyBrief or "
                   "WatchlistGlance)");
        return exitUsage;
    }
    const auto family = widgetFamilyNamed(options.family);
    if (!family || !widget->supports(*family)) {
        std::string supported;
        for (auto f : widget->families)
            supported += (supported.empty() ? "" : ", ") + std::string(name(f));
        printError("family \"" + options.family + "\" is not offered by " + options.kind +
                   " (families: " + supported + ")");
        return exitUsage;
    }
    std::optional<render::ImageFormat> format;
    if (!options.out.empty()) {
        format = render::imageFormatForPath(options.out);
        if (!format) {
            printError("cannot tell the image format of \"" + options.out +
                       "\": use a .png, .svg or .pdf file name");
            return exitUsage;
        }
    }

    const Placement placement{options.kind, *family};
    const auto& clock = globals.clock();
    const auto timeline = widgets.request(placement, requestNames.at(options.request), clock);
    const auto& entry = timeline.entries.front();
    const platform::Date now = clock.now();

    if (options.tree)
        std::fputs(dumpTree(widgets.content(placement, entry, now), Palette::names).c_str(),
                   stdout);
    const auto layout = widgets.draw(placement, entry, now);
    if (options.frames) std::fputs(render::dumpFrames(layout, Palette::names).c_str(), stdout);
    if (format) {
        if (auto error = render::paintToFile(layout.drawList, options.out, options.scale)) {
            printError(error->message);
            return exitFailure;
        }
    }
    const auto& url = layout.drawList.url;
    std::printf("link: %s\n", url ? url->text().c_str() : "none");
    return exitSuccess;
}

}  // namespace

void registerRenderCommand(CLI::App& app, GlobalOptions& globals) {
    auto options = std::make_shared<RenderOptions>();
    CLI::App* command = app.add_subcommand(
        "render", "Draw the entry a request gives for KIND in FAMILY (PNG, SVG or PDF)");
    command->add_option("KIND", options->kind, "The widget kind")->required();
    command->add_option("FAMILY", options->family, "systemSmall, systemMedium or systemLarge")
        ->required();
    command->add_option("--request", options->request, "Which entry to draw")
        ->check(CLI::IsMember({"placeholder", "snapshot", "timeline"}))
        ->type_name("placeholder|snapshot|timeline");
    command->add_option("--out", options->out, "Image file; its extension picks the format")
        ->type_name("FILE");
    command->add_option("--scale", options->scale, "Pixels per point for PNG (1 to 3)")
        ->check(CLI::Range(1.0, 3.0))
        ->type_name("N");
    command->add_flag("--tree", options->tree, "Print the view tree");
    command->add_flag("--frames", options->frames, "Print the laid-out frames");
    command->callback([&globals, options] {
        // Laid out at the scale it is painted at: a divider is one pixel thick at every scale.
        HostSettings settings = globals.widgetHost().settings();
        settings.scale = options->scale;
        globals.exitCode = run(*options, globals, WidgetHost(globals.widgets, settings));
    });
}

}  // namespace host
