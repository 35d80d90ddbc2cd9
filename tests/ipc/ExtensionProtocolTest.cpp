// The extension protocol's frames read from bytes that lie about their lists.
#include "ipc/ExtensionProtocol.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
    const dailybrief::DailyBriefEntry empty{at, {}};  // 10 bytes
    const watchlist::WatchlistEntry rows{at, {{"AAPL"}}, {}};
    // After the header: the id, the count of entries, then the entries and the reload date.
    constexpr std::size_t entryCount = extensionFrameHeaderSize + 4;
    constexpr std::size_t rowCount = entryCount + 4 + 1 + 8;  // after the entry's kind and date
    const std::string threeEntries =
        encodeFrame(ReloadReply{1, {{empty, empty, empty}, {at}}, std::nullopt});
    const std::string oneRow = encodeFrame(ReloadReply{1, {{rows}, {at}}, std::nullopt});
    // As long as a frame may be, its entries counted as the bytes after the count.
    std::string megabyte = with(with(threeEntries, 8, extensionFramePayloadLimit), entryCount,
                                extensionFramePayloadLimit - 8);
    megabyte.resize(extensionFrameHeaderSize + extensionFramePayloadLimit);

    EXPECT_TRUE(decode(threeEntries));
    EXPECT_TRUE(decode(oneRow));
    for (const auto& frame :
         {with(threeEntries, entryCount, 4), with(oneRow, rowCount, 2), megabyte}) {
        const auto decoded = decode(frame);
        ASSERT_FALSE(decoded);
        EXPECT_THAT(decoded.error().description, HasSubstr("a list longer than its frame"));
    }
}

}  // namespace
