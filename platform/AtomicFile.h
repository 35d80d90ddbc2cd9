#pragma once

#include "platform/Result.h"

#include <filesystem>
#include <string_view>

namespace platform {

// Replaces the file at `path` with `bytes` in one step: the bytes go to a file of no name (or,
// where the file system cannot make one, a hidden temporary name) beside it, are synced to disk,
// and the finished file is renamed over `path`; then the folder is synced, so the rename
// survives a crash. A reader sees the old file or the new one, never half of one. When
// anything fails (a full disk, the file size limit) the old file stays as it was and nothing
// else is left behind. The file is readable by everyone (0644), like the pages it serves.
[[nodiscard]] Result<void> writeFileAtomically(const std::filesystem::path& path,
                                               std::string_view bytes);

}  // namespace platform
