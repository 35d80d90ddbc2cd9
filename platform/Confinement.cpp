#include "platform/Confinement.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sched.h>
#include <seccomp.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>

namespace platform {
namespace {

// Landlock's interface by version; the system's headers may predate the later ones.
constexpr std::uint64_t fsRightsAbi1 = (1ULL << 13) - 1;      // execute .. make symlink
constexpr std::uint64_t fsRefer = 1ULL << 13;                 // ABI 2
constexpr std::uint64_t fsTruncate = 1ULL << 14;              // ABI 3
constexpr std::uint64_t fsIoctlDevice = 1ULL << 15;           // ABI 5
constexpr std::uint64_t netBindTcp = 1ULL << 0;               // ABI 4
constexpr std::uint64_t scopeAbstractUnixSocket = 1ULL << 0;  // ABI 6
constexpr std::uint64_t scopeSignal = 1ULL << 1;              // ABI 6

struct RulesetAttributes {
    std::uint64_t handledAccessFs = 0;
    std::uint64_t handledAccessNet = 0;  // ABI 4
    std::uint64_t scoped = 0;            // ABI 6
};

Error failure(std::string_view what, int error) {
    return Error{std::string(what) + ": " + std::strerror(error)};
}

int landlockAbi() {
    const long abi =
        ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    return abi < 0 ? 0 : int(abi);
}

// The one thread the process may have while it confines itself.
bool singleThreaded() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("Threads:", 0) == 0) return std::stoi(line.substr(8)) == 1;
    return true;  // no /proc: nothing to tell
}

Result<void> allowBeneath(int ruleset, const std::filesystem::path& path, std::uint64_t access,
                          std::uint64_t handled) {
    const int fd = ::open(path.c_str(), O_PATH | O_CLOEXEC);
    if (fd < 0) return {};  // not there: nothing to allow
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        ::close(fd);
        return {};
    }
    // Rights on folders apply to what lies beneath; a file takes file rights only.
    if (!S_ISDIR(info.st_mode)) access &= ~std::uint64_t(LANDLOCK_ACCESS_FS_READ_DIR);
    landlock_path_beneath_attr rule{access & handled, fd};
    const long added =
        ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
    const int error = errno;
    ::close(fd);
    if (added != 0) return failure("Landlock rule for " + path.string(), error);
    return {};
}

// Read access beneath the rules' paths, code beneath the executable ones, writing nowhere,
// and no TCP port to bind where the kernel can refuse it.
Result<void> restrictFilesystem(const ConfinementRules& rules, int abi, Confinement& applied) {
    RulesetAttributes attributes;
    attributes.handledAccessFs = fsRightsAbi1;
    if (abi >= 2) attributes.handledAccessFs |= fsRefer;
    if (abi >= 3) attributes.handledAccessFs |= fsTruncate;
    if (abi >= 5) attributes.handledAccessFs |= fsIoctlDevice;
    std::size_t size = sizeof(std::uint64_t);
    if (abi >= 4) {
        attributes.handledAccessNet = netBindTcp;  // connecting stays allowed
        size = 2 * sizeof(std::uint64_t);
    }
    if (abi >= 6) {
        attributes.scoped = scopeAbstractUnixSocket | scopeSignal;
        size = sizeof(RulesetAttributes);
    }
    const long ruleset = ::syscall(SYS_landlock_create_ruleset, &attributes, size, 0);
    if (ruleset < 0) return failure("Landlock ruleset", errno);

    const std::uint64_t read = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    Result<void> added;
    for (const auto& path : rules.readable)
        if (added) added = allowBeneath(int(ruleset), path, read, attributes.handledAccessFs);
    for (const auto& path : rules.executable)
        if (added)
            added = allowBeneath(int(ruleset), path, read | LANDLOCK_ACCESS_FS_EXECUTE,
                                 attributes.handledAccessFs);
    if (added && ::syscall(SYS_landlock_restrict_self, ruleset, 0) != 0)
        added = failure("Landlock", errno);
    ::close(int(ruleset));
    if (!added) return added;
    applied.landlockAbi = abi;
    applied.tcpBindRefused = abi >= 4;
    return {};
}

// The system calls a provider request and a drawing make (glibc, GLib, fontconfig, Pango,
// Cairo, SQLite), found by tracing every request in every family. Everything else fails with
// EPERM: running programs, making sockets of any kind (the process keeps the ones it has),
// tracing, mounts, namespaces, BPF, keyrings, SysV shared memory. A few more are allowed with
// some arguments only (filterSystemCalls).
constexpr std::string_view allowedSystemCalls[] = {
    // memory and threads
    "brk", "munmap", "mremap", "madvise", "mincore", "membarrier", "set_robust_list",
    "get_robust_list", "set_tid_address", "rseq", "futex", "futex_waitv", "sched_yield",
    "sched_getaffinity", "sched_getparam", "sched_getscheduler", "arch_prctl", "prctl", "exit",
    "exit_group", "getrlimit", "prlimit64", "getrusage",
    // signals
    "rt_sigaction", "rt_sigprocmask", "rt_sigreturn", "sigaltstack", "getpid", "gettid", "getppid",
    "getuid", "geteuid", "getgid", "getegid", "getresuid", "getresgid", "getgroups", "getpgrp",
    "getpgid", "getsid",
    // time
    "clock_gettime", "clock_getres", "clock_nanosleep", "gettimeofday", "time", "nanosleep",
    // files: Landlock decides which may be opened
    "read", "readv", "pread64", "preadv", "preadv2", "write", "writev", "pwrite64", "open",
    "openat", "openat2", "close", "close_range", "lseek", "stat", "fstat", "lstat", "newfstatat",
    "statx", "statfs", "fstatfs", "access", "faccessat", "faccessat2", "readlink", "readlinkat",
    "getdents64", "getcwd", "fadvise64", "dup", "dup2", "dup3", "pipe2", "eventfd2", "umask",
    "uname", "sysinfo", "getrandom", "memfd_create", "ftruncate", "fallocate", "fsync", "fdatasync",
    // waiting, and the host's socket
    "poll", "ppoll", "select", "pselect6", "epoll_create1", "epoll_ctl", "epoll_wait",
    "epoll_pwait", "epoll_pwait2", "sendto", "sendmsg", "sendmmsg", "recvfrom", "recvmsg",
    "recvmmsg", "shutdown", "getsockopt", "setsockopt", "getsockname", "getpeername",
    "restart_syscall"};

// What fcntl may do: descriptors' flags, seals, and asking about locks. Taking a lock is
// refused: a lock on the store that the process kept would hold off the host app's writes
// (readers take none: store/DefaultsStore.h).
constexpr scmp_datum_t allowedFcntlCommands[] = {F_DUPFD,     F_DUPFD_CLOEXEC, F_GETFD, F_SETFD,
                                                 F_GETFL,     F_SETFL,         F_GETLK, F_OFD_GETLK,
                                                 F_ADD_SEALS, F_GET_SEALS};

// The one ioctl asked (isatty, by the C library and GLib). Terminal requests such as TIOCSTI,
// which types into the terminal's input, are refused whatever descriptor they reach.
constexpr scmp_datum_t allowedIoctlRequests[] = {TCGETS};

// Any of clone's namespace flags.
constexpr scmp_datum_t newNamespaceFlags = CLONE_NEWNS | CLONE_NEWCGROUP | CLONE_NEWUTS |
                                           CLONE_NEWIPC | CLONE_NEWUSER | CLONE_NEWPID |
                                           CLONE_NEWNET | CLONE_NEWTIME;

Result<void> filterSystemCalls(Confinement& applied) {
    scmp_filter_ctx filter = ::seccomp_init(SCMP_ACT_ERRNO(EPERM));
    if (filter == nullptr) return Error{"seccomp: cannot make a filter"};
    // A binary tree of the allowed calls rather than a list: each call passes a few tests.
    int status = ::seccomp_attr_set(filter, SCMP_FLTATR_CTL_OPTIMIZE, 2);
    for (const auto name : allowedSystemCalls) {
        const int number = ::seccomp_syscall_resolve_name(std::string(name).c_str());
        if (number != __NR_SCMP_ERROR && status == 0)
            status = ::seccomp_rule_add(filter, SCMP_ACT_ALLOW, number, 0);
    }
    // Signals to itself only (abort, a crash's report).
    if (status == 0)
        status = ::seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(tgkill), 1,
                                    SCMP_A0(SCMP_CMP_EQ, scmp_datum_t(::getpid())));
    // Threads, but no new namespaces; clone3 hides its flags from the filter, so the C library
    // is told it does not exist and falls back to clone.
    if (status == 0)
        status = ::seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(clone), 1,
                                    SCMP_A0(SCMP_CMP_MASKED_EQ, newNamespaceFlags, 0));
    if (status == 0)
        status = ::seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0);
    for (const auto command : allowedFcntlCommands)
        if (status == 0)
            status = ::seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(fcntl), 1,
                                        SCMP_A1(SCMP_CMP_EQ, command));
    for (const auto request : allowedIoctlRequests)
        if (status == 0)
            status = ::seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(ioctl), 1,
                                        SCMP_A1(SCMP_CMP_EQ, request));
    // Memory never becomes executable: every library is loaded before the filter, and
    // nothing after it maps code (no JIT, no module loading), so neither writable-and-
    // executable memory nor code from a memfd can be made. Nor shared anonymous memory, which
    // RLIMIT_DATA does not count: mmap allows a private mapping, or a file's.
    const auto notExecutable = SCMP_A2(SCMP_CMP_MASKED_EQ, PROT_EXEC, 0);
    if (status == 0)
        status = ::seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(mprotect), 1, notExecutable);
    if (status == 0)
        status = ::seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(mmap), 2, notExecutable,
                                    SCMP_A3(SCMP_CMP_MASKED_EQ, MAP_SHARED, 0));
    if (status == 0)
        status = ::seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(mmap), 2, notExecutable,
                                    SCMP_A3(SCMP_CMP_MASKED_EQ, MAP_ANONYMOUS, 0));
    if (status == 0) status = ::seccomp_load(filter);
    ::seccomp_release(filter);
    if (status != 0) return failure("seccomp", -status);
    applied.systemCallFilter = true;
    return {};
}

// The memory a process may take: RLIMIT_DATA counts its private writable memory (the heap,
// stacks, private mappings), RLIMIT_FSIZE bounds each file it grows, which for a memfd is
// memory too. SIGXFSZ is ignored so that growing one past the limit fails with EFBIG.
// RLIMIT_AS cannot be the limit: the address space counts what is mapped, not what is used.
// The extension has 63 MB of it once confined, 30 of them ICU's data library, before it has
// drawn anything; drawing then maps each font it uses whole (19 MB for one CJK font) and glibc
// reserves 64 MB for each further malloc arena, little of it ever touched.
Result<void> limitMemory(std::uint64_t bytes) {
    for (const int resource : {RLIMIT_DATA, RLIMIT_FSIZE}) {
        rlimit limit{};
        ::getrlimit(resource, &limit);
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, bytes);
        limit.rlim_max = std::min<rlim_t>(limit.rlim_max, bytes);
        if (::setrlimit(resource, &limit) != 0) return failure("memory limit", errno);
    }
    ::signal(SIGXFSZ, SIG_IGN);
    return {};
}

bool seccompOffered() {
    return ::prctl(PR_GET_SECCOMP, 0, 0, 0, 0) >= 0;
}

}  // namespace

std::vector<std::string> Confinement::missing(const ConfinementRules& asked) const {
    std::vector<std::string> parts;
    if (!noNewPrivileges) parts.emplace_back("no-new-privileges");
    if (landlockAbi == 0) parts.emplace_back("Landlock (not offered by this kernel)");
    if (landlockAbi != 0 && !tcpBindRefused)
        parts.emplace_back("Landlock's TCP rules (Landlock ABI " + std::to_string(landlockAbi) +
                           " has none)");
    if (!systemCallFilter) parts.emplace_back("seccomp (not offered by this kernel)");
    if (!memoryLimit && asked.memoryLimitBytes != 0) parts.emplace_back("the memory limit");
    return parts;
}

Result<Confinement> confineProcess(const ConfinementRules& rules) {
    if (!singleThreaded()) return Error{"confinement: the process already runs threads"};
    Confinement applied;
    if (rules.memoryLimitBytes != 0) {
        if (auto limited = limitMemory(rules.memoryLimitBytes); !limited) return limited.error();
        applied.memoryLimit = true;
    }
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return failure("no-new-privileges", errno);
    applied.noNewPrivileges = true;
    if (const int abi = landlockAbi(); abi > 0)
        if (auto done = restrictFilesystem(rules, abi, applied); !done) return done.error();
    if (seccompOffered())
        if (auto done = filterSystemCalls(applied); !done) return done.error();
    return applied;
}

}  // namespace platform
