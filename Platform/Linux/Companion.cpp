#include "Platform/Linux/Companion.h"

#include "Platform/Linux/CompanionFork.h"
#include "Platform/Linux/ExtendedAttributes.h"
#include "Platform/Linux/FileCalls.h"

static Failure missing(const Path &path)
{
    return {ErrorCode::NotFound, ENOENT, path.native() + " is no companion"};
}

Path Companion::pathOf(const Path &file)
{
    const Path named = file.has_filename() ? file : file.parent_path(); // a folder's path may end in a slash
    return named.parent_path() / ("._" + named.filename().native());
}

Companion::Companion(Path path, std::shared_ptr<const Descriptor> file, const struct stat &status)
    : m_path(std::move(path))
    , m_file(std::move(file))
    , m_status(status)
{
}

Result<Companion> Companion::open(const Path &file, const struct stat &fileStatus)
{
    const Path path = pathOf(file);
    struct stat status = {};
    Result<Descriptor> opened = FileCalls::openForReading(path, Links::NotFollow, status);
    if (!opened && (opened.failure().code == ErrorCode::NotSupported || opened.failure().systemError == ENAMETOOLONG))
        return missing(path);
    if (!opened)
        return opened.failure();
    if (status.st_uid != fileStatus.st_uid)
        return missing(path);
    Companion companion(path, std::make_shared<const Descriptor>(std::move(*opened)), status);
    Result<AppleDoubleLayout> layout = readAppleDouble(DescriptorFork(companion.m_file, 0, ByteCount(status.st_size)));
    if (!layout)
        return layout.failure();
    companion.m_layout = std::move(*layout);
    return companion;
}

ByteCount Companion::occupied(const Path &file, const struct stat &fileStatus)
{
    struct stat status = {};
    if (::lstat(pathOf(file).c_str(), &status) != 0)
        return 0;
    const bool counts = S_ISREG(status.st_mode) && status.st_uid == fileStatus.st_uid;
    return counts ? FileCalls::statusFrom(status).occupied : 0;
}

Result<Bytes> Companion::read(const ByteRange &range) const
{
    Bytes bytes(range.length);
    const Result<std::size_t> got = FileCalls::readAt(m_file->get(), range.offset, bytes);
    if (!got)
        return got.failure();
    if (*got != bytes.size())
        return Failure{ErrorCode::Corrupt, 0, m_path.native() + " became shorter"};
    return bytes;
}

Result<Bytes> Companion::attribute(const std::string &name) const
{
    const AppleDoubleLayout::Attribute *attribute = m_layout.attribute(name);
    if (!attribute)
        return Failure{ErrorCode::NotFound, ENODATA, m_path.native() + " has no attribute " + name};
    if (attribute->value.length > ExtendedAttributes::kLargestValue)
        return Failure{ErrorCode::TooLarge, E2BIG, m_path.native() + ": attribute " + name};
    return read(attribute->value);
}

std::unique_ptr<ReadableFork> Companion::resourceFork() const
{
    if (!m_layout.resourceFork || m_layout.resourceFork->length == 0)
        return nullptr;
    const ByteRange &range = *m_layout.resourceFork;
    return std::make_unique<CompanionFork>(DescriptorFork(m_file, range.offset, range.length), m_status);
}
