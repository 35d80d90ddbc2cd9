#pragma once

// What every frame of the extension protocol promises, read at either end of the socket.

#include "fuzz/FuzzChecks.h"
#include "ipc/ExtensionProtocol.h"

#include <string_view>
#include <variant>

namespace fuzz {

// Reads `bytes` as a channel reads its socket, frame after frame, until the rest is cut short, a
// frame does not decode or a message comes that the reading end does not `take` (it gives up
// on its peer then). Never crashing, hanging or allocating beyond what a frame's bytes could
// hold is the sanitizers' and libFuzzer's to check; here, a fault is described, and a message is
// the type its header names and encodes back to the very frame it came from: decoding it again
// gives the same message, NaNs included, which `==` cannot tell.
template <typename Takes>
void checkFrames(std::string_view bytes, Takes takes) {
    while (bytes.size() >= ipc::extensionFrameHeaderSize) {
        const auto header = ipc::decodeFrameHeader(bytes);
        if (!header) return requireDescribed(header.error());
        const std::size_t length = ipc::extensionFrameHeaderSize + header->payloadLength;
        if (bytes.size() < length) return;  // the rest has not come yet
        const auto frame = bytes.substr(0, length);
        bytes.remove_prefix(length);

        const auto message =
            ipc::decodeFramePayload(*header, frame.substr(ipc::extensionFrameHeaderSize));
        if (!message) return requireDescribed(message.error());
        require(message->index() + 1 == header->type,
                "a frame decodes to the type its header names");
        require(ipc::encodeFrame(*message) == frame,
                "a decoded message encodes back to the frame it came from");
        if (!std::visit(takes, *message)) return;
    }
}

}  // namespace fuzz
