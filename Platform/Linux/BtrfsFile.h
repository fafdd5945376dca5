#pragma once

#include "Platform/Linux/BtrfsStretch.h"
#include "Platform/Linux/Descriptor.h"
#include "Platform/TransparentCompression.h"

/// A file on a btrfs volume, open for reading: whoever may write it may have it written anew, too.
class BtrfsFile final : public CompressibleFile
{
public:
    static Result<std::unique_ptr<CompressibleFile>> open(const Path &path);

    BtrfsFile(Descriptor descriptor, Path path);

    Result<FileStatus> status() const override;
    ByteCount blockSize() const override { return m_blockSize; }
    Result<Wish> wish() const override;
    Result<bool> isWrittenInPlace() const override;
    Result<VolumeRoom> room() const override;
    Result<std::vector<StoredExtent>> extentsFrom(ByteCount offset) const override;
    Result<std::size_t> readAt(ByteCount offset, std::span<std::uint8_t> buffer) const override;
    ByteCount stretchSize() const override { return BtrfsStretch::kSize; }
    ByteCount occupiedCompressed(ByteView stretch) const override
    {
        return BtrfsStretch::occupied(stretch, m_blockSize);
    }
    Result<void> compress(ByteCount offset, ByteCount length) override;
    Result<void> writeAnew(ByteCount offset, ByteCount length) override;

private:
    Result<unsigned> flags() const;
    Result<Descriptor> makeScratch() const;
    Result<void> takeOver(int scratch, ByteCount offset, ByteCount length) const;

    const Descriptor m_descriptor;
    const Path m_path;
    ByteCount m_blockSize = 4096;
};
