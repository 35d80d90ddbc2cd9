// The bytes a host sends its extension, read frame by frame as the extension reads them
// (fuzz/FrameChecks.h). The extension takes requests; anything else ends it, as a frame that
// does not decode does.
#include "fuzz/FrameChecks.h"

#include <type_traits>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::checkFrames(fuzz::text(data, size), []<typename M>(const M&) {
        return std::is_same_v<M, ipc::ReloadRequest> || std::is_same_v<M, ipc::DescribeRequest>;
    });
    return 0;
}
