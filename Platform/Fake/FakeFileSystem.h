#pragma once

#include "Platform/Fake/FailureSchedule.h"
#include "Platform/FileSystem.h"

#include <map>
#include <set>

/// Files in memory that fail on demand. Starts with the folder "/" alone. A link is followed at the end of a path only.
/// Any thread.
class FakeFileSystem final : public FileSystem
{
public:
    FakeFileSystem();
    ~FakeFileSystem() override;

    // Making things in it; missing parents are made too. None of these count as calls.
    void addFile(const Path &path, ByteView content = {});
    void addFolder(const Path &path);
    void addLink(const Path &path, const Path &target);
    void addPipe(const Path &path);
    /// Another name for the file at `existing`.
    void addName(const Path &path, const Path &existing);
    /// A folder on which another volume is mounted.
    void addVolume(const Path &path);
    void setResourceFork(const Path &path, ByteView content);
    void setOwner(const Path &path, std::uint32_t owner);
    /// The file's volume compresses its content by itself.
    void setOnCompressingVolume(const Path &path);
    void setGroup(const Path &path, std::uint32_t group);
    void setMode(const Path &path, std::uint32_t mode);
    void setModified(const Path &path, std::int64_t seconds);
    /// Whether a rename that replaces is sure to outlast a power failure; at first it is.
    void setRenamesLast(bool doLast);
    /// The content of the file or folder cannot be read from now on.
    void setUnreadable(const Path &path);

    /// The call with that number, counted from 0 from now on, fails with `code`; a negative number fails none.
    void failCall(int number, ErrorCode code) { m_schedule.failCall(number, code); }
    int calls() const { return m_schedule.calls(); }

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
    struct Node;
    class Lock;
    class Output;
    using NodePointer = std::shared_ptr<Node>;

    NodePointer add(const Path &path, FileType type);
    NodePointer find(const Path &path, Links links) const;
    /// The node, or the failure that the schedule or its absence asks for.
    Result<NodePointer> reach(const Path &path, Links links) const;
    Result<std::unique_ptr<OutputFile>> openOutput(const Path &path, std::uint32_t mode, bool isScratch);
    /// Whether nobody has the file any more that was made here.
    bool isAbandoned(const NodePointer &node) const;
    /// What keeps a new entry from being made at `path`.
    Result<void> checkPlace(const Path &path) const;

    mutable std::mutex m_mutex;
    mutable FailureSchedule m_schedule;
    std::map<Path, NodePointer> m_nodes;
    mutable std::set<NodePointer> m_locked;
    bool m_doRenamesLast = true;
    std::uint64_t m_lastInode = 0;
    std::uint64_t m_lastDevice = 1;
};
