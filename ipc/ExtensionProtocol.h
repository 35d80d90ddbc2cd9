#pragma once

#include "platform/Date.h"
#include "platform/Result.h"
#include "timeline/Placement.h"
#include "timeline/Request.h"
#include "timeline/Timeline.h"
#include "timeline/WidgetDescription.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// What the host and its extension process say to each other over their socket. Every message
// is one frame: a header (the magic "VMWX", the protocol's version, the message's type, the
// payload's length; native byte order, both ends run on one machine), then the payload. A reload
// is one exchange: the host asks for a placement's placeholder, snapshot or timeline, drawn; the
// extension answers with the entries' dates, the reload date and the drawing of the entry shown,
// in the order asked, with the request's id, or says goodbye when it ends itself after its idle
// time. The entries themselves stay in the extension: a host schedules by their dates and shows
// their drawings, so it needs no widget code. It learns the bundle's widgets by asking for their
// descriptions. Drawn images travel in shared memory passed with the frames, never in the frames
// themselves.
namespace ipc {

inline constexpr std::uint16_t extensionProtocolVersion = 3;
inline constexpr std::size_t extensionFrameHeaderSize = 12;
// The exit status of an extension whose memory ran out: an allocation failed at its limit.
inline constexpr int extensionOutOfMemoryStatus = 3;
// Timelines are a few kilobytes; anything this long is not one of our frames.
inline constexpr std::uint32_t extensionFramePayloadLimit = 1 << 20;

// The largest corner radius a reload may ask for, in points: larger than any widget family's.
inline constexpr double maximumCornerRadius = 64;

enum class ImageEncoding : std::uint8_t {
    argb32,  // Cairo's premultiplied native-endian words, `stride` bytes a row
    png,
    none,  // not drawn: the host wants the timeline alone
};

// Host to extension: reload a placement at `now`: the provider's placeholder, snapshot or
// timeline, whose first entry (the one a host shows) is drawn at `scale`. ARGB32 pixels go into
// the host's `buffer`, a memfd of `bufferSize` bytes sent with the request (the extension keeps
// it mapped, by id, for the next reloads); a PNG, whose size nobody knows before, comes in a
// memfd of the extension's (buffer 0).
struct ReloadRequest {
    std::uint32_t id = 0;
    timeline::Placement placement;
    timeline::Request request = timeline::Request::timeline;
    platform::Date now;
    double scale = 2;
    ImageEncoding encoding = ImageEncoding::argb32;
    // Points; above 0 the pixels outside the widget's continuous corners of this radius are
    // left transparent, as a host showing the widget over its background wants them.
    double cornerRadius = 0;
    std::uint32_t buffer = 0;
    std::uint64_t bufferSize = 0;

    bool operator==(const ReloadRequest&) const = default;
};

// The first entry drawn: the image is in the host's buffer, or in the memfd sent with the reply,
// `byteCount` long: argb32 is `height` rows of `stride` bytes, png the file's bytes.
struct Drawing {
    ImageEncoding encoding = ImageEncoding::argb32;
    int width = 0;  // pixels
    int height = 0;
    int stride = 0;
    std::uint64_t byteCount = 0;
    double canvasWidth = 0;  // points
    double canvasHeight = 0;
    std::optional<std::string> url;  // the widget's tap link
    std::string texts;               // the texts it shows in reading order, a line each

    bool operator==(const Drawing&) const = default;
};

// A timeline as a host sees it: the date of each entry, and when to ask again.
using TimelineDates = timeline::Timeline<platform::Date>;

// Extension to host: the answer to a ReloadRequest: the timeline and, unless none was asked, the
// drawing of its first entry.
struct ReloadReply {
    std::uint32_t id = 0;
    TimelineDates timeline;
    std::optional<Drawing> drawing;

    bool operator==(const ReloadReply&) const = default;
};

// Extension to host: the request could not be answered (a kind the bundle lacks, a drawing
// that failed).
struct FailureReply {
    std::uint32_t id = 0;
    std::string description;

    bool operator==(const FailureReply&) const = default;
};

// Extension to host: the extension ends itself after its idle time; nothing more will be
// answered.
struct Goodbye {
    bool operator==(const Goodbye&) const = default;
};

// Host to extension: which widgets the bundle has.
struct DescribeRequest {
    std::uint32_t id = 0;

    bool operator==(const DescribeRequest&) const = default;
};

// Extension to host: the bundle's widgets, their texts in the extension's locale.
struct DescribeReply {
    std::uint32_t id = 0;
    std::vector<timeline::WidgetDescription> widgets;

    bool operator==(const DescribeReply&) const = default;
};

using ExtensionMessage =
    std::variant<ReloadRequest, ReloadReply, FailureReply, Goodbye, DescribeRequest, DescribeReply>;

// The header of a frame: what follows and how long it is.
struct FrameHeader {
    std::uint16_t type = 0;
    std::uint32_t payloadLength = 0;
};

// The whole frame of a message: header and payload.
[[nodiscard]] std::string encodeFrame(const ExtensionMessage& message);

// The header at the start of `bytes` (extensionFrameHeaderSize of them); an error when the magic,
// the version or the length is not ours.
[[nodiscard]] platform::Result<FrameHeader> decodeFrameHeader(std::string_view bytes);

// The message a frame's payload holds; an error naming the fault when it does not parse whole.
[[nodiscard]] platform::Result<ExtensionMessage> decodeFramePayload(const FrameHeader& header,
                                                                    std::string_view payload);

}  // namespace ipc
