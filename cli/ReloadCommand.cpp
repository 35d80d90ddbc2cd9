#include "cli/CommandLine.h"
#include "platform/Deployment.h"
#include "widgets/WidgetHost.h"

#include <gio/gio.h>
#include <CLI/CLI.hpp>

#include <memory>
#include <string>

using namespace timeline;
using namespace widgets;

namespace cli {

namespace {

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};

// The object path at which a GApplication with `id` exports its actions.
std::string actionsPath(std::string_view id) {
    std::string path = "/";
    for (char c : id) path += c == '.' ? '/' : c == '-' ? '_' : c;
    return path;
}

CommandResult run(const std::string& kind, const GlobalOptions& globals) {
    if (!kind.empty()) {
        if (auto widget = globals.widgetHost().widgetOfKind(kind); !widget)
            return CommandError::usage(widget.error().description);
    }
    GError* error = nullptr;
    std::unique_ptr<GDBusConnection, GObjectUnref> bus(
        g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error));
    if (!bus) {
        const std::string why = error->message;
        g_error_free(error);
        return CommandError::failure("no widget host to ask: no session bus (" + why + ")");
    }
    const std::string name(platform::desktopApplicationId());
    // Asked only when it runs: a bus that could start one on demand is not asked to.
    GVariant* owned = g_dbus_connection_call_sync(
        bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "NameHasOwner", g_variant_new("(s)", name.c_str()), G_VARIANT_TYPE("(b)"),
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    gboolean running = FALSE;
    if (owned != nullptr) {
        g_variant_get(owned, "(b)", &running);
        g_variant_unref(owned);
    }
    if (!running) {
        if (error != nullptr) g_error_free(error);
        return CommandError::failure(
            "no widget host is running (start one with `velmora-widgets desktop`)");
    }
    // org.gtk.Actions.Activate(action, [parameter], platform data), as GApplication exports it.
    GVariantBuilder parameter;
    g_variant_builder_init(&parameter, G_VARIANT_TYPE("av"));
    g_variant_builder_add(&parameter, "v", g_variant_new_string(kind.c_str()));
    GVariant* reply = g_dbus_connection_call_sync(
        bus.get(), name.c_str(), actionsPath(name).c_str(), "org.gtk.Actions", "Activate",
        g_variant_new("(sava{sv})", std::string(platform::reloadActionName).c_str(), &parameter,
                      nullptr),
        nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, &error);
    if (reply == nullptr) {
        const std::string why = error->message;
        g_error_free(error);
        return CommandError::failure("the widget host did not take the reload: " + why);
    }
    g_variant_unref(reply);
    return {};
}

}  // namespace

void registerReloadCommand(CLI::App& app, GlobalOptions& globals) {
    auto kind = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(
        "reload", "Ask the running widget host for new timelines now, of KIND or of every kind");
    command->add_option("KIND", *kind, "The widget kind (default: every kind)");
    command->callback([&globals, kind] { globals.finish(run(*kind, globals)); });
}

}  // namespace cli
