#pragma once

// Reading view trees in tests: walk a tree, find nodes by their text, read a node's
// modifiers. Only reads; never builds views.

#include "ui/View.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace viewquery {

// The queries below return pointers into the tree they are given; a temporary tree would
// leave them dangling, so those overloads are deleted. Keep the tree in a variable.

// The children of a container node, as written (groups and repetitions are not flattened).
inline const std::vector<ui::View>* childrenOf(const ui::View& view) {
    return std::visit(
        [](const auto& node) -> const std::vector<ui::View>* {
            if constexpr (requires { node.children; }) {
                static_assert(std::is_same_v<decltype(node.children), std::vector<ui::View>>);
                return &node.children;
            } else {
                (void)node;
                return nullptr;
            }
        },
        view.node);
}

inline const std::vector<ui::View>* childrenOf(ui::View&&) = delete;

// Every node of the tree, depth first, the root included.
inline std::vector<const ui::View*> allNodes(const ui::View& root) {
    std::vector<const ui::View*> out;
    std::function<void(const ui::View&)> walk = [&](const ui::View& view) {
        out.push_back(&view);
        if (const auto* children = childrenOf(view))
            for (const ui::View& child : *children) walk(child);
    };
    walk(root);
    return out;
}

inline std::vector<const ui::View*> allNodes(ui::View&&) = delete;

// The key of a fixed text or the text of a verbatim one; nothing for other nodes.
inline std::optional<std::string> textOf(const ui::View& view) {
    const auto* text = std::get_if<ui::TextNode>(&view.node);
    if (!text) return std::nullopt;
    if (const auto* key = std::get_if<ui::LocalizedStringKey>(&text->content)) return key->key;
    return std::get<ui::Verbatim>(text->content).text;
}

inline bool isVerbatim(const ui::View& view) {
    const auto* text = std::get_if<ui::TextNode>(&view.node);
    return text && std::holds_alternative<ui::Verbatim>(text->content);
}

inline std::optional<ui::LocalizedStringKey> keyOf(const ui::View& view) {
    const auto* text = std::get_if<ui::TextNode>(&view.node);
    if (!text) return std::nullopt;
    if (const auto* key = std::get_if<ui::LocalizedStringKey>(&text->content)) return *key;
    return std::nullopt;
}

inline std::vector<const ui::View*> nodesWhere(const ui::View& root,
                                               const std::function<bool(const ui::View&)>& test) {
    std::vector<const ui::View*> out;
    for (const ui::View* node : allNodes(root))
        if (test(*node)) out.push_back(node);
    return out;
}

inline std::vector<const ui::View*> nodesWhere(
    ui::View&&, const std::function<bool(const ui::View&)>&) = delete;

// The text nodes whose key or verbatim text is `text`.
inline std::vector<const ui::View*> textsNamed(const ui::View& root, const std::string& text) {
    return nodesWhere(root, [&](const ui::View& v) { return textOf(v) == text; });
}

inline std::vector<const ui::View*> textsNamed(ui::View&&, const std::string&) = delete;

template <typename Node>
std::vector<const ui::View*> nodesOfKind(const ui::View& root) {
    return nodesWhere(root, [](const ui::View& v) { return std::holds_alternative<Node>(v.node); });
}
template <typename Node>
std::vector<const ui::View*> nodesOfKind(ui::View&&) = delete;

// The modifiers of one kind on a node, innermost first.
template <typename M>
std::vector<M> modifiersOf(const ui::View& view) {
    std::vector<M> out;
    for (const ui::Modifier& m : view.modifiers)
        if (const auto* found = std::get_if<M>(&m)) out.push_back(*found);
    return out;
}

template <typename M>
std::optional<M> modifierOf(const ui::View& view) {
    auto all = modifiersOf<M>(view);
    if (all.empty()) return std::nullopt;
    return all.front();
}

// The URL of a tree's one widgetURL modifier; none when that modifier holds no URL.
inline std::optional<std::string> linkOf(const ui::View& root) {
    auto links = modifiersOf<ui::WidgetURLModifier>(root);
    EXPECT_EQ(links.size(), 1u);
    if (links.empty() || !links.front().url) return std::nullopt;
    return links.front().url->text();
}

}  // namespace viewquery
