#pragma once

#include "Classes/Shared/FastZlib.h"

/// Inflates the blocks of compressed files, each a zlib stream. The verdict on a block is zlib's: what the quicker hand
/// in front of it does not accept, zlib is given. One thread.
class BlockInflater final
{
public:
    /// Inflates the stream at the start of `packed`; what follows it is not looked at. Answers how many bytes were
    /// written, 0 too; nullopt when it is no whole stream, or one of more bytes than `content` has room for. What
    /// stands in `content` behind the bytes written, or after a refusal, means nothing.
    std::optional<std::size_t> inflate(ByteView packed, std::span<std::uint8_t> content);

private:
    FastZlib m_fast;
};
