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
    RecordTexts differs;  // none is stored for all, so every text differs
    for (std::size_t i = 0; i < texts.size(); ++i)
        if (!texts[i]) differs[i] = "";
    return updateRecords(folder, texts, differs);
}

platform::Result<void> updateRecords(const std::filesystem::path& folder, const RecordTexts& texts,
                                     const RecordTexts& stored) {
    const auto domain = appGroup(folder);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (texts[i] == stored[i]) continue;
        const auto key = studioRecords()[i].key;
        const auto& text = texts[i];
        if (text) {
            const std::span bytes(reinterpret_cast<const std::uint8_t*>(text->data()),
                                  text->size());
            if (auto written = domain.writeData(key, bytes); !written) return written.error();
        } else if (auto removed = domain.remove(key); !removed) {
            return removed.error();
        }
    }
    return {};
}

}  // namespace studio
