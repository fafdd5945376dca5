#include "Platform/Linux/LinuxFileSystem.h"

#include "Platform/Formats/AppleDouble.h"
#include "Platform/Formats/CompressedFile.h"
#include "Platform/Linux/FileCalls.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <fstream>

#include <sys/stat.h>
#include <sys/xattr.h>

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

/// Where a foreign volume keeps what Macs keep in the file: real files, attributes and companions.
class LinuxFileSystemTest : public ::testing::Test
{
protected:
    static void write(const Path &path, ByteView content)
    {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << stringOf(content);
    }
    void makeEmpty() { write(m_file, {}); }
    void makeCompanion(const std::string &fork, const AppleDoubleContent &content = {})
    {
        Bytes bytes = *appleDoubleHead(content, fork.size());
        bytes.insert(bytes.end(), fork.begin(), fork.end());
        write(m_companion, bytes);
    }
    static void setRaw(const Path &path, const std::string &name, const std::string &value)
    {
        ASSERT_EQ(::setxattr(path.c_str(), name.c_str(), value.data(), value.size(), 0), 0) << name;
    }
    std::string forkContent() const
    {
        const auto fork = m_files.openResourceFork(m_file);
        if (!fork)
            return fork.failure().code == ErrorCode::NotFound ? "none" : "broken";
        Bytes content((*fork)->size());
        EXPECT_EQ((*fork)->readAt(0, content).valueOr(0), content.size());
        return stringOf(content);
    }
    /// A file that a Mac compressed, after a copy to here: header and fork in the companion, no flags.
    void makeFromMac(const Bytes &decmpfs, const std::string &fork = "a fork")
    {
        makeEmpty();
        makeCompanion(fork, {std::nullopt, {{kDecmpfsAttribute, decmpfs}}, {}});
    }
    std::uint32_t flags() const { return m_files.flags(m_file).valueOr(99); }

    LinuxFileSystem m_linux;
    FileSystem &m_files = m_linux;
    Path m_folder = PrivateHome::current().makeFolder("linux-files");
    Path m_file = m_folder / "file";
    Path m_companion = m_folder / "._file";
};

TEST_F(LinuxFileSystemTest, flags_written_areADecimalNumber)
{
    makeEmpty();
    ASSERT_TRUE(m_files.setFlags(m_file, 32));
    char value[10] = {};
    EXPECT_EQ(::getxattr(m_file.c_str(), "user.tamsel.st_flags", value, sizeof value), 2);
    EXPECT_STREQ(value, "32");
    const Result<void> written = m_files.setAttribute(m_file, "tamsel.st_flags", bytesOf("0"), Links::NotFollow);
    EXPECT_FALSE(written);
    EXPECT_FALSE(m_files.attribute(m_file, "tamsel.st_flags", Links::NotFollow));
    EXPECT_FALSE(m_files.removeAttribute(m_file, "tamsel.st_flags", Links::NotFollow));
    EXPECT_EQ(flags(), 32u);
}

TEST_F(LinuxFileSystemTest, flags_thatAreNoNumber_cannotBeSaid)
{
    makeEmpty();
    for (const std::string text : {"", "32 ", "0x20", "-1", "4294967296", "thirty"}) {
        setRaw(m_file, "user.tamsel.st_flags", text);
        EXPECT_EQ(m_files.flags(m_file).failure().code, ErrorCode::Corrupt) << text;
    }
}

TEST_F(LinuxFileSystemTest, flags_ofAMacsFile_areCompressedUntilWritten)
{
    makeFromMac(CompressedSample::decmpfs(100));
    EXPECT_EQ(flags(), kCompressedFlag);
    ASSERT_TRUE(m_files.setFlags(m_file, 0));
    EXPECT_EQ(flags(), 0u) << "a number of 0 survives";
}

TEST_F(LinuxFileSystemTest, flags_withoutNumber_needTypeFourForkAndAnEmptyFile)
{
    makeFromMac(CompressedSample::decmpfs(100, 3));
    EXPECT_EQ(flags(), 0u) << "type 3";
    makeFromMac(bytesOf("short"));
    EXPECT_EQ(flags(), 0u) << "no header";
    makeFromMac(CompressedSample::decmpfs(100), "");
    EXPECT_EQ(flags(), 0u) << "no fork";
    makeFromMac(CompressedSample::decmpfs(100));
    write(m_file, bytesOf("x"));
    EXPECT_EQ(flags(), 0u) << "content";
    std::filesystem::remove(m_file);
    std::filesystem::create_directory(m_file);
    EXPECT_EQ(flags(), 0u) << "a directory";
}

TEST_F(LinuxFileSystemTest, flags_withoutNumberBesideADamagedCompanion_cannotBeSaid)
{
    makeEmpty();
    const Bytes damaged = bytesOf("this is no companion at all, but long enough");
    write(m_companion, damaged);
    EXPECT_EQ(m_files.flags(m_file).failure().code, ErrorCode::Corrupt) << "the header may have been in it";
    setRaw(m_file, "user.com.apple.decmpfs", stringOf(CompressedSample::decmpfs(100)));
    EXPECT_EQ(m_files.flags(m_file).failure().code, ErrorCode::Corrupt) << "and the fork";
    ASSERT_TRUE(m_files.setFlags(m_file, kCompressedFlag));
    EXPECT_EQ(flags(), kCompressedFlag);
}

TEST_F(LinuxFileSystemTest, fork_isTakenFromTheCompanionBeforeTheAttribute)
{
    makeEmpty();
    EXPECT_EQ(forkContent(), "none");
    setRaw(m_file, "user.com.apple.ResourceFork", "in the attribute");
    EXPECT_EQ(forkContent(), "in the attribute");
    makeCompanion("in the companion");
    EXPECT_EQ(forkContent(), "in the companion");
    makeCompanion("");
    EXPECT_EQ(forkContent(), "in the attribute") << "an empty fork is none";
}

TEST_F(LinuxFileSystemTest, companion_thatIsALinkAFolderOrAnothers_doesNotCount)
{
    makeEmpty();
    const Path elsewhere = m_folder / "elsewhere";
    write(elsewhere, CompressedSample::companion(bytesOf("planted")));
    std::filesystem::create_symlink(elsewhere, m_companion);
    EXPECT_EQ(forkContent(), "none");
    std::filesystem::remove(m_companion);
    std::filesystem::create_directory(m_companion);
    EXPECT_EQ(forkContent(), "none");
    std::filesystem::remove(m_companion);
    makeCompanion("of another user");
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(m_companion.c_str(), 12345, 12345), 0);
        EXPECT_EQ(forkContent(), "none");
        ASSERT_EQ(::chown(m_file.c_str(), 12345, 12345), 0);
    }
    EXPECT_EQ(forkContent(), "of another user") << "one owner for both";
}

TEST_F(LinuxFileSystemTest, companion_thatIsAPipe_isNotWaitedFor)
{
    makeEmpty();
    ASSERT_EQ(::mkfifo(m_companion.c_str(), 0600), 0);
    EXPECT_EQ(forkContent(), "none");
    std::filesystem::remove(m_companion);
    std::filesystem::create_symlink("/dev/zero", m_companion);
    EXPECT_EQ(forkContent(), "none");
}

TEST_F(LinuxFileSystemTest, companion_ofManyGigabytes_isReadWithinItsEntries)
{
    makeEmpty();
    makeCompanion("fork");
    std::filesystem::resize_file(m_companion, std::uintmax_t(4) << 30);
    EXPECT_EQ(forkContent(), "fork");
}

TEST_F(LinuxFileSystemTest, companion_damaged_makesTheForkUnreadable)
{
    makeEmpty();
    write(m_companion, bytesOf("this is no companion at all, but long enough"));
    EXPECT_EQ(forkContent(), "broken");
    EXPECT_EQ(m_files.openResourceFork(m_file).failure().code, ErrorCode::Corrupt);
}

TEST_F(LinuxFileSystemTest, companion_damaged_leavesTheNamesUnsaid)
{
    makeEmpty();
    setRaw(m_file, "user.name", "value");
    write(m_companion, bytesOf("this is no companion at all, but long enough"));
    EXPECT_EQ(m_files.attributeNames(m_file, Links::NotFollow).failure().code, ErrorCode::Corrupt);
    EXPECT_EQ(stringOf(*m_files.attribute(m_file, "name", Links::NotFollow)), "value");
}

TEST_F(LinuxFileSystemTest, companion_ofAFolderNamedWithASlash_liesBesideIt)
{
    std::filesystem::create_directory(m_file);
    ASSERT_TRUE(m_files.setAttribute(m_folder / "file/", "large", Bytes(30000), Links::NotFollow));
    EXPECT_TRUE(std::filesystem::exists(m_companion));
    EXPECT_EQ(m_files.attribute(m_file, "large", Links::NotFollow)->size(), 30000u);
}

TEST_F(LinuxFileSystemTest, companion_damaged_isNeverWrittenOver)
{
    makeEmpty();
    const Bytes damaged = bytesOf("this is no companion at all, but long enough");
    write(m_companion, damaged);
    EXPECT_FALSE(m_files.setAttribute(m_file, "name", Bytes(30000), Links::NotFollow));
    EXPECT_EQ(*m_files.readFile(m_companion, 100), damaged);
}

TEST_F(LinuxFileSystemTest, companion_planted_isNeverWrittenThrough)
{
    makeEmpty();
    const Path elsewhere = m_folder / "elsewhere";
    write(elsewhere, bytesOf("precious"));
    std::filesystem::create_symlink(elsewhere, m_companion);
    const Result<void> set = m_files.setAttribute(m_file, "name", Bytes(30000), Links::NotFollow);
    EXPECT_EQ(set.failure().code, ErrorCode::Permission);
    EXPECT_EQ(stringOf(*m_files.readFile(elsewhere, 100)), "precious");
    EXPECT_TRUE(std::filesystem::is_symlink(m_companion));
}

TEST_F(LinuxFileSystemTest, attributes_ofTheCompanion_countUnlessTheFileHasThemToo)
{
    makeEmpty();
    makeCompanion("", {std::nullopt, {{"one", bytesOf("companion")}, {"two", bytesOf("companion")}}, {}});
    setRaw(m_file, "user.two", "file");
    setRaw(m_file, "user.three", "file");
    EXPECT_THAT(*m_files.attributeNames(m_file, Links::NotFollow), UnorderedElementsAre("one", "two", "three"));
    EXPECT_EQ(stringOf(*m_files.attribute(m_file, "one", Links::NotFollow)), "companion");
    EXPECT_EQ(stringOf(*m_files.attribute(m_file, "two", Links::NotFollow)), "file");
    ASSERT_TRUE(m_files.removeAttribute(m_file, "two", Links::NotFollow));
    EXPECT_EQ(m_files.attribute(m_file, "two", Links::NotFollow).failure().code, ErrorCode::NotFound);
}

TEST_F(LinuxFileSystemTest, attribute_thatDoesNotFit_goesToTheCompanionWithAllElseKept)
{
    makeEmpty();
    AppleDoubleContent content;
    content.finderInformation.emplace().fill(1);
    content.attributes = {{"small", bytesOf("kept")}};
    content.others = {{3, bytesOf("real name")}};
    makeCompanion("the fork", content);
    std::filesystem::permissions(m_companion, std::filesystem::perms(0640));
    setRaw(m_file, "user.large", "old");
    const Bytes large = CompressedSample::text(10000);
    ASSERT_TRUE(m_files.setAttribute(m_file, "large", large, Links::NotFollow));
    EXPECT_EQ(::getxattr(m_file.c_str(), "user.large", nullptr, 0), -1) << "the old one would hide the new one";
    EXPECT_EQ(*m_files.attribute(m_file, "large", Links::NotFollow), large);
    EXPECT_EQ(stringOf(*m_files.attribute(m_file, "small", Links::NotFollow)), "kept");
    EXPECT_EQ(forkContent(), "the fork");
    EXPECT_EQ(m_files.status(m_companion)->mode, 0640u);
    const std::string bytes = stringOf(*m_files.readFile(m_companion, 1 << 20));
    EXPECT_NE(bytes.find("real name"), std::string::npos);
    EXPECT_NE(bytes.find(std::string(32, 1)), std::string::npos);
}

TEST_F(LinuxFileSystemTest, attribute_thatDoesNotFit_ofAFileWithTwoNames_isRefused)
{
    makeEmpty();
    std::filesystem::create_hard_link(m_file, m_folder / "another");
    EXPECT_EQ(m_files.setAttribute(m_file, "large", Bytes(30000), Links::NotFollow).failure().code, ErrorCode::NoSpace);
    EXPECT_FALSE(std::filesystem::exists(m_companion));
}

TEST_F(LinuxFileSystemTest, companion_withNothingLeft_isRemoved)
{
    makeEmpty();
    ASSERT_TRUE(m_files.setAttribute(m_file, "large", Bytes(30000), Links::NotFollow));
    EXPECT_TRUE(std::filesystem::exists(m_companion));
    ASSERT_TRUE(m_files.removeAttribute(m_file, "large", Links::NotFollow));
    EXPECT_THAT(*m_files.entries(m_folder), ElementsAre("file"));
}

TEST_F(LinuxFileSystemTest, largeAttribute_onALinkItself_isRefused)
{
    makeEmpty();
    std::filesystem::create_symlink("file", m_folder / "link");
    EXPECT_FALSE(m_files.setAttribute(m_folder / "link", "large", Bytes(30000), Links::NotFollow));
    EXPECT_THAT(*m_files.entries(m_folder), ElementsAre("file", "link"));
}

TEST_F(LinuxFileSystemTest, occupiedSize_isThatOfFileAndCompanion)
{
    CompressedSample::make(m_file, CompressedSample::text(1000000));
    const auto blocksOf = [](const Path &path) {
        struct stat status = {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0);
        return ByteCount(status.st_blocks) * 512;
    };
    EXPECT_EQ(*m_files.occupiedSize(m_file), blocksOf(m_file) + blocksOf(m_companion));
    EXPECT_GT(m_files.status(m_companion)->occupied, 0u);
    EXPECT_EQ(*m_files.occupiedSize(m_folder), m_files.status(m_folder)->occupied);
}

TEST_F(LinuxFileSystemTest, forkedFile_hasBothPartsAndIsRemovedWithThem)
{
    const Bytes content = CompressedSample::text(100000);
    const Bytes fork = CompressedSample::fork(content);
    FileStatus like;
    like.mode = 0750;
    like.owner = ::geteuid();
    like.group = ::getegid();
    like.modified = 1000000000;
    like.modifiedNanoseconds = 123456789;
    ASSERT_TRUE(m_files.createForkedFile(
        m_file, {fork, {{kDecmpfsAttribute, CompressedSample::decmpfs(content.size())}}, kCompressedFlag, like}));
    EXPECT_EQ(flags(), kCompressedFlag);
    EXPECT_EQ(*m_files.logicalSize(m_file), content.size());
    EXPECT_EQ(m_files.status(m_file)->modified, 1000000000);
    EXPECT_EQ(m_files.status(m_file)->modifiedNanoseconds, 123456789u);
    EXPECT_EQ(m_files.status(m_companion)->mode, 0640u);
    EXPECT_EQ(*m_files.readFile(m_companion, 1 << 20), CompressedSample::companion(fork));
    ASSERT_TRUE(m_files.removeForkedFile(m_file));
    EXPECT_TRUE(m_files.entries(m_folder)->empty());
}

TEST_F(LinuxFileSystemTest, moveByLinking_standsInForTheCallThatIsMissing)
{
    write(m_file, bytesOf("one"));
    const Path other = m_folder / "other";
    ASSERT_TRUE(FileCalls::moveByLinking(AT_FDCWD, m_file, other));
    EXPECT_FALSE(std::filesystem::exists(m_file));
    EXPECT_EQ(m_files.status(other)->linkCount, 1u);
    write(m_file, bytesOf("two"));
    EXPECT_EQ(FileCalls::moveByLinking(AT_FDCWD, m_file, other).failure().code, ErrorCode::Exists);
    EXPECT_EQ(stringOf(*m_files.readFile(other, 10)), "one");
    EXPECT_EQ(stringOf(*m_files.readFile(m_file, 10)), "two");
    std::filesystem::create_directories(m_folder / "folder/inner");
    ASSERT_TRUE(FileCalls::moveByLinking(AT_FDCWD, m_folder / "folder", m_folder / "moved"));
    EXPECT_TRUE(std::filesystem::exists(m_folder / "moved/inner"));
    std::filesystem::create_directory(m_folder / "empty");
    EXPECT_EQ(FileCalls::moveByLinking(AT_FDCWD, m_folder / "moved", m_folder / "empty").failure().code,
              ErrorCode::Exists);
    EXPECT_FALSE(FileCalls::moveByLinking(AT_FDCWD, m_folder / "moved", m_folder / "moved/inner/below"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "moved/inner/below"));
}
