#include "store/AppGroupStore.h"
#include "platform/Deployment.h"

#include "store/DefaultsStore.h"
#include "store/StoreLocation.h"

#include <string>

namespace AppGroupContainer {

const JSONDecoder& sharedDecoder() {
    static const JSONDecoder decoder;
    return decoder;
}

const platform::Logger& sharedLogger() {
    static const platform::Logger logger(std::string(platform::bundleIdentifier()), "app");
    return logger;
}

namespace {

// Steps 1 to 3 of a read: open the suite (the standard defaults when there is no suite at
// all), take the data value under the key, release the store. A text value, or no value,
// gives nothing; a store that exists but cannot be read, or a value too large to be a record,
// gives its fault.
platform::Result<std::optional<store::Data>> storedData(std::string_view key,
                                                        std::string_view storeDirectory) {
    const auto folder = store::storeDirectory(storeDirectory);
    const auto suite = store::DefaultsStore::openSuite(platform::appGroupIdentifier(), folder);
    if (!suite) return suite.error();
    if (suite.value()) return suite.value()->dataForKey(key);
    const auto standard = store::DefaultsStore::standard(folder);
    if (!standard) return standard.error();
    return standard->dataForKey(key);
}

template <typename T>
std::optional<T> read(std::string_view key, std::string_view storeDirectory,
                      const platform::Logger& logger) {
    const auto data = storedData(key, storeDirectory);
    if (!data) {
        logger.error([&] {
            return "AppGroup store read failed for " + std::string(key) + ": " +
                   data.error().description;
        });
        return std::nullopt;
    }
    if (!data.value()) return std::nullopt;

    const auto& bytes = *data.value();
    const std::string_view json(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    auto decoded = sharedDecoder().decode<T>(json);
    if (decoded) return std::move(decoded).value();

    logger.error([&] {
        return "AppGroup decode failed for " + std::string(key) + ": " +
               decoded.error().description;
    });
    return std::nullopt;
}

}  // namespace

template <typename Record>
std::optional<Record> readRecord(std::string_view key, std::string_view storeDirectory,
                                 const platform::Logger& logger) {
    return read<Record>(key, storeDirectory, logger);
}

template <typename Record>
std::optional<Record> readRecord(std::string_view key, std::string_view storeDirectory) {
    return read<Record>(key, storeDirectory, sharedLogger());
}

std::optional<std::vector<WatchlistRow>> readRows(std::string_view key,
                                                  std::string_view storeDirectory,
                                                  const platform::Logger& logger) {
    return read<std::vector<WatchlistRow>>(key, storeDirectory, logger);
}

std::optional<std::vector<WatchlistRow>> readRows(std::string_view key,
                                                  std::string_view storeDirectory) {
    return read<std::vector<WatchlistRow>>(key, storeDirectory, sharedLogger());
}

template std::optional<DailyBrief> readRecord<DailyBrief>(std::string_view, std::string_view);
template std::optional<DailyBrief> readRecord<DailyBrief>(std::string_view, std::string_view,
                                                          const platform::Logger&);
template std::optional<PortfolioSnapshot> readRecord<PortfolioSnapshot>(std::string_view,
                                                                        std::string_view);
template std::optional<PortfolioSnapshot> readRecord<PortfolioSnapshot>(std::string_view,
                                                                        std::string_view,
                                                                        const platform::Logger&);
template std::optional<WatchlistRow> readRecord<WatchlistRow>(std::string_view, std::string_view);
template std::optional<WatchlistRow> readRecord<WatchlistRow>(std::string_view, std::string_view,
                                                              const platform::Logger&);

}  // namespace AppGroupContainer
