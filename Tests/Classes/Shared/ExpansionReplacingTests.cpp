#include "Tests/Classes/Shared/ExpansionFixture.h"

#include "Classes/PrefPane/PXPathUncompressor.h"
#include "Classes/Shared/TemporaryFiles.h"
#include "Tests/Support/PrivateMounts.h"

#include <filesystem>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace {

using ExpansionReplacing = ExpansionFixture;

/// Grants every lease, which is held as long as something says.
class LeaseThatEnds final : public FileLeases
{
public:
    explicit LeaseThatEnds(std::function<bool()> isHeld)
        : m_isHeld(std::move(isHeld))
    {
    }

    Result<std::unique_ptr<FileLease>> leaseAgainstWriters(const Path &path) const override
    {
        class Lease final : public FileLease
        {
        public:
            Lease(FileIdentity file, const std::function<bool()> &isHeld)
                : m_file(file)
                , m_isHeld(isHeld)
            {
            }
            FileIdentity file() const override { return m_file; }
            bool isHeld() const override { return m_isHeld(); }

        private:
            FileIdentity m_file;
            const std::function<bool()> &m_isHeld;
        };
        const Result<FileStatus> status = FileSystem::current().status(path);
        if (!status)
            return status.failure();
        return std::unique_ptr<FileLease>(std::make_unique<Lease>(status->identity, m_isHeld));
    }

private:
    std::function<bool()> m_isHeld;
};

} // namespace

TEST_F(ExpansionReplacing, nameMadeMeanwhile_bothNamesStayWhole)
{
    CompressedSample::make(m_file, m_content);
    MomentBeforeRename moment([&] { std::filesystem::create_hard_link(m_file, m_folder / "other"); });
    const Override<FileLeases> override(moment);
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_outcome.result, Outcome::Changed);
    expectStillCompressed(CompressedSample::fork(m_content));
    EXPECT_THAT(names(m_folder), UnorderedElementsAre("file", "._file", "other"));
}

TEST_F(ExpansionReplacing, writerThatComesWhileAttributesAreHandedOver_isNotOverrun)
{
    CompressedSample::make(m_file, m_content);
    const Bytes large = CompressedSample::text(30000); // which no extended attribute holds
    ASSERT_TRUE(FileSystem::current().setAttribute(m_file, "large", large, Links::NotFollow));
    const auto hasCompanion = [] {
        const std::vector<std::string> left = scratchFiles();
        return std::ranges::any_of(left, [](const std::string &name) { return name.starts_with("._"); });
    };
    bool wasAsked = false;
    LeaseThatEnds leases([&] {
        wasAsked = wasAsked || hasCompanion();
        return hasCompanion();
    });
    const Override<FileLeases> override(leases);
    EXPECT_FALSE(expand());
    EXPECT_TRUE(wasAsked) << "the attribute has fitted; nothing was shown";
    EXPECT_EQ(m_outcome.result, Outcome::BeingWritten);
    expectStillCompressed(CompressedSample::fork(m_content));
    EXPECT_EQ(FileSystem::current().attribute(m_file, "large", Links::NotFollow).valueOr({}), large);
}

TEST_F(ExpansionReplacing, forkInAnAttributeOfAnotherSize_isNotLostWithTheFile)
{
    CompressedSample::make(m_file, {});
    std::filesystem::remove(companionOf(m_file));
    const Bytes fork = CompressedSample::fork(CompressedSample::text(5000));
    FileSystem &files = FileSystem::current();
    ASSERT_TRUE(files.setAttribute(m_file, kDecmpfsAttribute, CompressedSample::decmpfs(5001), Links::NotFollow));
    ASSERT_TRUE(files.setAttribute(m_file, kResourceForkAttribute, fork, Links::NotFollow));
    EXPECT_FALSE(expand());
    EXPECT_EQ(m_outcome.result, Outcome::SizeDiffers);
    EXPECT_EQ(m_outcome.reasonForkKept, "");
    EXPECT_FALSE(m_outcome.isFlagLeftCleared);
    expectStillCompressed(fork);
}

TEST_F(ExpansionReplacing, scratchFileOfAKilledExpansion_isTakenAwayByAWalkThatLeavesTheFileAlone)
{
    CompressedSample::make(m_file, m_content);
    ASSERT_TRUE(FileSystem::current().setFlags(m_file, 0));
    const Path scratch = getTemporaryFileNameBasedOnExistingPath(m_file);
    write(scratch, bytesOf("half of it"));
    PXPathUncompressor::runUncompressorWithPath(m_folder, nullptr);
    EXPECT_THAT(scratchFiles(), IsEmpty());
    expectStillCompressed(CompressedSample::fork(m_content), false);
}

TEST_F(ExpansionReplacing, folderMovedAwayMeanwhile_anotherFilesCompanionStays)
{
    makeWithFork(CompressedSample::fork(m_content), m_content.size());
    const Path moved = m_folder.parent_path() / "moved";
    const Bytes companion = *appleDoubleHead({{{}}, {{kDecmpfsAttribute, bytesOf("of another")}}, {}}, 0);
    int asked = 0;
    LeaseThatEnds leases([&] {
        if (++asked == 2) { // the last question before the rename, which knows the folder already
            std::filesystem::rename(m_folder, moved);
            std::filesystem::create_directory(m_folder);
            write(m_file, bytesOf("another"));
            write(companionOf(m_file), companion);
        }
        return true;
    });
    const Override<FileLeases> override(leases);
    EXPECT_TRUE(expand());
    EXPECT_EQ(m_outcome.reasonForkKept, "another file stands there by now");
    EXPECT_EQ(contentOf(m_file), bytesOf("another"));
    EXPECT_EQ(contentOf(companionOf(m_file)), companion);
    EXPECT_EQ(contentOf(moved / "file"), m_content);
    std::filesystem::remove_all(moved);
}

TEST_F(ExpansionReplacing, fileOfALowerVolume_isExpandedIntoTheUpperOne)
{
    PrivateMounts mounts;
    const Path lower = m_folder / "lower", upper = m_folder / "upper", work = m_folder / "work", all = m_folder / "all";
    for (const Path &folder : {lower, upper, work, all})
        std::filesystem::create_directory(folder);
    if (!mounts.mountMemory(lower))
        GTEST_SKIP() << "this machine gives a test no mounts of its own";
    CompressedSample::make(lower / "file", m_content);
    if (!mounts.mountOverlay(lower, upper, work, all))
        GTEST_SKIP() << "this machine lays no volume over another";
    EXPECT_TRUE(expand(all / "file")) << m_outcome.reason; // clearing the flag alone makes it another file
    EXPECT_EQ(contentOf(all / "file"), m_content);
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(all / "file"));
    EXPECT_THAT(names(all), ElementsAre("file"));
    EXPECT_EQ(contentOf(lower / "file"), Bytes());
}
