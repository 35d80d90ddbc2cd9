#pragma once

#include "platform/Result.h"

#include <array>
#include <filesystem>
#include <optional>
#include <string>

namespace studio {

// The studio's records in the order of studioRecords(): each record's text, none when its key is
// not set (or holds a text value, which the widgets ignore).
using RecordTexts = std::array<std::optional<std::string>, 3>;

// What the app group's store in `folder` holds under the records' keys; all none when it has no
// database yet.
[[nodiscard]] platform::Result<RecordTexts> readRecords(const std::filesystem::path& folder);

// Writes each record as a data value under its key, the way `defaults write` does (one
// transaction each, the store's locking and size limit), and removes the key of a record that is
// none.
[[nodiscard]] platform::Result<void> writeRecords(const std::filesystem::path& folder,
                                                  const RecordTexts& texts);
// The same for the records whose text differs from `stored`, what the store holds already: a
// keystroke in one editor is one transaction.
[[nodiscard]] platform::Result<void> updateRecords(const std::filesystem::path& folder,
                                                   const RecordTexts& texts,
                                                   const RecordTexts& stored);

}  // namespace studio
