#include "Classes/Shared/CompressedFileInspection.h"

#include "Classes/Shared/CompressedBlockReader.h"

#include <algorithm>

/// Reads every block as the expander does, one right behind the other, and says what is wrong with the first bad one.
static std::string troubleInBlocks(CompressedBlockReader &blocks, ByteCount size,
                                   const CompressedFileInspection::EachBlock &eachBlock)
{
    std::string trouble;
    ByteCount left = size;
    ByteCount expectedOffset = blocks.heads().tableEnd() - blocks.heads().blockBase();
    for (std::uint32_t index = 0; index < blocks.count(); ++index) {
        const Result<HFSPlusCmpfRsrcBlock> entry = blocks.entry(index);
        if (!entry)
            return entry.failure().context;
        if (eachBlock)
            eachBlock(index, *entry);
        if (!trouble.empty())
            continue;
        const std::string which = "block " + std::to_string(index) + ": ";
        const Result<Bytes> content = blocks.content(*entry);
        if (!content)
            trouble = which + content.failure().context;
        else if (entry->blockOffset != expectedOffset)
            trouble = which + "it does not follow the one before it";
        else if (content->size() != std::min(left, kCompressionBlockSize))
            trouble = which + "it holds " + std::to_string(content->size()) + " bytes";
        else
            left -= content->size();
        expectedOffset += entry->blockSize;
    }
    if (trouble.empty() && left > 0)
        trouble = std::to_string(left) + " bytes of the content are in no block";
    return trouble;
}

static std::string troubleInFork(const Path &path, CompressedFileInspection &found,
                                 const CompressedFileInspection::EachBlock &eachBlock)
{
    Result<std::unique_ptr<ReadableFork>> fork = FileSystem::current().openResourceFork(path);
    if (!fork)
        return fork.failure().context;
    found.forkSize = (*fork)->size();
    Result<CompressedBlockReader> blocks = CompressedBlockReader::open(std::move(*fork));
    if (!blocks)
        return blocks.failure().context;
    found.fork = blocks->heads();
    return troubleInBlocks(*blocks, found.header ? found.header->uncompressedSize : 0, eachBlock);
}

Result<CompressedFileInspection> CompressedFileInspection::inspect(const Path &path, const EachBlock &eachBlock)
{
    const FileSystem &files = FileSystem::current();
    const Result<FileStatus> status = files.status(path);
    if (!status)
        return status.failure();
    if (status->type != FileType::Regular)
        return Failure{ErrorCode::NotSupported, 0, path.native() + " is not a regular file"};
    CompressedFileInspection found;
    const Result<std::uint32_t> flags = files.flags(path);
    if (!flags)
        return flags.failure();
    found.flags = *flags;
    found.dataSize = status->size;
    if (const Result<ByteCount> size = files.logicalSize(path))
        found.logicalSize = *size;
    const Result<ByteCount> occupied = files.occupiedSize(path);
    if (!occupied)
        return occupied.failure();
    found.occupiedSize = *occupied;
    if (const Result<Bytes> value = files.attribute(path, kDecmpfsAttribute, Links::NotFollow))
        found.header = readDecmpfs(*value);
    const std::string troubleOfFork = troubleInFork(path, found, eachBlock);
    if (found.isCompressedByVolume())
        found.troubleOfContent = "it is the volume that compresses the file";
    else if (found.dataSize > 0)
        found.troubleOfContent = "the file has content of its own";
    else if (!found.header)
        found.troubleOfContent = "the compression header is missing or damaged";
    else if (found.header->compressionType != kResourceForkCompression)
        found.troubleOfContent = "the compression type is " + std::to_string(found.header->compressionType);
    else
        found.troubleOfContent = troubleOfFork;
    found.trouble = found.isCompressed() ? found.troubleOfContent : "the file is not stored compressed";
    return found;
}
