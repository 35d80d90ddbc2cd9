#pragma once

#include <source_location>
#include <string_view>

namespace platform {

// The one path for programmer errors: prints where and why, then aborts.
// Expected failures (bad input, a missing store) are results, never this.
[[noreturn]] void fatal(std::string_view message,
                        std::source_location where = std::source_location::current());

}  // namespace platform

#define VELMORA_ASSERT(condition)                        \
    do {                                                 \
        if (!(condition)) ::platform::fatal(#condition); \
    } while (false)
