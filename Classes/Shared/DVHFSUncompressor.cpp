#include "Classes/Shared/DVHFSUncompressor.h"

#include "Classes/Shared/Expansion.h"

bool DVHFSUncompressor::expandInPlacePath(const Path &path, Error *error, std::uint64_t *compressedSize,
                                          std::uint64_t *uncompressedSize, bool ignoreCompressionFlag,
                                          const ExpansionOptions &options)
{
    DVHFSUncompressor uncompressor(path);
    uncompressor.setIgnoreCompressionFlag(ignoreCompressionFlag);
    uncompressor.setOptions(options);
    const Result<FileStatus> status = FileSystem::current().status(path);
    const std::optional<FileStatus> attributes = status ? std::optional(*status) : std::nullopt;
    return uncompressor.expandTo(path, attributes, error, compressedSize, uncompressedSize);
}

DVHFSUncompressor::DVHFSUncompressor(Path path)
    : m_sourcePath(std::move(path))
{
}

void DVHFSUncompressor::cleanup()
{
    m_sourcePath.reset();
}

bool DVHFSUncompressor::expand()
{
    return expandReturningError(nullptr);
}

bool DVHFSUncompressor::expandReturningError(Error *error)
{
    return m_sourcePath && expandTo(*m_sourcePath, error);
}

bool DVHFSUncompressor::expandTo(const Path &destination, Error *error)
{
    return expandTo(destination, std::nullopt, error);
}

bool DVHFSUncompressor::expandTo(const Path &destination, const std::optional<FileStatus> &, Error *error,
                                 std::uint64_t *, std::uint64_t *)
{
    if (!m_sourcePath)
        return false;
    Expansion expansion({*m_sourcePath, destination, m_ignoreCompressionFlag, m_options.stop, m_options.expected});
    const bool isExpanded = expansion.run(error);
    if (m_options.outcome)
        *m_options.outcome = expansion.outcome();
    return isExpanded;
}
