#pragma once

#include "Platform/Types.h"

#include <memory>
#include <optional>

/// A quicker hand at zlib streams than zlib, where the build has one; else it leaves inflating to others. One thread.
class FastZlib final
{
public:
    FastZlib();
    ~FastZlib();
    FastZlib(const FastZlib &) = delete;
    FastZlib &operator=(const FastZlib &) = delete;

    /// Whether the build has a quicker hand at all.
    static bool isThere();

    /// Inflates the stream at the start of `packed`; what follows it is not looked at. Answers how many bytes were
    /// written; nullopt when the stream was not accepted, which is no verdict on it.
    std::optional<std::size_t> inflate(ByteView packed, std::span<std::uint8_t> content);

    /// Deflates at level 6. Answers how many bytes were written; nullopt when `packed` has no room for them.
    std::optional<std::size_t> deflate(ByteView content, std::span<std::uint8_t> packed);

private:
    struct State;
    std::unique_ptr<State> m_state;
};
