#pragma once

#include <optional>

namespace layout {

// What a parent offers a child. An absent dimension asks for the child's ideal size;
// the child then chooses its own size, which the parent places.
struct ProposedSize {
    std::optional<double> width;
    std::optional<double> height;

    [[nodiscard]] static ProposedSize ideal() { return {}; }
    bool operator==(const ProposedSize&) const = default;
};

}  // namespace layout
