#pragma once

// What a folder holds on disk: every entry's name, and for files their bytes and modification
// time. Two states compare equal when a reader changed nothing, not even a timestamp, and left
// no file of its own (a journal, a WAL or shared-memory file) behind.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace diskstate {

struct Entry {
    bool isDirectory = false;
    std::string bytes;
    std::filesystem::file_time_type modified;

    bool operator==(const Entry&) const = default;
};

struct DiskState {
    std::map<std::string, Entry> entries;

    explicit DiskState(const std::filesystem::path& folder) {
        std::error_code error;
        for (const auto& item : std::filesystem::directory_iterator(folder, error)) {
            Entry entry;
            entry.isDirectory = item.is_directory();
            entry.modified = item.last_write_time();
            if (item.is_regular_file()) {  // a FIFO would block the reading
                std::ifstream in(item.path(), std::ios::binary);
                entry.bytes.assign(std::istreambuf_iterator<char>(in), {});
            }
            entries.emplace(item.path().filename().string(), std::move(entry));
        }
    }

    bool operator==(const DiskState&) const = default;
};

// gtest prints the entries' names when two states differ.
inline void PrintTo(const DiskState& state, std::ostream* out) {
    *out << "{";
    for (const auto& [name, entry] : state.entries)
        *out << " " << name << (entry.isDirectory ? "/" : "") << " (" << entry.bytes.size()
             << " bytes)";
    *out << " }";
}

}  // namespace diskstate
