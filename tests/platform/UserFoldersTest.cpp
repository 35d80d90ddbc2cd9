#include "platform/UserFolders.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace {

using platform::UserFolder;

// Sets (or, with none, unsets) an environment variable for the scope, then puts it back.
class ScopedVariable {
public:
    ScopedVariable(const char* name, std::optional<std::string> value) : m_name(name) {
        if (const char* old = std::getenv(name)) m_old = old;
        if (value)
            ::setenv(name, value->c_str(), 1);
        else
            ::unsetenv(name);
    }
    ~ScopedVariable() {
        if (m_old)
            ::setenv(m_name, m_old->c_str(), 1);
        else
            ::unsetenv(m_name);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* m_name;
    std::optional<std::string> m_old;
};

// Each base folder follows its own variable only when that is absolute, else the home folder;
// an empty or relative value is ignored rather than taken relative to the working folder.
TEST(UserFolders, AbsoluteVariablesWinAndAnythingElseFallsBackUnderHome) {
    const struct {
        UserFolder kind;
        const char* variable;
        std::optional<std::string> value;
        const char* expected;
    } cases[] = {
        {UserFolder::data, "XDG_DATA_HOME", "/xdg/data", "/xdg/data"},
        {UserFolder::data, "XDG_DATA_HOME", std::nullopt, "/home/ada/.local/share"},
        {UserFolder::data, "XDG_DATA_HOME", "relative/data", "/home/ada/.local/share"},
        {UserFolder::config, "XDG_CONFIG_HOME", "/xdg/config", "/xdg/config"},
        {UserFolder::config, "XDG_CONFIG_HOME", "", "/home/ada/.config"},
        {UserFolder::cache, "XDG_CACHE_HOME", "/xdg/cache", "/xdg/cache"},
        {UserFolder::cache, "XDG_CACHE_HOME", "~/.cache", "/home/ada/.cache"},
    };
    const ScopedVariable home("HOME", "/home/ada");
    for (const auto& [kind, variable, value, expected] : cases) {
        const ScopedVariable set(variable, value);
        EXPECT_EQ(platform::userFolder(kind), expected) << variable << "=" << value.value_or("");
    }
    const ScopedVariable noHome("HOME", std::nullopt);
    EXPECT_TRUE(platform::homeFolder().is_absolute());
}

}  // namespace
