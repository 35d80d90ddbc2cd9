#pragma once

#include "platform/Result.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace platform {

// The bytes of a file named on the command line: a regular file of at most `limit` bytes.
// Anything else is refused at once with an error that starts with the quoted path
// ("\"/dev/zero\": not a regular file"), so that a FIFO, a device such
// as /dev/zero or a folder can neither block the program nor make it read without end.
[[nodiscard]] Result<std::string> readInputFile(const std::filesystem::path& path,
                                                std::size_t limit);

}  // namespace platform
