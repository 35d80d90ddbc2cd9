#pragma once

// Golden text files under tests/data/. A test compares a dump with its golden file; run the
// tests with VELMORA_UPDATE_GOLDENS=1 to write the files afresh (then read the diff before
// committing it).

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace golden {

inline std::string pathOf(const std::string& name) {
    return std::string(VELMORA_TEST_DATA) + "/" + name;
}

inline void expectMatches(const std::string& actual, const std::string& name) {
    const std::string path = pathOf(name);
    if (const char* update = std::getenv("VELMORA_UPDATE_GOLDENS"); update && *update == '1') {
        std::ofstream(path, std::ios::binary) << actual;
        return;
    }
    std::ifstream in(path, std::ios::binary);
    ASSERT_TRUE(in) << "no golden file " << path << "; this is the dump:\n" << actual;
    std::stringstream expected;
    expected << in.rdbuf();
    EXPECT_EQ(actual, expected.str()) << "golden file " << path;
}

}  // namespace golden
