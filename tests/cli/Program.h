#pragma once

// The built program run against a store folder of its own, for the command-line tests: it logs
// to standard error, and no VELMORA_STORE_DIR leaks in from the test's environment.

#include "tests/support/ChildProcess.h"
#include "tests/support/TempStore.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace program {

namespace fs = std::filesystem;

inline std::string slurp(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline std::vector<std::string> lines(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> result;
    for (std::string line; std::getline(in, line);) result.push_back(line);
    return result;
}

struct Run {
    int exitCode = -1;
    std::string out;
    std::string err;

    [[nodiscard]] nlohmann::json json() const { return nlohmann::json::parse(out); }
};

struct Cli {
    tempstore::TempStore temp;
    fs::path store = temp.folder() / "store";

    [[nodiscard]] childprocess::ChildProcess start(std::vector<std::string> args,
                                                   childprocess::Options options = {}) const {
        args.insert(args.begin(), {VELMORA_PROGRAM, "--store-dir", store.string()});
        options.environment.insert(options.environment.begin(),
                                   {{"VELMORA_LOG", "stderr"}, {"VELMORA_STORE_DIR", {}}});
        return childprocess::ChildProcess(args, options);
    }
    Run operator()(const std::vector<std::string>& args, childprocess::Options options = {}) const {
        auto child = start(args, std::move(options));
        const int exitCode = child.wait();
        return {exitCode, child.out(), child.err()};
    }
    // The JSON printed by a command that must succeed.
    [[nodiscard]] nlohmann::json json(const std::vector<std::string>& args) const {
        const auto result = (*this)(args);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.exitCode == 0 ? result.json() : nlohmann::json();
    }
    void write(const std::string& key, const std::string& json, const char* as = "--data") const {
        const auto result = (*this)({"defaults", "write", key, as, json});
        EXPECT_EQ(result.exitCode, 0) << result.err;
    }
    // A file in the test's folder holding `bytes`.
    [[nodiscard]] fs::path file(const std::string& name, const std::string& bytes) const {
        std::ofstream(temp.folder() / name, std::ios::binary | std::ios::trunc) << bytes;
        return temp.folder() / name;
    }
};

}  // namespace program
