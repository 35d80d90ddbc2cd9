#include "ipc/ExtensionProtocol.h"

#include <algorithm>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

using namespace timeline;

namespace ipc {

namespace {

constexpr char magic[4] = {'V', 'M', 'W', 'X'};

template <typename T>
constexpr bool isOptional = false;
template <typename T>
constexpr bool isOptional<std::optional<T>> = true;
template <typename T>
constexpr bool isVector = false;
template <typename T>
constexpr bool isVector<std::vector<T>> = true;

// The fields of every structure a message carries, in the order they travel. `const` or not, so
// one list serves writing and reading.
template <typename T, typename U>
concept Is = std::same_as<std::remove_const_t<T>, U>;

template <Is<TimelineDates> T>
auto fields(T& t) {
    return std::tie(t.entries, t.policy.date);
}
template <Is<WidgetDescription> T>
auto fields(T& w) {
    return std::tie(w.kind, w.displayName, w.description, w.families);
}
template <Is<Placement> T>
auto fields(T& p) {
    return std::tie(p.kind, p.family);
}
template <Is<ReloadRequest> T>
auto fields(T& m) {
    return std::tie(m.id, m.placement, m.request, m.now, m.scale, m.encoding, m.cornerRadius,
                    m.buffer, m.bufferSize);
}
template <Is<Drawing> T>
auto fields(T& d) {
    return std::tie(d.encoding, d.width, d.height, d.stride, d.byteCount, d.canvasWidth,
                    d.canvasHeight, d.url, d.texts);
}
template <Is<ReloadReply> T>
auto fields(T& m) {
    return std::tie(m.id, m.timeline, m.drawing);
}
template <Is<FailureReply> T>
auto fields(T& m) {
    return std::tie(m.id, m.description);
}
template <Is<Goodbye> T>
auto fields(T&) {
    return std::tie();
}
template <Is<DescribeRequest> T>
auto fields(T& m) {
    return std::tie(m.id);
}
template <Is<DescribeReply> T>
auto fields(T& m) {
    return std::tie(m.id, m.widgets);
}

// The largest value of each enumeration that travels, for checking what arrives.
constexpr std::uint8_t lastValue(timeline::WidgetFamily) {
    return std::uint8_t(timeline::WidgetFamily::systemLarge);
}
constexpr std::uint8_t lastValue(Request) {
    return std::uint8_t(Request::timeline);
}
constexpr std::uint8_t lastValue(ImageEncoding) {
    return std::uint8_t(ImageEncoding::none);
}

// The fewest bytes a value of T travels in: a list's count, the sender's word, is held against
// what the bytes left could carry before its items take any memory.
template <typename T>
constexpr std::size_t leastSize() {
    if constexpr (std::is_same_v<T, std::string> || isVector<T>)
        return sizeof(std::uint32_t);
    else if constexpr (isOptional<T> || std::is_enum_v<T> || std::is_same_v<T, bool>)
        return 1;
    else if constexpr (std::is_same_v<T, platform::Date>)
        return sizeof(std::int64_t);
    else if constexpr (std::is_arithmetic_v<T>)
        return sizeof(T);
    else
        return []<typename... Field>(std::tuple<Field&...>*) {
            return (std::size_t(0) + ... + leastSize<std::remove_const_t<Field>>());
        }(static_cast<decltype(fields(std::declval<T&>()))*>(nullptr));
}

class Writer {
public:
    explicit Writer(std::string& out) : m_out(out) {}

    template <typename T>
    void put(const T& value) {
        if constexpr (std::is_same_v<T, std::string>) {
            put(std::uint32_t(value.size()));
            m_out += value;
        } else if constexpr (isOptional<T>) {
            put(value.has_value());
            if (value) put(*value);
        } else if constexpr (isVector<T>) {
            put(std::uint32_t(value.size()));
            for (const auto& item : value) put(item);
        } else if constexpr (std::is_same_v<T, platform::Date>) {
            put(std::int64_t(value.time_since_epoch().count()));
        } else if constexpr (std::is_enum_v<T>) {
            put(std::uint8_t(value));
        } else if constexpr (std::is_arithmetic_v<T>) {
            char bytes[sizeof(T)];
            std::memcpy(bytes, &value, sizeof(T));
            m_out.append(bytes, sizeof(T));
        } else {
            std::apply([&](const auto&... field) { (put(field), ...); }, fields(value));
        }
    }

private:
    std::string& m_out;
};

class Reader {
public:
    explicit Reader(std::string_view in) : m_in(in) {}

    template <typename T>
    void get(T& value) {
        if (!m_fault.empty()) return;
        if constexpr (std::is_same_v<T, std::string>) {
            std::uint32_t size = 0;
            get(size);
            if (take(size)) value.assign(m_in.substr(m_at - size, size));
        } else if constexpr (isOptional<T>) {
            bool present = false;
            get(present);
            if (present) get(value.emplace());
        } else if constexpr (isVector<T>) {
            std::uint32_t count = 0;
            get(count);
            // The bytes left must hold `count` items at their fewest bytes, or the count is a lie;
            // checked before the list is sized, as an item takes many times its bytes in memory.
            if (count > (m_in.size() - m_at) / leastSize<typename T::value_type>())
                return fail("a list longer than its frame");
            value.resize(count);
            for (auto& item : value) get(item);
        } else if constexpr (std::is_same_v<T, platform::Date>) {
            std::int64_t micros = 0;
            get(micros);
            value = platform::Date(std::chrono::microseconds(micros));
        } else if constexpr (std::is_same_v<T, bool>) {
            std::uint8_t byte = 0;
            get(byte);
            if (byte > 1) fail("a truth value of " + std::to_string(byte));
            value = byte == 1;
        } else if constexpr (std::is_enum_v<T>) {
            std::uint8_t byte = 0;
            get(byte);
            if (byte > lastValue(T{})) fail("an unknown case " + std::to_string(byte));
            value = T(byte);
        } else if constexpr (std::is_arithmetic_v<T>) {
            if (take(sizeof(T))) std::memcpy(&value, m_in.data() + m_at - sizeof(T), sizeof(T));
        } else {
            std::apply([&](auto&... field) { (get(field), ...); }, fields(value));
        }
    }

    // The fault met, if any, or one when bytes are left over.
    [[nodiscard]] std::string fault() const {
        if (!m_fault.empty()) return m_fault;
        if (m_at != m_in.size()) return std::to_string(m_in.size() - m_at) + " bytes left over";
        return {};
    }

private:
    bool take(std::size_t count) {
        if (count > m_in.size() - m_at) {
            fail("cut short");
            return false;
        }
        m_at += count;
        return true;
    }
    void fail(std::string fault) {
        if (m_fault.empty()) m_fault = std::move(fault);
    }

    std::string_view m_in;
    std::size_t m_at = 0;
    std::string m_fault;
};

template <typename T>
void putHeaderField(std::string& out, std::size_t at, T value) {
    std::memcpy(out.data() + at, &value, sizeof(T));
}

template <typename T>
T headerField(std::string_view bytes, std::size_t at) {
    T value{};
    std::memcpy(&value, bytes.data() + at, sizeof(T));
    return value;
}

}  // namespace

std::string encodeFrame(const ExtensionMessage& message) {
    std::string frame(extensionFrameHeaderSize, '\0');
    Writer writer(frame);
    std::visit([&](const auto& m) { writer.put(m); }, message);
    std::memcpy(frame.data(), magic, sizeof magic);
    putHeaderField(frame, 4, extensionProtocolVersion);
    // Types count from one, so a frame of zeros is no message.
    putHeaderField(frame, 6, std::uint16_t(message.index() + 1));
    putHeaderField(frame, 8, std::uint32_t(frame.size() - extensionFrameHeaderSize));
    return frame;
}

platform::Result<FrameHeader> decodeFrameHeader(std::string_view bytes) {
    if (bytes.size() < extensionFrameHeaderSize) return platform::Error{"a frame cut short"};
    if (bytes.substr(0, sizeof magic) != std::string_view(magic, sizeof magic))
        return platform::Error{"not a frame of ours"};
    if (const auto version = headerField<std::uint16_t>(bytes, 4);
        version != extensionProtocolVersion)
        return platform::Error{"protocol version " + std::to_string(version) + ", expected " +
                               std::to_string(extensionProtocolVersion)};
    FrameHeader header{headerField<std::uint16_t>(bytes, 6), headerField<std::uint32_t>(bytes, 8)};
    if (header.type == 0 || header.type > std::variant_size_v<ExtensionMessage>)
        return platform::Error{"a message of unknown type " + std::to_string(header.type)};
    if (header.payloadLength > extensionFramePayloadLimit)
        return platform::Error{"a frame of " + std::to_string(header.payloadLength) + " bytes"};
    return header;
}

platform::Result<ExtensionMessage> decodeFramePayload(const FrameHeader& header,
                                                      std::string_view payload) {
    VELMORA_ASSERT(header.type >= 1 && header.type <= std::variant_size_v<ExtensionMessage>);
    ExtensionMessage message;
    Reader reader(payload);
    // The alternative the type names, read in place.
    [&]<std::size_t... index>(std::index_sequence<index...>) {
        ((header.type == index + 1 ? reader.get(message.emplace<index>()) : void()), ...);
    }
    (std::make_index_sequence<std::variant_size_v<ExtensionMessage>>());
    if (auto fault = reader.fault(); !fault.empty())
        return platform::Error{"a malformed message: " + fault};
    return message;
}

}  // namespace ipc
