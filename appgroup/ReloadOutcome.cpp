#include "appgroup/ReloadOutcome.h"

#include "platform/Deployment.h"

#include <gio/gio.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace appgroup {
namespace {

using Clock = std::chrono::steady_clock;
using Reach = ReloadOutcome::Reach;

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

// A GError's message, the error freed.
std::string takeMessage(GError* error) {
    std::string message = error != nullptr ? error->message : "unknown error";
    if (error != nullptr) g_error_free(error);
    return message;
}

// The session bus's address as the environment names it: $DBUS_SESSION_BUS_ADDRESS, else the
// bus socket of the user's runtime folder. Never starts a bus: GIO's own lookup may launch one
// for an X display, which a host app asking for a reload must not do.
std::optional<std::string> sessionBusAddress() {
    const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (address != nullptr && *address != '\0') return std::string(address);
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime == nullptr || *runtime == '\0') return std::nullopt;
    const std::string socket = std::string(runtime) + "/bus";
    struct stat status {};
    if (::stat(socket.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return std::nullopt;
    gchar* escaped = g_dbus_address_escape_value(socket.c_str());
    std::string result = std::string("unix:path=") + escaped;
    g_free(escaped);
    return result;
}

// A main context of the calling thread's own while it lives, so that the connection's callback
// runs here and nowhere in the host app's loops.
class PrivateContext {
public:
    PrivateContext() : m_context(g_main_context_new()) {
        g_main_context_push_thread_default(m_context);
    }
    PrivateContext(const PrivateContext&) = delete;
    PrivateContext& operator=(const PrivateContext&) = delete;
    ~PrivateContext() {
        g_main_context_pop_thread_default(m_context);
        g_main_context_unref(m_context);
    }
    [[nodiscard]] GMainContext* get() const { return m_context; }

private:
    GMainContext* m_context;
};

struct Connecting {
    GDBusConnection* connection = nullptr;
    GError* error = nullptr;
    bool done = false;
};

// A connection of its own to the bus at `address`, authenticated and registered with it within
// `timeout`; cancelled past it.
platform::Result<GObjectPtr<GDBusConnection>> connect(const std::string& address,
                                                      std::chrono::milliseconds timeout) {
    PrivateContext context;
    GObjectPtr<GCancellable> cancellable(g_cancellable_new());
    Connecting connecting;
    g_dbus_connection_new_for_address(
        address.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, cancellable.get(),
        [](GObject*, GAsyncResult* result, gpointer data) {
            auto* state = static_cast<Connecting*>(data);
            state->connection = g_dbus_connection_new_for_address_finish(result, &state->error);
            state->done = true;
        },
        &connecting);
    const auto deadline = Clock::now() + timeout;
    while (!connecting.done) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            // The callback still comes, with the cancellation: it has to before `connecting` goes.
            g_cancellable_cancel(cancellable.get());
            while (!connecting.done) g_main_context_iteration(context.get(), TRUE);
            break;
        }
        GSource* timer = g_timeout_source_new(static_cast<guint>(left));
        g_source_set_callback(
            timer, [](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr, nullptr);
        g_source_attach(timer, context.get());
        g_main_context_iteration(context.get(), TRUE);
        g_source_destroy(timer);
        g_source_unref(timer);
    }
    if (connecting.connection == nullptr) {
        const bool late = g_error_matches(connecting.error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
        const std::string why = takeMessage(connecting.error);
        if (late)
            return platform::Error{"no answer within " + std::to_string(timeout.count()) + " ms"};
        return platform::Error{why};
    }
    return GObjectPtr<GDBusConnection>(connecting.connection);
}

// The object path at which a GApplication with `id` exports its actions.
std::string actionsPath(std::string_view id) {
    std::string path = "/";
    for (char c : id) path += c == '.' ? '/' : c == '-' ? '_' : c;
    return path;
}

int milliseconds(std::chrono::milliseconds timeout) {
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(timeout.count(), 1));
}

}  // namespace

platform::Result<ReloadOutcome> requestReload(std::string_view kind,
                                              std::chrono::milliseconds timeout) {
    const auto address = sessionBusAddress();
    if (!address)
        return ReloadOutcome{Reach::noSessionBus,
                             "DBUS_SESSION_BUS_ADDRESS is not set and there is no bus socket in "
                             "$XDG_RUNTIME_DIR"};
    auto connected = connect(*address, timeout);
    if (!connected) return ReloadOutcome{Reach::noSessionBus, connected.error().description};
    GDBusConnection* bus = connected.value().get();

    const std::string name(platform::desktopApplicationId());
    GError* error = nullptr;
    // Asked only when it runs: a bus that could start one on demand is not asked to.
    GVariant* owned = g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "NameHasOwner", g_variant_new("(s)", name.c_str()), G_VARIANT_TYPE("(b)"),
        G_DBUS_CALL_FLAGS_NONE, milliseconds(timeout), nullptr, &error);
    gboolean running = FALSE;
    if (owned != nullptr) {
        g_variant_get(owned, "(b)", &running);
        g_variant_unref(owned);
    }
    if (error != nullptr) g_error_free(error);
    error = nullptr;
    ReloadOutcome outcome{running ? Reach::taken : Reach::noHostRunning, {}};
    if (running) {
        // org.gtk.Actions.Activate(action, [parameter], platform data), as GApplication
        // exports it.
        const std::string kindText(kind);
        GVariantBuilder parameter;
        g_variant_builder_init(&parameter, G_VARIANT_TYPE("av"));
        g_variant_builder_add(&parameter, "v", g_variant_new_string(kindText.c_str()));
        GVariant* reply = g_dbus_connection_call_sync(
            bus, name.c_str(), actionsPath(name).c_str(), "org.gtk.Actions", "Activate",
            g_variant_new("(sava{sv})", std::string(platform::reloadActionName).c_str(), &parameter,
                          nullptr),
            nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, milliseconds(timeout), nullptr, &error);
        if (reply == nullptr) {
            g_dbus_connection_close_sync(bus, nullptr, nullptr);
            return platform::Error{"the widget host did not take the reload: " +
                                   takeMessage(error)};
        }
        g_variant_unref(reply);
    }
    // Closing flushes nothing (every call has had its reply) and waits for no peer.
    g_dbus_connection_close_sync(bus, nullptr, nullptr);
    return outcome;
}

}  // namespace appgroup
