#pragma once

// The properties every decoder target checks, and the one-line failure report that libFuzzer
// turns into a finding (an abort is a crash to it).

#include "records/JSONEncoder.h"
#include "store/AppGroupStore.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace fuzz {

[[noreturn]] inline void fail(std::string_view what, std::string_view detail = {}) {
    std::fprintf(stderr, "property violated: %.*s\n%.*s\n", static_cast<int>(what.size()),
                 what.data(), static_cast<int>(detail.size()), detail.data());
    std::abort();
}

inline void require(bool holds, std::string_view what, std::string_view detail = {}) {
    if (!holds) fail(what, detail);
}

inline std::string_view text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// A failure says what went wrong, in UTF-8 (it goes into the log as it is).
inline void requireDescribed(const platform::Error& error) {
    require(!error.description.empty(), "a failed decoding has a description");
    try {
        (void)nlohmann::json(error.description).dump();
    } catch (const nlohmann::json::exception&) {
        fail("a decoding error's description is UTF-8", error.description);
    }
}

// Decodes `json` as T and checks what every decoding promises: a description on failure, a
// value equal to itself on success (no NaN can come out of JSON).
template <typename T>
platform::Result<T> decodeChecked(std::string_view json) {
    auto result = AppGroupContainer::sharedDecoder().decode<T>(json);
    if (!result)
        requireDescribed(result.error());
    else
        require(result.value() == result.value(), "a decoded record equals itself", json);
    return result;
}

// Member order and spelling do not matter: the same JSON value written out again (members
// sorted, numbers and strings re-serialised) decodes to the same record or the same fault;
// only where a too deeply nested value starts moves with the spelling.
template <typename T>
void requireSameOutcomeWhenRewritten(std::string_view json, const platform::Result<T>& first) {
    const auto value = nlohmann::json::parse(json, nullptr, false);
    if (value.is_discarded()) {
        require(!first.ok(), "text the JSON parser rejects never decodes", json);
        return;
    }
    const std::string rewritten = value.dump();
    const auto second = AppGroupContainer::sharedDecoder().decode<T>(rewritten);
    require(first.ok() == second.ok(), "rewriting the JSON keeps success or failure", rewritten);
    const auto fault = [](const platform::Error& error) {
        const std::string& text = error.description;
        return text.starts_with("nested deeper than") ? text.substr(0, text.find(" at offset"))
                                                      : text;
    };
    if (first.ok())
        require(first.value() == second.value(), "rewriting the JSON keeps the record", rewritten);
    else
        require(fault(first.error()) == fault(second.error()), "rewriting the JSON keeps the fault",
                first.error().description + "\n" + second.error().description);
}

// decode -> encode -> decode gives an equal record, and encoding that again gives the same
// text: the writing form is stable.
template <typename T>
void requireRoundTrip(std::string_view json) {
    const auto decoded = AppGroupContainer::sharedDecoder().decode<T>(json);
    if (!decoded) return;
    const std::string encoded = AppGroupContainer::encode(decoded.value());
    const auto again = AppGroupContainer::sharedDecoder().decode<T>(encoded);
    if (!again) fail("an encoded record decodes", encoded + "\n" + again.error().description);
    require(again.value() == decoded.value(), "decode -> encode -> decode gives an equal record",
            encoded);
    require(AppGroupContainer::encode(again.value()) == encoded,
            "encoding a round-tripped record gives the same text", encoded);
}

}  // namespace fuzz
