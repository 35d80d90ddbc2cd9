#include "platform/AtomicFile.h"
#include "tests/support/DiskState.h"

#include <gtest/gtest.h>

#include <seccomp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;
using diskstate::DiskState;

class TempFolder {
public:
    TempFolder() {
        std::string pattern = fs::temp_directory_path() / "velmora-atomic-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        m_path = pattern;
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    [[nodiscard]] const fs::path& path() const { return m_path; }

private:
    fs::path m_path;
};

// Writes on a thread of its own whose fsync and fdatasync fail with EIO, as on a disk that
// cannot keep what it was given: the filter binds only that thread and ends with it. Nothing
// when the kernel offers no system-call filter.
std::optional<platform::Result<void>> writeWithFailingSync(const fs::path& path,
                                                           std::string_view bytes) {
    std::optional<platform::Result<void>> result;
    std::thread([&] {
        scmp_filter_ctx filter = ::seccomp_init(SCMP_ACT_ALLOW);
        const bool loaded =
            filter != nullptr &&
            ::seccomp_rule_add(filter, SCMP_ACT_ERRNO(EIO), SCMP_SYS(fsync), 0) == 0 &&
            ::seccomp_rule_add(filter, SCMP_ACT_ERRNO(EIO), SCMP_SYS(fdatasync), 0) == 0 &&
            ::seccomp_load(filter) == 0;
        ::seccomp_release(filter);
        if (loaded) result = platform::writeFileAtomically(path, bytes);
    }).join();
    return result;
}

TEST(AtomicFile, ReplacesTheWholeFileReadableByAllWithNothingLeftBeside) {
    TempFolder temp;
    const fs::path file = temp.path() / "page.html";
    const ::mode_t umask = ::umask(077);  // neither it nor mkstemp decides who may read
    for (const std::string& bytes :
         {std::string("first"), std::string(), std::string(100000, 'x')}) {
        const auto written = platform::writeFileAtomically(file, bytes);
        ASSERT_TRUE(written) << written.error().description;
        const DiskState state(temp.path());
        ASSERT_EQ(state.entries.size(), 1u) << testing::PrintToString(state);
        EXPECT_EQ(state.entries.at("page.html").bytes, bytes);
        EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write |
                                                      fs::perms::group_read |
                                                      fs::perms::others_read);
    }
    ::umask(umask);
}

// The bytes are on disk before the new file takes the old one's name; renamed first, a crash
// before the sync could leave the name on an empty or partial file. So when the sync fails,
// the old file is still there as it was, and no temporary is left.
TEST(AtomicFile, SyncsTheBytesBeforeRenamingAndKeepsTheOldFileWhenThatFails) {
    TempFolder temp;
    const fs::path file = temp.path() / "placements.json";
    ASSERT_TRUE(platform::writeFileAtomically(file, "old"));
    const DiskState before(temp.path());

    const auto written = writeWithFailingSync(file, "new");
    if (!written) GTEST_SKIP() << "this kernel loads no seccomp filter to make fsync fail";
    ASSERT_FALSE(*written);
    EXPECT_EQ(written->error().description,
              "cannot write \"" + file.string() + "\": " + std::strerror(EIO));
    EXPECT_EQ(DiskState(temp.path()), before) << "the old file, unchanged and alone";
}

}  // namespace
