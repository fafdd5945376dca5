#pragma once

#include "Platform/FileSystem.h"

/// Files as the Linux kernel keeps them. What foreign volumes lack (flags, resource forks, large attributes) is kept in
/// attributes and in the companion file `._NAME`. Holds no state. Any thread.
class LinuxFileSystem final : public FileSystem
{
public:
    Result<FileStatus> status(const Path &path, Links links) const override;
    Result<ByteCount> logicalSize(const Path &path) const override;
    Result<bool> isWritable(const Path &path) const override;
    Result<ByteCount> occupiedSize(const Path &path) const override;

    Result<std::uint32_t> flags(const Path &path) const override;
    Result<void> setFlags(const Path &path, std::uint32_t flags) override;

    Result<std::vector<std::string>> attributeNames(const Path &path, Links links) const override;
    Result<Bytes> attribute(const Path &path, const std::string &name, Links links) const override;
    Result<void> setAttribute(const Path &path, const std::string &name, ByteView value, Links links) override;
    Result<void> removeAttribute(const Path &path, const std::string &name, Links links) override;

    Result<std::unique_ptr<ReadableFork>> openResourceFork(const Path &path) const override;
    Result<bool> isForkShared(const Path &path) const override;
    Result<void> discardFork(const Path &path, const ReadableFork &fork,
                             const std::vector<std::string> &names) override;

    Result<std::unique_ptr<FileLock>> lockFile(const Path &path) const override;
    Result<std::unique_ptr<OutputFile>> openScratchFile(const Path &path, std::uint32_t mode) override;
    Result<std::unique_ptr<OutputFile>> openNewFile(const Path &path, std::uint32_t mode) override;
    Result<UniqueFile> makeUniqueFile(const Path &prefix) override;

    bool isNameInTheMaking(std::string_view name) const override;
    void removeAbandoned(const Path &path) override;
    void removeAbandonedPartsOf(const Path &path) override;
    Result<Bytes> readFile(const Path &path, ByteCount limit) const override;
    Result<void> replaceFile(const Path &path, ByteView content, std::uint32_t mode) override;
    Result<void> replaceFileKeepingOld(const Path &path, ByteView content, const Path &kept) override;
    Result<void> createFile(const Path &path, ByteView content, std::uint32_t mode) override;
    Result<void> createForkedFile(const Path &path, const NewForkedFile &file) override;
    Result<void> removeForkedFile(const Path &path) override;
    Result<void> makeDirectory(const Path &path, std::uint32_t mode) override;
    Result<void> moveWithoutReplacing(const Path &from, const Path &to) override;
    Result<void> removeFile(const Path &path) override;
    Result<std::vector<std::string>> entries(const Path &directory) const override;

    Result<void> walk(const Path &root, const std::function<bool(const WalkEntry &)> &visit,
                      const std::function<void(const Path &, const Failure &)> &unreadable, std::stop_token stop,
                      MountPoints mountPoints) const override;

private:
    Result<bool> cameCompressed(const Path &path) const;
};
