#include "Classes/Shared/DVHFSUncompressor.h"
#include "Classes/Shared/LeftLocks.h"
#include "Classes/Shared/Log.h"
#include "Platform/Fake/FakeFileLeases.h"
#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/Formats/CompressedFile.h"
#include "Platform/UserFolders.h"
#include "Tests/Support/CompressedSample.h"

#include <gmock/gmock.h>

/// The expander over a file system each of whose calls fails once.
class ExpansionFaultTest : public ::testing::Test
{
protected:
    struct World
    {
        ~World() { LeftLocks::release(); } // they are locks on files of this world

        FakeFileSystem files;
        FakeFileLeases leases;
        std::unique_ptr<Override<FileSystem>> filesInPlace;
        std::unique_ptr<Override<FileLeases>> leasesInPlace;
    };

    ExpansionFaultTest()
    {
        setLogSink([](const std::string &) {});
    }
    ~ExpansionFaultTest() override { setLogSink(nullptr); }

    std::unique_ptr<World> makeWorld() const
    {
        auto world = std::make_unique<World>();
        FakeFileSystem &files = world->files;
        files.addFile(m_file);
        files.addFolder(m_temporary);
        files.setResourceFork(m_file, m_fork);
        files.setMode(m_file, 0640);
        files.setModified(m_file, 1000000000);
        EXPECT_TRUE(files.setAttribute(m_file, kDecmpfsAttribute, CompressedSample::decmpfs(m_content.size()),
                                       Links::NotFollow));
        EXPECT_TRUE(files.setAttribute(m_file, "kept", bytesOf("value"), Links::NotFollow));
        EXPECT_TRUE(files.setFlags(m_file, kCompressedFlag | kImmutableFlag));
        world->filesInPlace = std::make_unique<Override<FileSystem>>(files);
        world->leasesInPlace = std::make_unique<Override<FileLeases>>(world->leases);
        return world;
    }
    void expectWhole(FakeFileSystem &files, bool isExpanded, int failing) const
    {
        EXPECT_THAT(*files.entries(m_temporary), ::testing::IsEmpty()) << failing;
        EXPECT_THAT(*files.entries(m_file.parent_path()), ::testing::ElementsAre("file")) << failing;
        EXPECT_EQ(*files.attribute(m_file, "kept", Links::NotFollow), bytesOf("value")) << failing;
        EXPECT_EQ(files.status(m_file, Links::NotFollow)->mode, 0640u) << failing;
        EXPECT_EQ(files.status(m_file, Links::NotFollow)->modified, 1000000000) << failing;
        const Bytes content = *files.readFile(m_file, 1 << 20);
        if (isExpanded) {
            EXPECT_EQ(content, m_content) << failing;
            EXPECT_FALSE(files.attribute(m_file, kDecmpfsAttribute, Links::NotFollow)) << failing;
            return;
        }
        EXPECT_EQ(content, Bytes()) << failing;
        EXPECT_TRUE(files.attribute(m_file, kDecmpfsAttribute, Links::NotFollow)) << failing;
        const auto fork = files.openResourceFork(m_file);
        ASSERT_TRUE(fork) << failing;
        EXPECT_EQ((*fork)->size(), m_fork.size()) << failing;
    }

    const Path m_file = "/folder/file";
    const Path m_temporary = *UserFolders::current().temporary();
    const Bytes m_content = CompressedSample::text(150000);
    const Bytes m_fork = CompressedSample::fork(m_content);
};

TEST_F(ExpansionFaultTest, anyCallFailing_leavesTheWholeCompressedOrTheWholeExpandedFile)
{
    for (const ErrorCode code : {ErrorCode::Io, ErrorCode::NoSpace, ErrorCode::NotFound, ErrorCode::Permission}) {
        int failures = 0;
        for (int failing = 0;; ++failing) {
            const std::unique_ptr<World> world = makeWorld();
            world->files.failCall(failing, code);
            ExpansionOutcome outcome;
            const bool isExpanded =
                DVHFSUncompressor::expandInPlacePath(m_file, nullptr, nullptr, nullptr, false, {{}, &outcome});
            const bool hasFailed = failing < world->files.calls();
            world->files.failCall(-1, code);
            expectWhole(world->files, isExpanded, failing);
            const bool isFlagged = *world->files.flags(m_file) & kCompressedFlag;
            EXPECT_EQ(outcome.isFlagLeftCleared, !isExpanded && !isFlagged) << failing;
            failures += !isExpanded;
            if (HasFailure() || !hasFailed) {
                EXPECT_TRUE(isExpanded);
                break;
            }
        }
        EXPECT_GE(failures, 15) << "hardly anything was made to fail";
    }
}

TEST_F(ExpansionFaultTest, leaseFailing_leavesTheWholeCompressedFile)
{
    const std::unique_ptr<World> world = makeWorld();
    world->leases.setWritten(world->files.status(m_file, Links::NotFollow)->identity);
    ExpansionOutcome outcome;
    EXPECT_FALSE(DVHFSUncompressor::expandInPlacePath(m_file, nullptr, nullptr, nullptr, false, {{}, &outcome}));
    EXPECT_EQ(outcome.result, ExpansionOutcome::Result::BeingWritten);
    expectWhole(world->files, false, 0);
    EXPECT_TRUE(*world->files.flags(m_file) & kCompressedFlag);
}

TEST_F(ExpansionFaultTest, renameThatMayNotLast_keepsTheFork)
{
    const std::unique_ptr<World> world = makeWorld();
    world->files.setRenamesLast(false);
    ExpansionOutcome outcome;
    EXPECT_TRUE(DVHFSUncompressor::expandInPlacePath(m_file, nullptr, nullptr, nullptr, false, {{}, &outcome}));
    EXPECT_EQ(outcome.reasonForkKept, "the folder could not be synced");
}
