// The bytes an extension sends its host, read frame by frame as the host reads them
// (fuzz/FrameChecks.h). The host takes replies and a goodbye; a request from an extension ends
// the exchange, as a frame that does not decode does.
#include "fuzz/FrameChecks.h"

#include <type_traits>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::checkFrames(fuzz::text(data, size), []<typename M>(const M&) {
        return !std::is_same_v<M, ipc::ReloadRequest> && !std::is_same_v<M, ipc::DescribeRequest>;
    });
    return 0;
}
