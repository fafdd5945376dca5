#include "Classes/Shared/FastZlib.h"

#include <libdeflate.h>

static constexpr int kLevel = 6;

/// Each is made when it is first wanted; nullptr where memory is short.
struct FastZlib::State
{
    std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor *)> decompressor{
        nullptr, ::libdeflate_free_decompressor};
    std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor *)> compressor{nullptr,
                                                                                         ::libdeflate_free_compressor};
};

FastZlib::FastZlib()
    : m_state(std::make_unique<State>())
{
}

FastZlib::~FastZlib() = default;

bool FastZlib::isThere()
{
    return true;
}

std::optional<std::size_t> FastZlib::inflate(ByteView packed, std::span<std::uint8_t> content)
{
    if (!m_state->decompressor)
        m_state->decompressor.reset(::libdeflate_alloc_decompressor());
    std::size_t length = 0;
    if (!m_state->decompressor ||
        ::libdeflate_zlib_decompress(m_state->decompressor.get(), packed.data(), packed.size(), content.data(),
                                     content.size(), &length) != LIBDEFLATE_SUCCESS)
        return std::nullopt;
    return length;
}

std::optional<std::size_t> FastZlib::deflate(ByteView content, std::span<std::uint8_t> packed)
{
    if (!m_state->compressor)
        m_state->compressor.reset(::libdeflate_alloc_compressor(kLevel));
    if (!m_state->compressor)
        return std::nullopt;
    const std::size_t length = ::libdeflate_zlib_compress(m_state->compressor.get(), content.data(), content.size(),
                                                          packed.data(), packed.size());
    return length > 0 ? std::optional(length) : std::nullopt;
}
