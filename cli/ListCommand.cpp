#include "cli/CommandLine.h"
#include "ui/LocalizedString.h"
#include "widgets/WidgetHost.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

using namespace timeline;
using namespace widgets;

namespace cli {

using namespace ui;
using namespace dailybrief;
using namespace watchlist;
namespace {

std::string text(const LocalizedStringKey& key, const std::string& locale) {
    return resolveText(TextNode{key}, std::nullopt, locale);
}

CommandResult run(bool asJson, const WidgetHost& widgets) {
    const auto& locale = widgets.settings().locale;
    if (asJson) {
        auto list = nlohmann::ordered_json::array();
        for (const auto& widget : widgets.widgets()) {
            auto families = nlohmann::ordered_json::array();
            for (auto family : widget.families) families.push_back(std::string(name(family)));
            list.push_back({{"kind", widget.kind},
                            {"displayName", text(widget.displayName, locale)},
                            {"description", text(widget.descriptionText, locale)},
                            {"families", families}});
        }
        std::printf("%s\n", list.dump(2).c_str());
        return {};
    }
    for (const auto& widget : widgets.widgets()) {
        std::string families;
        for (auto family : widget.families)
            families += (families.empty() ? "" : ", ") + std::string(name(family));
        std::printf("%s\t%s\t%s\n  %s\n", widget.kind.c_str(),
                    text(widget.displayName, locale).c_str(), families.c_str(),
                    text(widget.descriptionText, locale).c_str());
    }
    return {};
}

}  // namespace

void registerListCommand(CLI::App& app, GlobalOptions& globals) {
    auto asJson = std::make_shared<bool>(false);
    CLI::App* command = app.add_subcommand("list", "List the bundle's widgets in bundle order");
    command->add_flag("--json", *asJson, "Print a JSON array");
    command->callback([&globals, asJson] { globals.finish(run(*asJson, globals.widgetHost())); });
}

}  // namespace cli
