#include "cli/CommandLine.h"
#include "gallery/PageCards.h"
#include "gallery/PageHtml.h"
#include "hosting/Extension.h"
#include "platform/AtomicFile.h"
#include "widgets/WidgetHost.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

using namespace timeline;
using namespace widgets;
using namespace ipc;
using namespace hosting;
using namespace gallery;

namespace cli {

using namespace ui;
using namespace dailybrief;
using namespace watchlist;
namespace {

struct Shot {
    Request request;
    const char* label;
};

// Each placement's placeholder (fixed sample data) beside the entry its timeline gives now.
constexpr Shot shots[] = {{Request::placeholder, "placeholder"}, {Request::timeline, "current"}};

CommandResult run(const std::filesystem::path& out, const GlobalOptions& globals,
                  const WidgetHost& widgets) {
    if (auto prepared = prepareOutputDirectory(out); !prepared)
        return CommandError::failure(prepared.error().description);
    const auto& clock = globals.clock();
    // Requests and drawings run in the extension process. One that fails there is left out of
    // the page with an error line; the gallery goes on, and exits 1 at the end.
    Extension extension(extensionSettings({widgets.settings().storeDirectory,
                                           widgets.settings().locale, widgets.settings().timeZone,
                                           std::string(name(widgets.settings().colorScheme))}));
    std::optional<CommandError> failed;
    std::vector<GalleryCard> cards;
    for (const auto& placement : widgets.allPlacements()) {
        for (const auto& shot : shots) {
            const auto reload = extension.reload(placement, shot.request, clock.now(),
                                                 widgets.settings().scale, ImageEncoding::png);
            if (!reload) {
                printError(placementName(placement) + ": " + reload.error().description);
                failed = CommandError::failure("the gallery misses the cards above");
                continue;
            }
            auto card =
                drawnCard(placement, shot.label, *reload, shot.request == Request::timeline);
            if (auto written = platform::writeFileAtomically(out / card.card.image, card.png);
                !written)
                return CommandError::failure(written.error().description);
            std::printf("%s %s %s -> %s (%s%s)\n", placement.kind.c_str(), card.card.family.c_str(),
                        shot.label, card.card.image.c_str(), card.card.url ? "link: " : "no link",
                        card.card.url ? card.card.url->c_str() : "");
            cards.push_back(std::move(card.card));
        }
    }

    GalleryPageOptions page;
    page.subtitle = "Drawn at " + pageDate(clock.now()) + " in " + widgets.settings().locale +
                    ", " + widgets.settings().timeZone +
                    ". Every widget in every family: its placeholder and its current entry.";
    if (auto written = platform::writeFileAtomically(
            out / "index.html", galleryPage(gallerySections(widgets.describe(), cards), page));
        !written)
        return CommandError::failure(written.error().description);
    std::error_code ignored;
    std::printf("%s\n", std::filesystem::absolute(out / "index.html", ignored).c_str());
    if (failed) return *failed;
    return {};
}

}  // namespace

void registerGalleryCommand(CLI::App& app, GlobalOptions& globals) {
    auto out = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(
        "gallery",
        "Draw every widget in every family (placeholder and current entry) as PNG, with an "
        "HTML page");
    expect(command
               ->add_option("--out", *out,
                            "Folder for the images and index.html (created when missing)")
               ->required()
               ->type_name("DIR"),
           "a folder", [](const std::string& text) { return !text.empty(); });
    command->callback(
        [&globals, out] { globals.finish(run(*out, globals, globals.widgetHost())); });
}

}  // namespace cli
