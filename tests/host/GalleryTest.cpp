#include "host/GalleryFiles.h"
#include "host/GalleryPage.h"
#include "host/WidgetHost.h"
#include "platform/AtomicFile.h"
#include "render/PlatformDefaults.h"
#include "tests/support/TempStore.h"
#include "widgets/Widgets.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace ui;
using namespace timeline;
using namespace widgets;
using namespace dailybrief;
using namespace watchlist;
using namespace host;

namespace {

using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

std::string slurp(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<std::string> lines(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> result;
    for (std::string line; std::getline(in, line);) result.push_back(line);
    return result;
}

int count(const std::string& text, const std::string& part) {
    int n = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

// The built program, started with `args`, its output going to files in `scratch`.
struct Child {
    pid_t pid = -1;
    fs::path out;
    fs::path err;
};

Child start(const fs::path& scratch, const std::vector<std::string>& args) {
    Child child{-1, scratch / "stdout", scratch / "stderr"};
    child.pid = ::fork();
    if (child.pid == 0) {
        const int out = ::open(child.out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int err = ::open(child.err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(out, STDOUT_FILENO);
        ::dup2(err, STDERR_FILENO);
        ::setenv("VELMORA_LOG", "stderr", 1);
        ::unsetenv("VELMORA_STORE_DIR");
        std::vector<char*> argv{const_cast<char*>(VELMORA_PROGRAM)};
        for (const auto& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        ::execv(VELMORA_PROGRAM, argv.data());
        ::_exit(127);
    }
    return child;
}

int exitCode(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

struct Result {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// A store folder of its own plus the program run against it.
struct Cli {
    tempstore::TempStore temp;
    fs::path store = temp.folder() / "store";

    [[nodiscard]] std::vector<std::string> withStore(std::vector<std::string> args) const {
        args.insert(args.begin(), {"--store-dir", store.string()});
        return args;
    }
    Result operator()(const std::vector<std::string>& args) const {
        const auto child = start(temp.folder(), withStore(args));
        int status = 0;
        ::waitpid(child.pid, &status, 0);
        return {exitCode(status), slurp(child.out), slurp(child.err)};
    }
    void write(const std::string& key, const std::string& json) const {
        const auto result = (*this)({"defaults", "write", key, "--data", json});
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }
    // The host app's three records; the brief is about a ticker the placeholder never shows.
    void seed() const {
        write("vmDailyBrief",
              R"({"ticker":"AMD","companyName":"Advanced Micro Devices","summary":"Share gains )"
              R"(in servers continue.","signal":"Strong Buy","score":84,)"
              R"("generatedAt":"2025-11-16T04:00:00Z"})");
        write("vmWatchlistTickers",
              R"([{"ticker":"AMD","price":151.2,"changePct":2.4,"signal":"Buy","score":80},)"
              R"({"ticker":"INTC","price":24.1,"changePct":-1.3,"signal":"Sell","score":31}])");
        write("vmPortfolioSnapshot",
              R"({"totalValue":25400.5,"totalPnl":1200,"totalReturn":4.9,"dailyChange":-80,)"
              R"("dailyChangePct":-0.31,"holdingCount":2,"sourceLabel":"Broker",)"
              R"("updatedAt":"2025-11-16T04:00:00Z"})");
    }
};

struct PngSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool operator==(const PngSize&) const = default;
};

std::uint32_t bigEndian(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8 | std::uint8_t(bytes[at + i]);
    return value;
}

// The pixel size of a PNG file: the signature, a first IHDR chunk of 13 bytes and a final IEND
// chunk are required. None for anything else.
std::optional<PngSize> pngSize(const fs::path& file) {
    const std::string bytes = slurp(file);
    const std::string signature = "\x89PNG\r\n\x1a\n";
    const std::string end{"\0\0\0\0IEND\xae\x42\x60\x82", 12};
    if (bytes.size() < 8 + 25 + 12 || bytes.compare(0, 8, signature) != 0) return std::nullopt;
    if (bigEndian(bytes, 8) != 13 || bytes.compare(12, 4, "IHDR") != 0) return std::nullopt;
    if (bytes.compare(bytes.size() - 12, 12, end) != 0) return std::nullopt;
    return PngSize{bigEndian(bytes, 16), bigEndian(bytes, 20)};
}

host::GalleryCard card(std::string image, std::optional<std::string> url) {
    host::GalleryCard c;
    c.image = std::move(image);
    c.width = 364;
    c.height = 170;
    c.kind = "WatchlistGlance";
    c.family = "systemMedium";
    c.request = "current";
    c.entryDate = "2025-11-16T05:00:00Z";
    c.nextReload = "2025-11-16T05:15:00Z";
    c.url = std::move(url);
    return c;
}

// The <figure> of the card whose image is `image`.
std::string figureOf(const std::string& page, const std::string& image) {
    const auto src = page.find("src=\"" + image + "\"");
    if (src == std::string::npos) return {};
    const auto open = page.rfind("<figure", src);
    const auto close = page.find("</figure>", src);
    return page.substr(open, close - open);
}

}  // namespace

TEST(GalleryPage, EveryCardShowsItsImageAtPointSizeInsideItsLink) {
    auto small =
        card("WatchlistGlance-systemSmall-current.png", "velmora://stock-detail?ticker=AMD");
    small.width = small.height = 170;
    small.family = "systemSmall";
    const auto medium = card("WatchlistGlance-systemMedium-current.png",
                             "velmora://stock-universe-dashboard?tab=watchlist");
    auto brief =
        card("DailyBrief-systemLarge-placeholder.png", "velmora://stock-detail?ticker=NVDA");
    brief.kind = "DailyBrief";
    brief.height = 382;
    brief.request = "placeholder";
    brief.nextReload = "—";
    const std::vector<host::GallerySection> sections{
        {"WatchlistGlance", "Watchlist Glance", "Live prices.", {small, medium}},
        {"DailyBrief", "Daily Brief", "A 50-word take.", {brief}}};
    const auto page = host::galleryPage(sections);

    EXPECT_EQ(count(page, "<img "), 3);
    EXPECT_EQ(count(page, "<a href="), 3);
    EXPECT_THAT(page, Not(HasSubstr("http-equiv=\"refresh\"")));
    EXPECT_LT(page.find("Watchlist Glance"), page.find("Daily Brief"));
    EXPECT_THAT(page, HasSubstr("Live prices."));
    for (const auto& c : {small, medium, brief}) {
        const auto figure = figureOf(page, c.image);
        ASSERT_FALSE(figure.empty()) << c.image;
        const std::regex linkedImage("<a href=\"([^\"]*)\"><img src=\"" + c.image +
                                     "\" width=\"([0-9.]+)\" height=\"([0-9.]+)\"");
        std::smatch match;
        ASSERT_TRUE(std::regex_search(figure, match, linkedImage)) << figure;
        EXPECT_EQ(match[1].str(), *c.url);
        EXPECT_EQ(std::stod(match[2]), c.width);
        EXPECT_EQ(std::stod(match[3]), c.height);
        EXPECT_THAT(figure, HasSubstr(c.kind + " · " + c.family));
        EXPECT_THAT(figure, HasSubstr(c.request));
        EXPECT_THAT(figure, HasSubstr(c.entryDate));
        EXPECT_THAT(figure, HasSubstr("<dd>" + c.nextReload + "</dd>"));
    }
    EXPECT_LT(page.find(small.image), page.find(medium.image));

    host::GalleryPageOptions live;
    live.refreshSeconds = 5;
    EXPECT_THAT(host::galleryPage(sections, live),
                HasSubstr(R"(<meta http-equiv="refresh" content="5">)"));
}

TEST(GalleryPage, EscapesEveryTextAndLinksNeitherMissingNorUnsafeUrls) {
    auto hostile = card("a.png", "velmora://x?q='y'&t=1");
    auto broken = card("e.png", R"(velmora://x?q="><script>alert(1)</script>)");
    hostile.kind = "<b>Kind</b>";
    hostile.entryDate = "\"2025\" & 'later'";
    auto none = card("b.png", std::nullopt);
    auto script = card("c.png", "JavaScript:alert(1)");
    auto data = card("d.png", "data:text/html,<p>");
    const auto page = host::galleryPage(
        {{"K", "Name <i>", "It's \"quoted\" & <ok>", {hostile, none, script, data, broken}}},
        {"<Title>", "sub & title", std::nullopt});

    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(page, Not(HasSubstr("<b>Kind")));
    EXPECT_THAT(page, Not(HasSubstr("<i>")));
    EXPECT_THAT(page, Not(HasSubstr("<Title>")));
    EXPECT_THAT(page, HasSubstr("&lt;Title&gt;"));
    EXPECT_THAT(page, HasSubstr("sub &amp; title"));
    EXPECT_THAT(page, HasSubstr("It&#39;s &quot;quoted&quot; &amp; &lt;ok&gt;"));
    EXPECT_THAT(page, HasSubstr("&quot;2025&quot; &amp; &#39;later&#39;"));
    EXPECT_THAT(figureOf(page, "a.png"),
                HasSubstr(R"(<a href="velmora://x?q=&#39;y&#39;&amp;t=1">)"));

    // No link: no anchor at all, and the card says so.
    const auto noLink = figureOf(page, "b.png");
    EXPECT_THAT(noLink, Not(HasSubstr("<a")));
    EXPECT_THAT(noLink, HasSubstr("no link"));
    // A script or data URL is shown, never linked.
    for (const auto* image : {"c.png", "d.png", "e.png"}) {
        const auto figure = figureOf(page, image);
        EXPECT_THAT(figure, Not(HasSubstr("<a"))) << image;
        EXPECT_THAT(figure, HasSubstr("(not linked)")) << image;
    }
    EXPECT_EQ(count(page, "<a "), 1);
    EXPECT_TRUE(host::isLinkableUrl("VELMORA://stock-universe-dashboard"));
    EXPECT_TRUE(host::isLinkableUrl("https://example.org/"));
    EXPECT_FALSE(host::isLinkableUrl("stock-detail?ticker=A:B"));
    EXPECT_FALSE(host::isLinkableUrl(" javascript:alert(1)"));
}

TEST(GalleryFiles, SectionsFollowTheBundleAndFilesAreReplacedWhole) {
    const host::WidgetHost widgets(VelmoraWidgetsBundle().body(), {});
    host::GalleryCard brief;
    brief.kind = "DailyBrief";
    brief.image = "1.png";
    host::GalleryCard glance;
    glance.kind = "WatchlistGlance";
    glance.image = "2.png";
    const auto sections = host::gallerySections(widgets, {brief, glance, brief});
    ASSERT_EQ(sections.size(), 2u);
    EXPECT_EQ(sections[0].kind, "WatchlistGlance");
    EXPECT_EQ(sections[0].displayName, "Watchlist Glance");
    EXPECT_EQ(sections[0].description, "Live prices and signals for your top watchlist tickers.");
    EXPECT_EQ(sections[0].cards, std::vector{glance});
    EXPECT_EQ(sections[1].displayName, "Daily Brief");
    EXPECT_EQ(sections[1].cards, (std::vector{brief, brief}));
    EXPECT_EQ(host::gallerySections(widgets, {brief}).size(), 1u);
    EXPECT_EQ(host::galleryImageName({"DailyBrief", WidgetFamily::systemLarge}, "placeholder"),
              "DailyBrief-systemLarge-placeholder.png");
    EXPECT_EQ(host::pageDate(*platform::parseCommandLineDate("2025-11-16T07:42:30.999+01:00")),
              "2025-11-16T06:42:30Z");

    tempstore::TempStore temp;
    const auto out = temp.folder() / "a" / "b";
    ASSERT_TRUE(host::prepareOutputDirectory(out));
    ASSERT_TRUE(platform::writeFileAtomically(out / "index.html", "first"));
    ASSERT_TRUE(platform::writeFileAtomically(out / "index.html", "second"));
    EXPECT_EQ(slurp(out / "index.html"), "second");
    EXPECT_EQ(fs::status(out / "index.html").permissions() & fs::perms::others_read,
              fs::perms::others_read);
    EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 1);

    // A file where the folder should be, and a missing folder: errors naming the path.
    std::ofstream(temp.folder() / "file") << "x";
    const auto notFolder = host::prepareOutputDirectory(temp.folder() / "file");
    ASSERT_FALSE(notFolder);
    EXPECT_THAT(notFolder.error().description, HasSubstr("file"));
    const auto missing = platform::writeFileAtomically(temp.folder() / "gone" / "index.html", "x");
    ASSERT_FALSE(missing);
    EXPECT_THAT(missing.error().description, HasSubstr("gone/index.html"));
}

TEST(GalleryCommand, DrawsEveryWidgetInEveryFamilyAndAPageLinkingEachImage) {
    Cli cli;
    cli.seed();
    const auto out = cli.temp.folder() / "gallery" / "new";
    const auto result = cli({"--at", "2025-11-16T05:00:00Z", "gallery", "--out", out.string()});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 11u) << result.out;
    EXPECT_EQ(fs::path(printed.back()), fs::absolute(out / "index.html"));

    const auto page = slurp(out / "index.html");
    const std::regex line(
        R"((\w+) (\w+) (placeholder|current) -> (\S+\.png) \((?:link: (\S+)|no link)\))");
    const std::vector<std::pair<std::string, WidgetFamily>> placements{
        {"WatchlistGlance", WidgetFamily::systemSmall},
        {"WatchlistGlance", WidgetFamily::systemMedium},
        {"WatchlistGlance", WidgetFamily::systemLarge},
        {"DailyBrief", WidgetFamily::systemMedium},
        {"DailyBrief", WidgetFamily::systemLarge}};
    std::map<std::string, std::string> links;
    for (std::size_t i = 0; i < 10; ++i) {
        const auto& [kind, family] = placements[i / 2];
        const std::string request = i % 2 == 0 ? "placeholder" : "current";
        const std::string familyName(name(family));
        const std::string image = kind + "-" + familyName + "-" + request + ".png";
        std::smatch match;
        ASSERT_TRUE(std::regex_match(printed[i], match, line)) << printed[i];
        EXPECT_EQ(match[1].str(), kind);
        EXPECT_EQ(match[2].str(), familyName);
        EXPECT_EQ(match[3].str(), request);
        EXPECT_EQ(match[4].str(), image);

        const auto canvas = render::defaults::canvasSize(family);
        EXPECT_EQ(pngSize(out / image),
                  (PngSize{std::uint32_t(canvas.width * 2), std::uint32_t(canvas.height * 2)}))
            << image;
        const auto figure = figureOf(page, image);
        ASSERT_FALSE(figure.empty()) << image;
        EXPECT_THAT(figure, HasSubstr("width=\"" + std::to_string(int(canvas.width)) + "\""));
        ASSERT_TRUE(match[5].matched) << "every widget of the bundle links somewhere";
        EXPECT_THAT(figure, HasSubstr("<a href=\"" + match[5].str() + "\"><img"));
        EXPECT_THAT(figure, HasSubstr(request == "placeholder" ? "<dd>—</dd>" : "Next reload"));
        links[kind + familyName + request] = match[5];
    }
    // The current entries come from the seeded store, the placeholders from the sample data.
    EXPECT_EQ(links["DailyBriefsystemLargecurrent"], "velmora://stock-detail?ticker=AMD");
    EXPECT_EQ(links["DailyBriefsystemLargeplaceholder"], "velmora://stock-detail?ticker=NVDA");
    EXPECT_EQ(links["WatchlistGlancesystemSmallcurrent"], "velmora://stock-detail?ticker=AMD");
    EXPECT_EQ(links["WatchlistGlancesystemMediumcurrent"],
              "velmora://stock-universe-dashboard?tab=watchlist");
    EXPECT_NE(slurp(out / "DailyBrief-systemMedium-current.png"),
              slurp(out / "DailyBrief-systemMedium-placeholder.png"));
    EXPECT_THAT(figureOf(page, "DailyBrief-systemLarge-current.png"),
                HasSubstr("<dd>2025-11-16T06:30:00Z</dd>"));
    EXPECT_EQ(count(page, "<img "), 10);
    EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 11);

    // An output folder that cannot be made: exit 1 with one line naming it.
    std::ofstream(cli.temp.folder() / "taken") << "x";
    const auto blocked =
        cli({"gallery", "--out", (cli.temp.folder() / "taken" / "gallery").string()});
    EXPECT_EQ(blocked.exitCode, 1);
    EXPECT_EQ(lines(blocked.err).size(), 1u);
    EXPECT_THAT(blocked.err, HasSubstr("taken/gallery"));
    EXPECT_EQ(cli({"gallery"}).exitCode, 2);
}

TEST(HostCommand, ASimulatedDayPrintsEveryRequestAndLeavesTheLastState) {
    Cli cli;
    cli.seed();
    const auto out = cli.temp.folder() / "host";
    const auto result = cli({"--at", "2025-11-16T00:00:00Z", "host", "--simulate", "--until",
                             "2025-11-17T00:00:00Z", "--out", out.string()});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");

    const std::regex request(R"((\S+) timeline (\w+) (\w+) -> reload after (\S+))");
    std::map<std::string, std::vector<std::string>> times;
    std::string lastWatchlistReload;
    for (const auto& l : lines(result.out)) {
        std::smatch match;
        if (!std::regex_match(l, match, request)) continue;
        times[match[2].str() + " " + match[3].str()].push_back(match[1]);
        if (match[2] == "WatchlistGlance") lastWatchlistReload = match[4];
    }
    ASSERT_EQ(times.size(), 5u) << result.out;
    for (const auto* family : {"systemSmall", "systemMedium", "systemLarge"}) {
        const auto& watchlist = times[std::string("WatchlistGlance ") + family];
        ASSERT_EQ(watchlist.size(), 96u) << family;
        EXPECT_EQ(watchlist.front(), "2025-11-16T00:00:00Z");
        EXPECT_EQ(watchlist[1], "2025-11-16T00:15:00Z");
        EXPECT_EQ(watchlist.back(), "2025-11-16T23:45:00Z");
    }
    for (const auto* family : {"systemMedium", "systemLarge"})
        EXPECT_EQ(times[std::string("DailyBrief ") + family],
                  (std::vector<std::string>{"2025-11-16T00:00:00Z", "2025-11-16T06:30:00Z"}));
    EXPECT_EQ(lastWatchlistReload, "2025-11-17T00:00:00Z");
    EXPECT_THAT(result.out,
                HasSubstr("2025-11-16T06:30:00Z timeline DailyBrief systemLarge -> reload after "
                          "2025-11-17T06:30:00Z\n"));
    EXPECT_EQ(fs::path(lines(result.out).back()), fs::absolute(out / "index.html"));

    // One current image per placement, drawn at its last request, and a self-refreshing page.
    const auto page = slurp(out / "index.html");
    EXPECT_THAT(page, HasSubstr(R"(<meta http-equiv="refresh")"));
    EXPECT_EQ(count(page, "<img "), 5);
    EXPECT_EQ(pngSize(out / "DailyBrief-systemLarge-current.png"), (PngSize{728, 764}));
    EXPECT_EQ(pngSize(out / "WatchlistGlance-systemSmall-current.png"), (PngSize{340, 340}));
    EXPECT_THAT(figureOf(page, "DailyBrief-systemLarge-current.png?v=2"),
                HasSubstr("<dd>2025-11-16T06:30:00Z</dd>"));
    EXPECT_THAT(figureOf(page, "WatchlistGlance-systemSmall-current.png?v=96"),
                HasSubstr("<dd>2025-11-16T23:45:00Z</dd>"));
}

TEST(HostCommand, PlacementsFileChoosesTheWidgetsAndBadOnesExitTwo) {
    Cli cli;
    const auto file = cli.temp.folder() / "placements.json";
    const auto out = cli.temp.folder() / "host";
    std::ofstream(file) << R"([{"kind": "DailyBrief", "family": "systemLarge"}])";
    const auto one =
        cli({"--at", "2025-11-16T00:00:00Z", "host", "--simulate", "--until",
             "2025-11-18T00:00:00Z", "--placements", file.string(), "--out", out.string()});
    ASSERT_EQ(one.exitCode, 0) << one.err;
    EXPECT_EQ(count(one.out, " timeline "), 3);
    EXPECT_EQ(count(one.out, " timeline DailyBrief systemLarge -> "), 3);
    EXPECT_TRUE(fs::exists(out / "DailyBrief-systemLarge-current.png"));
    EXPECT_FALSE(fs::exists(out / "DailyBrief-systemMedium-current.png"));

    const std::vector<std::pair<std::string, std::string>> bad{
        {R"([{"kind": "DailyBrief", "family": "systemLarge"})", "not valid JSON"},
        {R"({"kind": "DailyBrief", "family": "systemLarge"})", "array"},
        {R"([])", "array"},
        {R"([{"kind": "Ticker", "family": "systemLarge"}])", "unknown widget kind \"Ticker\""},
        {R"([{"kind": "DailyBrief", "family": "systemSmall"}])",
         "family \"systemSmall\" is not offered by DailyBrief"},
        {R"([{"kind": "DailyBrief", "family": "huge"}])", "family \"huge\""},
        {R"([{"kind": "DailyBrief"}])", "item 1"},
        {R"([{"kind": "DailyBrief", "family": "systemLarge"},
             {"kind": "DailyBrief", "family": "systemLarge"}])",
         "item 2: DailyBrief systemLarge is placed twice"}};
    for (const auto& [json, message] : bad) {
        std::ofstream(file) << json;
        const auto result =
            cli({"--at", "2025-11-16T00:00:00Z", "host", "--simulate", "--until",
                 "2025-11-17T00:00:00Z", "--placements", file.string(), "--out", out.string()});
        EXPECT_EQ(result.exitCode, 2) << json;
        EXPECT_EQ(lines(result.err).size(), 1u) << result.err;
        EXPECT_THAT(result.err, HasSubstr(message)) << json;
        EXPECT_EQ(result.out, "") << json;
    }
    const auto missingFile =
        cli({"host", "--placements", (cli.temp.folder() / "none").string(), "--out", out.string()});
    EXPECT_EQ(missingFile.exitCode, 2);
    EXPECT_EQ(cli({"host", "--simulate", "--out", out.string()}).exitCode, 2);
    EXPECT_EQ(cli({"--at", "2025-11-16T00:00:00Z", "host", "--out", out.string()}).exitCode, 2);
    EXPECT_EQ(cli({"--at", "2025-11-16T00:00:00Z", "host", "--simulate", "--until",
                   "2025-11-16T00:00:00Z", "--out", out.string()})
                  .exitCode,
              2);
    EXPECT_EQ(cli({"host", "--until", "tomorrow", "--out", out.string()}).exitCode, 2);
}

TEST(HostCommand, StopsCleanlyOnSigtermWhileWaitingForTheNextReload) {
    Cli cli;
    const auto out = cli.temp.folder() / "live";
    const auto child = start(cli.temp.folder(), cli.withStore({"host", "--out", out.string()}));
    ASSERT_GT(child.pid, 0);

    // The first round of requests writes the page; then the host sleeps until a reload date
    // fifteen minutes away.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!fs::exists(out / "index.html") && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_TRUE(fs::exists(out / "index.html")) << slurp(child.err);

    ASSERT_EQ(::kill(child.pid, SIGTERM), 0);
    int status = 0;
    pid_t ended = 0;
    const auto stopBy = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while ((ended = ::waitpid(child.pid, &status, WNOHANG)) == 0 &&
           std::chrono::steady_clock::now() < stopBy)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (ended == 0) {
        ::kill(child.pid, SIGKILL);
        ::waitpid(child.pid, &status, 0);
        FAIL() << "the host did not stop within 3 seconds of SIGTERM";
    }
    EXPECT_EQ(exitCode(status), 0) << slurp(child.err);
    const auto printed = slurp(child.out);
    EXPECT_EQ(count(printed, " timeline "), 5) << printed;
    EXPECT_EQ(lines(printed).back(), "stopped (SIGTERM)");
    EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 6)
        << "five images and the page, no temporary files";
}
