#include "tests/support/TempStore.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

struct Result {
    int exitCode = -1;
    std::string out;
    std::string err;

    [[nodiscard]] Json json() const { return Json::parse(out); }
    [[nodiscard]] std::vector<std::string> errLines() const {
        std::istringstream in(err);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }
};

std::string slurp(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Runs the built program with `args`, its output captured in files of `scratch`. The log goes
// to standard error, and no VELMORA_STORE_DIR leaks in from the test's environment unless
// given in `environment`.
Result run(const std::filesystem::path& scratch, const std::vector<std::string>& args,
           const std::vector<std::pair<std::string, std::string>>& environment = {}) {
    const auto outFile = scratch / "stdout";
    const auto errFile = scratch / "stderr";
    const pid_t child = ::fork();
    if (child == 0) {
        const int out = ::open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int err = ::open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(out, STDOUT_FILENO);
        ::dup2(err, STDERR_FILENO);
        ::setenv("VELMORA_LOG", "stderr", 1);
        ::unsetenv("VELMORA_STORE_DIR");
        for (const auto& [name, value] : environment) ::setenv(name.c_str(), value.c_str(), 1);
        std::vector<char*> argv{const_cast<char*>(VELMORA_PROGRAM)};
        for (const auto& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        ::execv(VELMORA_PROGRAM, argv.data());
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(outFile), slurp(errFile)};
}

const std::string validBrief =
    R"({"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues.",)"
    R"("signal":"Buy","score":78,"generatedAt":"2025-11-16T04:00:00Z"})";

// A store folder plus the program run against it.
struct Cli {
    tempstore::TempStore temp;
    std::filesystem::path store = temp.folder() / "store";

    Result operator()(std::vector<std::string> args) const {
        args.insert(args.begin(), {"--store-dir", store.string()});
        return run(temp.folder(), args);
    }
    // The JSON printed by a command that must succeed.
    Json json(const std::vector<std::string>& args) const {
        const auto result = (*this)(args);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.exitCode == 0 ? result.json() : Json();
    }
    void write(const std::string& key, const std::string& kind, const std::string& value) const {
        const auto result = (*this)({"defaults", "write", key, kind, value});
        EXPECT_EQ(result.exitCode, 0) << result.err;
    }
};

TEST(CommandLine, TimelineOfAStoredBriefAndItsMorningReload) {
    Cli cli;
    cli.write("vmDailyBrief", "--data", validBrief);

    const auto early = cli({"--at", "2025-11-16T05:00:00Z", "timeline", "DailyBrief"});
    ASSERT_EQ(early.exitCode, 0) << early.err;
    EXPECT_EQ(early.err, "");
    EXPECT_THAT(early.out, HasSubstr(R"("reloadAfter": "2025-11-16T06:30:00Z")"));
    const auto json = early.json();
    ASSERT_EQ(json["entries"].size(), 1u);
    EXPECT_EQ(json["entries"][0]["date"], "2025-11-16T05:00:00Z");
    EXPECT_EQ(json["entries"][0]["brief"], Json::parse(validBrief));

    EXPECT_EQ(cli.json({"--at", "2025-11-16T06:30:00Z", "timeline", "DailyBrief"})["reloadAfter"],
              "2025-11-17T06:30:00Z");
    const auto justBefore =
        cli.json({"--at", "2025-11-16T07:29:59.999+01:00", "timeline", "DailyBrief"});
    EXPECT_EQ(justBefore["entries"][0]["date"], "2025-11-16T06:29:59.999Z");
    EXPECT_EQ(justBefore["reloadAfter"], "2025-11-16T06:30:00Z");

    EXPECT_EQ(cli.json({"--at", "2025-11-16T05:00:00Z", "snapshot", "DailyBrief"}),
              json["entries"][0]);
    const auto placeholder =
        cli.json({"--at", "2025-11-16T05:00:00Z", "placeholder", "DailyBrief"})["brief"];
    EXPECT_EQ(placeholder["ticker"], "NVDA");
    EXPECT_EQ(placeholder["score"], 78.0);
    EXPECT_EQ(placeholder["generatedAt"], "2025-11-16T05:00:00Z");
}

TEST(CommandLine, UnreadableBriefPrintsNullAndLogsOnlyDecodingFailures) {
    Cli cli;
    cli.write("vmDailyBrief", "--data",
              R"({"ticker":"NVDA","summary":"s","signal":"Buy","score":1,)"
              R"("generatedAt":1763272800})");
    const auto bad = cli({"--at", "2025-11-16T05:00:00Z", "timeline", "DailyBrief"});
    ASSERT_EQ(bad.exitCode, 0);
    EXPECT_TRUE(bad.json()["entries"][0]["brief"].is_null());
    ASSERT_EQ(bad.errLines().size(), 1u) << bad.err;
    EXPECT_THAT(bad.err, HasSubstr("AppGroup decode failed for vmDailyBrief: generatedAt: expected "
                                   "an RFC 3339 date-time, found a number"));

    // A brief stored as text, and no brief at all: null, and nothing logged.
    cli.write("vmDailyBrief", "--string", validBrief);
    for (const bool deleted : {false, true}) {
        if (deleted) {
            ASSERT_EQ(cli({"defaults", "delete", "vmDailyBrief"}).exitCode, 0);
        }
        const auto result = cli({"snapshot", "DailyBrief"});
        ASSERT_EQ(result.exitCode, 0);
        EXPECT_TRUE(result.json()["brief"].is_null());
        EXPECT_EQ(result.err, "");
    }
}

TEST(CommandLine, WatchlistRequests) {
    Cli cli;
    const auto entry = cli.json({"--at", "2025-11-16T09:00:00Z", "placeholder", "WatchlistGlance"});
    ASSERT_EQ(entry["rows"].size(), 3u);
    EXPECT_EQ(entry["rows"][1]["ticker"], "NVDA");
    EXPECT_EQ(entry["rows"][1]["signal"], "Strong Buy");
    EXPECT_TRUE(entry["portfolio"].is_null());

    Json rows = Json::array();
    for (int i = 0; i < 25; ++i)
        rows.push_back({{"ticker", "T" + std::to_string(i)}, {"price", i}, {"changePct", -i}});
    cli.write("vmWatchlistTickers", "--data", rows.dump());
    cli.write(
        "vmPortfolioSnapshot", "--data",
        R"({"totalValue":10000,"totalPnl":1,"totalReturn":2,"dailyChange":3,"dailyChangePct":4,)"
        R"("holdingCount":5,"sourceLabel":"Broker","updatedAt":"2025-11-16T08:00:00+00:00"})");

    const auto json = cli.json({"--at", "2025-11-16T09:00:00Z", "timeline", "WatchlistGlance"});
    EXPECT_EQ(json["reloadAfter"], "2025-11-16T09:15:00Z");
    ASSERT_EQ(json["entries"].size(), 1u);
    EXPECT_EQ(json["entries"][0]["rows"].size(), 25u);
    EXPECT_EQ(json["entries"][0]["rows"][24]["ticker"], "T24");
    EXPECT_FALSE(json["entries"][0]["rows"][0].contains("signal"));  // unset, not null
    EXPECT_EQ(json["entries"][0]["portfolio"]["holdingCount"], 5);
    EXPECT_EQ(json["entries"][0]["portfolio"]["updatedAt"], "2025-11-16T08:00:00Z");
}

TEST(CommandLine, DefaultsWriteReadAndDelete) {
    Cli cli;
    cli.write("note", "--string", "hello");
    const auto text = cli({"defaults", "read", "note"});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_EQ(text.out, "string\nhello\n");

    std::ofstream(cli.temp.folder() / "brief.json") << validBrief;
    cli.write("vmDailyBrief", "--data-file", (cli.temp.folder() / "brief.json").string());
    const auto data = cli({"defaults", "read", "vmDailyBrief"});
    EXPECT_EQ(data.exitCode, 0);
    EXPECT_EQ(data.out,
              "data (" + std::to_string(validBrief.size()) + " bytes)\n" + validBrief + "\n");

    // The standard defaults are a store of their own.
    EXPECT_EQ(cli({"defaults", "--standard", "read", "vmDailyBrief"}).exitCode, 1);
    ASSERT_EQ(cli({"defaults", "--standard", "write", "vmDailyBrief", "--data", "x"}).exitCode, 0);
    EXPECT_EQ(cli({"defaults", "--standard", "read", "vmDailyBrief"}).out, "data (1 byte)\nx\n");

    EXPECT_EQ(cli({"defaults", "delete", "note"}).exitCode, 0);
    const auto gone = cli({"defaults", "read", "note"});
    EXPECT_EQ(gone.exitCode, 1);
    EXPECT_EQ(gone.out, "");
    EXPECT_THAT(gone.err, HasSubstr("no value for key \"note\""));
    EXPECT_EQ(cli({"defaults", "delete", "note"}).exitCode, 1);

    // Without --store-dir the environment names the folder.
    const auto viaEnvironment = run(cli.temp.folder(), {"defaults", "read", "vmDailyBrief"},
                                    {{"VELMORA_STORE_DIR", cli.store.string()}});
    EXPECT_EQ(viaEnvironment.exitCode, 0);
    EXPECT_EQ(viaEnvironment.out, data.out);
}

TEST(CommandLine, UsageErrorsExitTwoWithOneLine) {
    Cli cli;
    const std::vector<std::vector<std::string>> mistakes{
        {"timeline", "Weather"},
        {"timeline"},
        {"--at", "2025-11-16", "timeline", "DailyBrief"},
        {"--at", "2025-11-16T25:00:00Z", "snapshot", "DailyBrief"},
        {"render"},
        {},
        {"defaults"},
        {"defaults", "write", "key"},
        {"defaults", "write", "key", "--string", "a", "--data", "b"},
        {"--no-such-option", "timeline", "DailyBrief"},
    };
    for (const auto& args : mistakes) {
        const auto result = cli(args);
        std::string shown;
        for (const auto& arg : args) shown += arg + " ";
        EXPECT_EQ(result.exitCode, 2) << shown;
        EXPECT_EQ(result.out, "") << shown;
        ASSERT_EQ(result.errLines().size(), 1u) << shown << result.err;
        EXPECT_THAT(result.err, HasSubstr("velmora-widgets: error: ")) << shown;
    }
    EXPECT_THAT(cli({"timeline", "Weather"}).err, HasSubstr("unknown widget kind \"Weather\""));
    EXPECT_THAT(cli({"frobnicate"}).err, HasSubstr("unknown command \"frobnicate\""));
    EXPECT_FALSE(std::filesystem::exists(cli.store));  // nothing was written
}

TEST(CommandLine, FailuresToWriteExitOne) {
    Cli cli;
    std::ofstream(cli.temp.folder() / "plain-file") << "x";
    const auto blocked = run(cli.temp.folder(),
                             {"--store-dir", (cli.temp.folder() / "plain-file" / "store").string(),
                              "defaults", "write", "k", "--string", "v"});
    EXPECT_EQ(blocked.exitCode, 1);
    ASSERT_EQ(blocked.errLines().size(), 1u) << blocked.err;
    EXPECT_THAT(blocked.err, HasSubstr("cannot create the store folder"));

    const auto missingFile =
        cli({"defaults", "write", "k", "--data-file", (cli.temp.folder() / "absent").string()});
    EXPECT_EQ(missingFile.exitCode, 1);
    EXPECT_THAT(missingFile.err, HasSubstr("cannot be read"));
}

}  // namespace
