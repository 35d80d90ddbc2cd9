// The extension protocol's frames read from bytes that lie about their lists.
#include "ipc/ExtensionProtocol.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using namespace ipc;
using testing::HasSubstr;

platform::Result<ExtensionMessage> decode(std::string_view frame) {
    const auto header = decodeFrameHeader(frame);
    if (!header) return header.error();
    return decodeFramePayload(*header, frame.substr(extensionFrameHeaderSize));
}

// `frame` with the word at `at` replaced, in native byte order as frames are.
std::string with(std::string frame, std::size_t at, std::uint32_t value) {
    frame.replace(at, sizeof value, reinterpret_cast<const char*>(&value), sizeof value);
    return frame;
}

// A list's count is held against the fewest bytes its items travel in before the list is sized:
// a count up to the bytes left once sized a megabyte's frame to 176 MB of entries.
TEST(ExtensionProtocol, ListCountsBeyondWhatTheirBytesCanCarryAreRefused) {
    const platform::Date at(std::chrono::microseconds(1'763'272'800'000'000));
    // After the header: the id, then the count of entry dates, the dates and the reload date.
    constexpr std::size_t dateCount = extensionFrameHeaderSize + 4;
    const std::string threeDates = encodeFrame(ReloadReply{1, {{at, at, at}, {at}}, std::nullopt});
    // After the header: the id, the count of widgets, three one-letter texts, then the families.
    constexpr std::size_t familyCount = extensionFrameHeaderSize + 4 + 4 + 3 * (4 + 1);
    const std::string oneFamily =
        encodeFrame(DescribeReply{1, {{"A", "B", "C", {timeline::WidgetFamily::systemSmall}}}});
    // As long as a frame may be, its dates counted as the bytes after the count.
    std::string megabyte = with(with(threeDates, 8, extensionFramePayloadLimit), dateCount,
                                extensionFramePayloadLimit - 8);
    megabyte.resize(extensionFrameHeaderSize + extensionFramePayloadLimit);

    EXPECT_TRUE(decode(threeDates));
    EXPECT_TRUE(decode(oneFamily));
    for (const auto& frame :
         {with(threeDates, dateCount, 5), with(oneFamily, familyCount, 2), megabyte}) {
        const auto decoded = decode(frame);
        ASSERT_FALSE(decoded);
        EXPECT_THAT(decoded.error().description, HasSubstr("a list longer than its frame"));
    }
}

// Every message comes back from its frame as it went in; a frame that is not ours, of another
// version or type, or whose payload does not parse whole is refused with what is wrong.
TEST(ExtensionProtocol, FramesRoundTripAndAnythingElseIsRefused) {
    using timeline::Request;
    using timeline::WidgetFamily;
    const platform::Date at(std::chrono::microseconds(1'763'272'800'000'000));
    const timeline::Placement brief{"DailyBrief", WidgetFamily::systemMedium};
    const ExtensionMessage messages[] = {
        ReloadRequest{7, brief, Request::snapshot, at, 3, ImageEncoding::png},
        ReloadRequest{8,
                      {"WatchlistGlance", WidgetFamily::systemLarge},
                      Request::timeline,
                      at,
                      2,
                      ImageEncoding::argb32,
                      22,
                      4,
                      8 << 20},
        ReloadReply{9, {{at, at + std::chrono::hours(1)}, {at}}, std::nullopt},
        ReloadReply{10,
                    {{at}, {at}},
                    Drawing{ImageEncoding::argb32, 340, 340, 1360, 462400, 170, 170, "velmora://x",
                            "A\nB"}},
        FailureReply{11, "no widget"},
        Goodbye{},
        DescribeRequest{12},
        DescribeReply{13,
                      {{"WatchlistGlance",
                        "Watchlist Glance",
                        "Your symbols",
                        {WidgetFamily::systemSmall, WidgetFamily::systemMedium}},
                       {"DailyBrief", "Daily Brief", "", {WidgetFamily::systemLarge}}}}};
    for (const auto& message : messages) {
        const auto decoded = decode(encodeFrame(message));
        ASSERT_TRUE(decoded) << decoded.error().description;
        EXPECT_EQ(*decoded, message) << "message type " << message.index() + 1;
    }

    const std::string request = encodeFrame(messages[0]);
    const std::string reply = encodeFrame(messages[2]);
    const struct {
        std::string frame;
        const char* fault;
    } broken[] = {
        {"HTTP" + request.substr(4), "not a frame of ours"},
        {request.substr(0, 4) + '\4' + request.substr(5), "protocol version 4"},
        {request.substr(0, 6) + '\7' + request.substr(7), "unknown type 7"},
        // The family after the id and the kind "DailyBrief".
        {request.substr(0, 12 + 4 + 4 + 10) + '\3' + request.substr(31), "unknown case 3"},
        {reply.substr(0, 16) + "\xff\xff\xff\x0f" + reply.substr(20), "longer than its frame"},
        {request.substr(0, request.size() - 1), "cut short"},
        {request + '\0', "left over"},
    };
    for (const auto& [frame, fault] : broken) {
        auto header = decodeFrameHeader(frame);
        if (header) {
            header.value().payloadLength = std::uint32_t(frame.size() - 12);  // what came
            const auto decoded = decodeFramePayload(*header, std::string_view(frame).substr(12));
            ASSERT_FALSE(decoded) << fault;
            EXPECT_THAT(decoded.error().description, HasSubstr(fault));
        } else {
            EXPECT_THAT(header.error().description, HasSubstr(fault));
        }
    }
}

// The fuzzers' seeds are whole frames of this protocol, so that a change of the protocol that
// leaves them behind is seen here rather than as fuzzers that never get past the header.
TEST(ExtensionProtocol, TheFuzzSeedsAreFramesOfThisVersion) {
    for (const char* end : {"HostReply", "ExtensionRequest"}) {
        int seeds = 0;
        for (const auto& file : std::filesystem::directory_iterator(
                 std::filesystem::path(VELMORA_FUZZ_CORPUS) / end)) {
            std::ifstream in(file.path(), std::ios::binary);
            std::string bytes{std::istreambuf_iterator<char>(in), {}};
            ++seeds;
            while (!bytes.empty()) {
                const auto header = decodeFrameHeader(bytes);
                ASSERT_TRUE(header) << file.path() << ": " << header.error().description;
                const std::size_t length = extensionFrameHeaderSize + header->payloadLength;
                ASSERT_LE(length, bytes.size()) << file.path();
                const auto decoded = decode(bytes.substr(0, length));
                ASSERT_TRUE(decoded) << file.path() << ": " << decoded.error().description;
                bytes.erase(0, length);
            }
        }
        EXPECT_GE(seeds, 4) << end;
    }
}

}  // namespace
