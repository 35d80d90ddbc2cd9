#pragma once

#include "platform/Result.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace platform {

// What a confined process may still do: read beneath some paths, map code beneath others,
// and use at most so much memory. Writing is allowed nowhere, nor making sockets (it keeps
// the ones it has), locking files, terminal requests, executable or shared anonymous memory,
// running programs, tracing, mounting or making namespaces.
struct ConfinementRules {
    std::vector<std::filesystem::path> readable;    // files and folders, read only
    std::vector<std::filesystem::path> executable;  // read and mapped as code (libraries)
    // Private memory (RLIMIT_DATA) and the size of any one file it grows, memfds included
    // (RLIMIT_FSIZE, SIGXFSZ then ignored); 0: none.
    std::uint64_t memoryLimitBytes = 0;
};

// What confineProcess put in place. A kernel may lack Landlock or seccomp: the process then
// runs with what there is.
struct Confinement {
    bool noNewPrivileges = false;
    int landlockAbi = 0;  // 0: no Landlock
    bool tcpBindRefused = false;
    bool systemCallFilter = false;
    bool memoryLimit = false;

    // What a process confined by `asked` would have and this one lacks, in words ("Landlock
    // (not offered by this kernel)"); empty when nothing is missing. A memory limit that was not
    // asked for is not missing.
    [[nodiscard]] std::vector<std::string> missing(const ConfinementRules& asked) const;

    bool operator==(const Confinement&) const = default;
};

// Confines the calling process for the rest of its life, children included. It must still
// have one thread: Landlock binds only the calling thread and those it starts later. Paths that
// do not exist are skipped. An error when a part the kernel offers could not be applied.
[[nodiscard]] Result<Confinement> confineProcess(const ConfinementRules& rules);

}  // namespace platform
