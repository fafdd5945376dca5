#include "Classes/Shared/CompressedFileWriter.h"

#include "Classes/Shared/CompressedBlockReader.h"
#include "Classes/Shared/CompressedForkBuilder.h"
#include "Classes/Shared/DVHFSCompressionStructsHelper.h"

#include <algorithm>
#include <cstring>

static Failure refused(const Path &file, const std::string &reason, ErrorCode code = ErrorCode::NotSupported)
{
    return {code, 0, file.native() + ": " + reason};
}

CompressedFileWriter::CompressedFileWriter(Path folder)
    : m_folder(std::move(folder))
{
}

/// What can be told before the content is read.
static Result<void> checkSource(const Path &file, const FileStatus &status)
{
    constexpr std::size_t kLongestName = 253;
    if (status.type == FileType::Link)
        return refused(file, "a link is not compressed, only what it points to");
    if (status.type != FileType::Regular)
        return refused(file, "only regular files can be compressed");
    if (file.filename().native().size() > kLongestName)
        return refused(file, "the name is longer than 253 bytes", ErrorCode::TooLarge);
    if (status.size > CompressedFileWriter::kLargestFile)
        return refused(file, "the file is larger than 512 MiB", ErrorCode::TooLarge);
    const FileSystem &files = FileSystem::current();
    const Result<std::uint32_t> flags = files.flags(file);
    if (!flags)
        return flags.failure();
    if (status.size == 0 && (*flags & kCompressedFlag)) // one with content is at most compressed by its volume
        return refused(file, "the file is compressed already");
    const Result<std::unique_ptr<ReadableFork>> fork = files.openResourceFork(file);
    if (fork)
        return refused(file, "the file has a resource fork");
    if (fork.failure().code != ErrorCode::NotFound)
        return fork.failure();
    if (status.size == 0)
        return refused(file, "an empty file cannot become smaller");
    return {};
}

static Result<void> checkUnchanged(const Path &file, const FileStatus &before)
{
    const Result<FileStatus> now = FileSystem::current().status(file);
    if (!now)
        return now.failure();
    if (now->identity != before.identity || now->size != before.size || now->modified != before.modified ||
        now->modifiedNanoseconds != before.modifiedNanoseconds || now->changed != before.changed)
        return refused(file, "the file was changed while it was read", ErrorCode::Busy);
    return {};
}

/// The attributes of the copy: those of the file, and the header of a compressed one.
static Result<std::vector<std::pair<std::string, Bytes>>> attributesFor(const Path &file, ByteCount size)
{
    const FileSystem &files = FileSystem::current();
    std::vector<std::pair<std::string, Bytes>> attributes;
    const Result<std::vector<std::string>> names = files.attributeNames(file, Links::NotFollow);
    if (!names)
        return names.failure();
    for (const std::string &name : *names) {
        if (name == kDecmpfsAttribute)
            continue; // of an earlier life as a compressed file
        Result<Bytes> value = files.attribute(file, name, Links::NotFollow);
        if (!value)
            return value.failure();
        attributes.emplace_back(name, std::move(*value));
    }
    const auto header = DVHFSCompressionStructsHelper::createDecmpfsStructForSize(size);
    if (!header)
        return refused(file, "there is not enough memory", ErrorCode::Io);
    Bytes value(sizeof *header);
    std::memcpy(value.data(), header.get(), value.size());
    attributes.emplace_back(kDecmpfsAttribute, std::move(value));
    return attributes;
}

/// Reads the copy as a stranger would, and compares it with what was meant.
static Result<void> verify(const Path &copy, ByteView content)
{
    const FileSystem &files = FileSystem::current();
    const Result<ByteCount> size = files.logicalSize(copy);
    if (!size)
        return size.failure();
    Result<std::unique_ptr<ReadableFork>> fork = files.openResourceFork(copy);
    if (!fork)
        return fork.failure();
    Result<CompressedBlockReader> blocks = CompressedBlockReader::open(std::move(*fork));
    if (!blocks)
        return blocks.failure();
    ByteView left = content;
    for (std::uint32_t index = 0; index < blocks->count(); ++index) {
        const Result<HFSPlusCmpfRsrcBlock> entry = blocks->entry(index);
        if (!entry)
            return entry.failure();
        const Result<Bytes> block = blocks->content(*entry);
        if (!block)
            return block.failure();
        if (block->size() > left.size() || !std::equal(block->begin(), block->end(), left.begin()))
            return refused(copy, "the copy does not read back as the file", ErrorCode::Corrupt);
        left = left.subspan(block->size());
    }
    if (!left.empty() || *size != content.size())
        return refused(copy, "the copy does not read back whole", ErrorCode::Corrupt);
    return {};
}

static Result<ByteCount> checkCopy(const Path &copy, ByteView content, const FileStatus &original)
{
    if (const Result<void> verified = verify(copy, content); !verified)
        return verified.failure();
    const Result<ByteCount> occupied = FileSystem::current().occupiedSize(copy);
    if (occupied && *occupied >= original.occupied)
        return refused(copy, "compressed it would occupy no less");
    return occupied;
}

Result<CompressedFileWriter::Copy> CompressedFileWriter::write(const Path &file) const
{
    FileSystem &files = FileSystem::current();
    const Result<FileStatus> status = files.status(file);
    if (!status)
        return status.failure();
    if (const Result<void> checked = checkSource(file, *status); !checked)
        return checked.failure();
    const Result<Bytes> content = files.readFile(file, kLargestFile);
    if (!content)
        return content.failure();
    const Result<std::vector<std::pair<std::string, Bytes>>> attributes = attributesFor(file, content->size());
    if (!attributes)
        return attributes.failure();
    if (const Result<void> unchanged = checkUnchanged(file, *status); !unchanged)
        return unchanged.failure();
    const Result<Bytes> fork = CompressedForkBuilder::build(*content);
    if (!fork)
        return refused(file, fork.failure().context, fork.failure().code);
    if (fork->size() >= content->size())
        return refused(file, "compressed it would occupy no less");

    const Path copy = m_folder / file.filename();
    const Result<void> made = files.createForkedFile(copy, {*fork, *attributes, kCompressedFlag, *status});
    if (!made && made.failure().code == ErrorCode::Exists)
        return refused(copy, "something has the name of the copy or of its companion already", ErrorCode::Exists);
    if (!made)
        return made.failure();
    const Result<ByteCount> occupied = checkCopy(copy, *content, *status);
    if (!occupied) {
        if (const Result<void> removed = files.removeForkedFile(copy); !removed)
            return removed.failure();
        return occupied.failure();
    }
    return Copy{copy, content->size(), *occupied};
}
