#include "platform/Fatal.h"

#include <cstdio>
#include <cstdlib>

namespace platform {

void fatal(std::string_view message, std::source_location where) {
    std::fprintf(stderr, "velmora: fatal: %.*s (%s:%u)\n", static_cast<int>(message.size()),
                 message.data(), where.file_name(), static_cast<unsigned>(where.line()));
    std::abort();
}

}  // namespace platform
