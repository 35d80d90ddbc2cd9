#include "studio/RecordStore.h"

#include "platform/Deployment.h"
#include "store/DefaultsStore.h"
#include "studio/RecordDraft.h"

#include <cstdint>
#include <span>
#include <variant>

namespace studio {

platform::Result<RecordTexts> readRecords(const std::filesystem::path& folder) {
    RecordTexts texts;
    auto opened = store::DefaultsStore::openSuite(platform::appGroupIdentifier(), folder);
    if (!opened) return opened.error();
    if (!opened.value()) return texts;
    const auto& store = *opened.value();
    for (std::size_t i = 0; i < texts.size(); ++i) {
        auto data = store.dataForKey(studioRecords()[i].key);
        if (!data) return data.error();
        if (const auto& bytes = data.value()) texts[i] = std::string(bytes->begin(), bytes->end());
    }
    return texts;
}

platform::Result<void> writeRecords(const std::filesystem::path& folder, const RecordTexts& texts) {
    auto opened = store::DefaultsStore::openForWriting(platform::appGroupIdentifier(), folder);
    if (!opened) return opened.error();
    auto& store = opened.value();
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const auto key = studioRecords()[i].key;
        const auto& text = texts[i];
        auto written =
            text ? store.setData(key, std::span(reinterpret_cast<const std::uint8_t*>(text->data()),
                                                text->size()))
                 : store.removeObject(key);
        if (!written) return written.error();
    }
    return {};
}

}  // namespace studio
