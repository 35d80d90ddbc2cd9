// The library's C interface: every call catches what the C++ below it may throw and answers with a
// status, so that nothing but a status and an error object crosses into the host app.
#include "appgroup/RecordKind.h"
#include "appgroup/ReloadOutcome.h"
#include "appgroup/include/velmora/appgroup.h"
#include "platform/Deployment.h"
#include "store/AppGroupStore.h"
#include "store/DefaultsDomain.h"
#include "store/StoreLocation.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>

static_assert(AppGroupContainer::dailyBriefKey == VELMORA_APPGROUP_KEY_DAILY_BRIEF);
static_assert(AppGroupContainer::watchlistTickersKey == VELMORA_APPGROUP_KEY_WATCHLIST_TICKERS);
static_assert(AppGroupContainer::portfolioSnapshotKey == VELMORA_APPGROUP_KEY_PORTFOLIO_SNAPSHOT);
static_assert(store::DefaultsStore::valueSizeLimit == VELMORA_APPGROUP_VALUE_SIZE_LIMIT);

// The C interface's opaque types: C names them in the global namespace.
struct velmora_appgroup_error {
    velmora_appgroup_status status;
    std::string message;
};

struct velmora_appgroup_store {
    store::DefaultsDomain domain;
    std::string directory;
};

namespace appgroup {
namespace {

// How long each step on the session bus may take.
constexpr std::chrono::milliseconds busTimeout{1000};

// A failure on its way out: the status returned, the message for an error object.
struct Failure {
    velmora_appgroup_status status;
    std::string message;
};

// Runs `call`, which returns a status or throws a Failure, and hands a failure to the caller's
// error out-parameter. Whatever else is thrown ends here too.
template <typename Call>
velmora_appgroup_status answer(velmora_appgroup_error** error, Call call) noexcept {
    const auto fail = [error](velmora_appgroup_status status, const char* message) noexcept {
        if (error != nullptr) {
            try {
                *error = new velmora_appgroup_error{status, message};
            } catch (...) {
                *error = nullptr;
            }
        }
        return status;
    };
    try {
        return call();
    } catch (const Failure& failure) {
        return fail(failure.status, failure.message.c_str());
    } catch (const std::bad_alloc&) {
        return fail(VELMORA_APPGROUP_OUT_OF_MEMORY, "out of memory");
    } catch (const std::exception& exception) {
        return fail(VELMORA_APPGROUP_STORE_FAILED, exception.what());
    } catch (...) {
        return fail(VELMORA_APPGROUP_STORE_FAILED, "unexpected failure");
    }
}

void require(bool present, const char* what) {
    if (!present) throw Failure{VELMORA_APPGROUP_INVALID_ARGUMENT, std::string(what) + " is NULL"};
}

template <typename T>
T valueOf(platform::Result<T> result) {
    if (!result) throw Failure{VELMORA_APPGROUP_STORE_FAILED, result.error().description};
    return std::move(result).value();
}

void succeed(const platform::Result<void>& result) {
    if (!result) throw Failure{VELMORA_APPGROUP_STORE_FAILED, result.error().description};
}

void checkSize(size_t size) {
    if (size > VELMORA_APPGROUP_VALUE_SIZE_LIMIT)
        throw Failure{VELMORA_APPGROUP_TOO_LARGE,
                      "value of " + std::to_string(size) + " bytes exceeds the 1 MiB limit"};
}

std::span<const std::uint8_t> bytesOf(const void* bytes, size_t size) {
    require(bytes != nullptr || size == 0, "bytes");
    return {static_cast<const std::uint8_t*>(bytes), size};
}

}  // namespace
}  // namespace appgroup

using namespace appgroup;

extern "C" {

velmora_appgroup_status velmora_appgroup_error_status(const velmora_appgroup_error* error) {
    return error != nullptr ? error->status : VELMORA_APPGROUP_OK;
}

const char* velmora_appgroup_error_message(const velmora_appgroup_error* error) {
    return error != nullptr ? error->message.c_str() : "";
}

void velmora_appgroup_error_free(velmora_appgroup_error* error) {
    delete error;
}

velmora_appgroup_status velmora_appgroup_store_open(const char* directory,
                                                    velmora_appgroup_store** store,
                                                    velmora_appgroup_error** error) {
    return answer(error, [&] {
        require(store != nullptr, "store");
        auto folder = store::storeDirectory(directory != nullptr ? directory : "");
        store::DefaultsDomain domain(std::string(platform::appGroupIdentifier()), folder);
        // Made now, so that a folder that cannot be the store fails here.
        (void)valueOf(store::DefaultsStore::openForWriting(domain.domain(), domain.folder()));
        *store = new velmora_appgroup_store{std::move(domain), folder.string()};
        return VELMORA_APPGROUP_OK;
    });
}

void velmora_appgroup_store_close(velmora_appgroup_store* store) {
    delete store;
}

const char* velmora_appgroup_store_directory(const velmora_appgroup_store* store) {
    return store != nullptr ? store->directory.c_str() : "";
}

velmora_appgroup_status velmora_appgroup_write_data(velmora_appgroup_store* store, const char* key,
                                                    const void* bytes, size_t size,
                                                    velmora_appgroup_error** error) {
    return answer(error, [&] {
        require(store != nullptr, "store");
        require(key != nullptr, "key");
        checkSize(size);
        succeed(store->domain.writeData(key, bytesOf(bytes, size)));
        return VELMORA_APPGROUP_OK;
    });
}

velmora_appgroup_status velmora_appgroup_write_record(velmora_appgroup_store* store,
                                                      const char* key, const void* bytes,
                                                      size_t size, velmora_appgroup_error** error) {
    return answer(error, [&] {
        require(store != nullptr, "store");
        require(key != nullptr, "key");
        const auto kind = recordKindOf(key);
        if (!kind)
            throw Failure{VELMORA_APPGROUP_INVALID_ARGUMENT,
                          std::string(key) +
                              " holds no record of the widgets' (write_data "
                              "stores other values)"};
        checkSize(size);
        const auto data = bytesOf(bytes, size);
        const std::string_view json(reinterpret_cast<const char*>(data.data()), data.size());
        if (const auto checked = checkRecord(*kind, json); !checked)
            throw Failure{VELMORA_APPGROUP_INVALID_RECORD,
                          std::string(key) + ": " + checked.error().description};
        succeed(store->domain.writeData(key, data));
        return VELMORA_APPGROUP_OK;
    });
}

velmora_appgroup_status velmora_appgroup_read_data(velmora_appgroup_store* store, const char* key,
                                                   void** bytes, size_t* size,
                                                   velmora_appgroup_error** error) {
    return answer(error, [&] {
        require(store != nullptr, "store");
        require(key != nullptr, "key");
        require(bytes != nullptr, "bytes");
        require(size != nullptr, "size");
        const auto value = valueOf(store->domain.read(key));
        const auto* data = value ? std::get_if<store::Data>(&*value) : nullptr;
        if (data == nullptr)
            throw Failure{VELMORA_APPGROUP_NOT_FOUND, std::string("no data value for key ") + key +
                                                          " in " + store->domain.domain()};
        auto* copy = static_cast<std::uint8_t*>(std::malloc(data->size() + 1));
        if (copy == nullptr) throw std::bad_alloc();
        if (!data->empty()) std::memcpy(copy, data->data(), data->size());
        copy[data->size()] = 0;
        *bytes = copy;
        *size = data->size();
        return VELMORA_APPGROUP_OK;
    });
}

void velmora_appgroup_free(void* bytes) {
    std::free(bytes);
}

velmora_appgroup_status velmora_appgroup_delete(velmora_appgroup_store* store, const char* key,
                                                velmora_appgroup_error** error) {
    return answer(error, [&] {
        require(store != nullptr, "store");
        require(key != nullptr, "key");
        if (!valueOf(store->domain.remove(key)))
            throw Failure{VELMORA_APPGROUP_NOT_FOUND,
                          std::string("no value for key ") + key + " in " + store->domain.domain()};
        return VELMORA_APPGROUP_OK;
    });
}

velmora_appgroup_status velmora_appgroup_reload(const char* kind, velmora_appgroup_error** error) {
    return answer(error, [&] {
        const auto outcome = requestReload(kind != nullptr ? kind : "", busTimeout);
        if (!outcome) throw Failure{VELMORA_APPGROUP_RELOAD_FAILED, outcome.error().description};
        switch (outcome->reach) {
            case ReloadOutcome::Reach::taken:
                return VELMORA_APPGROUP_OK;
            case ReloadOutcome::Reach::noSessionBus:
                throw Failure{VELMORA_APPGROUP_NONE_RUNNING,
                              "no widget host to ask: no session bus (" + outcome->detail + ")"};
            case ReloadOutcome::Reach::noHostRunning:
                break;
        }
        throw Failure{VELMORA_APPGROUP_NONE_RUNNING, "no widget host is running"};
    });
}

const char* velmora_appgroup_version(void) {
    static const std::string version(platform::programVersion());
    return version.c_str();
}

}  // extern "C"
