// A C++ face on velmora/appgroup.h, header-only: values that free what they hold, failures as
// results, no exceptions of its own.
#pragma once

#include <velmora/appgroup.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace velmora::appgroup {

// How a call ended: VELMORA_APPGROUP_OK, or a failure's status and message.
struct Status {
    velmora_appgroup_status code = VELMORA_APPGROUP_OK;
    std::string message;

    [[nodiscard]] bool ok() const { return code == VELMORA_APPGROUP_OK; }
    explicit operator bool() const { return ok(); }
};

// A value, or the status of the failure that gave none.
template <typename T>
class Result {
public:
    Result(T value) : m_value(std::move(value)) {}            // NOLINT: a result from its value
    Result(Status failure) : m_status(std::move(failure)) {}  // NOLINT: and from a failure

    [[nodiscard]] bool ok() const { return m_value.has_value(); }
    explicit operator bool() const { return ok(); }
    [[nodiscard]] const T& value() const& { return *m_value; }
    [[nodiscard]] T&& value() && { return *std::move(m_value); }
    [[nodiscard]] const Status& status() const { return m_status; }

private:
    std::optional<T> m_value;
    Status m_status;
};

namespace detail {

struct ErrorFree {
    void operator()(velmora_appgroup_error* error) const { velmora_appgroup_error_free(error); }
};

// Runs a C call that takes an error out-parameter, its status and message as a Status.
template <typename Call>
Status call(Call&& c) {
    velmora_appgroup_error* raw = nullptr;
    const velmora_appgroup_status code = std::forward<Call>(c)(&raw);
    const std::unique_ptr<velmora_appgroup_error, ErrorFree> error(raw);
    return {code, error ? velmora_appgroup_error_message(error.get()) : ""};
}

}  // namespace detail

// The app group's store, open for the host app; closed when it goes. Threads may share one.
class Store {
public:
    // The store in `directory`, or where the widgets look when it is empty.
    [[nodiscard]] static Result<Store> open(const std::string& directory = {}) {
        velmora_appgroup_store* raw = nullptr;
        Status status = detail::call([&](velmora_appgroup_error** error) {
            return velmora_appgroup_store_open(directory.c_str(), &raw, error);
        });
        if (!status) return status;
        return Store(raw);
    }

    [[nodiscard]] std::string directory() const {
        return velmora_appgroup_store_directory(m_store.get());
    }

    [[nodiscard]] Status writeData(const std::string& key, std::string_view bytes) const {
        return detail::call([&](velmora_appgroup_error** error) {
            return velmora_appgroup_write_data(m_store.get(), key.c_str(), bytes.data(),
                                               bytes.size(), error);
        });
    }

    // One of the three records, checked with the widgets' decoder before it is written.
    [[nodiscard]] Status writeRecord(const std::string& key, std::string_view json) const {
        return detail::call([&](velmora_appgroup_error** error) {
            return velmora_appgroup_write_record(m_store.get(), key.c_str(), json.data(),
                                                 json.size(), error);
        });
    }

    // The data value's bytes; VELMORA_APPGROUP_NOT_FOUND when the key holds none.
    [[nodiscard]] Result<std::string> readData(const std::string& key) const {
        void* bytes = nullptr;
        size_t size = 0;
        Status status = detail::call([&](velmora_appgroup_error** error) {
            return velmora_appgroup_read_data(m_store.get(), key.c_str(), &bytes, &size, error);
        });
        if (!status) return status;
        std::string value(static_cast<const char*>(bytes), size);
        velmora_appgroup_free(bytes);
        return value;
    }

    [[nodiscard]] Status remove(const std::string& key) const {
        return detail::call([&](velmora_appgroup_error** error) {
            return velmora_appgroup_delete(m_store.get(), key.c_str(), error);
        });
    }

private:
    struct Close {
        void operator()(velmora_appgroup_store* store) const {
            velmora_appgroup_store_close(store);
        }
    };
    explicit Store(velmora_appgroup_store* store) : m_store(store) {}

    std::unique_ptr<velmora_appgroup_store, Close> m_store;
};

// Asks the running widget host to reload `kind`, or every kind when it is empty: ok when a host
// took it, VELMORA_APPGROUP_NONE_RUNNING when none runs.
[[nodiscard]] inline Status reload(const std::string& kind = {}) {
    return detail::call([&](velmora_appgroup_error** error) {
        return velmora_appgroup_reload(kind.c_str(), error);
    });
}

}  // namespace velmora::appgroup
