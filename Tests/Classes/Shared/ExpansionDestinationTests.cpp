#include "Tests/Classes/Shared/ExpansionFixture.h"

#include <sys/stat.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using ExpansionDestinationTest = ExpansionFixture;

TEST_F(ExpansionDestinationTest, otherAttributes_areKeptAndOwnOnesDropped)
{
    AppleDoubleContent more{{{}}, {{"Com.Dovrane.Tamsel.Exclude", bytesOf("x")}, {"mac", bytesOf("from a Mac")}}, {}};
    more.finderInformation->at(0) = 'T';
    makeWithFork(CompressedSample::fork(m_content), m_content.size(), more);
    FileSystem &files = FileSystem::current();
    const Bytes large = CompressedSample::text(30000);
    for (const char *name :
         {"com.dovrane.tamsel.exclude", "COM.dovrane.tamsel.SIGNATURE", "com.dovrane.other", "empty"})
        ASSERT_TRUE(
            files.setAttribute(m_file, name, bytesOf(std::string(name) == "empty" ? "" : "value"), Links::NotFollow));
    ASSERT_TRUE(files.setAttribute(m_file, "large", large, Links::NotFollow));
    EXPECT_TRUE(expand()) << m_outcome.reason;
    EXPECT_THAT(*files.attributeNames(m_file, Links::NotFollow),
                UnorderedElementsAre("com.dovrane.other", "empty", "mac", "large"));
    EXPECT_EQ(*files.attribute(m_file, "com.dovrane.other", Links::NotFollow), bytesOf("value"));
    EXPECT_EQ(*files.attribute(m_file, "mac", Links::NotFollow), bytesOf("from a Mac"));
    EXPECT_EQ(*files.attribute(m_file, "large", Links::NotFollow), large);
    EXPECT_THAT(scratchFiles(), IsEmpty());
    EXPECT_EQ(m_outcome.reasonForkKept, "");
    EXPECT_FALSE(files.openResourceFork(m_file));
}

TEST_F(ExpansionDestinationTest, newDestination_keepsWhatAFailureLeaves)
{
    const Bytes first = CompressedSample::text(65536);
    const Bytes fork = ForkParts::fork({ForkParts::deflated(first), Bytes(10)});
    makeWithFork(fork, 70000);
    EXPECT_FALSE(expandTo(m_folder / "other"));
    EXPECT_EQ(contentOf(m_folder / "other"), first);
    expectStillCompressed(fork, false);
}

TEST_F(ExpansionDestinationTest, otherDestination_isReplacedAndKeepsItsMode)
{
    CompressedSample::make(m_file, m_content);
    const Path other = m_folder / "other";
    write(other, bytesOf("old"));
    ASSERT_EQ(::chmod(other.c_str(), 0600), 0);
    EXPECT_TRUE(expandTo(other));
    EXPECT_EQ(contentOf(other), m_content);
    EXPECT_EQ(FileSystem::current().status(other)->mode, 0600u);
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(ExpansionDestinationTest, otherDestination_getsAttributesThatDoNotFitToo)
{
    CompressedSample::make(m_file, m_content);
    FileSystem &files = FileSystem::current();
    const Bytes large = CompressedSample::text(30000);
    ASSERT_TRUE(files.setAttribute(m_file, "large", large, Links::NotFollow));
    write(m_folder / "other", bytesOf("old"));
    EXPECT_TRUE(expandTo(m_folder / "other"));
    EXPECT_EQ(files.attribute(m_folder / "other", "large", Links::NotFollow).valueOr({}), large);
    EXPECT_THAT(scratchFiles(), IsEmpty());
}

TEST_F(ExpansionDestinationTest, destinationThatIsALinkFolderOrPipe_isRefusedBeforeAnythingChanges)
{
    CompressedSample::make(m_file, m_content);
    write(m_folder / "precious", bytesOf("precious"));
    std::filesystem::create_symlink("precious", m_folder / "link");
    std::filesystem::create_directory(m_folder / "folder");
    ASSERT_EQ(::mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    for (const char *name : {"link", "folder", "pipe"}) {
        EXPECT_FALSE(expandTo(m_folder / name)) << name;
        EXPECT_EQ(m_outcome.result, Outcome::NotReplaceable) << name;
    }
    EXPECT_EQ(contentOf(m_folder / "precious"), bytesOf("precious"));
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(ExpansionDestinationTest, otherDestinationThatWasCompressed_keepsNothingOfItsOwn)
{
    FileSystem &files = FileSystem::current();
    const Path other = m_folder / "other";
    const Bytes old = CompressedSample::fork(bytesOf("old"));
    AppleDoubleContent more{{{}}, {{"mac", bytesOf("of the old one")}, {"both", bytesOf("of the old one")}}, {}};
    Bytes companion = *appleDoubleHead(more, old.size());
    companion.insert(companion.end(), old.begin(), old.end());
    CompressedSample::make(other, bytesOf("old"));
    write(companionOf(other), companion);
    CompressedSample::make(m_file, m_content);
    ASSERT_TRUE(files.setAttribute(m_file, "both", bytesOf("of the new one"), Links::NotFollow));
    EXPECT_TRUE(expandTo(other)) << m_outcome.reason;
    EXPECT_EQ(contentOf(other), m_content);
    EXPECT_EQ(m_outcome.reasonForkKept, "");
    EXPECT_FALSE(files.openResourceFork(other));
    EXPECT_THAT(*files.attributeNames(other, Links::NotFollow), ElementsAre("both"));
    EXPECT_EQ(*files.attribute(other, "both", Links::NotFollow), bytesOf("of the new one"));
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(ExpansionDestinationTest, otherDestinationWhoseForkAnotherNameNeeds_isLeftAlone)
{
    CompressedSample::make(m_file, m_content);
    const Path other = m_folder / "other";
    CompressedSample::make(other, bytesOf("old"));
    std::filesystem::create_hard_link(other, m_folder / "third");
    EXPECT_FALSE(expandTo(other));
    EXPECT_EQ(m_outcome.result, Outcome::ForkShared);
    EXPECT_FALSE(m_outcome.isFlagLeftCleared);
    EXPECT_TRUE(std::filesystem::equivalent(other, m_folder / "third"));
    EXPECT_TRUE(FileSystem::current().openResourceFork(other));
    expectStillCompressed(CompressedSample::fork(m_content));
}

TEST_F(ExpansionDestinationTest, newDestinationBesideAStrayFork_isNoCompressedFile)
{
    makeWithFork(ForkParts::fork({}), 0); // so that it will be empty
    const Path other = m_folder / "other";
    const AppleDoubleContent more{{{}}, {{kDecmpfsAttribute, CompressedSample::decmpfs(m_content.size())}}, {}};
    const Bytes stray = CompressedSample::fork(m_content);
    Bytes companion = *appleDoubleHead(more, stray.size());
    companion.insert(companion.end(), stray.begin(), stray.end());
    write(companionOf(other), companion);
    EXPECT_TRUE(expandTo(other)) << m_outcome.reason;
    EXPECT_EQ(contentOf(other), Bytes());
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(other));
    EXPECT_EQ(contentOf(companionOf(other)), companion) << "it may be all that is left of a file";
}
