#pragma once

#include "Classes/Shared/DVHFSUncompressor.h"

#include "Classes/Shared/HFSCompression.h"
#include "Classes/Shared/LeftLocks.h"
#include "Classes/Shared/Log.h"
#include "Platform/FileLeases.h"
#include "Platform/Formats/AppleDouble.h"
#include "Platform/Formats/CompressedFile.h"
#include "Platform/UserFolders.h"
#include "Tests/Support/ForkParts.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>

/// Compressed files on the disk, and the expander over them.
class ExpansionFixture : public ::testing::Test
{
protected:
    using Outcome = ExpansionOutcome::Result;

    ExpansionFixture()
    {
        setLogSink([](const std::string &) {});
    }
    ~ExpansionFixture() override
    {
        setLogSink(nullptr);
        LeftLocks::release();
        std::filesystem::remove_all(m_folder);
        for (const std::string &name : scratchFiles())
            std::filesystem::remove(temporaryFolder() / name);
    }

    static void write(const Path &path, ByteView content)
    {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << stringOf(content);
    }
    static Bytes contentOf(const Path &path)
    {
        return FileSystem::current().readFile(path, ByteCount{1} << 30).valueOr(bytesOf("unreadable"));
    }
    static std::vector<std::string> names(const Path &folder)
    {
        return FileSystem::current().entries(folder).valueOr({"unreadable"});
    }
    static Path companionOf(const Path &path) { return path.parent_path() / ("._" + path.filename().native()); }

    /// An empty flagged file with that header, and a companion with that fork and what else is given.
    void makeWithFork(ByteView fork, ByteCount size, const AppleDoubleContent &more = {})
    {
        CompressedSample::make(m_file, {});
        ASSERT_TRUE(FileSystem::current().setAttribute(m_file, kDecmpfsAttribute, CompressedSample::decmpfs(size),
                                                       Links::NotFollow));
        Bytes companion = *appleDoubleHead(more, fork.size());
        companion.insert(companion.end(), fork.begin(), fork.end());
        write(companionOf(m_file), companion);
    }
    static Path temporaryFolder() { return *UserFolders::current().temporary(); }
    /// The names in it.
    static std::vector<std::string> scratchFiles() { return names(temporaryFolder()); }

    bool expand(bool doIgnoreFlag = false) { return expand(m_file, doIgnoreFlag); }
    bool expand(const Path &path, bool doIgnoreFlag = false)
    {
        m_error = {};
        return DVHFSUncompressor::expandInPlacePath(path, &m_error, nullptr, nullptr, doIgnoreFlag,
                                                    {m_stop.get_token(), &m_outcome});
    }
    bool expandTo(const Path &destination, bool doIgnoreFlag = false)
    {
        m_error = {};
        DVHFSUncompressor uncompressor(m_file);
        uncompressor.setIgnoreCompressionFlag(doIgnoreFlag);
        uncompressor.setOptions({m_stop.get_token(), &m_outcome});
        return uncompressor.expandTo(destination, &m_error);
    }
    void expectError(int code, const std::string &message) const
    {
        EXPECT_EQ(m_error.domain, "com.dovrane.tamsel.hfs");
        EXPECT_EQ(m_error.code, code);
        EXPECT_EQ(m_error.message, message);
    }
    /// The file stands compressed as it was made; its flag is as said.
    void expectStillCompressed(ByteView fork, bool isFlagged = true) const
    {
        EXPECT_EQ(contentOf(m_file), Bytes());
        EXPECT_EQ(HFSCompression::isFileUFCompressed(m_file), isFlagged);
        EXPECT_TRUE(HFSCompression::hasCompressedAttributes(m_file));
        const auto read = FileSystem::current().openResourceFork(m_file);
        ASSERT_TRUE(read) << read.failure().context;
        Bytes bytes((*read)->size());
        EXPECT_EQ((*read)->readAt(0, bytes).valueOr(0), bytes.size());
        EXPECT_EQ(bytes, Bytes(fork.begin(), fork.end()));
        EXPECT_THAT(scratchFiles(), ::testing::IsEmpty());
    }

    Path m_folder = PrivateHome::current().makeFolder("expansion");
    Path m_file = m_folder / "file";
    Bytes m_content = CompressedSample::text(150000);
    Error m_error;
    ExpansionOutcome m_outcome;
    std::stop_source m_stop;
};

/// Runs something just before the rename, where the expander asks for writers, and then grants what is asked.
class MomentBeforeRename final : public FileLeases
{
public:
    explicit MomentBeforeRename(std::function<void()> action, bool isBroken = false)
        : m_action(std::move(action))
        , m_isBroken(isBroken)
    {
    }

    Result<std::unique_ptr<FileLease>> leaseAgainstWriters(const Path &path) const override
    {
        class Lease final : public FileLease
        {
        public:
            Lease(FileIdentity file, bool isHeld)
                : m_file(file)
                , m_isHeld(isHeld)
            {
            }
            FileIdentity file() const override { return m_file; }
            bool isHeld() const override { return m_isHeld; }

        private:
            FileIdentity m_file;
            bool m_isHeld;
        };
        const Result<FileStatus> status = FileSystem::current().status(path);
        m_action();
        if (!status)
            return status.failure();
        return std::unique_ptr<FileLease>(std::make_unique<Lease>(status->identity, !m_isBroken));
    }

private:
    std::function<void()> m_action;
    bool m_isBroken;
};
