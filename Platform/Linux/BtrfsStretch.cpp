#include "Platform/Linux/BtrfsStretch.h"

#include <memory>
#include <zstd.h>

static constexpr int kLevel = 3; // of btrfs, where none is asked for

namespace {

/// The library's working memory and room for what it answers, made once in each thread.
struct Compressor
{
    std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)> context{ZSTD_createCCtx(), &ZSTD_freeCCtx};
    Bytes room = Bytes(ZSTD_compressBound(BtrfsStretch::kSize));
};

} // namespace

static ByteCount inBlocks(ByteCount size, ByteCount blockSize)
{
    return (size + blockSize - 1) / blockSize * blockSize;
}

ByteCount BtrfsStretch::occupied(ByteView content, ByteCount blockSize)
{
    thread_local Compressor s_compressor;
    const ByteCount plain = inBlocks(content.size(), blockSize);
    if (content.size() > kSize || !s_compressor.context)
        return plain;
    Bytes &room = s_compressor.room;
    const std::size_t size =
        ZSTD_compressCCtx(s_compressor.context.get(), room.data(), room.size(), content.data(), content.size(), kLevel);
    if (ZSTD_isError(size) || size >= content.size())
        return plain;
    const ByteCount packed = inBlocks(size, blockSize);
    return packed + blockSize > plain ? plain : packed;
}
