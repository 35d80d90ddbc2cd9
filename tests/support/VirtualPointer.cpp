// Gives a compositor that has no input devices a pointer, for as long as this program runs: it
// makes a virtual pointer on the default seat, says "ready" on its standard output, and holds it
// until its standard input closes. The seat's own commands then move and click it; the lines it
// reads move it as a device would ("motion DX DY", "press", "release": the left button), for the
// moves a compositor takes from a device alone, as while a button is held.
#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <poll.h>
#include <unistd.h>
#include <wayland-client.h>

#include <linux/input-event-codes.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <string_view>

namespace {

zwlr_virtual_pointer_manager_v1* manager = nullptr;

const wl_registry_listener registryListener{
    [](void*, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t) {
        if (std::string_view(interface) == zwlr_virtual_pointer_manager_v1_interface.name)
            manager = static_cast<zwlr_virtual_pointer_manager_v1*>(
                wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1));
    },
    [](void*, wl_registry*, std::uint32_t) {}};

}  // namespace

int main() {
    wl_display* display = wl_display_connect(nullptr);
    if (display == nullptr) {
        std::fprintf(stderr, "virtual-pointer: no Wayland display\n");
        return 1;
    }
    wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registryListener, nullptr);
    wl_display_roundtrip(display);
    if (manager == nullptr) {
        std::fprintf(stderr, "virtual-pointer: the compositor makes no virtual pointers\n");
        return 1;
    }
    zwlr_virtual_pointer_v1* pointer =
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, nullptr);
    wl_display_roundtrip(display);
    std::printf("ready\n");
    std::fflush(stdout);
    pollfd fds[2] = {{0, POLLIN, 0}, {wl_display_get_fd(display), POLLIN, 0}};
    std::string pending;
    std::uint32_t time = 0;
    while (poll(fds, 2, -1) > 0) {
        if (fds[1].revents != 0 && wl_display_dispatch(display) < 0) break;
        if (fds[0].revents == 0) continue;
        char buffer[256];
        const ssize_t got = read(0, buffer, sizeof buffer);
        if (got <= 0) break;
        pending.append(buffer, std::size_t(got));
        for (auto end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
            std::istringstream line(pending.substr(0, end));
            pending.erase(0, end + 1);
            std::string verb;
            line >> verb;
            time += 10;
            if (verb == "motion") {
                double dx = 0, dy = 0;
                line >> dx >> dy;
                zwlr_virtual_pointer_v1_motion(pointer, time, wl_fixed_from_double(dx),
                                               wl_fixed_from_double(dy));
            } else if (verb == "press" || verb == "release") {
                zwlr_virtual_pointer_v1_button(pointer, time, BTN_LEFT, verb == "press" ? 1 : 0);
            } else {
                continue;
            }
            zwlr_virtual_pointer_v1_frame(pointer);
            wl_display_roundtrip(display);
            std::printf("done\n");
            std::fflush(stdout);
        }
    }
    zwlr_virtual_pointer_v1_destroy(pointer);
    zwlr_virtual_pointer_manager_v1_destroy(manager);
    wl_display_disconnect(display);
    return 0;
}
