// The library's reload on session buses of the test's own: none, one that never answers, one
// without a widget host, one where a stand-in for the board takes the request.
#include "tests/support/ChildProcess.h"
#include "tests/support/TempStore.h"

#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <velmora/appgroup.hpp>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
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
    const auto runtime = temp.folder() / "runtime";
    std::filesystem::create_directories(runtime);
    SilentSocket silent(temp.folder() / "silent");
    PrivateBus bus;

    struct Case {
        std::string name, address;
        std::string message;
    };
    std::vector<Case> cases{
        {"no address, no bus socket", "", "no session bus"},
        {"an address with nothing there", "unix:path=" + (temp.folder() / "absent").string(),
         "no session bus"},
        {"a bus that never answers", "unix:path=" + (temp.folder() / "silent").string(),
         "no answer within 1000 ms"},
    };
    if (bus.daemon)
        cases.push_back({"a bus without a widget host", bus.address, "no widget host is running"});
    else
        std::cout << "dbus-daemon is not installed: a bus without a widget host left out\n";
    for (const auto& c : cases) {
        useBus(c.address, runtime.string());
        const auto start = Clock::now();
        const auto status = velmora::appgroup::reload();
        const auto took = Clock::now() - start;
        EXPECT_EQ(status.code, VELMORA_APPGROUP_NONE_RUNNING) << c.name << ": " << status.message;
        EXPECT_THAT(status.message, HasSubstr(c.message)) << c.name;
        EXPECT_LT(took, std::chrono::milliseconds(1500)) << c.name;
    }
}

// The board's side as GApplication exports it: its name on the bus and its reload action at the
// actions path, served from a loop of its own. Records what the action was given.
class StandInBoard {
public:
    explicit StandInBoard(const std::string& address) {
        m_context = g_main_context_new();
        g_main_context_push_thread_default(m_context);
        m_bus = g_dbus_connection_new_for_address_sync(
            address.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        m_actions = g_simple_action_group_new();
        GSimpleAction* reload = g_simple_action_new("reload", G_VARIANT_TYPE_STRING);
        g_signal_connect(reload, "activate",
                         G_CALLBACK(+[](GSimpleAction*, GVariant* kind, gpointer self) {
                             auto* board = static_cast<StandInBoard*>(self);
                             const std::lock_guard lock(board->m_mutex);
                             board->m_kinds.emplace_back(g_variant_get_string(kind, nullptr));
                         }),
                         this);
        g_action_map_add_action(G_ACTION_MAP(m_actions), G_ACTION(reload));
        g_object_unref(reload);
        g_dbus_connection_export_action_group(m_bus, "/app/velmora/desktop/widgets",
                                              G_ACTION_GROUP(m_actions), nullptr);
        GVariant* owned = g_dbus_connection_call_sync(
            m_bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "RequestName", g_variant_new("(su)", "app.velmora.desktop.widgets", 4u),
            G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, 1000, nullptr, nullptr);
        if (owned != nullptr) g_variant_unref(owned);
        g_main_context_pop_thread_default(m_context);
        m_loop = g_main_loop_new(m_context, FALSE);
        m_thread = std::thread([this] {
            g_main_context_push_thread_default(m_context);
            g_main_loop_run(m_loop);
            g_main_context_pop_thread_default(m_context);
        });
    }
    StandInBoard(const StandInBoard&) = delete;
    StandInBoard& operator=(const StandInBoard&) = delete;
    ~StandInBoard() {
        g_main_context_invoke(
            m_context,
            +[](gpointer loop) -> gboolean {
                g_main_loop_quit(static_cast<GMainLoop*>(loop));
                return G_SOURCE_REMOVE;
            },
            m_loop);
        m_thread.join();
        g_dbus_connection_close_sync(m_bus, nullptr, nullptr);
        g_object_unref(m_bus);
        g_object_unref(m_actions);
        g_main_loop_unref(m_loop);
        g_main_context_unref(m_context);
    }

    // What the reload action has been given so far.
    std::vector<std::string> kinds() {
        const std::lock_guard lock(m_mutex);
        return m_kinds;
    }

private:
    GMainContext* m_context = nullptr;
    GMainLoop* m_loop = nullptr;
    GDBusConnection* m_bus = nullptr;
    GSimpleActionGroup* m_actions = nullptr;
    std::mutex m_mutex;
    std::vector<std::string> m_kinds;
    std::thread m_thread;
};

TEST(Reload, ReachesTheRunningBoard) {
    PrivateBus bus;
    if (!bus.daemon) GTEST_SKIP() << "dbus-daemon is not installed";
    tempstore::TempStore temp;
    useBus(bus.address, temp.directory());
    StandInBoard board(bus.address);
    for (const std::string kind : {VELMORA_APPGROUP_KIND_WATCHLIST_GLANCE, ""}) {
        const auto status = velmora::appgroup::reload(kind);
        EXPECT_TRUE(status) << status.message;
    }
    EXPECT_EQ(board.kinds(), (std::vector<std::string>{"WatchlistGlance", ""}));
}

}  // namespace
