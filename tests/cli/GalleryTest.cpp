#include "gallery/PageHtml.h"
#include "layout/PlatformDefaults.h"
#include "tests/cli/Program.h"
#include "widgets/WidgetHost.h"
#include "widgets/Widgets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

using namespace timeline;
using namespace widgets;

namespace {

using program::Cli;
using program::lines;
using program::slurp;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

// The names in a folder, sorted.
std::vector<std::string> filesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// The host app's records; the brief is about a ticker the placeholder never shows.
void seed(const Cli& cli) {
    cli.write("vmDailyBrief", R"({"ticker":"AMD","summary":"Share gains.","signal":"Strong Buy",)"
                              R"("score":84,"generatedAt":"2025-11-16T04:00:00Z"})");
    cli.write("vmWatchlistTickers",
              R"([{"ticker":"AMD","price":151.2,"changePct":2.4,"signal":"Buy","score":80}])");
}

// The pixel size of a PNG file: the signature, a first IHDR chunk of 13 bytes and a final IEND
// chunk are required. Zero for anything else.
std::pair<std::uint32_t, std::uint32_t> pngSize(const fs::path& file) {
    const std::string bytes = slurp(file);
    const auto word = [&](std::size_t at) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i) value = value << 8 | std::uint8_t(bytes[at + i]);
        return value;
    };
    const std::string end{"\0\0\0\0IEND\xae\x42\x60\x82", 12};
    if (bytes.size() < 45 || bytes.compare(0, 8, "\x89PNG\r\n\x1a\n") != 0 || word(8) != 13 ||
        bytes.compare(12, 4, "IHDR") != 0 || bytes.compare(bytes.size() - 12, 12, end) != 0)
        return {0, 0};
    return {word(16), word(20)};
}

std::pair<std::uint32_t, std::uint32_t> twice(WidgetFamily family) {
    const auto canvas = layout::defaults::canvasSize(family);
    return {std::uint32_t(canvas.width * 2), std::uint32_t(canvas.height * 2)};
}

gallery::GalleryCard card(std::string image, std::optional<std::string> url) {
    const std::string date = "2025-11-16T05:00:00Z", reload = "2025-11-16T05:15:00Z";
    return {std::move(image), 364,  170,    "WatchlistGlance", "systemMedium",
            "current",        date, reload, std::move(url)};
}

// The <figure> of the card whose image is `image`.
std::string figureOf(const std::string& page, const std::string& image) {
    const auto src = page.find("src=\"" + image + "\"");
    if (src == std::string::npos) return {};
    const auto open = page.rfind("<figure", src);
    return page.substr(open, page.find("</figure>", src) - open);
}

}  // namespace

TEST(GalleryPage, CardsShowTheirImageAtPointSizeLinkedOnlyToSafeUrlsAndEveryTextEscaped) {
    auto small = card("s.png", "velmora://stock-detail?ticker=AMD");
    small.width = small.height = 170;
    auto hostile = card("h.png", R"(velmora://x?q="><script>alert(1)</script>)");
    hostile.kind = "<b>Kind</b>";
    hostile.entryDate = "\"2025\" & 'later'";
    const std::vector<gallery::GallerySection> sections{
        {"WatchlistGlance",
         "Watchlist Glance",
         "It's \"quoted\" & <ok>",
         {small, hostile, card("none.png", std::nullopt), card("js.png", "JavaScript:alert(1)"),
          card("data.png", "data:text/html,<p>"), card("q.png", "VELMORA://x?q='y'&t=1")}},
        {"DailyBrief", "Daily <i>Brief</i>", "A 50-word take.", {card("b.png", "https://x.org/")}}};
    const auto page = gallery::galleryPage(sections, {"<Title>", "sub & title", std::nullopt});

    EXPECT_LT(page.find("Watchlist Glance"), page.find("Daily &lt;i&gt;Brief"));
    EXPECT_THAT(page, Not(HasSubstr("http-equiv=\"refresh\"")));
    EXPECT_THAT(figureOf(page, "s.png"),
                HasSubstr(R"(<a href="velmora://stock-detail?ticker=AMD"><img src="s.png" )"
                          R"(width="170" height="170")"));
    EXPECT_THAT(figureOf(page, "s.png"), HasSubstr("<dd>2025-11-16T05:15:00Z</dd>"));
    EXPECT_THAT(figureOf(page, "b.png"), HasSubstr(R"(<a href="https://x.org/"><img)"));
    EXPECT_THAT(figureOf(page, "q.png"),
                HasSubstr(R"(<a href="VELMORA://x?q=&#39;y&#39;&amp;t=1">)"));
    for (const auto* text :
         {"&lt;Title&gt;", "sub &amp; title", "It&#39;s &quot;quoted&quot; &amp; &lt;ok&gt;",
          "&quot;2025&quot; &amp; &#39;later&#39;", "&lt;b&gt;Kind&lt;/b&gt; · systemMedium",
          "velmora://x?q=&quot;&gt;&lt;script&gt;alert(1)&lt;/script&gt; (not linked)"})
        EXPECT_THAT(page, HasSubstr(text));
    for (const auto* text : {"<script>alert", "<b>", "<i>", "<Title>"})
        EXPECT_THAT(page, Not(HasSubstr(text)));
    // No link: no anchor, and the card says so; a script, data or broken URL is shown, not linked.
    EXPECT_THAT(figureOf(page, "none.png"), HasSubstr("no link"));
    for (const auto* image : {"none.png", "js.png", "data.png", "h.png"})
        EXPECT_THAT(figureOf(page, image), Not(HasSubstr("<a"))) << image;

    gallery::GalleryPageOptions live;
    live.refreshSeconds = 5;
    EXPECT_THAT(gallery::galleryPage(sections, live),
                HasSubstr(R"(<meta http-equiv="refresh" content="5">)"));
}

TEST(GalleryCommand, DrawsEveryWidgetInEveryFamilyAndAPageLinkingEachImage) {
    Cli cli;
    seed(cli);
    const auto out = cli.temp.folder() / "gallery" / "new";
    const auto result = cli({"--at", "2025-11-16T05:00:00Z", "gallery", "--out", out.string()});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 11u) << result.out;
    EXPECT_EQ(fs::path(printed.back()), fs::absolute(out / "index.html"));

    const auto page = slurp(out / "index.html");
    const std::regex line(R"((\w+) (\w+) (placeholder|current) -> (\S+\.png) \(link: (\S+)\))");
    const widgets::WidgetHost widgets(VelmoraWidgetsBundle().body(), {});
    std::size_t i = 0;
    for (const auto& placement : widgets.allPlacements()) {
        for (const std::string request : {"placeholder", "current"}) {
            const std::string image =
                placement.kind + "-" + std::string(name(placement.family)) + "-" + request + ".png";
            std::smatch match;
            ASSERT_TRUE(std::regex_match(printed[i++], match, line)) << printed[i - 1];
            EXPECT_EQ(match[4].str(), image);
            EXPECT_EQ(pngSize(out / image), twice(placement.family)) << image;
            const auto figure = figureOf(page, image);
            EXPECT_THAT(figure, HasSubstr("<a href=\"" + match[5].str() + "\"><img"));
            EXPECT_THAT(figure, HasSubstr(request == "placeholder" ? "<dd>—</dd>" : "Next reload"));
        }
    }
    // The current entries come from the seeded store, the placeholders from the sample data.
    EXPECT_EQ(printed[6],
              "DailyBrief systemMedium placeholder -> "
              "DailyBrief-systemMedium-placeholder.png (link: "
              "velmora://stock-detail?ticker=NVDA)");
    EXPECT_EQ(printed[7],
              "DailyBrief systemMedium current -> DailyBrief-systemMedium-current.png "
              "(link: velmora://stock-detail?ticker=AMD)");
    EXPECT_THAT(figureOf(page, "DailyBrief-systemLarge-current.png"),
                HasSubstr("<dd>2025-11-16T06:30:00Z</dd>"));
    EXPECT_EQ(filesIn(out).size(), 11u);
}

TEST(HostCommand, ASimulatedDayPrintsEveryRequestAndDrawsTheLastState) {
    Cli cli;
    seed(cli);
    const auto file = cli.file("placements.json",
                               R"([{"kind": "DailyBrief", "family": "systemLarge"},
                                   {"kind": "WatchlistGlance", "family": "systemSmall"}])");
    const auto out = cli.temp.folder() / "host";
    const auto result =
        cli({"--at", "2025-11-16T00:00:00Z", "host", "--simulate", "--until",
             "2025-11-17T00:00:00Z", "--placements", file.string(), "--out", out.string()});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 2u + 96u + 2u) << result.out;
    EXPECT_EQ(printed[0],
              "2025-11-16T00:00:00Z timeline DailyBrief systemLarge -> reload after "
              "2025-11-16T06:30:00Z");
    EXPECT_EQ(printed[1],
              "2025-11-16T00:00:00Z timeline WatchlistGlance systemSmall -> reload after "
              "2025-11-16T00:15:00Z");
    EXPECT_EQ(printed[printed.size() - 2],
              "simulated 2025-11-16T00:00:00Z to 2025-11-17T00:00:00Z");
    EXPECT_EQ(fs::path(printed.back()), fs::absolute(out / "index.html"));

    // One image per placement, drawn at its last request, and a self-refreshing page.
    EXPECT_EQ(filesIn(out),
              (std::vector<std::string>{"DailyBrief-systemLarge-current.png",
                                        "WatchlistGlance-systemSmall-current.png", "index.html"}));
    EXPECT_EQ(pngSize(out / "DailyBrief-systemLarge-current.png"),
              twice(WidgetFamily::systemLarge));
    const auto page = slurp(out / "index.html");
    EXPECT_THAT(page, HasSubstr(R"(<meta http-equiv="refresh")"));
    EXPECT_THAT(figureOf(page, "DailyBrief-systemLarge-current.png?v=2"),
                HasSubstr("<dd>2025-11-16T06:30:00Z</dd>"));
    EXPECT_THAT(figureOf(page, "WatchlistGlance-systemSmall-current.png?v=96"),
                HasSubstr("<dd>2025-11-16T23:45:00Z</dd>"));
}

// With the platform's budget, a simulated day says which reloads came late and sums each
// placement up; the same run prints the same lines.
TEST(HostCommand, ABudgetedDaySaysWhichReloadsCameLateTheSameEachRun) {
    Cli cli;
    seed(cli);
    const auto file = cli.file("placements.json",
                               R"([{"kind": "DailyBrief", "family": "systemLarge"},
                                   {"kind": "WatchlistGlance", "family": "systemSmall"}])");
    const auto simulate = [&] {
        return cli({"--at", "2025-11-16T00:00:00Z", "host", "--simulate", "--budget", "40",
                    "--until", "2025-11-17T00:00:00Z", "--placements", file.string(), "--out",
                    (cli.temp.folder() / "host").string()});
    };
    const auto result = simulate();
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 2u + 40u + 5u) << result.out;
    EXPECT_EQ(printed[2],
              "2025-11-16T00:36:00Z timeline WatchlistGlance systemSmall -> reload after "
              "2025-11-16T00:51:00Z (late: asked for 2025-11-16T00:15:00Z, 21m)");
    EXPECT_EQ(std::vector<std::string>(printed.end() - 4, printed.end() - 1),
              (std::vector<std::string>{
                  "budget 40 a day (a reload every 36m at most):",
                  "  DailyBrief systemLarge: 2 reloads, 0 late, waiting up to 0m",
                  "  WatchlistGlance systemSmall: 40 reloads, 39 late, waiting up to 21m",
              }));
    EXPECT_EQ(simulate().out, result.out);
}

// Through the extension of the tests, misbehaving as `fault` says (and, for
// VELMORA_FAULT_REQUEST, `request`) in the requests of `kind`.
childprocess::Options faulty(const char* fault, const char* kind, const char* request = "") {
    childprocess::Options options;
    options.environment = {{"VELMORA_EXTENSION", VELMORA_FAULTY_EXTENSION},
                           {"VELMORA_FAULT", fault},
                           {"VELMORA_FAULT_KIND", kind},
                           {"VELMORA_FAULT_REQUEST", request}};
    return options;
}

const char* twoPlacements = R"([{"kind": "DailyBrief", "family": "systemLarge"},
                                {"kind": "WatchlistGlance", "family": "systemSmall"}])";

// A placement that has never been drawn, its every timeline failing, shows its placeholder.
TEST(HostCommand, APlacementWhoseTimelinesFailShowsItsPlaceholder) {
    Cli cli;
    seed(cli);
    const auto file = cli.file("placements.json", twoPlacements);
    const auto out = cli.temp.folder() / "host";
    const auto result =
        cli({"--at", "2025-11-16T00:00:00Z", "host", "--simulate", "--until",
             "2025-11-16T00:10:00Z", "--placements", file.string(), "--out", out.string()},
            faulty("garbage", "DailyBrief", "timeline"));
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("DailyBrief systemLarge: the extension sent a reply"));
    EXPECT_EQ(pngSize(out / "DailyBrief-systemLarge-current.png"),
              twice(WidgetFamily::systemLarge));
    EXPECT_THAT(figureOf(slurp(out / "index.html"), "DailyBrief-systemLarge-current.png"),
                HasSubstr("<dd>—</dd>"));
}

// Whether `done` comes true within `time`, looked at every 10 ms.
bool within(std::chrono::milliseconds time, const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + time;
    while (!done() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return done();
}

// Whether the live host has written its first page.
bool pageWritten(childprocess::ChildProcess& host) {
    for (std::string line = "-"; !line.empty();)
        if ((line = host.readLine()).starts_with("page: ")) return true;
    return false;
}

// A write that fails (a full disk; here the file size limit, lowered while the host runs) is
// one error line: the host goes on, its files stay whole, and the next reload writes them.
TEST(HostCommand, AFailedWriteIsLoggedAndTheFilesAreWrittenAtTheNextReload) {
    Cli cli;
    seed(cli);
    const auto out = cli.temp.folder() / "host";
    // The brief's requests fail, so it is asked again after a second, two, four.
    auto options = faulty("crash", "DailyBrief");
    options.fileSizeLimit = 1 << 30;
    auto host = cli.start(
        {"host", "--placements", cli.file("p.json", twoPlacements).string(), "--out", out.string()},
        options);
    ASSERT_TRUE(pageWritten(host));
    const auto inode = [&] {
        struct stat info {};
        return ::stat((out / "index.html").c_str(), &info) == 0 ? info.st_ino : 0;
    };
    const auto first = inode();
    const auto limit = [&](rlim_t bytes) {
        const rlimit set{bytes, 1 << 30};
        return ::prlimit(host.pid(), RLIMIT_FSIZE, &set, nullptr) == 0;
    };
    ASSERT_TRUE(limit(1));
    EXPECT_TRUE(within(std::chrono::seconds(5), [&] {
        return host.waitFor(std::chrono::milliseconds(10)) == std::nullopt &&
               host.err().find("File too large; trying again at the next reload") !=
                   std::string::npos;
    })) << host.err();
    EXPECT_EQ(inode(), first);
    ASSERT_TRUE(limit(1 << 30));
    EXPECT_TRUE(within(std::chrono::seconds(8), [&] { return inode() != first; }));
    host.signal(SIGTERM);
    EXPECT_EQ(host.waitFor(std::chrono::seconds(5)), 0);
    EXPECT_THAT(slurp(out / "index.html"), testing::EndsWith("</html>\n"));
    EXPECT_EQ(filesIn(out),
              (std::vector<std::string>{"WatchlistGlance-systemSmall-current.png", "index.html"}));
}

// A process's state as /proc shows it ("S", "Z"); empty when there is none.
std::string processState(pid_t pid) {
    std::string state;
    std::ifstream("/proc/" + std::to_string(pid) + "/stat") >> state >> state >> state;
    return state;
}

// The host's extension, a child of its worker thread, once it runs; 0 if none.
pid_t extensionOf(const childprocess::ChildProcess& host) {
    pid_t extension = 0;
    (void)within(std::chrono::seconds(10), [&] {
        for (const auto& task :
             fs::directory_iterator("/proc/" + std::to_string(host.pid()) + "/task"))
            if (extension == 0) std::ifstream(task.path() / "children") >> extension;
        return extension != 0;
    });
    return extension;
}

// No host leaves its extension behind: one that ends while the host sleeps is reaped at once,
// and SIGTERM while the host waits on a hung one stops the host within a second, the
// extension with it.
TEST(HostCommand, ReapsAnEndedExtensionAndStopsWithinASecondWithAHungOne) {
    Cli cli;
    seed(cli);
    {
        auto host = cli.start({"host", "--out", (cli.temp.folder() / "host").string()});
        ASSERT_TRUE(pageWritten(host));
        const pid_t extension = extensionOf(host);
        ::kill(extension, SIGKILL);
        EXPECT_TRUE(within(std::chrono::seconds(1), [&] { return processState(extension) == ""; }));
    }
    auto host = cli.start({"host", "--out", (cli.temp.folder() / "hung").string()},
                          faulty("hang", "DailyBrief"));
    const pid_t extension = extensionOf(host);
    ASSERT_NE(extension, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    host.signal(SIGTERM);
    EXPECT_TRUE(within(std::chrono::seconds(1), [&] { return processState(host.pid()) == "Z"; }));
    // Gone, or a zombie of a parent that is gone (this sandbox's init may not reap it).
    const bool ended = within(std::chrono::milliseconds(500), [&] {
        return processState(extension) == "" || processState(extension) == "Z";
    });
    EXPECT_TRUE(ended);
    if (!ended) ::kill(extension, SIGKILL);  // it holds the host's pipes
    EXPECT_EQ(host.waitFor(std::chrono::seconds(5)), 0);
}

TEST(HostCommand, BadPlacementsExitTwoNamingTheFileAndTheItem) {
    Cli cli;
    const auto fifo = cli.temp.folder() / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::vector<std::pair<std::string, std::string>> bad{
        {"/dev/zero", "not a regular file"},
        {fifo.string(), "not a regular file"},
        {cli.temp.folder().string(), "not a regular file"},
        {(cli.temp.folder() / "none").string(), "cannot be read: No such file"}};
    for (const auto& [json, message] : std::vector<std::pair<std::string, std::string>>{
             {R"([{"kind": "DailyBrief", "family": "systemLarge"})", "not valid JSON"},
             {R"({"kind": "DailyBrief"})", "expected a non-empty JSON array"},
             {"[]", "expected a non-empty JSON array"},
             {R"([{"kind": "Ticker", "family": "systemLarge"}])",
              "item 1: unknown widget kind \"Ticker\" (kinds: WatchlistGlance, DailyBrief)"},
             {R"([{"kind": "DailyBrief", "family": "systemSmall"}])",
              "item 1: family \"systemSmall\" is not offered by DailyBrief"},
             {R"([{"kind": "DailyBrief"}])", R"(item 1: expected {"kind": TEXT, "family": TEXT})"},
             {R"([{"kind": "DailyBrief", "family": "systemLarge"},
                  {"kind": "DailyBrief", "family": "systemLarge"}])",
              "item 2: DailyBrief systemLarge is placed twice"},
             {std::string((1 << 20) + 1, ' '), "larger than 1048576 bytes"}})
        bad.push_back({cli.file(std::to_string(bad.size()) + ".json", json).string(), message});
    for (const auto& [path, message] : bad) {
        const auto result =
            cli({"host", "--placements", path, "--out", (cli.temp.folder() / "host").string()});
        EXPECT_EQ(result.exitCode, 2) << message;
        EXPECT_EQ(result.out, "") << message;
        EXPECT_EQ(lines(result.err).size(), 1u) << result.err;
        EXPECT_THAT(result.err, HasSubstr("placements file \"" + path + "\": " + message));
    }
}

// SIGINT and SIGTERM stop the host within moments wherever it is: asleep until the next reload,
// in a store read that waits for a writer's lock, or in a simulation that would run for ages.
// It says so, exits 0 and leaves no temporary file.
namespace {

// Whether a process blocks SIGINT and SIGTERM, as its /proc status shows.
bool blocksStopSignals(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("SigBlk:")) {
            const unsigned long long mask = std::stoull(line.substr(7), nullptr, 16);
            const unsigned long long both = (1ULL << (SIGINT - 1)) | (1ULL << (SIGTERM - 1));
            return (mask & both) == both;
        }
    return false;
}

}  // namespace

TEST(HostCommand, StopsPromptlyOnSigintAndSigterm) {
    struct Case {
        const char* where;  // "asleep": once the first round has written the page
        int signal;
        bool lockedStore;
        std::vector<std::string> args;
    };
    const std::vector<Case> cases{
        {"asleep", SIGTERM, false, {"host"}},
        {"asleep", SIGINT, false, {"host"}},
        {"mid-read", SIGTERM, true, {"host"}},
        {"simulating",
         SIGTERM,
         false,
         {"--at", "2025-11-16T00:00:00Z", "host", "--simulate", "--until", "9999-12-30T00:00:00Z"}},
    };
    for (const auto& c : cases) {
        const std::string stopped = c.signal == SIGINT ? "SIGINT" : "SIGTERM";
        SCOPED_TRACE(c.where + (" " + stopped));
        Cli cli;
        seed(cli);
        const auto out = cli.temp.folder() / "live";
        std::optional<childprocess::ChildProcess> writer;
        if (c.lockedStore) {
            writer.emplace(std::vector<std::string>{VELMORA_STORE_WRITER, "hold",
                                                    cli.store.string(), "vmDailyBrief", "{}",
                                                    "5000", "spill"});
            ASSERT_EQ(writer->readLine(), "locked");
        }
        auto args = c.args;
        args.insert(args.end(), {"--out", out.string()});
        auto host = cli.start(args);
        // Before main blocks the two signals they end any program, as they should: wait for
        // that (slow under the sanitizers), then for the moment the case names.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!blocksStopSignals(host.pid()) && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        while (c.where == std::string("asleep") && !fs::exists(out / "index.html") &&
               std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));

        const auto sent = std::chrono::steady_clock::now();
        host.signal(c.signal);
        const auto status = host.waitFor(std::chrono::seconds(1));
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - sent;
        std::printf("[ measured ] %s, %s: ended %.1f ms after the signal\n", c.where,
                    stopped.c_str(), took.count());
        ASSERT_TRUE(status.has_value()) << "still running a second after the signal";
        EXPECT_EQ(*status, 0) << host.err();
        EXPECT_THAT(host.out(), testing::EndsWith("stopped (" + stopped + ")\n"));
        for (const auto& file : fs::exists(out) ? filesIn(out) : std::vector<std::string>{})
            EXPECT_NE(file.front(), '.') << file;
    }
}

// A file that cannot be written whole (here: past the file size limit) leaves the old one as it
// was, and no temporary file beside it.
TEST(Files, AFailedWriteKeepsTheOldFileAndLeavesNothingBehind) {
    Cli cli;
    const auto out = cli.temp.folder() / "out";
    fs::create_directories(out);
    const auto image = out / "x.png";
    ASSERT_EQ(cli({"render", "DailyBrief", "systemLarge", "--out", image.string()}).exitCode, 0);
    const auto before = slurp(image);
    ASSERT_GT(before.size(), 8192u);

    childprocess::Options limited;
    limited.fileSizeLimit = 8192;
    const auto result = cli({"render", "DailyBrief", "systemLarge", "--request", "placeholder",
                             "--out", image.string()},
                            limited);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("cannot write \"" + image.string() + "\": File too large"));
    EXPECT_EQ(slurp(image), before);
    EXPECT_EQ(filesIn(out), std::vector<std::string>{"x.png"});
}
