#pragma once

#include <string_view>

namespace platform {

// The one path for programmer errors: prints where and why, then aborts.
// Expected failures (bad input, a missing store) are results, never this.
// (The builtins stand in for std::source_location, which clang 14 lacks with libstdc++ 12.)
[[noreturn]] void fatal(std::string_view message, const char* file = __builtin_FILE(),
                        int line = __builtin_LINE());

}  // namespace platform

#define VELMORA_ASSERT(condition)                        \
    do {                                                 \
        if (!(condition)) ::platform::fatal(#condition); \
    } while (false)
