#include "tests/cli/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;
using program::Cli;
using testing::HasSubstr;
namespace fs = std::filesystem;

const std::string validBrief =
    R"({"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues.",)"
    R"("signal":"Buy","score":78,"generatedAt":"2025-11-16T04:00:00Z"})";

// Runs each command line and expects it to fail with `exitCode` and one line on standard error
// that holds the message.
void expectFailures(const Cli& cli, int exitCode,
                    const std::vector<std::pair<std::vector<std::string>, std::string>>& cases) {
    for (const auto& [args, message] : cases) {
        const auto result = cli(args);
        EXPECT_EQ(result.exitCode, exitCode) << message;
        EXPECT_EQ(result.out, "") << message;
        EXPECT_EQ(program::lines(result.err).size(), 1u) << result.err;
        EXPECT_THAT(result.err, testing::StartsWith("velmora-widgets: error: ")) << message;
        EXPECT_THAT(result.err, HasSubstr(message));
    }
}

}  // namespace

// The reload rule as the command line prints it, at its edges: 06:30 UTC strictly after now for
// the brief, 900 s later for the watchlist; --at takes offsets and fractions, and the last date
// it takes still has its reload date within the year 9999.
TEST(CommandLine, TimelinesPrintTheEntryDateAndTheReloadDate) {
    struct Case {
        const char* at;
        const char* kind;
        const char* date;
        const char* reloadAfter;
    };
    const std::vector<Case> cases{
        {"2025-11-16T05:00:00Z", "DailyBrief", "2025-11-16T05:00:00Z", "2025-11-16T06:30:00Z"},
        {"2025-11-16T07:29:59.999+01:00", "DailyBrief", "2025-11-16T06:29:59.999Z",
         "2025-11-16T06:30:00Z"},
        {"2025-11-16T06:30:00Z", "DailyBrief", "2025-11-16T06:30:00Z", "2025-11-17T06:30:00Z"},
        {"2025-12-31T23:59:59Z", "DailyBrief", "2025-12-31T23:59:59Z", "2026-01-01T06:30:00Z"},
        {"2025-11-16T09:00:00.5Z", "WatchlistGlance", "2025-11-16T09:00:00.5Z",
         "2025-11-16T09:15:00.5Z"},
        {"0000-01-01T00:00:00Z", "WatchlistGlance", "0000-01-01T00:00:00Z", "0000-01-01T00:15:00Z"},
        {"9999-12-30T23:59:59.999999Z", "DailyBrief", "9999-12-30T23:59:59.999999Z",
         "9999-12-31T06:30:00Z"},
    };
    Cli cli;
    for (const auto& c : cases) {
        const auto json = cli.json({"--at", c.at, "timeline", c.kind});
        ASSERT_EQ(json["entries"].size(), 1u) << c.at;
        EXPECT_EQ(json["entries"][0]["date"], c.date) << c.at;
        EXPECT_EQ(json["reloadAfter"], c.reloadAfter) << c.at;
    }
}

// --version names the program's version and the two identifiers the host app must share.
TEST(CommandLine, VersionNamesTheDeploymentIdentifiers) {
    const auto version = Cli()({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_THAT(version.out, testing::MatchesRegex(
                                 "velmora-widgets [0-9]+\\.[0-9.]+\napp group: group\\.[a-z.]+\n"
                                 "bundle: [a-z.]+\n"));
}

TEST(CommandLine, RequestsPrintTheStoredRecordsAndLogOnlyDecodingFailures) {
    Cli cli;
    cli.write("vmDailyBrief", validBrief);
    const auto timeline = cli.json({"--at", "2025-11-16T05:00:00Z", "timeline", "DailyBrief"});
    EXPECT_EQ(timeline["entries"][0]["brief"], Json::parse(validBrief));
    EXPECT_EQ(cli.json({"--at", "2025-11-16T05:00:00Z", "snapshot", "DailyBrief"}),
              timeline["entries"][0]);
    const auto placeholder = cli.json({"placeholder", "WatchlistGlance"});
    EXPECT_EQ(placeholder["rows"][1]["signal"], "Strong Buy");
    EXPECT_TRUE(placeholder["portfolio"].is_null());

    // Records in their writing form: unset members left out.
    cli.write("vmWatchlistTickers", R"([{"ticker":"T0","price":1,"changePct":-1}])");
    EXPECT_EQ(cli.json({"snapshot", "WatchlistGlance"})["rows"],
              Json::parse(R"([{"ticker":"T0","price":1.0,"changePct":-1.0}])"));

    cli.write("vmDailyBrief", R"({"ticker":"NVDA","generatedAt":1763272800})");
    const auto bad = cli({"snapshot", "DailyBrief"});
    ASSERT_EQ(bad.exitCode, 0);
    EXPECT_TRUE(bad.json()["brief"].is_null());
    EXPECT_EQ(program::lines(bad.err).size(), 1u) << bad.err;
    EXPECT_THAT(bad.err, HasSubstr("AppGroup decode failed for vmDailyBrief: "));
    // A brief stored as text is no brief, and nothing is logged.
    cli.write("vmDailyBrief", validBrief, "--string");
    const auto text = cli({"snapshot", "DailyBrief"});
    EXPECT_TRUE(text.json()["brief"].is_null());
    EXPECT_EQ(text.err, "");
}

TEST(CommandLine, DefaultsWriteReadAndDelete) {
    Cli cli;
    const std::string binary{"\x00\xff\x01", 3};
    struct Case {
        std::vector<std::string> write;
        std::string read;
    };
    const std::vector<Case> cases{
        {{"--string", "hello"}, "string\nhello\n"},
        {{"--data-file", cli.file("brief.json", validBrief).string()},
         "data (" + std::to_string(validBrief.size()) + " bytes)\n" + validBrief + "\n"},
        {{"--data", "x"}, "data (1 byte)\nx\n"},
        {{"--data-file", cli.file("binary", binary).string()}, "data (3 bytes)\n00ff01\n"},
        {{"--data", "\xc3\xa9\xc3"}, "data (3 bytes)\nc3a9c3\n"},
        // Controls that would steer a terminal are shown escaped; tab and line feed are kept.
        {{"--data", "a\x1b[31mb\rc\td\ne\xc2\x9b"},
         "data (15 bytes)\na\\u001B[31mb\\u000Dc\td\ne\\u009B\n"},
        {{"--string", "\x07"}, "string\n\\u0007\n"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args{"defaults", "write", "k"};
        args.insert(args.end(), c.write.begin(), c.write.end());
        ASSERT_EQ(cli(args).exitCode, 0) << c.read;
        const auto read = cli({"defaults", "read", "k"});
        EXPECT_EQ(read.exitCode, 0);
        EXPECT_EQ(read.out, c.read);
    }

    // The standard defaults are a store of their own.
    EXPECT_EQ(cli({"defaults", "--standard", "read", "k"}).exitCode, 1);
    ASSERT_EQ(cli({"defaults", "--standard", "write", "k", "--data", "s"}).exitCode, 0);
    EXPECT_EQ(cli({"defaults", "--standard", "read", "k"}).out, "data (1 byte)\ns\n");

    EXPECT_EQ(cli({"defaults", "delete", "k"}).exitCode, 0);
    const auto gone = cli({"defaults", "read", "k"});
    EXPECT_EQ(gone.exitCode, 1);
    EXPECT_EQ(gone.out, "");
    EXPECT_THAT(gone.err, HasSubstr("no value for key \"k\""));
    EXPECT_EQ(cli({"defaults", "delete", "k"}).exitCode, 1);

    // Without --store-dir the environment names the folder.
    childprocess::ChildProcess viaEnvironment(
        {VELMORA_PROGRAM, "defaults", "--standard", "read", "k"},
        {{{"VELMORA_STORE_DIR", cli.store.string()}}});
    EXPECT_EQ(viaEnvironment.wait(), 0);
    EXPECT_EQ(viaEnvironment.out(), "data (1 byte)\ns\n");
}

// Light appearance changes the default foreground of texts and symbols and nothing else: the
// palette's colours and every frame stay; the option is taken before or after the command.
TEST(CommandLine, LightAppearanceChangesOnlyTheDefaultForeground) {
    Cli cli;  // an empty store: the brief's empty state and the sample watchlist
    const std::string dark = "#FFFFFF.opacity(0.85)";
    const std::string light = "#000000.opacity(0.85)";
    const std::vector<std::vector<std::string>> drawings{
        {"render", "DailyBrief", "systemMedium", "--frames"},
        {"render", "WatchlistGlance", "systemLarge", "--frames"},
    };
    for (const auto& drawing : drawings) {
        auto shown = cli(drawing).out;
        auto lightArguments = drawing;
        lightArguments.insert(lightArguments.end(), {"--appearance", "light"});
        const auto lit = cli(lightArguments);
        ASSERT_EQ(lit.exitCode, 0) << lit.err;
        EXPECT_THAT(shown, HasSubstr("Palette.")) << drawing[1];
        EXPECT_EQ(lit.out.find(dark), std::string::npos) << drawing[1];
        int swapped = 0;
        for (auto at = shown.find(dark); at != std::string::npos; at = shown.find(dark, at)) {
            shown.replace(at, dark.size(), light);
            ++swapped;
        }
        EXPECT_GT(swapped, 0) << drawing[1];
        EXPECT_EQ(lit.out, shown) << drawing[1];
    }
    // The painter draws what the layout chose.
    const auto png = [&](const char* appearance) {
        const auto out = cli.temp.folder() / (std::string(appearance) + ".png");
        EXPECT_EQ(cli({"--appearance", appearance, "render", "DailyBrief", "systemMedium", "--out",
                       out.string()})
                      .exitCode,
                  0);
        std::ifstream in(out, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    EXPECT_TRUE(png("light") != png("dark")) << "the light drawing has the dark one's pixels";
}

// Each mistake exits 2 with one line that names the option or argument and what it wants, and
// changes nothing.
TEST(CommandLine, UsageErrorsExitTwoWithOneLineNamingTheOption) {
    Cli cli;
    expectFailures(
        cli, 2,
        {
            {{"timeline", "Weather"},
             "unknown widget kind \"Weather\" (kinds: WatchlistGlance, DailyBrief)"},
            {{"timeline"},
             "timeline: KIND is required: the widget kind: WatchlistGlance, DailyBrief"},
            {{"render", "DailyBrief", "systemSmall"},
             "family \"systemSmall\" is not offered by DailyBrief (families: systemMedium, "
             "systemLarge)"},
            {{"render", "DailyBrief", "systemLarge", "--request", "later"},
             "--request: expected placeholder, snapshot or timeline, got \"later\""},
            {{"--at", "2025-11-16", "timeline", "DailyBrief"},
             "--at: expected an RFC 3339 date-time"},
            {{"--at", "0000-01-01T00:00:00+01:00", "timeline", "DailyBrief"},
             "--at: expected an RFC 3339 date-time from 0000-01-01T00:00:00Z to "
             "9999-12-30T23:59:59Z"},
            {{"--at", "9999-12-31T00:00:00Z", "timeline", "DailyBrief"}, "--at: expected"},
            {{"--locale", "xx_YY", "list"},
             "--locale: expected an ICU locale such as en_US or de_DE, got \"xx_YY\""},
            {{"--time-zone", "Mars/Olympus", "list"}, "--time-zone: expected an IANA time zone"},
            {{"render", "DailyBrief", "systemLarge", "--appearance", "sepia"},
             "--appearance: expected light or dark, got \"sepia\""},
            {{"render", "DailyBrief", "systemLarge", "--scale", "NaN"},
             "--scale: expected a number from 1 to 3, got \"NaN\""},
            {{"render", "DailyBrief", "systemLarge", "--scale", "3.5"},
             "--scale: expected a number from 1 to 3"},
            {{"render", "DailyBrief", "systemLarge", "--scale", "two"}, "--scale: expected"},
            {{"render", "DailyBrief", "systemLarge", "--out", ""},
             "--out: expected an image file name ending in .png, .svg or .pdf, got \"\""},
            {{"render", "DailyBrief", "systemLarge", "--out"}, "render: --out FILE needs a value"},
            {{"gallery", "--out", ""}, "--out: expected a folder, got \"\""},
            {{"gallery"}, "gallery: --out DIR is required: folder for the images and index.html"},
            {{"list", "extra"}, "list: unexpected argument \"extra\" (it takes none)"},
            {{"--no-such-option", "list"},
             "unknown option \"--no-such-option\" (options: --json, --store-dir, --at"},
            {{}, "no command given (commands: defaults, placeholder"},
            {{"defaults"}, "no command given for defaults (commands: write, read, delete)"},
            {{"defaults", "write", "k"},
             "defaults write: expected a value: --data TEXT, --data-file FILE or --string TEXT"},
            {{"defaults", "write", "k", "--string", "a", "--data", "b"},
             "defaults write: expected one value: --data TEXT"},
            {{"host", "--simulate", "--out", "x"}, "--simulate needs --until TIME"},
            {{"host", "--budget", "40", "--out", "x"}, "--budget: the live host reloads when"},
            {{"host", "--simulate", "--budget", "0", "--out", "x"},
             "--budget: expected a number of reloads a day from 1 to 1440, got \"0\""},
            {{"--at", "2025-11-16T00:00:00Z", "host", "--out", "x"},
             "--at: the live host runs on the system clock"},
            {{"--at", "2025-11-16T00:00:00Z", "host", "--simulate", "--until",
              "2025-11-16T00:00:00Z", "--out", "x"},
             "--until: expected a time later than the start, 2025-11-16T00:00:00Z"},
            {{"host", "--until", "tomorrow", "--out", "x"},
             "--until: expected an RFC 3339 date-time"},
        });
    EXPECT_FALSE(fs::exists(cli.store));  // nothing was written
    EXPECT_FALSE(fs::exists(cli.temp.folder() / "x"));
}

// An error line shows what was typed escaped, so it stays one line and a terminal acts on none
// of it, and cut short, however long it was.
TEST(CommandLine, ErrorLinesEscapeAndCutWhatWasTyped) {
    Cli cli;
    const std::string hostile = "\x1b]0;title\x07\nnext";
    const std::string shown = R"("\x1B]0;title\x07\nnext")";
    const std::string huge(100000, 'x');  // one argument takes at most 128 KiB
    expectFailures(cli, 2,
                   {
                       {{hostile}, "unknown command " + shown},
                       {{"timeline", hostile}, "unknown widget kind " + shown},
                       {{"list", hostile}, "list: unexpected argument " + shown},
                       {{"--locale", hostile, "list"}, "got " + shown},
                       {{"--" + hostile, "list"}, R"(unknown option "--\x1B]0;title)"},
                       {{huge}, "unknown command \"" + huge.substr(0, 120) + "…\" (commands: "},
                       {{"--at", huge, "list"}, "got \"" + huge.substr(0, 120) + "…\""},
                   });
    // A message that holds the input whole is escaped and cut as a whole.
    expectFailures(cli, 1,
                   {{{"defaults", "write", "k", "--data-file", "/nope/" + hostile},
                     R"(--data-file "/nope/\x1B]0;title\x07\nnext")"}});
    const auto result = cli({"defaults", "write", "k", "--data-file", "/nope/" + huge});
    EXPECT_THAT(result.err, testing::EndsWith("xxx…\n"));
    EXPECT_LT(result.err.size(), 4200u);
}

// What the command could not do exits 1 with one line naming the file or folder at fault.
TEST(CommandLine, FailuresExitOneNamingTheFile) {
    Cli cli;
    const auto plain = cli.file("plain", "x");
    cli.store = plain / "store";
    const auto fifo = cli.temp.folder() / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    expectFailures(
        cli, 1,
        {
            {{"defaults", "write", "k", "--string", "v"}, "cannot create the store folder"},
            {{"defaults", "write", "k", "--data-file", (cli.temp.folder() / "absent").string()},
             "--data-file \"" + (cli.temp.folder() / "absent").string() +
                 "\": cannot be read: No such file"},
            {{"defaults", "write", "k", "--data-file", fifo.string()},
             "--data-file \"" + fifo.string() + "\": not a regular file"},
            {{"defaults", "write", "k", "--data-file", "/dev/zero"},
             "--data-file \"/dev/zero\": not a regular file"},
            {{"defaults", "write", "k", "--data-file",
              cli.file("big", std::string((1 << 20) + 1, 'x')).string()},
             "big\": larger than 1048576 bytes"},
            {{"render", "DailyBrief", "systemLarge", "--out", (plain / "x.png").string()},
             "cannot write \"" + (plain / "x.png").string() + "\""},
            {{"gallery", "--out", (plain / "gallery").string()}, (plain / "gallery").string()},
        });
}
