#include "desktop/DesktopGrid.h"
#include "hosting/DesktopPlacements.h"
#include "hosting/DrawnWidget.h"
#include "hosting/Extension.h"
#include "render/Painter.h"
#include "tests/support/Bitmap.h"
#include "tests/support/TempStore.h"
#include "widgets/WidgetHost.h"
#include "widgets/Widgets.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace timeline;
using namespace widgets;
using namespace ipc;
using namespace hosting;
using namespace desktop;
using layout::Rect;
using layout::Size;
using timeline::WidgetFamily;

namespace {

constexpr Size small{170, 170}, medium{364, 170}, large{364, 382};

WidgetHost hostOn(const tempstore::TempStore& store, double scale = 2) {
    HostSettings settings;
    settings.storeDirectory = store.directory();
    settings.scale = scale;
    return WidgetHost(widgets::VelmoraWidgetsBundle().body(), settings);
}

}  // namespace

TEST(DesktopGrid, FlowsWidgetsInPlacementOrderOnColumnsThatFitTheWidth) {
    struct Case {
        double width;
        std::vector<Size> sizes;
        std::vector<Rect> frames;
        Size size;
    };
    const std::vector<Case> cases{
        // Two columns: two smalls share a row; a medium fills one; rows as tall as the tallest.
        {412,
         {small, small, medium},
         {{24, 24, 170, 170}, {218, 24, 170, 170}, {24, 218, 364, 170}},
         {412, 412}},
        // A widget that does not fit opens a row; nothing goes back to fill the gap it left.
        {412,
         {small, large, small},
         {{24, 24, 170, 170}, {24, 218, 364, 382}, {24, 624, 170, 170}},
         {412, 818}},
        // Four columns: a large beside a small and a medium would need a fifth.
        {800,
         {small, medium, large, medium},
         {{24, 24, 170, 170}, {218, 24, 364, 170}, {24, 218, 364, 382}, {412, 218, 364, 170}},
         {800, 624}},
        // Never fewer than two columns; a wider board centres its five on whole points.
        {100, {medium}, {{24, 24, 364, 170}}, {412, 218}},
        {1001, {small}, {{27, 24, 170, 170}}, {994, 218}},
    };
    for (const auto& c : cases) {
        const auto grid = desktopGrid(c.sizes, c.width, DesktopSettings{});
        EXPECT_EQ(grid.frames, c.frames) << "width " << c.width;
        EXPECT_EQ(grid.size, c.size) << "width " << c.width;
    }
}

TEST(DesktopPlacements, SavedPlacementsLoadBackAndAMissingFileGivesTheFirstRun) {
    const tempstore::TempStore folder;
    const auto host = hostOn(folder);
    const auto file = folder.folder() / "config" / "velmora" / "placements.json";
    EXPECT_EQ(*loadBoardPlacements(file, host.describe()), firstRunPlacements());

    // Cells are kept beside the placements; a file from before cells reads as placements alone.
    for (const std::vector<PlacedWidget>& placements :
         {std::vector<PlacedWidget>{
              {{"DailyBrief", WidgetFamily::systemLarge}, {}},
              {{"WatchlistGlance", WidgetFamily::systemSmall}, DesktopCell{"DP-1", 3, 0}},
              {{"WatchlistGlance", WidgetFamily::systemMedium}, DesktopCell{"", 0, 2}}},
          std::vector<PlacedWidget>{}}) {
        ASSERT_TRUE(saveBoardPlacements(file, placements).ok());
        EXPECT_EQ(*loadBoardPlacements(file, host.describe()), placements);
    }
    std::ofstream(file) << R"([{"kind": "DailyBrief", "family": "systemSmall"}])";
    EXPECT_FALSE(loadBoardPlacements(file, host.describe()).ok()) << "no small brief";

    // A cell that is not whole, negative or far off any screen is the file's fault, named.
    for (const char* cell : {R"("column": 1)", R"("column": 1, "row": -1)",
                             R"("column": 1.5, "row": 0)", R"("column": 1, "row": 5000)",
                             R"("output": 3, "column": 1, "row": 0)", R"("output": "DP-1")"}) {
        std::ofstream(file) << R"([{"kind": "DailyBrief", "family": "systemMedium", )" << cell
                            << "}]";
        const auto loaded = loadBoardPlacements(file, host.describe());
        ASSERT_FALSE(loaded.ok()) << cell;
        EXPECT_NE(loaded.error().description.find(file.string() + "\": item 1: a cell is"),
                  std::string::npos)
            << loaded.error().description;
    }
    std::ofstream(file) << "{";
    const auto loaded = loadBoardPlacements(file, host.describe());
    ASSERT_FALSE(loaded.ok());
    EXPECT_NE(loaded.error().description.find(file.string()), std::string::npos);
}

TEST(DrawnWidget, DrawsTheRenderersPixelsInsideContinuousCornersWithLinkAndTexts) {
    const tempstore::TempStore store;
    const auto host = hostOn(store, 1);
    const Placement brief{"DailyBrief", WidgetFamily::systemMedium};
    const auto entry = host.request(brief, Request::placeholder, platform::systemClock());
    const auto now = entry.policy.date;
    auto settings = extensionSettings(
        {host.settings().storeDirectory, host.settings().locale, host.settings().timeZone});
    settings.program = VELMORA_PROGRAM;
    Extension extension(std::move(settings));
    const auto reload =
        extension.reload(brief, Request::placeholder, now, 1, ImageEncoding::argb32, 22);
    ASSERT_TRUE(reload.ok()) << reload.error().description;
    const auto drawn = drawnWidget(*reload->drawing, "Daily Brief");
    ASSERT_TRUE(drawn.ok()) << drawn.error().description;

    const auto layout = host.layOut(brief, entry.entries.front(), now);
    const auto expected = render::renderBitmap(layout.drawList, 1);
    ASSERT_EQ(drawn->width, expected.width);
    ASSERT_EQ(drawn->height, expected.height);
    const auto argb = [&](int x, int y) {
        return reinterpret_cast<const std::uint32_t*>(drawn->pixels.get() + y * drawn->stride)[x];
    };
    for (int y = 0; y < drawn->height; ++y)
        for (int x = 34; x < drawn->width - 34; ++x) {
            const auto p = expected.at(x, y);
            ASSERT_EQ(argb(x, y),
                      std::uint32_t(p.alpha) << 24 | p.red << 16 | p.green << 8 | p.blue)
                << x << "," << y;
        }
    for (auto [x, y] :
         {std::pair{0, 0}, std::pair{drawn->width - 1, 0}, std::pair{0, drawn->height - 1}})
        EXPECT_EQ(argb(x, y), 0u) << "corner " << x << "," << y;

    EXPECT_EQ(drawn->link, layout.drawList.url);
    EXPECT_EQ(drawn->label, "Daily Brief");
    EXPECT_EQ(drawn->description.rfind("NVDA\nNVIDIA\nBuy\n78\n", 0), 0u) << drawn->description;
    EXPECT_NE(drawn->description.find("\nDAILY BRIEF · "), std::string::npos);
}
