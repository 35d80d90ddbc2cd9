#pragma once

// Reading view trees in tests: walk a tree, find nodes by their text, read a node's
// modifiers. Only reads; never builds views.

#include "style/View.h"

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
inline const std::vector<View>* childrenOf(const View& view) {
    return std::visit(
        [](const auto& node) -> const std::vector<View>* {
            if constexpr (requires { node.children; }) {
                static_assert(std::is_same_v<decltype(node.children), std::vector<View>>);
                return &node.children;
            } else {
                (void)node;
                return nullptr;
            }
        },
        view.node);
}

inline const std::vector<View>* childrenOf(View&&) = delete;

// The children a container lays out: groups and repetitions written in place, the untaken
// side of a condition dropped.
inline std::vector<const View*> laidOutChildren(const View& view) {
    std::vector<const View*> out;
    std::function<void(const View&)> add = [&](const View& child) {
        if (std::holds_alternative<EmptyView>(child.node) && child.modifiers.empty()) return;
        if ((std::holds_alternative<GroupNode>(child.node) ||
             std::holds_alternative<ForEachNode>(child.node)) &&
            child.modifiers.empty()) {
            for (const View& inner : *childrenOf(child)) add(inner);
            return;
        }
        out.push_back(&child);
    };
    if (const auto* children = childrenOf(view))
        for (const View& child : *children) add(child);
    return out;
}

inline std::vector<const View*> laidOutChildren(View&&) = delete;

// Every node of the tree, depth first, the root included.
inline std::vector<const View*> allNodes(const View& root) {
    std::vector<const View*> out;
    std::function<void(const View&)> walk = [&](const View& view) {
        out.push_back(&view);
        if (const auto* children = childrenOf(view))
            for (const View& child : *children) walk(child);
    };
    walk(root);
    return out;
}

inline std::vector<const View*> allNodes(View&&) = delete;

// The key of a fixed text or the text of a verbatim one; nothing for other nodes.
inline std::optional<std::string> textOf(const View& view) {
    const auto* text = std::get_if<TextNode>(&view.node);
    if (!text) return std::nullopt;
    if (const auto* key = std::get_if<LocalizedStringKey>(&text->content)) return key->key;
    return std::get<Verbatim>(text->content).text;
}

inline bool isVerbatim(const View& view) {
    const auto* text = std::get_if<TextNode>(&view.node);
    return text && std::holds_alternative<Verbatim>(text->content);
}

inline std::optional<LocalizedStringKey> keyOf(const View& view) {
    const auto* text = std::get_if<TextNode>(&view.node);
    if (!text) return std::nullopt;
    if (const auto* key = std::get_if<LocalizedStringKey>(&text->content)) return *key;
    return std::nullopt;
}

// The text nodes whose key or verbatim text is `text`.
inline std::vector<const View*> textsNamed(const View& root, const std::string& text) {
    std::vector<const View*> out;
    for (const View* node : allNodes(root))
        if (textOf(*node) == text) out.push_back(node);
    return out;
}

inline std::vector<const View*> textsNamed(View&&, const std::string&) = delete;

inline std::vector<const View*> nodesWhere(const View& root,
                                           const std::function<bool(const View&)>& test) {
    std::vector<const View*> out;
    for (const View* node : allNodes(root))
        if (test(*node)) out.push_back(node);
    return out;
}

inline std::vector<const View*> nodesWhere(View&&,
                                           const std::function<bool(const View&)>&) = delete;

template <typename Node>
std::vector<const View*> nodesOfKind(const View& root) {
    return nodesWhere(root, [](const View& v) { return std::holds_alternative<Node>(v.node); });
}
template <typename Node>
std::vector<const View*> nodesOfKind(View&&) = delete;

// The modifiers of one kind on a node, innermost first.
template <typename M>
std::vector<M> modifiersOf(const View& view) {
    std::vector<M> out;
    for (const Modifier& m : view.modifiers)
        if (const auto* found = std::get_if<M>(&m)) out.push_back(*found);
    return out;
}

template <typename M>
std::optional<M> modifierOf(const View& view) {
    auto all = modifiersOf<M>(view);
    if (all.empty()) return std::nullopt;
    return all.front();
}

// The names of a node's modifiers, innermost first ("font", "padding", ...).
inline std::vector<std::string> modifierKinds(const View& view) {
    static const char* const names[] = {
        "font",    "foregroundColor", "lineLimit", "textCase",  "multilineTextAlignment", "frame",
        "padding", "background",      "clipShape", "widgetURL", "containerBackground"};
    static_assert(std::variant_size_v<Modifier> == std::size(names));
    std::vector<std::string> out;
    for (const Modifier& m : view.modifiers) out.emplace_back(names[m.index()]);
    return out;
}

}  // namespace viewquery
