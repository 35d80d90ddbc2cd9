#pragma once

#include "records/CanonicalText.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace AppGroupContainer {

// One field of a record: its JSON key and the member that holds it. Each record lists its
// fields once, in field order, as `static constexpr auto fields()`; the JSON keys, the decoder,
// the encoder, equality and the extension's frames all walk that list, so a new field is one
// line in one place.
template <typename Record, typename T>
struct Field {
    std::string_view key;
    T Record::*member;
};
template <typename Record, typename T>
Field(std::string_view, T Record::*) -> Field<Record, T>;

// Calls `visit(field)` for each field of Record, in field order.
template <typename Record, typename Visit>
constexpr void forEachField(Visit&& visit) {
    std::apply([&](const auto&... field) { (visit(field), ...); }, Record::fields());
}

// The JSON keys, in field order.
template <typename Record>
[[nodiscard]] constexpr auto fieldKeys() {
    return std::apply(
        [](const auto&... field) {
            return std::array<std::string_view, sizeof...(field)>{field.key...};
        },
        Record::fields());
}

// References to every field of `record`, in field order; const when `record` is.
template <typename Record>
[[nodiscard]] auto tieFields(Record& record) {
    return std::apply([&](const auto&... field) { return std::tie(record.*(field.member)...); },
                      std::remove_const_t<Record>::fields());
}

// Field by field: texts by canonical Unicode equivalence, numbers numerically, dates by value.
template <typename Record>
[[nodiscard]] bool fieldsEqual(const Record& a, const Record& b) {
    bool equal = true;
    forEachField<Record>([&](const auto& field) {
        if (!equal) return;
        const auto& x = a.*(field.member);
        const auto& y = b.*(field.member);
        using T = std::remove_cvref_t<decltype(x)>;
        if constexpr (std::is_same_v<T, std::string>)
            equal = canonicallyEquivalent(std::string_view(x), std::string_view(y));
        else if constexpr (std::is_same_v<T, std::optional<std::string>>)
            equal = canonicallyEquivalent(x, y);
        else
            equal = x == y;
    });
    return equal;
}

}  // namespace AppGroupContainer
