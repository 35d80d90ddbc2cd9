#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

// The platform's limits for an extension process, which the host enforces and the extension
// prepares for.
namespace ipc {

// Whether this program was built with AddressSanitizer, whose shadow memory (terabytes,
// reserved as writable) no data limit admits.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool extensionSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool extensionSanitized = true;
#else
inline constexpr bool extensionSanitized = false;
#endif
#else
inline constexpr bool extensionSanitized = false;
#endif

inline constexpr std::chrono::milliseconds extensionReplyTime{2000};  // a whole answer
inline constexpr std::chrono::milliseconds extensionIdleTime{30000};  // then it ends itself
// Its memory: the kernel's bound on private writable memory (RLIMIT_DATA: allocations and
// stacks), the limit where no cgroup holds the extension. An extension whose allocation fails
// exits with extensionOutOfMemoryStatus (extension::prepareExtensionMemory). None (0) in sanitizer
// builds.
inline constexpr std::uint64_t extensionMemoryLimit = extensionSanitized ? 0 : 30ULL << 20;
// What a drawing says besides its pixels: its texts in reading order, cut by the extension to
// this many bytes (more than a screen reader would ever read out), and its tap link, left out
// when longer. A host refuses a drawing past either.
inline constexpr std::size_t drawingTextsLimit = 64 << 10;
inline constexpr std::size_t drawingUrlLimit = 2 << 10;

}  // namespace ipc
