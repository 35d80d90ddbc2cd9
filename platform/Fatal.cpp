#include "platform/Fatal.h"

#include <cstdio>
#include <cstdlib>

namespace platform {

void fatal(std::string_view message, const char* file, int line) {
    std::fprintf(stderr, "velmora: fatal: %.*s (%s:%d)\n", static_cast<int>(message.size()),
                 message.data(), file, line);
    std::abort();
}

}  // namespace platform
