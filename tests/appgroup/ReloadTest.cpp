// The library's reload on session buses of the test's own: none, one that never answers, one
// without a widget host. tests/desktop/board_test.sh has the running board take it.
#include "tests/support/ChildProcess.h"
#include "tests/support/TempStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <velmora/appgroup.hpp>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace {

using testing::HasSubstr;
using Clock = std::chrono::steady_clock;

// The session bus as the environment names it, for this process.
void useBus(const std::string& address, const std::string& runtimeFolder) {
    address.empty() ? ::unsetenv("DBUS_SESSION_BUS_ADDRESS")
                    : ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", runtimeFolder.c_str(), 1);
}

// A socket that takes connections into its backlog and never answers them.
class SilentSocket {
public:
    explicit SilentSocket(const std::filesystem::path& path)
        : m_fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.string().copy(address.sun_path, sizeof address.sun_path - 1);
        if (::bind(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(m_fd, 4) != 0)
            ADD_FAILURE() << "cannot listen on " << path;
    }
    SilentSocket(const SilentSocket&) = delete;
    SilentSocket& operator=(const SilentSocket&) = delete;
    ~SilentSocket() { ::close(m_fd); }

private:
    int m_fd;
};

// A private bus daemon of the test's own; none when dbus-daemon is not installed.
struct PrivateBus {
    std::optional<childprocess::ChildProcess> daemon;
    std::string address;

    PrivateBus() {
        if (::access("/usr/bin/dbus-daemon", X_OK) != 0) return;
        daemon.emplace(std::vector<std::string>{"/usr/bin/dbus-daemon", "--session", "--nofork",
                                                "--print-address=1"});
        address = daemon->readLine();
    }
};

TEST(Reload, NoneRunningWithinItsTimeout) {
    tempstore::TempStore temp;
    const auto empty = temp.folder() / "empty", answerless = temp.folder() / "answerless";
    std::filesystem::create_directories(empty);
    std::filesystem::create_directories(answerless);
    SilentSocket silent(temp.folder() / "silent"), silentRuntimeBus(answerless / "bus");
    PrivateBus bus;

    struct Case {
        std::string name, address;
        std::filesystem::path runtimeFolder;
        std::string message;
    };
    std::vector<Case> cases{
        {"no address, no bus socket", "", empty, "no session bus"},
        {"an address with nothing there", "unix:path=" + (temp.folder() / "absent").string(), empty,
         "no session bus"},
        {"a bus that never answers", "unix:path=" + (temp.folder() / "silent").string(), empty,
         "no answer within 1000 ms"},
        {"the runtime folder's bus, which never answers", "", answerless,
         "no answer within 1000 ms"},
    };
    if (bus.daemon)
        cases.push_back(
            {"a bus without a widget host", bus.address, empty, "no widget host is running"});
    else
        std::cout << "dbus-daemon is not installed: a bus without a widget host left out\n";
    for (const auto& c : cases) {
        useBus(c.address, c.runtimeFolder.string());
        const auto start = Clock::now();
        const auto status = velmora::appgroup::reload();
        const auto took = Clock::now() - start;
        EXPECT_EQ(status.code, VELMORA_APPGROUP_NONE_RUNNING) << c.name << ": " << status.message;
        EXPECT_THAT(status.message, HasSubstr(c.message)) << c.name;
        EXPECT_LT(took, std::chrono::milliseconds(1500)) << c.name;
    }
}

}  // namespace
