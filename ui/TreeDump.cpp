#include "ui/TreeDump.h"

#include "platform/Overloaded.h"
#include "ui/ViewNames.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <system_error>

namespace ui {

std::string dumpQuoted(std::string_view text) {
    std::string out = "\"";
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t start = i;
        UChar32 c = 0;
        U8_NEXT(bytes, i, text.size(), c);  // c < 0: bytes that are no UTF-8, kept as they are
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if ((c >= 0 && c < 0x20) || c == 0x7F || (c >= 0x80 && c < 0xA0) || c == 0x2028 ||
                    c == 0x2029) {
                    std::array<char, 16> buffer;
                    std::snprintf(buffer.data(), buffer.size(), "\\u{%X}", unsigned(c));
                    out += buffer.data();
                } else {
                    out.append(text.substr(start, i - start));
                }
        }
    }
    out += '"';
    return out;
}

namespace {

std::string quoted(std::string_view text) {
    return dumpQuoted(text);
}

// An identity as written in ForEach(ids: [...]): bare when it is plain, else quoted.
std::string identity(std::string_view id) {
    bool plain = !id.empty();
    for (const char c : id) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte <= 0x20 || byte >= 0x7F || c == ',' || c == '[' || c == ']' || c == '"') {
            plain = false;
        }
    }
    return plain ? std::string(id) : quoted(id);
}

std::string font(const Font& f) {
    return "system(size: " + dumpNumber(f.size) + ", weight: " + std::string(name(f.weight)) +
           ", design: " + std::string(name(f.design)) + ")";
}

std::string padding(const EdgeInsets& insets) {
    if (insets.top == insets.leading && insets.top == insets.bottom &&
        insets.top == insets.trailing) {
        return dumpNumber(insets.top);
    }
    std::string out;
    const auto edge = [&](std::string_view label, double length) {
        if (length == 0) return;
        if (!out.empty()) out += ", ";
        out += label;
        out += ": ";
        out += dumpNumber(length);
    };
    edge("top", insets.top);
    edge("leading", insets.leading);
    edge("bottom", insets.bottom);
    edge("trailing", insets.trailing);
    return out;
}

std::string frame(const FrameModifier& f) {
    std::string out;
    const auto bound = [&](std::string_view label, const std::optional<double>& value) {
        if (!value) return;
        out += label;
        out += ": ";
        out += dumpNumber(*value);
        out += ", ";
    };
    bound("minWidth", f.minWidth);
    bound("maxWidth", f.maxWidth);
    bound("minHeight", f.minHeight);
    bound("maxHeight", f.maxHeight);
    return out + "alignment: " + name(f.alignment);
}

std::string spacing(const std::optional<double>& value) {
    return value ? ", spacing: " + dumpNumber(*value) : std::string();
}

std::string modifierLine(const Modifier& modifier, ColorNames names) {
    return std::visit(
        platform::Overloaded{
            [](const FontModifier& m) { return ".font(" + font(m.font) + ")"; },
            [&](const ForegroundColorModifier& m) {
                return ".foregroundColor(" + dumpColor(m.color, names) + ")";
            },
            [](const LineLimitModifier& m) {
                return ".lineLimit(" + (m.limit ? std::to_string(*m.limit) : "none") + ")";
            },
            [](const TextCaseModifier& m) {
                return ".textCase(" + std::string(m.textCase ? name(*m.textCase) : "none") + ")";
            },
            [](const MultilineTextAlignmentModifier& m) {
                return ".multilineTextAlignment(" + std::string(name(m.alignment)) + ")";
            },
            [](const FrameModifier& m) { return ".frame(" + frame(m) + ")"; },
            [](const PaddingModifier& m) { return ".padding(" + padding(m.insets) + ")"; },
            [&](const BackgroundModifier& m) {
                return ".background(" + dumpColor(m.fill, names) + ")";
            },
            [](const ClipShapeModifier& m) {
                return ".clipShape(RoundedRectangle(cornerRadius: " +
                       dumpNumber(m.shape.cornerRadius) +
                       ", style: " + std::string(name(m.shape.style)) + "))";
            },
            [](const WidgetURLModifier& m) {
                return ".widgetURL(" + (m.url ? m.url->text() : "none") + ")";
            },
            [&](const ContainerBackgroundModifier& m) {
                return ".containerBackground(" + dumpColor(m.color, names) +
                       ", for: " + std::string(name(m.placement)) + ")";
            },
        },
        modifier);
}

std::string textLine(const TextNode& text) {
    return std::visit(
        platform::Overloaded{
            [](const Verbatim& v) { return "Text(verbatim: " + quoted(v.text) + ")"; },
            [](const LocalizedStringKey& k) {
                std::string out = "Text(" + quoted(k.key);
                if (k.argument) {
                    out += ", ";
                    out += std::visit(platform::Overloaded{
                                          [](const std::string& s) { return quoted(s); },
                                          [](std::int64_t n) { return std::to_string(n); },
                                      },
                                      *k.argument);
                }
                return out + ")";
            },
        },
        text.content);
}

std::string gridColumns(const std::vector<GridItem>& columns) {
    std::string out = "[";
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const GridItem& item = columns[i];
        if (i > 0) out += ", ";
        out += "flexible(minimum: " + dumpNumber(item.minimum);
        if (item.maximum != infinity) out += ", maximum: " + dumpNumber(item.maximum);
        out += spacing(item.spacing) + ")";
    }
    return out + "]";
}

// The node's own line, and the children it holds.
std::string nodeLine(const View::Node& node) {
    return std::visit(
        platform::Overloaded{
            [](const EmptyView&) -> std::string { return "EmptyView()"; },
            [](const TextNode& n) { return textLine(n); },
            [](const ImageNode& n) { return "Image(systemName: " + quoted(n.systemName) + ")"; },
            [](const SpacerNode& n) {
                return n.minLength ? "Spacer(minLength: " + dumpNumber(*n.minLength) + ")"
                                   : std::string("Spacer()");
            },
            [](const DividerNode&) -> std::string { return "Divider()"; },
            [](const VStackNode& n) {
                return "VStack(alignment: " + std::string(name(n.alignment)) + spacing(n.spacing) +
                       ")";
            },
            [](const HStackNode& n) {
                return "HStack(alignment: " + std::string(name(n.alignment)) + spacing(n.spacing) +
                       ")";
            },
            [](const LazyVGridNode& n) {
                return "LazyVGrid(columns: " + gridColumns(n.columns) +
                       ", alignment: " + std::string(name(n.alignment)) + spacing(n.spacing) + ")";
            },
            [](const ForEachNode& n) {
                std::string out = "ForEach(ids: [";
                for (std::size_t i = 0; i < n.ids.size(); ++i) {
                    if (i > 0) out += ", ";
                    out += identity(n.ids[i]);
                }
                return out + "])";
            },
            [](const GroupNode&) -> std::string { return "Group()"; },
        },
        node);
}

const std::vector<View>* childrenOf(const View::Node& node) {
    return std::visit(platform::Overloaded{
                          [](const VStackNode& n) { return &n.children; },
                          [](const HStackNode& n) { return &n.children; },
                          [](const LazyVGridNode& n) { return &n.children; },
                          [](const ForEachNode& n) { return &n.children; },
                          [](const GroupNode& n) { return &n.children; },
                          [](const auto&) -> const std::vector<View>* { return nullptr; },
                      },
                      node);
}

void dump(const View& view, std::size_t depth, ColorNames names, std::string& out) {
    const std::string indent(depth * 2, ' ');
    out += indent + nodeLine(view.node) + "\n";
    for (const Modifier& modifier : view.modifiers) {
        out += indent + "  " + modifierLine(modifier, names) + "\n";
    }
    if (const auto* children = childrenOf(view.node)) {
        for (const View& child : *children) dump(child, depth + 1, names, out);
    }
}

}  // namespace

std::string dumpNumber(double value) {
    if (std::isinf(value)) return value > 0 ? "infinity" : "-infinity";
    std::array<char, 32> buffer;
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    if (error != std::errc()) return "?";
    return std::string(buffer.data(), end);
}

std::string dumpColor(const Color& color, ColorNames names, std::string (*number)(double)) {
    std::string out;
    const auto named = std::find_if(names.begin(), names.end(), [&](const ColorName& n) {
        return n.color.red == color.red && n.color.green == color.green &&
               n.color.blue == color.blue;
    });
    if (named != names.end()) {
        out = named->name;
    } else {
        const auto component = [](double c) {
            const double clamped = std::isnan(c) ? 0 : std::fmin(std::fmax(c, 0.0), 1.0);
            return unsigned(std::lround(clamped * 255));
        };
        std::array<char, 8> buffer;
        std::snprintf(buffer.data(), buffer.size(), "#%02X%02X%02X", component(color.red),
                      component(color.green), component(color.blue));
        out = buffer.data();
    }
    if (color.alpha != 1) out += ".opacity(" + (number ? number : dumpNumber)(color.alpha) + ")";
    return out;
}

std::string dumpTree(const View& view, ColorNames names) {
    std::string out;
    dump(view, 0, names, out);
    return out;
}

}  // namespace ui
