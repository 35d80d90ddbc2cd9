#include "studio/RecordStore.h"

#include "platform/Deployment.h"
#include "store/DefaultsDomain.h"
#include "studio/RecordDraft.h"

#include <cstdint>
#include <span>
#include <string>
#include <variant>

namespace studio {

namespace {

store::DefaultsDomain appGroup(const std::filesystem::path& folder) {
    return {std::string(platform::appGroupIdentifier()), folder};
}

// The record at `index` as a data value under its key, or its key removed when it is none.
platform::Result<void> writeRecord(const store::DefaultsDomain& domain, std::size_t index,
                                   const std::optional<std::string>& text) {
    const auto key = studioRecords()[index].key;
    if (!text) {
        if (auto removed = domain.remove(key); !removed) return removed.error();
        return {};
    }
    return domain.writeData(
        key, std::span(reinterpret_cast<const std::uint8_t*>(text->data()), text->size()));
}

}  // namespace

platform::Result<RecordTexts> readRecords(const std::filesystem::path& folder) {
    RecordTexts texts;
    const auto domain = appGroup(folder);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        auto value = domain.read(studioRecords()[i].key);
        if (!value) return value.error();
        if (!value.value()) continue;
        if (const auto* bytes = std::get_if<store::Data>(&*value.value()))
            texts[i] = std::string(bytes->begin(), bytes->end());
    }
    return texts;
}

platform::Result<void> writeRecords(const std::filesystem::path& folder, const RecordTexts& texts) {
    for (std::size_t i = 0; i < texts.size(); ++i)
        if (auto written = writeRecord(appGroup(folder), i, texts[i]); !written) return written;
    return {};
}

platform::Result<void> updateRecords(const std::filesystem::path& folder, const RecordTexts& texts,
                                     const RecordTexts& stored) {
    for (std::size_t i = 0; i < texts.size(); ++i)
        if (texts[i] != stored[i])
            if (auto written = writeRecord(appGroup(folder), i, texts[i]); !written) return written;
    return {};
}

}  // namespace studio
