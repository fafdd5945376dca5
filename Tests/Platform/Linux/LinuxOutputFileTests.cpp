#include "Tests/Platform/Linux/LinuxOutputFileFixture.h"

#include "Tests/Support/CompressedSample.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>

using ::testing::ElementsAre;

// What a replaced file keeps.

TEST_F(LinuxOutputFileTest, replace_keepsModeTimesAndOwner)
{
    write(m_file, bytesOf("old"));
    ASSERT_EQ(::chmod(m_file.c_str(), 04751), 0);
    const timespec times[2] = {{1000000001, 123456789}, {1000000002, 987654321}};
    ASSERT_EQ(::utimensat(AT_FDCWD, m_file.c_str(), times, 0), 0);
    const Result<bool> replaced = replace("new");
    ASSERT_TRUE(replaced) << replaced.failure().context;
    struct stat status = {};
    ASSERT_EQ(::lstat(m_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 04751u);
    EXPECT_EQ(status.st_uid, ::getuid());
    EXPECT_EQ(status.st_atim.tv_sec, 1000000001);
    EXPECT_EQ(status.st_atim.tv_nsec, 123456789);
    EXPECT_EQ(status.st_mtim.tv_sec, 1000000002);
    EXPECT_EQ(status.st_mtim.tv_nsec, 987654321);
}

TEST_F(LinuxOutputFileTest, replace_asRoot_keepsOwnerAndGroup)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give files away";
    write(m_file, bytesOf("old"));
    ASSERT_EQ(::chown(m_file.c_str(), 4321, 1234), 0);
    ASSERT_EQ(::chmod(m_file.c_str(), 06755), 0);
    ASSERT_TRUE(replace("new"));
    struct stat status = {};
    ASSERT_EQ(::lstat(m_file.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 4321u);
    EXPECT_EQ(status.st_gid, 1234u);
    EXPECT_EQ(status.st_mode & 07777, 06755u);
}

TEST_F(LinuxOutputFileTest, replace_ofAnothersFile_isRefused)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    write(m_file, bytesOf("root's"));
    ASSERT_EQ(::chmod(m_folder.c_str(), 0777), 0);
    for (Path folder = m_folder.parent_path(); folder != PrivateHome::current().root().parent_path();
         folder = folder.parent_path())
        ::chmod(folder.c_str(), 0755);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0)
            ::_exit(9);
        const Result<bool> replaced = replace("stolen");
        ::_exit(!replaced && replaced.failure().code == ErrorCode::Permission ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(contentOf(m_file), "root's");
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(LinuxOutputFileTest, isWritable_ofAnothersFile_isNo)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    write(m_file, bytesOf("root's"));
    for (Path folder = m_folder; folder != PrivateHome::current().root().parent_path(); folder = folder.parent_path())
        ::chmod(folder.c_str(), 0755);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0)
            ::_exit(9);
        ::_exit(m_files.isWritable(m_file).valueOr(true) ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(LinuxOutputFileTest, replace_keepsTheAccessList)
{
    write(m_file, bytesOf("old"));
    // Version 2, then tag, rights and number of: owner, user 4321, group, mask, others.
    const std::vector<std::uint16_t> words = {2, 0,      1,      6,  0xFFFF, 0xFFFF, 2,      4,  4321, 0,      4,
                                              4, 0xFFFF, 0xFFFF, 16, 4,      0xFFFF, 0xFFFF, 32, 0,    0xFFFF, 0xFFFF};
    const std::size_t size = words.size() * sizeof words[0];
    if (::setxattr(m_file.c_str(), "system.posix_acl_access", words.data(), size, 0) != 0)
        GTEST_SKIP() << "the volume has no access lists";
    ASSERT_TRUE(replace("new"));
    std::vector<std::uint16_t> kept(words.size() + 1);
    ASSERT_EQ(::getxattr(m_file.c_str(), "system.posix_acl_access", kept.data(), kept.size() * 2), ssize_t(size));
    kept.pop_back();
    EXPECT_EQ(kept, words);
}

TEST_F(LinuxOutputFileTest, replace_writesTheFlagNumberZero)
{
    CompressedSample::make(m_file, CompressedSample::text(5000));
    ASSERT_TRUE(replace(""));
    char number[8] = {};
    EXPECT_EQ(::getxattr(m_file.c_str(), "user.tamsel.st_flags", number, sizeof number), 1);
    EXPECT_STREQ(number, "0");
    EXPECT_EQ(m_files.flags(m_file).valueOr(99), 0u) << "though it is empty and its fork lies beside it";
}

TEST_F(LinuxOutputFileTest, replace_ofAFileWrittenMeanwhile_isRefused)
{
    write(m_file, {});
    const FileStatus examined = *m_files.status(m_file);
    const auto file = *m_files.openScratchFile(m_scratch, 0644);
    ASSERT_TRUE(file->close());
    ASSERT_TRUE(file->makeLike(m_file, examined));
    std::ofstream(m_file, std::ios::app) << "x";
    EXPECT_EQ(file->replace(m_file, examined).failure().code, ErrorCode::Busy);
    EXPECT_EQ(contentOf(m_file), "x");
}

TEST_F(LinuxOutputFileTest, replace_ofAFileTouchedMeanwhile_isRefused)
{
    write(m_file, {});
    const FileStatus examined = *m_files.status(m_file);
    const auto file = *m_files.openScratchFile(m_scratch, 0644);
    ASSERT_TRUE(file->close());
    const timespec times[2] = {{0, UTIME_OMIT}, {examined.modified, (examined.modifiedNanoseconds + 1) % 1000000000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, m_file.c_str(), times, 0), 0);
    EXPECT_EQ(file->replace(m_file, examined).failure().code, ErrorCode::Busy);
}

TEST_F(LinuxOutputFileTest, scratchFile_heldByAnotherProcess_isBusyAndStays)
{
    write(m_scratch, bytesOf("another's"));
    int ready[2], done[2];
    ASSERT_EQ(::pipe(ready) | ::pipe(done), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const int file = ::open(m_scratch.c_str(), O_WRONLY);
        char byte = ::flock(file, LOCK_EX | LOCK_NB) == 0 ? 'y' : 'n';
        ::close(done[1]);
        if (::write(ready[1], &byte, 1) != 1 || ::read(done[0], &byte, 1) != 0)
            ::_exit(1);
        ::_exit(0);
    }
    ::close(done[0]);
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    EXPECT_EQ(byte, 'y');
    EXPECT_EQ(m_files.openScratchFile(m_scratch, 0644).failure().code, ErrorCode::Busy);
    EXPECT_EQ(contentOf(m_scratch), "another's");
    ::close(done[1]);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_TRUE(m_files.openScratchFile(m_scratch, 0644)) << "it is abandoned now";
}

TEST_F(LinuxOutputFileTest, scratchFile_ofAnotherUser_isLeftAlone)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give files away";
    write(m_scratch, bytesOf("another's"));
    ASSERT_EQ(::chown(m_scratch.c_str(), 4321, 4321), 0);
    ASSERT_EQ(::chmod(m_folder.c_str(), 0777), 0);
    for (Path folder = m_folder.parent_path(); folder != PrivateHome::current().root().parent_path();
         folder = folder.parent_path())
        ::chmod(folder.c_str(), 0755);
    ASSERT_EQ(::seteuid(65534), 0);
    const ErrorCode code = m_files.openScratchFile(m_scratch, 0644).failure().code;
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_EQ(code, ErrorCode::Exists);
    EXPECT_EQ(contentOf(m_scratch), "another's");
}

TEST_F(LinuxOutputFileTest, scratchFile_thatRootHasGivenAway_isTakenAwayByRoot)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give files away";
    write(m_scratch, bytesOf("killed before it was renamed"));
    ASSERT_EQ(::chown(m_scratch.c_str(), 4321, 4321), 0);
    EXPECT_TRUE(m_files.openScratchFile(m_scratch, 0644));
}

TEST_F(LinuxOutputFileTest, scratchFile_whileWritten_isNoMoreOpenToOthersThanTheOriginal)
{
    const auto file = *m_files.openScratchFile(m_scratch, 04700);
    EXPECT_EQ(m_files.status(m_scratch)->mode, 0700u);
}

TEST_F(LinuxOutputFileTest, scratchFile_whoseAttributesDidNotFit_leavesThemWithTheFileItReplaces)
{
    write(m_file, bytesOf("old"));
    const FileStatus examined = *m_files.status(m_file);
    const Bytes large = CompressedSample::text(20000);
    {
        const auto file = *m_files.openScratchFile(m_scratch, 0644);
        ASSERT_TRUE(m_files.setAttribute(m_scratch, "large", large, Links::NotFollow));
        ASSERT_TRUE(file->close());
    }
    EXPECT_THAT(names(), ElementsAre("file"));
    {
        const auto file = *m_files.openScratchFile(m_scratch, 0644);
        ASSERT_TRUE(m_files.setAttribute(m_scratch, "large", large, Links::NotFollow));
        ASSERT_TRUE(file->close());
        ASSERT_TRUE(file->makeLike(m_file, examined));
        ASSERT_TRUE(file->replace(m_file, examined));
    }
    EXPECT_THAT(names(), ElementsAre("._file", "file"));
    EXPECT_EQ(m_files.attribute(m_file, "large", Links::NotFollow).valueOr({}), large);
}
