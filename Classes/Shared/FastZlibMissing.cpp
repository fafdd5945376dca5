#include "Classes/Shared/FastZlib.h"

#include <zlib.h>

static constexpr int kLevel = 6;

struct FastZlib::State
{
};

FastZlib::FastZlib() = default;
FastZlib::~FastZlib() = default;

bool FastZlib::isThere()
{
    return false;
}

std::optional<std::size_t> FastZlib::inflate(ByteView, std::span<std::uint8_t>)
{
    return std::nullopt;
}

std::optional<std::size_t> FastZlib::deflate(ByteView content, std::span<std::uint8_t> packed)
{
    uLongf length = uLongf(packed.size());
    if (::compress2(packed.data(), &length, content.data(), uLong(content.size()), kLevel) != Z_OK)
        return std::nullopt;
    return std::size_t(length);
}
