#pragma once

namespace platform {

// Several lambdas as one visitor, for std::visit over the view and draw-list variants.
template <typename... Ts>
struct Overloaded : Ts... {
    using Ts::operator()...;
};
template <typename... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>;

}  // namespace platform
