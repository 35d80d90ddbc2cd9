#pragma once

#include "ipc/ExtensionChannel.h"
#include "widgets/WidgetHost.h"

#include <chrono>
#include <cstdint>
#include <map>

namespace extension {

// Readies an extension process for its memory limit, before any thread starts: the threads the
// libraries start get small stacks (glibc would reserve 8 MB each, which the limit counts
// though little is touched), and an allocation that fails in C++ or GLib ends the process with
// extensionOutOfMemoryStatus and one line on standard error instead of an abort.
void prepareExtensionMemory();

// The extension process's side of the channel: answers reloads with the bundle's providers and
// views, one at a time, in the order they come.
class ExtensionServer {
public:
    explicit ExtensionServer(widgets::WidgetHost widgets) : m_widgets(std::move(widgets)) {}
    ExtensionServer(const ExtensionServer&) = delete;
    ExtensionServer& operator=(const ExtensionServer&) = delete;
    ~ExtensionServer();

    // The reply to one request (`fd`: the descriptor that came with it, a drawing's buffer) and,
    // for a PNG, the sealed memfd holding it.
    struct Answer {
        ipc::ExtensionMessage reply;
        platform::OwnedFd image;
    };
    [[nodiscard]] Answer answer(const ipc::ExtensionMessage& request, platform::OwnedFd fd = {});

    // Answers the channel's requests until the host closes it, or says goodbye and returns when
    // none has come for `idle`. An error when the channel fails or the host says what no host
    // says.
    platform::Result<void> serve(ipc::ExtensionChannel& channel, std::chrono::milliseconds idle);

private:
    [[nodiscard]] Answer reload(const ipc::ReloadRequest& request, platform::OwnedFd fd);
    // The host's buffer of a drawing, mapped on first use and kept; null when there is none.
    [[nodiscard]] unsigned char* buffer(const ipc::ReloadRequest& request,
                                        const platform::OwnedFd& fd);

    struct Mapping {
        void* data = nullptr;
        std::size_t size = 0;
    };

    widgets::WidgetHost m_widgets;
    std::map<std::uint32_t, Mapping> m_buffers;  // the host's buffers, by id
};

}  // namespace extension
