// The extension process: its protocol, its answers against the in-process path, its
// confinement seen from inside and from /proc, and the host's side when it misbehaves.
#include "hosting/Extension.h"
#include "platform/Clock.h"
#include "platform/OwnedFd.h"
#include "records/JSONDecoder.h"
#include "render/Painter.h"
#include "tests/support/DiskState.h"
#include "tests/support/Samples.h"
#include "tests/support/TempStore.h"
#include "widgets/WidgetHost.h"
#include "widgets/Widgets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <linux/landlock.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <thread>

namespace {

using namespace timeline;
using namespace widgets;
using namespace ipc;
using namespace hosting;
using testing::HasSubstr;
using timeline::WidgetFamily;

const platform::Date at = *platform::parseRecordDate("2025-11-16T06:00:00Z");
const Placement brief{"DailyBrief", WidgetFamily::systemMedium};
const Placement glance{"WatchlistGlance", WidgetFamily::systemLarge};

// A store holding every record, and the settings of hosts that read it.
struct SeededStore {
    tempstore::TempStore temp;
    SeededStore() {
        temp.putData("vmDailyBrief", samples::brief);
        temp.putData("vmWatchlistTickers", samples::rows);
        temp.putData("vmPortfolioSnapshot", samples::snapshot);
    }
    [[nodiscard]] widgets::HostSettings host() const {
        widgets::HostSettings settings;
        settings.storeDirectory = temp.directory();
        return settings;
    }
    [[nodiscard]] ExtensionSettings extension(const char* program) const {
        auto settings = extensionSettings({temp.directory(), "en_US", "UTC"});
        settings.program = program;
        return settings;
    }
};

// How the faulty extension launched next misbehaves (tests/support/FaultyExtension.cpp).
void inject(const char* fault, const char* kind, const char* after) {
    ::setenv("VELMORA_FAULT", fault, 1);
    ::setenv("VELMORA_FAULT_KIND", kind, 1);
    ::setenv("VELMORA_FAULT_AFTER", after, 1);
}

// A shell command's standard output; its exit status in `status`.
std::string run(const std::string& command, int* status = nullptr) {
    std::string output;
    FILE* pipe = ::popen(command.c_str(), "r");
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        output.append(buffer, n);
    const int ended = ::pclose(pipe);
    if (status != nullptr) *status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -1;
    return output;
}

// Requests and drawings through the confined extension give what the host's own process gives,
// text in scripts that only the system's fallback fonts draw included.
TEST(Extension, AnswersAsTheInProcessPathDoes) {
    SeededStore store;
    const WidgetHost local(widgets::VelmoraWidgetsBundle().body(), store.host());
    Extension extension(store.extension(VELMORA_PROGRAM));
    const platform::FixedClock clock(at);
    const std::string scripts =
        samples::with(samples::with(samples::brief, "companyName", "トヨタ自動車株式会社"),
                      "summary", "ผลประกอบการแข็งแกร่ง मजबूत नतीजों के बाद शेयर में तेजी आई।");
    for (const auto& [placement, record] :
         {std::pair{brief, samples::brief}, std::pair{glance, samples::brief},
          std::pair{brief, scripts}}) {
        store.temp.putData("vmDailyBrief", record);
        const auto reload =
            extension.reload(placement, Request::timeline, at, 2, ImageEncoding::argb32);
        ASSERT_TRUE(reload) << reload.error().description;
        const auto timeline = local.request(placement, Request::timeline, clock);
        EXPECT_EQ(reload->timeline, timelineDates(timeline));

        const auto list = local.layOut(placement, timeline.entries.front(), at).drawList;
        const auto size = render::pixelSize(list, 2).value();
        std::vector<unsigned char> pixels(std::size_t(size.stride) * size.height);
        ASSERT_TRUE(
            render::paintPixels(list, 2, {pixels.data(), size.width, size.height, size.stride}));
        ASSERT_TRUE(reload->drawing);
        const auto& drawn = reload->drawing;
        EXPECT_EQ(drawn->width, size.width);
        EXPECT_TRUE(drawn->image.bytes() ==
                    std::string_view(reinterpret_cast<const char*>(pixels.data()), pixels.size()));
        EXPECT_EQ(drawn->url, list.url->text());

        const auto png = extension.reload(placement, Request::timeline, at, 2, ImageEncoding::png);
        ASSERT_TRUE(png && png->drawing) << png.error().description;
        EXPECT_TRUE(png->drawing->image.bytes() ==
                    render::paintToBytes(list, render::ImageFormat::png).value());
    }
}

// What the confined extension finds when it tries, launched as the hosts launch it: one line
// per action, which the host forwards as its own.
std::map<std::string, std::string> probe(const SeededStore& store) {
    auto settings = store.extension(VELMORA_PROGRAM);
    settings.arguments.emplace_back("--probe");
    testing::internal::CaptureStderr();
    {
        Extension extension(std::move(settings));
        // The probe answers nothing: it prints and leaves.
        (void)extension.reload(brief, Request::placeholder, at, 2, ImageEncoding::none);
    }
    std::stringstream lines(testing::internal::GetCapturedStderr());
    std::map<std::string, std::string> outcomes;
    constexpr std::string_view forwarded = "velmora-widgets extension: ";
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(forwarded))
            if (const auto colon = line.find(": ", forwarded.size()); colon != std::string::npos)
                outcomes[line.substr(forwarded.size(), colon - forwarded.size())] =
                    line.substr(colon + 2);
    return outcomes;
}

// A store whose database is a symbolic link out of the store folder is read through the
// extension as in-process commands read it, confined or not.
TEST(Extension, AStoreLinkedFromElsewhereIsRead) {
    SeededStore store;
    const tempstore::TempStore elsewhere;
    const auto moved = elsewhere.folder() / "shared.sqlite";
    std::filesystem::rename(store.temp.suiteFile(), moved);
    std::filesystem::create_symlink(moved, store.temp.suiteFile());
    Extension extension(store.extension(VELMORA_PROGRAM));
    const auto reload = extension.reload(brief, Request::timeline, at, 1, ImageEncoding::argb32);
    ASSERT_TRUE(reload) << reload.error().description;
    EXPECT_THAT(reload->drawing->texts, HasSubstr("NVDA\nNVIDIA"));
}

// Records as large as the store takes, under each key, are valid records: the extension decodes
// and draws them within its memory in every family, and its reply stays small (it carries what
// the views show, not the records). A pile of combining marks, a list of a megabyte of rows and
// a portfolio whose label is most of a megabyte among them; a list of empty objects, which holds
// no row, is drawn as a list that holds none.
TEST(Extension, RecordsAtTheStoresCapDrawInEveryFamily) {
    const auto filled = [](const std::string& unit, std::size_t room) {
        std::string text;
        while (text.size() + unit.size() <= room) text += unit;
        return text;
    };
    std::string marks = "a";
    for (int i = 0; i < 200; ++i) marks += "\u0301";
    constexpr std::size_t cap = std::size_t(1) << 20;
    const std::string row = R"({"ticker":"A","price":1,"changePct":1})";
    const std::string rows = "[" + filled(row + ",", cap - 2 - row.size()) + row + "]";
    const struct {
        const char* key;
        std::string record;
    } records[] = {
        {"vmDailyBrief",
         samples::with(samples::brief, "summary", filled(marks, cap - samples::brief.size()))},
        {"vmDailyBrief", samples::with(samples::brief, "summary",
                                       filled("Momentum holds. ", cap - samples::brief.size()))},
        {"vmWatchlistTickers", rows},
        // No row at all, but a megabyte of objects to build before that is known.
        {"vmWatchlistTickers", "[" + filled("{},", cap - 4) + "{}]"},
        {"vmPortfolioSnapshot", samples::with(samples::snapshot, "sourceLabel",
                                              filled("Broker ", cap - samples::snapshot.size()))},
    };
    SeededStore store;
    Extension extension(store.extension(VELMORA_PROGRAM));
    const auto placements = WidgetHost(widgets::VelmoraWidgetsBundle().body(), {}).allPlacements();
    for (const auto& [key, record] : records) {
        SCOPED_TRACE(std::string(key) + " of " + std::to_string(record.size()) + " bytes");
        ASSERT_LE(record.size(), cap);
        ASSERT_GT(record.size(), cap - 1024);
        store.temp.putData(key, record);
        for (const auto& placement : placements) {
            const auto reload =
                extension.reload(placement, Request::timeline, at, 2, ImageEncoding::argb32);
            ASSERT_TRUE(reload) << placement.kind << " " << name(placement.family) << ": "
                                << reload.error().description;
            EXPECT_LT(reload->drawing->texts.size(), std::size_t(64) << 10);
        }
    }
}

// A host learns the bundle from the extension: what it describes is the bundle as the widgets in
// this process describe it, in the host's locale; a description that lists a widget twice is
// refused.
TEST(Extension, DescribesTheBundleAndADescriptionThatListsAWidgetTwiceIsRefused) {
    SeededStore store;
    Extension extension(store.extension(VELMORA_PROGRAM));
    const auto described = extension.describe();
    ASSERT_TRUE(described) << described.error().description;
    EXPECT_EQ(*described,
              WidgetHost(widgets::VelmoraWidgetsBundle().body(), store.host()).describe());
    EXPECT_EQ(described->front().displayName, "Watchlist Glance");

    inject("twins", "", "0");
    Extension twins(store.extension(VELMORA_FAULTY_EXTENSION));
    const auto twice = twins.describe();
    ::unsetenv("VELMORA_FAULT");
    ASSERT_FALSE(twice);
    EXPECT_THAT(twice.error().description, HasSubstr("twice"));
}

bool seccompOffered() {
    return ::prctl(PR_GET_SECCOMP) >= 0;
}

TEST(Confinement, ProgramsListeningAndNamespacesAreRefusedAndTheStoreIsRead) {
    if (!seccompOffered()) GTEST_SKIP() << "this kernel offers no seccomp";
    SeededStore store;
    auto outcomes = probe(store);
    // Refused by the filter itself, whatever Landlock would say of the program's file.
    for (const auto* action : {"run a program", "listen on a TCP port", "make a namespace"})
        EXPECT_EQ(outcomes[action], "refused (Operation not permitted)") << action;
    EXPECT_EQ(outcomes["read the store"], "allowed (vmDailyBrief: NVDA)");

    Extension extension(store.extension(VELMORA_PROGRAM));
    ASSERT_TRUE(extension.reload(brief, Request::placeholder, at, 2, ImageEncoding::none));
    std::ifstream status("/proc/" + std::to_string(*extension.processId()) + "/status");
    std::map<std::string, std::string> fields;
    for (std::string line; std::getline(status, line);)
        fields[line.substr(0, line.find(':'))] = line.substr(line.find(':') + 1);
    EXPECT_EQ(fields["NoNewPrivs"], "\t1");
    EXPECT_EQ(fields["Seccomp"], "\t2");
}

// The extension has nothing of the host's but its socket: no descriptor the host's caller left
// open, no terminal to write to or type into.
TEST(Confinement, NothingOfTheHostsButItsChannel) {
    if (!seccompOffered()) GTEST_SKIP() << "this kernel offers no seccomp";
    SeededStore store;
    int leaked[2];
    ASSERT_EQ(::pipe(leaked), 0);  // without close-on-exec, as a careless caller leaves them
    auto outcomes = probe(store);
    ::close(leaked[0]);
    ::close(leaked[1]);
    EXPECT_EQ(outcomes["descriptors besides 0, 1 and 2"], "none");
    EXPECT_EQ(outcomes["standard output and error"], "a pipe");
    EXPECT_EQ(outcomes["session"], "its own");
    EXPECT_EQ(outcomes["type into a terminal"], "refused (Operation not permitted)");
}

// No new socket of any kind, no executable memory, no memory past the limit that the data
// limit does not count, and no lock on the store that could hold off the host app's writes.
TEST(Confinement, SocketsExecutableOrSharedMemoryAndLocksAreRefused) {
    if (!seccompOffered()) GTEST_SKIP() << "this kernel offers no seccomp";
    SeededStore store;
    // A listening socket by path, as the session bus's or an agent's.
    const auto path = store.temp.folder() / "agent.socket";
    const platform::OwnedFd agent(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(agent.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(agent.get(), 1), 0);
    ::setenv("SSH_AUTH_SOCK", path.c_str(), 1);
    auto outcomes = probe(store);
    ::unsetenv("SSH_AUTH_SOCK");

    const std::string filter = "refused (Operation not permitted)";
    const std::pair<const char*, std::string> expected[] = {
        {"connect to a Unix socket by path", filter},
        {"open a netlink socket", filter},
        {"open a packet socket", filter},
        {"make a socket pair", filter},
        {"map memory writable and executable", filter},
        {"make memory executable", filter},
        {"map a memfd executable", filter},
        {"map shared anonymous memory past the memory limit", filter},
        {"grow a memfd past the memory limit",
         extensionMemoryLimit == 0 ? "allowed" : "refused (File too large)"},
        {"lock the store's file", filter},
        {"lock the store's file for its open file description", filter},
        {"lock the store's file whole", filter},
    };
    for (const auto& [action, outcome] : expected) EXPECT_EQ(outcomes[action], outcome) << action;
    EXPECT_EQ(::accept(agent.get(), nullptr, nullptr), -1);                 // nobody came
    EXPECT_EQ(outcomes["read the store"], "allowed (vmDailyBrief: NVDA)");  // without a lock
}

TEST(Confinement, LandlockRefusesEveryWrite) {
    if (::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) <= 0)
        GTEST_SKIP() << "this kernel offers no Landlock: writes are not confined here";
    SeededStore store;
    const diskstate::DiskState before(store.temp.folder());
    auto outcomes = probe(store);
    for (const auto* action : {"write in the store folder", "write to the store's file",
                               "write in the home folder", "write in /tmp"})
        EXPECT_EQ(outcomes[action], "refused (Permission denied)") << action;
    EXPECT_EQ(diskstate::DiskState(store.temp.folder()), before);
}

// What the extension writes reaches the host's standard error a line at a time as it answers,
// each marked as the extension's, cut to 512 bytes, with every control character escaped.
TEST(Extension, WhatItWritesReachesTheHostAsEscapedLinesOfItsOwn) {
    SeededStore store;
    inject("noise", "", "0");
    testing::internal::CaptureStderr();
    std::string whileItRuns;
    {
        Extension extension(store.extension(VELMORA_FAULTY_EXTENSION));
        EXPECT_TRUE(extension.reload(brief, Request::placeholder, at, 2, ImageEncoding::none));
        // Its whole lines come with its answer, not when it ends.
        whileItRuns = testing::internal::GetCapturedStderr();
        EXPECT_THAT(whileItRuns, HasSubstr("warning: its own\n"));
        testing::internal::CaptureStderr();
    }
    std::stringstream written(whileItRuns + testing::internal::GetCapturedStderr());
    std::vector<std::string> lines;
    for (std::string line; std::getline(written, line);) lines.push_back(line);
    const std::string prefix = "velmora-widgets extension: ";
    EXPECT_THAT(lines, testing::ElementsAre(
                           prefix + "\\x1b]0;title\\x07\\x1b[2J cleared\\x0d",
                           prefix + "velmora-widgets: error: forged", prefix + "warning: its own",
                           prefix + "\\xc2\\x9b31m C1 " + std::string(512 - 9, 'x') + "…"));
}

// Each fault ends the process with one error saying what happened; the next request, of
// another widget, is answered by a new process at once.
TEST(Extension, AFaultEndsTheProcessAndTheNextRequestIsAnswered) {
    SeededStore store;
    const struct {
        const char* fault;
        const char* error;
    } faults[] = {
        {"crash", "killed by signal 11 (Segmentation fault) without answering"},
        {"hang", "gave no whole answer within 2 s"},
        {"garbage", "sent a reply that does not parse: not a frame of ours"},
        {"allocate", "the extension ran out of its 30 MB of memory without answering"},
        {"cut", "exited with status 0 in the middle of an answer"},
    };
    for (const auto& [fault, error] : faults) {
        if (extensionMemoryLimit == 0 && std::string_view(fault) == "allocate") continue;
        inject(fault, "DailyBrief", "0");
        Extension extension(store.extension(VELMORA_FAULTY_EXTENSION));
        const auto failed =
            extension.reload(brief, Request::placeholder, at, 2, ImageEncoding::argb32);
        ASSERT_FALSE(failed) << fault;
        EXPECT_THAT(failed.error().description, HasSubstr(error)) << fault;
        EXPECT_EQ(extension.processId(), std::nullopt) << fault;
        EXPECT_TRUE(extension.reload(glance, Request::timeline, at, 2, ImageEncoding::argb32))
            << fault;
    }
}

// A process the extension started goes with it.
TEST(Extension, NothingItStartedOutlivesIt) {
    SeededStore store;
    inject("fork", "", "0");
    testing::internal::CaptureStderr();
    {
        Extension extension(store.extension(VELMORA_FAULTY_EXTENSION));
        EXPECT_FALSE(extension.reload(brief, Request::placeholder, at, 2, ImageEncoding::none));
    }
    const std::string forwarded = testing::internal::GetCapturedStderr();
    std::smatch started;
    ASSERT_TRUE(std::regex_search(forwarded, started, std::regex("started ([0-9]+)"))) << forwarded;
    // Gone, or a zombie its new parent has not reaped yet.
    const auto running = [&] {
        std::ifstream stat("/proc/" + started[1].str() + "/stat");
        std::string fields;
        std::getline(stat, fields);
        return stat && fields.substr(fields.rfind(')') + 2, 1) != "Z";
    };
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (running() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_FALSE(running());
}

// An extension that ended itself after its idle time is launched again for the next request.
TEST(Extension, AnExtensionThatSaidGoodbyeIsLaunchedAgain) {
    SeededStore store;
    inject("goodbye", "", "1");
    Extension extension(store.extension(VELMORA_FAULTY_EXTENSION));
    ASSERT_TRUE(extension.reload(brief, Request::placeholder, at, 2, ImageEncoding::none));
    const auto first = extension.processId();
    EXPECT_TRUE(extension.reload(brief, Request::placeholder, at, 2, ImageEncoding::none));
    EXPECT_NE(extension.processId(), first);
}

// The process's peak resident memory in kB, as /proc says: VmHWM, which resetPeak() brings
// down to what is resident now.
long peakKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:")) return std::stol(line.substr(6));
    return 0;
}
void resetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

// A hostile extension's answers that claim more than was asked are refused before the host
// maps, allocates or shows anything, and the process that sent them is ended.
TEST(Extension, RefusesAnswersBeyondWhatWasAsked) {
    SeededStore store;
    const Placement small{"WatchlistGlance", WidgetFamily::systemSmall};
    const struct {
        const char* fault;
        ImageEncoding encoding;
        const char* error;
    } faults[] = {
        {"huge-png", ImageEncoding::png, "a drawing of 1073741824 bytes"},
        {"pixels", ImageEncoding::argb32, "a drawing of 680 × 680 pixels"},
        {"pixels", ImageEncoding::png, "a drawing of 680 × 680 pixels"},
        {"link", ImageEncoding::png, "a link that is not one of the app's (velmora:)"},
        {"texts", ImageEncoding::argb32, "texts of 65537 bytes"},
        {"count", ImageEncoding::none, "a list longer than its frame"},
    };
    for (const auto& [fault, encoding, error] : faults) {
        inject(fault, "", "0");
        // Without the limit that holds its files to 30 MB (as in sanitizer builds), so that the
        // 1 GiB memfd is made: the host's own check must refuse it.
        auto unlimited = store.extension(VELMORA_FAULTY_EXTENSION);
        unlimited.memoryLimit = 0;
        Extension extension(std::move(unlimited));
        resetPeak();
        const long before = peakKilobytes();
        platform::Result<void> failed;
        if (encoding == ImageEncoding::none) {
            if (auto described = extension.describe(); !described) failed = described.error();
        } else if (auto reload = extension.reload(small, Request::placeholder, at, 2, encoding);
                   !reload) {
            failed = reload.error();
        }
        ::unsetenv("VELMORA_FAULT");
        ASSERT_FALSE(failed) << fault;
        EXPECT_THAT(failed.error().description, HasSubstr(error)) << fault;
        EXPECT_LT(peakKilobytes() - before, 16 << 10) << fault;
        EXPECT_EQ(extension.processId(), std::nullopt) << fault;
    }
}

// The host and the painter agree on a drawing's pixels at any scale, a fraction's rounding
// included; and records at the store's cap fit a reply, which carries the entries' dates and
// what the drawing shows, its texts cut to their bound, never the record.
TEST(Extension, TakesDrawingsAtEveryScaleAndOfRecordsAtTheCap) {
    SeededStore store;
    const auto filled = [&](const std::string& record, const char* key) {
        return samples::with(record, key, std::string((1 << 20) - record.size() - 64, 'a'));
    };
    store.temp.putData("vmDailyBrief", filled(samples::brief, "summary"));
    store.temp.putData("vmPortfolioSnapshot", filled(samples::snapshot, "sourceLabel"));
    Extension extension(store.extension(VELMORA_PROGRAM));
    for (const auto& placement :
         WidgetHost(widgets::VelmoraWidgetsBundle().body(), store.host()).allPlacements())
        for (const double scale : {1.0, 1.1, 2.2, 3.0}) {
            const auto reload =
                extension.reload(placement, Request::timeline, at, scale, ImageEncoding::argb32);
            ASSERT_TRUE(reload) << placement.kind << ": " << reload.error().description;
            layout::DrawList list;
            list.canvas = reload->drawing->canvas;
            EXPECT_EQ(reload->drawing->width, render::pixelSize(list, scale)->width) << scale;
        }
}

// An extension that died between requests is reaped at once when the host looks, and the next
// request launches a new one; a stop from another thread ends a hung request within moments and
// refuses every later one without launching.
TEST(Extension, DiedWhileIdleIsReapedAndLaunchedAgainAndAStopEndsAHungRequest) {
    SeededStore store;
    Extension extension(store.extension(VELMORA_PROGRAM));
    pid_t died = -1;
    for (int round = 0; round < 2; ++round) {  // killed, it leaves a zombie until reaped
        const auto reload =
            extension.reload(brief, Request::placeholder, at, 2, ImageEncoding::none);
        ASSERT_TRUE(reload) << round << ": " << reload.error().description;
        ::kill(died = *extension.processId(), SIGKILL);
        pollfd ended{extension.endFd(), POLLIN, 0};
        ASSERT_EQ(::poll(&ended, 1, 5000), 1);
    }
    extension.reapEnded();
    EXPECT_EQ(extension.processId(), std::nullopt);
    EXPECT_NE(::kill(died, 0), 0);  // no zombie left

    inject("hang", "", "0");
    Extension hung(store.extension(VELMORA_FAULTY_EXTENSION));
    const auto start = std::chrono::steady_clock::now();
    std::jthread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        hung.stop();
    });
    EXPECT_FALSE(hung.reload(brief, Request::placeholder, at, 2, ImageEncoding::none));
    ::unsetenv("VELMORA_FAULT");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    const auto refused = hung.reload(brief, Request::placeholder, at, 2, ImageEncoding::none);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().description, "the host is stopping");
    EXPECT_EQ(hung.processId(), std::nullopt);
}

// A simulated day of the host whose extension crashes on every third brief request: the host
// finishes, reports each crash in one line, asks the watchlist on time, shows every placement,
// and the store's files are as they were.
TEST(Extension, ADayOfTheHostWithACrashingExtension) {
    SeededStore store;
    const diskstate::DiskState before(store.temp.folder());
    const tempstore::TempStore out;
    inject("crash", "DailyBrief", "2");
    int status = -1;
    const auto printed =
        run("VELMORA_EXTENSION=" VELMORA_FAULTY_EXTENSION " " VELMORA_PROGRAM
            " --at 2025-11-16T00:00:00Z --store-dir " +
                store.temp.directory() + " host --simulate --until 2025-11-17T00:00:00Z --out " +
                out.directory() + " 2>" + out.directory() + "/errors",
            &status);
    EXPECT_EQ(status, 0);
    const std::regex watchlist(" timeline WatchlistGlance ");
    EXPECT_EQ(std::distance(std::sregex_iterator(printed.begin(), printed.end(), watchlist), {}),
              3 * 96);
    std::ifstream file(out.folder() / "errors");
    std::vector<std::string> errors;
    // The host's own lines; a sanitizer build's runtime may add its own from dying children.
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("velmora-widgets: ")) errors.push_back(line);
    EXPECT_GE(errors.size(), 2u);
    for (const auto& line : errors)
        EXPECT_THAT(line,
                    testing::MatchesRegex("velmora-widgets: error: DailyBrief system(Medium|"
                                          "Large): the extension was killed by signal 11 .*"));
    for (const auto& placement :
         WidgetHost(widgets::VelmoraWidgetsBundle().body(), {}).allPlacements())
        EXPECT_TRUE(std::filesystem::exists(
            out.folder() /
            (placement.kind + "-" + std::string(name(placement.family)) + "-current.png")))
            << placement.kind;
    EXPECT_EQ(diskstate::DiskState(store.temp.folder()), before);
}

}  // namespace
