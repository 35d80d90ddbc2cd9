// An extension that misbehaves on purpose, launched by the hosts through VELMORA_EXTENSION.
// It answers as the real one does (unconfined) until its fault comes:
//   VELMORA_FAULT=crash     dies of SIGSEGV (at once when VELMORA_FAULT_AFTER is 0)
//                 hang      never answers
//                 garbage   answers with bytes that are no frame
//                 allocate  allocates and touches memory without end
//                 cut       sends half of a drawing's reply, then exits
//                 goodbye   says goodbye, as after its idle time, and exits
//                 twins     describes every widget twice
//                 fork      starts a process that waits forever, prints "started PID", and
//                           dies of SIGSEGV
//                 noise     writes terminal controls, a forged host line and a line of 2000
//                           bytes on its standard output and error first, then answers
// and answers as a hostile one would, the real answer changed where a host must not believe it:
//                 huge-png  a PNG of 1 GiB (a sealed, sparse memfd)
//                 pixels    a drawing of twice the pixels asked
//                 link      a drawing whose link opens another app (x-probe:)
//                 texts     texts one byte past their bound
//                 count     a description whose count of widgets is its frame's length
// VELMORA_FAULT_AFTER=N answers N requests first (default 0); VELMORA_FAULT_KIND=KIND keeps
// the fault to one widget kind's requests, VELMORA_FAULT_REQUEST=timeline to timeline requests. The
// command line is the host's; only the global options before `extension` are read.
#include "cli/CommandLine.h"
#include "extension/ExtensionServer.h"
#include "ipc/ExtensionLimits.h"
#include "widgets/Widgets.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace {

std::string setting(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string kindOf(const ipc::ExtensionMessage& message) {
    const auto* reload = std::get_if<ipc::ReloadRequest>(&message);
    return reload != nullptr ? reload->placement.kind : "";
}

[[noreturn]] void misbehave(const std::string& fault, ipc::ExtensionChannel& channel,
                            const ipc::ExtensionMessage& request) {
    if (fault == "fork") {
        const pid_t child = ::fork();
        if (child == 0) {
            ::close(channel.fd());  // the host sees its extension's end at once
            for (;;) ::pause();
        }
        std::fprintf(stderr, "started %d\n", int(child));
    }
    if (fault == "crash" || fault == "fork") {
        // A plain crash, as a faulty extension would die of it, also in a sanitizer build whose
        // own handler would otherwise report the signal and exit.
        ::signal(SIGSEGV, SIG_DFL);
        ::raise(SIGSEGV);
    }
    if (fault == "garbage") {
        const std::string noise = "HTTP/1.1 200 OK\r\n\r\nnot a frame at all";
        (void)!::write(channel.fd(), noise.data(), noise.size());
    }
    if (fault == "allocate")
        for (;;) std::memset(new char[1 << 20], 1, 1 << 20);
    if (fault == "cut") {
        ipc::ReloadReply half;
        half.id = std::get<ipc::ReloadRequest>(request).id;
        half.drawing.emplace().url = std::string(200, 'x');
        const auto frame = ipc::encodeFrame(half);
        (void)!::write(channel.fd(), frame.data(), frame.size() / 2);
        std::_Exit(0);
    }
    if (fault == "goodbye") {
        (void)channel.send(ipc::Goodbye{});
        std::_Exit(0);
    }
    for (;;) ::pause();  // hang, or a garbage answer that never ends
}

const std::set<std::string> hostileFaults = {"huge-png", "pixels", "link", "texts", "count"};

// Answers `request` as a hostile extension would.
void answerHostile(const std::string& fault, ipc::ExtensionChannel& channel,
                   extension::ExtensionServer& server, ipc::ReceivedMessage request) {
    if (fault == "count") {
        const auto* asked = std::get_if<ipc::DescribeRequest>(&request.message);
        ipc::DescribeReply described{asked != nullptr ? asked->id : 0, {}};
        std::string frame = ipc::encodeFrame(described);
        const std::uint32_t count = ipc::extensionFramePayloadLimit;
        frame.resize(ipc::extensionFrameHeaderSize + count);
        std::memcpy(frame.data() + 8, &count, sizeof count);
        std::memcpy(frame.data() + ipc::extensionFrameHeaderSize + 4, &count, sizeof count);
        (void)!::write(channel.fd(), frame.data(), frame.size());
        return;
    }
    auto answer = server.answer(request.message, std::move(request.fd));
    auto* reloaded = std::get_if<ipc::ReloadReply>(&answer.reply);
    if (reloaded != nullptr && reloaded->drawing) {
        auto& drawing = *reloaded->drawing;
        if (fault == "huge-png") {
            constexpr std::uint64_t size = 1ULL << 30;
            platform::OwnedFd huge(::memfd_create("huge", MFD_CLOEXEC | MFD_ALLOW_SEALING));
            (void)!::ftruncate(huge.get(), off_t(size));
            (void)!::fcntl(huge.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE);
            drawing.byteCount = size;
            answer.image = std::move(huge);
        }
        if (fault == "pixels") {
            drawing.width *= 2;
            drawing.height *= 2;
            drawing.stride *= 2;
            if (drawing.encoding == ipc::ImageEncoding::argb32)
                drawing.byteCount = std::uint64_t(drawing.stride) * std::uint64_t(drawing.height);
        }
        if (fault == "link") drawing.url = "x-probe:run";
        if (fault == "texts") drawing.texts = std::string(ipc::drawingTextsLimit + 1, 'x');
    }
    (void)channel.send(answer.reply, answer.image.get());
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    widgets::HostSettings settings;
    for (std::size_t i = 0; i + 1 < arguments.size(); i += 2) {
        if (arguments[i] == "--store-dir") settings.storeDirectory = arguments[i + 1];
        if (arguments[i] == "--locale") settings.locale = arguments[i + 1];
        if (arguments[i] == "--time-zone") settings.timeZone = arguments[i + 1];
    }
    extension::prepareExtensionMemory();
    const std::string fault = setting("VELMORA_FAULT");
    const std::string faultKind = setting("VELMORA_FAULT_KIND");
    const bool timelinesOnly = setting("VELMORA_FAULT_REQUEST") == "timeline";
    int answered = std::atoi(setting("VELMORA_FAULT_AFTER").c_str());
    if (fault == "crash" && answered == 0 && faultKind.empty()) ::raise(SIGSEGV);
    if (fault == "noise") {
        const std::string out =
            "\x1b]0;title\x07\x1b[2J cleared\r\nvelmora-widgets: error: forged\n";
        const std::string err =
            "velmora-widgets extension: warning: its own\n\xc2\x9b"
            "31m C1 " +
            std::string(2000, 'x');
        (void)!::write(STDOUT_FILENO, out.data(), out.size());
        (void)!::write(STDERR_FILENO, err.data(), err.size());
    }

    ipc::ExtensionChannel channel{platform::OwnedFd(STDIN_FILENO)};
    extension::ExtensionServer server(
        widgets::WidgetHost(widgets::VelmoraWidgetsBundle().body(), std::move(settings)));
    while (auto received = channel.receive(std::nullopt)) {
        const auto& request = received->message;
        const auto* reload = std::get_if<ipc::ReloadRequest>(&request);
        const bool timeline = reload != nullptr && reload->request == timeline::Request::timeline;
        if (!fault.empty() && fault != "twins" && fault != "noise" &&
            (faultKind.empty() || faultKind == kindOf(request)) && (!timelinesOnly || timeline) &&
            answered-- <= 0) {
            if (!hostileFaults.contains(fault)) misbehave(fault, channel, request);
            answerHostile(fault, channel, server, std::move(received).value());
            continue;
        }
        auto answer = server.answer(request, std::move(received.value().fd));
        if (auto* described = std::get_if<ipc::DescribeReply>(&answer.reply);
            described != nullptr && fault == "twins") {
            const auto widgets = described->widgets;
            described->widgets.insert(described->widgets.end(), widgets.begin(), widgets.end());
        }
        if (!channel.send(answer.reply, answer.image.get())) break;
    }
    return 0;
}
