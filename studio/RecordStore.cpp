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
    RecordTexts differs;  // none is stored for all, so every text differs
    for (std::size_t i = 0; i < texts.size(); ++i)
        if (!texts[i]) differs[i] = "";
    return updateRecords(folder, texts, differs);
}

platform::Result<void> updateRecords(const std::filesystem::path& folder, const RecordTexts& texts,
                                     const RecordTexts& stored) {
    if (texts == stored) return {};
    auto opened = store::DefaultsStore::openForWriting(platform::appGroupIdentifier(), folder);
    if (!opened) return opened.error();
    auto& store = opened.value();
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (texts[i] == stored[i]) continue;
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
