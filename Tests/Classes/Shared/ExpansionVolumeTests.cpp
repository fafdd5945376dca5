#include "Tests/Classes/Shared/ExpansionOnVolume.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// An access list in the kernel's form, version 2: tag, rights and number of owner, user 4321, group, mask, others.
static const Bytes kAccessList = {2, 0,   0,   0,   1,   0,   6,  0, 255, 255, 255, 255, 2,   0,  4,
                                  0, 225, 16,  0,   0,   4,   0,  4, 0,   255, 255, 255, 255, 16, 0,
                                  4, 0,   255, 255, 255, 255, 32, 0, 0,   0,   255, 255, 255, 255};

static Bytes rawAttribute(const Path &path, const char *name)
{
    Bytes value(1024);
    const ssize_t length = ::lgetxattr(path.c_str(), name, value.data(), value.size());
    value.resize(length < 0 ? 0 : std::size_t(length));
    return value;
}

TEST_P(ExpansionOnVolume, compressedFile_isExpandedInItsPlace)
{
    make();
    const bool isRoot = ::geteuid() == 0; // who alone can give files away
    for (const Path &path : {m_file, companionOf(m_file)})
        (void)!::lchown(path.c_str(), isRoot ? 4321 : ::geteuid(), isRoot ? 1234 : ::getegid());
    ASSERT_EQ(::chmod(m_file.c_str(), 0640), 0);
    const timespec times[2] = {{1000000001, 5}, {1000000002, 987654321}};
    ASSERT_EQ(::utimensat(AT_FDCWD, m_file.c_str(), times, 0), 0);
    EXPECT_TRUE(expand()) << m_outcome.reason;
    struct stat status = {};
    ASSERT_EQ(::lstat(m_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0640u);
    EXPECT_EQ(status.st_uid, isRoot ? 4321u : ::geteuid());
    EXPECT_EQ(status.st_gid, isRoot ? 1234u : ::getegid());
    EXPECT_EQ(status.st_atim.tv_sec, 1000000001);
    EXPECT_EQ(status.st_atim.tv_nsec, 5);
    EXPECT_EQ(status.st_mtim.tv_sec, 1000000002);
    EXPECT_EQ(status.st_mtim.tv_nsec, 987654321);
    EXPECT_EQ(contentOf(m_file), m_content);
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_file));
    EXPECT_THAT(FileSystem::current().attributeNames(m_file, Links::NotFollow).valueOr({"unreadable"}), IsEmpty());
    EXPECT_FALSE(FileSystem::current().openResourceFork(m_file));
    EXPECT_THAT(names(m_folder), ElementsAre("file"));
    expectNoScratchFile();
    EXPECT_EQ(m_outcome.result, Outcome::Expanded);
    EXPECT_EQ(m_outcome.writtenSize, m_content.size());
    EXPECT_FALSE(m_outcome.isFlagLeftCleared);
    EXPECT_EQ(m_outcome.reasonForkKept, "");
}

TEST_P(ExpansionOnVolume, clearedFlag_is705UnlessItIsIgnored)
{
    make();
    ASSERT_TRUE(HFSCompression::setFileAsUFCompressed(m_file, false));
    EXPECT_FALSE(expand());
    expectError(705, "Source file is not compressed at " + m_file.native());
    expectStillCompressed(false);
    EXPECT_TRUE(expand(true)) << m_outcome.reason;
    EXPECT_EQ(contentOf(m_file), m_content);
    EXPECT_THAT(names(m_folder), ElementsAre("file"));
}

TEST_P(ExpansionOnVolume, forkWithoutBlocks_givesAnEmptyFile)
{
    makeForked(ForkParts::fork({}), 0);
    EXPECT_TRUE(expand()) << m_outcome.reason;
    EXPECT_EQ(contentOf(m_file), Bytes());
    EXPECT_FALSE(HFSCompression::isFileUFCompressed(m_file));
    EXPECT_THAT(names(m_folder), ElementsAre("file"));
}

TEST_P(ExpansionOnVolume, entryOfSizeZero_isPassedOver)
{
    const Bytes one(65536, 'o'), other(100, 't');
    Bytes both = one;
    both.insert(both.end(), other.begin(), other.end());
    makeForked(ForkParts::fork({ForkParts::deflated(one), {}, ForkParts::deflated(other)}), both.size());
    EXPECT_TRUE(expand()) << m_outcome.reason;
    EXPECT_EQ(contentOf(m_file), both);
}

TEST_P(ExpansionOnVolume, damagedBlock_is706AndChangesNothingButTheFlag)
{
    Bytes block = ForkParts::deflated(Bytes(65536, 'x'));
    block.back() ^= 0x55; // of its check sum
    const Bytes fork = ForkParts::fork({ForkParts::deflated(Bytes(65536, 'x')), block});
    makeForked(fork, 131072);
    const FileStatus before = *FileSystem::current().status(m_file);
    EXPECT_FALSE(expand());
    expectError(706, "Source data cannot be uncompressed");
    EXPECT_EQ(FileSystem::current().status(m_file)->identity, before.identity);
    EXPECT_TRUE(m_outcome.isFlagLeftCleared);
    ExpansionFixture::expectStillCompressed(fork, false);
    expectNoScratchFile();
}

TEST_P(ExpansionOnVolume, forkCutInTwo_losesNothing)
{
    const Bytes whole = CompressedSample::fork(m_content);
    for (const std::size_t length :
         {std::size_t{1}, std::size_t{15}, std::size_t{263}, std::size_t{287}, whole.size() / 2}) {
        const Bytes fork(whole.begin(), whole.begin() + std::ptrdiff_t(length));
        makeForked(fork, m_content.size());
        EXPECT_FALSE(expand()) << length;
        ExpansionFixture::expectStillCompressed(fork, !m_outcome.isFlagLeftCleared);
        expectNoScratchFile();
    }
}

TEST_P(ExpansionOnVolume, newDestination_isMadeWithTheAttributesAndTheSourceStays)
{
    const mode_t mask = ::umask(0);
    make();
    FileSystem &files = FileSystem::current();
    ASSERT_TRUE(files.setAttribute(m_file, "kept", bytesOf("value"), Links::NotFollow));
    const Path other = m_folder / "other";
    EXPECT_TRUE(expandTo(other)) << m_outcome.reason;
    ::umask(mask);
    EXPECT_EQ(contentOf(other), m_content);
    EXPECT_EQ(files.status(other)->mode, 0755u);
    EXPECT_THAT(*files.attributeNames(other, Links::NotFollow), ElementsAre("kept"));
    expectStillCompressed();
}

TEST_P(ExpansionOnVolume, otherAttributes_areKeptAndOwnOnesDropped)
{
    make();
    FileSystem &files = FileSystem::current();
    const Bytes large = CompressedSample::text(30000); // which some volumes leave to the companion
    for (const char *name : {"com.dovrane.tamsel.exclude", "COM.dovrane.tamsel.SIGNATURE", "com.dovrane.other"})
        ASSERT_TRUE(files.setAttribute(m_file, name, bytesOf("value"), Links::NotFollow));
    ASSERT_TRUE(files.setAttribute(m_file, "empty", {}, Links::NotFollow));
    ASSERT_TRUE(files.setAttribute(m_file, "large", large, Links::NotFollow));
    EXPECT_TRUE(expand()) << m_outcome.reason;
    EXPECT_EQ(contentOf(m_file), m_content);
    EXPECT_THAT(*files.attributeNames(m_file, Links::NotFollow),
                UnorderedElementsAre("com.dovrane.other", "empty", "large"));
    EXPECT_EQ(*files.attribute(m_file, "com.dovrane.other", Links::NotFollow), bytesOf("value"));
    EXPECT_EQ(*files.attribute(m_file, "large", Links::NotFollow), large);
    EXPECT_EQ(m_outcome.reasonForkKept, "");
    EXPECT_FALSE(files.openResourceFork(m_file));
    expectNoScratchFile();
}

TEST_P(ExpansionOnVolume, accessListLabelAndSavedFlags_areKept)
{
    make();
    ASSERT_EQ(::setxattr(m_file.c_str(), "system.posix_acl_access", kAccessList.data(), kAccessList.size(), 0), 0);
    const bool isLabelled = ::setxattr(m_file.c_str(), "security.tamsel", "label", 5, 0) == 0; // root's to give
    ASSERT_EQ(::setxattr(m_file.c_str(), "user.tamsel.st_flags", "32806", 5, 0), 0);           // 0x8026
    EXPECT_TRUE(expand()) << m_outcome.reason;
    EXPECT_EQ(rawAttribute(m_file, "system.posix_acl_access"), kAccessList);
    EXPECT_EQ(rawAttribute(m_file, "security.tamsel"), bytesOf(isLabelled ? "label" : ""));
    EXPECT_EQ(rawAttribute(m_file, "user.tamsel.st_flags"), bytesOf("6")) << "what the file manager reports";
}

TEST_P(ExpansionOnVolume, accessListThatTheFolderHandsDown_isNotTheFiles)
{
    make();
    ASSERT_EQ(::chmod(m_file.c_str(), 0600), 0);
    for (const Path &folder : {m_folder, temporaryFolder()})
        ASSERT_EQ(::setxattr(folder.c_str(), "system.posix_acl_default", kAccessList.data(), kAccessList.size(), 0), 0);
    EXPECT_TRUE(expand()) << m_outcome.reason;
    ::removexattr(temporaryFolder().c_str(), "system.posix_acl_default");
    EXPECT_EQ(rawAttribute(m_file, "system.posix_acl_access"), Bytes());
    EXPECT_EQ(FileSystem::current().status(m_file)->mode, 0600u);
}

TEST_P(ExpansionOnVolume, manyAttributes_leaveRoomForWhatTheSystemKeeps)
{
    make();
    FileSystem &files = FileSystem::current();
    const Bytes value(80, 'v');
    for (int number = 0; number < 50; ++number)
        ASSERT_TRUE(files.setAttribute(m_file, "attribute-" + std::to_string(number), value, Links::NotFollow));
    EXPECT_TRUE(expand()) << m_outcome.reason;
    EXPECT_EQ(contentOf(m_file), m_content);
    EXPECT_EQ(files.attributeNames(m_file, Links::NotFollow)->size(), 50u);
    EXPECT_EQ(rawAttribute(m_file, "user.tamsel.st_flags"), bytesOf("0"));
    expectNoScratchFile();
}

TEST_P(ExpansionOnVolume, longestName_isExpandedToo)
{
    const Path longest = m_folder / std::string(253, 'n'); // a companion's name has two characters more
    make(longest);
    EXPECT_TRUE(expand(longest)) << m_outcome.reason;
    EXPECT_EQ(contentOf(longest), m_content);
    EXPECT_THAT(names(m_folder), ElementsAre(longest.filename().native()));
    expectNoScratchFile();
}

TEST_P(ExpansionOnVolume, cancelledInTheMiddle_setsTheFlagAgainAndLeavesNoScratchFile)
{
    if (!isFork(ForkPlace::NamedFork))
        return; // reading of the others is not seen
    make();
    int blocks = 0;
    NamedForks::setOnRead([&](off_t offset) {
        constexpr off_t kEndOfTable = 264 + 3 * 8;
        if (offset >= kEndOfTable && ++blocks == 2)
            m_stop.request_stop();
    });
    EXPECT_FALSE(expand());
    NamedForks::setOnRead({});
    EXPECT_EQ(m_outcome.result, Outcome::Cancelled);
    EXPECT_EQ(m_outcome.writtenSize, 131072u);
    EXPECT_FALSE(m_outcome.isFlagLeftCleared);
    expectStillCompressed();
}
