// A header of 16 bytes and a fork behind it: whatever they claim, every block lies in the fork and is no larger than a
// block may be; and an expansion of such a file gives what zlib makes of its blocks, or loses nothing. And any content
// comes back the same from the fork that is built of it.

#include "Classes/Shared/CompressedBlockReader.h"
#include "Classes/Shared/CompressedForkBuilder.h"
#include "Classes/Shared/DVHFSUncompressor.h"
#include "Classes/Shared/FastZlib.h"
#include "Classes/Shared/LeftLocks.h"
#include "Classes/Shared/Log.h"
#include "Platform/Fake/FakeFileLeases.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Fake/FakeUserFolders.h"
#include "Platform/Fake/FakeVolumes.h"
#include "Platform/Formats/MemoryFork.h"

#include <algorithm>
#include <cstdlib>

#include <zlib.h>

static constexpr std::uint32_t kMostBlocks = 256;

static void require(bool holds)
{
    if (!holds)
        std::abort();
}

static Result<CompressedBlockReader> readerOf(Bytes fork)
{
    return CompressedBlockReader::open(std::make_unique<MemoryFork>(std::move(fork)));
}

static void readForeign(ByteView bytes)
{
    constexpr std::size_t kHeader = sizeof(HFSPlusDecmpfs);
    const std::optional<HFSPlusDecmpfs> header = readDecmpfs(bytes.first(std::min(bytes.size(), kHeader)));
    const ByteView fork = bytes.subspan(std::min(bytes.size(), kHeader));
    Result<CompressedBlockReader> blocks = readerOf(Bytes(fork.begin(), fork.end()));
    if (!blocks)
        return;
    require(blocks->heads().tableEnd() <= fork.size());
    if (header)
        require(boundedLogicalSize(*header, blocks->count()) <= blocks->count() * kCompressionBlockSize);
    for (std::uint32_t index = 0; index < std::min(blocks->count(), kMostBlocks); ++index) {
        const Result<HFSPlusCmpfRsrcBlock> entry = blocks->entry(index);
        require(bool(entry));
        if (const Result<Bytes> content = blocks->content(*entry))
            require(content->size() <= kCompressionBlockSize);
    }
    require(!blocks->entry(blocks->count()));
}

/// The blocks one behind the other, each as zlib has it; nullopt where one of them is no whole stream.
static std::optional<Bytes> contentByZlib(ByteView fork)
{
    Result<CompressedBlockReader> blocks = readerOf(Bytes(fork.begin(), fork.end()));
    if (!blocks)
        return std::nullopt;
    Bytes content, block(kCompressionBlockSize);
    ByteCount position = blocks->heads().tableEnd();
    for (std::uint32_t index = 0; index < blocks->count(); ++index) {
        const Result<HFSPlusCmpfRsrcBlock> entry = blocks->entry(index);
        if (!entry || entry->blockSize > kCompressionBlockSize)
            return std::nullopt;
        const std::size_t size = std::min<std::size_t>(entry->blockSize, fork.size() - position);
        const ByteView packed = fork.subspan(position, size);
        uLongf length = kCompressionBlockSize;
        if (size > 0 && ::uncompress(block.data(), &length, packed.data(), uLong(size)) != Z_OK)
            return std::nullopt;
        if (size > 0)
            content.insert(content.end(), block.begin(), block.begin() + std::ptrdiff_t(length));
        position += size;
    }
    return content;
}

static void expandForeign(ByteView bytes)
{
    static const Path s_file = "/folder/file", s_root = "/tmp";
    const std::size_t header = std::min(bytes.size(), sizeof(HFSPlusDecmpfs));
    const ByteView fork = bytes.subspan(header);
    if (const auto blocks = readerOf(Bytes(fork.begin(), fork.end())); blocks && blocks->count() > kMostBlocks)
        return; // more only takes longer
    FakeFileSystem files;
    FakeFileLeases leases;
    FakeUserFolders folders(s_root);
    FakeVolumes volumes;
    volumes.volumes.push_back({"/"});
    files.addFile(s_file);
    files.addFolder(*folders.temporary());
    files.setResourceFork(s_file, fork);
    require(bool(files.setAttribute(s_file, kDecmpfsAttribute, bytes.first(header), Links::NotFollow)));
    require(bool(files.setFlags(s_file, kCompressedFlag)));
    const Override<FileSystem> filesInPlace(files);
    const Override<FileLeases> leasesInPlace(leases);
    const Override<UserFolders> foldersInPlace(folders);
    const Override<Volumes> volumesInPlace(volumes);
    const bool isExpanded = DVHFSUncompressor::expandInPlacePath(s_file);
    LeftLocks::release();
    const Result<Bytes> content = files.readFile(s_file, ByteCount{1} << 30);
    const std::optional<Bytes> expected = contentByZlib(fork);
    require(bool(content) && files.entries(*folders.temporary())->empty());
    if (isExpanded)
        require(expected ? *content == *expected : FastZlib::isThere());
    else
        require(content->empty() && (fork.empty() || (*files.openResourceFork(s_file))->size() == fork.size()));
}

static void writeAndReadBack(ByteView content)
{
    Result<Bytes> fork = CompressedForkBuilder::build(content);
    if (!fork)
        return;
    Result<CompressedBlockReader> blocks = readerOf(std::move(*fork));
    require(bool(blocks));
    for (std::uint32_t index = 0; index < blocks->count(); ++index) {
        const Result<HFSPlusCmpfRsrcBlock> entry = blocks->entry(index);
        require(bool(entry));
        const Result<Bytes> block = blocks->content(*entry);
        require(block && block->size() <= content.size());
        require(std::equal(block->begin(), block->end(), content.begin()));
        content = content.subspan(block->size());
    }
    require(content.empty());
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const bool s_isQuiet = (setLogSink([](const std::string &) {}), true);
    require(s_isQuiet);
    readForeign(ByteView(data, size));
    expandForeign(ByteView(data, size));
    writeAndReadBack(ByteView(data, size));
    return 0;
}
