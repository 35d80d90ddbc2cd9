#pragma once

#include "platform/Fatal.h"

#include <string>
#include <utility>
#include <variant>

namespace platform {

// Why an operation failed, in words fit for a log line or the user: what went wrong and
// where, e.g. `[2].price: expected a number, found a string`.
struct Error {
    std::string description;

    bool operator==(const Error&) const = default;
};

// The outcome of an operation that can fail for a reason its caller needs: the value, or the
// error. The one failure type of the code base; no exception crosses a module line.
template <typename T, typename E = Error>
class [[nodiscard]] Result {
public:
    Result(T value) : m_result(std::in_place_index<0>, std::move(value)) {}  // NOLINT
    Result(E error) : m_result(std::in_place_index<1>, std::move(error)) {}  // NOLINT

    [[nodiscard]] bool ok() const { return m_result.index() == 0; }
    explicit operator bool() const { return ok(); }

    [[nodiscard]] const T& value() const& {
        VELMORA_ASSERT(ok());
        return std::get<0>(m_result);
    }
    [[nodiscard]] T& value() & {
        VELMORA_ASSERT(ok());
        return std::get<0>(m_result);
    }
    [[nodiscard]] T&& value() && {
        VELMORA_ASSERT(ok());
        return std::get<0>(std::move(m_result));
    }
    [[nodiscard]] const T& operator*() const& { return value(); }
    [[nodiscard]] const T* operator->() const { return &value(); }

    [[nodiscard]] const E& error() const {
        VELMORA_ASSERT(!ok());
        return std::get<1>(m_result);
    }

    bool operator==(const Result&) const = default;

private:
    std::variant<T, E> m_result;
};

// An operation that gives nothing back on success.
template <typename E>
class [[nodiscard]] Result<void, E> {
public:
    Result() = default;
    Result(E error) : m_error(std::move(error)), m_failed(true) {}  // NOLINT

    [[nodiscard]] bool ok() const { return !m_failed; }
    explicit operator bool() const { return ok(); }

    [[nodiscard]] const E& error() const {
        VELMORA_ASSERT(m_failed);
        return m_error;
    }

    bool operator==(const Result&) const = default;

private:
    E m_error{};
    bool m_failed = false;
};

}  // namespace platform
