#pragma once

#include <type_traits>
#include <vector>

/// Whether a result stands for nothing: an empty optional or a null pointer.
template <class T>
bool isNil(const T &value)
{
    if constexpr (requires { value.has_value(); })
        return !value.has_value();
    else if constexpr (requires { value == nullptr; })
        return value == nullptr;
    else
        return false;
}

/// The results of `block` for each element, in their order. A result that stands for nothing keeps its place, or with
/// `skippingNilValues` is left out.
template <class T, class Block>
auto map(const std::vector<T> &elements, Block block, bool skippingNilValues = false)
{
    std::vector<std::decay_t<std::invoke_result_t<Block, const T &>>> results;
    results.reserve(elements.size());
    for (const T &element : elements) {
        auto result = block(element);
        if (!skippingNilValues || !isNil(result))
            results.push_back(std::move(result));
    }
    return results;
}
