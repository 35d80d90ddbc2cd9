#include "store/DefaultsDomain.h"

#include <utility>

namespace store {
namespace {

platform::Result<void> checkSize(std::size_t size) {
    if (size <= DefaultsStore::valueSizeLimit) return {};
    return platform::Error{"value of " + std::to_string(size) + " bytes exceeds the " +
                           std::to_string(DefaultsStore::valueSizeLimit >> 20) + " MiB limit"};
}

}  // namespace

platform::Result<void> DefaultsDomain::writeData(std::string_view key,
                                                 std::span<const std::uint8_t> bytes) const {
    if (auto fits = checkSize(bytes.size()); !fits) return fits;
    auto opened = DefaultsStore::openForWriting(m_domain, m_folder);
    if (!opened) return opened.error();
    return opened.value().setData(key, bytes);
}

platform::Result<void> DefaultsDomain::writeString(std::string_view key,
                                                   std::string_view text) const {
    if (auto fits = checkSize(text.size()); !fits) return fits;
    auto opened = DefaultsStore::openForWriting(m_domain, m_folder);
    if (!opened) return opened.error();
    return opened.value().setString(key, text);
}

platform::Result<std::optional<DefaultsValue>> DefaultsDomain::read(std::string_view key) const {
    const auto opened = DefaultsStore::openExisting(m_domain, m_folder);
    if (!opened) return opened.error();
    if (!opened.value()) return std::optional<DefaultsValue>();
    return opened.value()->valueForKey(key);
}

platform::Result<bool> DefaultsDomain::remove(std::string_view key) const {
    auto opened = DefaultsStore::openExisting(m_domain, m_folder);
    if (!opened) return opened.error();
    if (!opened.value()) return false;
    return opened.value()->removeKey(key);
}

}  // namespace store
