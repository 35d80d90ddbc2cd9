#pragma once

#include "platform/Fatal.h"

#include <string>
#include <utility>
#include <variant>

namespace AppGroupContainer {

// Why a JSON text did not decode: what was wrong and where, e.g.
// `[2].price: expected a number, found a string`.
struct DecodingError {
    std::string description;

    bool operator==(const DecodingError&) const = default;
};

// The decoded value or the decoding error.
template <typename T>
class DecodeResult {
public:
    DecodeResult(T value) : m_result(std::in_place_index<0>, std::move(value)) {}
    DecodeResult(DecodingError error) : m_result(std::in_place_index<1>, std::move(error)) {}

    [[nodiscard]] bool ok() const { return m_result.index() == 0; }
    explicit operator bool() const { return ok(); }

    [[nodiscard]] const T& value() const& {
        VELMORA_ASSERT(ok());
        return std::get<0>(m_result);
    }
    [[nodiscard]] T&& value() && {
        VELMORA_ASSERT(ok());
        return std::get<0>(std::move(m_result));
    }
    [[nodiscard]] const DecodingError& error() const {
        VELMORA_ASSERT(!ok());
        return std::get<1>(m_result);
    }

private:
    std::variant<T, DecodingError> m_result;
};

}  // namespace AppGroupContainer
